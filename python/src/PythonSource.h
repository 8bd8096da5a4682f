// A video decoder whose pictures come from Python: an object with
// get_frame() (the current picture: an (h, w, 3) uint8 RGB array or a
// (y, u, v) tuple of uint8 planes, None at the end), forward(n) (pictures
// moved on), optional seek(seconds) (time reached), and the attributes
// size (w, h), fps and frame_count. The package's FrameSource gives any
// iterable of arrays these. The object becomes a decoder through the
// library's C callbacks (DataProcessCallbacks.h).
//
// The callbacks run while the reader has released the GIL; each takes it
// back. An exception raised by the object, or a picture of the wrong shape
// or type, ends the stream; RethrowPending() then raises it in the reader's
// thread.
#ifndef DATAPROCESS_PYTHON_PYTHONSOURCE_H
#define DATAPROCESS_PYTHON_PYTHONSOURCE_H

#include <pybind11/pybind11.h>

#include <memory>
#include <vector>

#include <DataProcess/DataProcess.h>

namespace dppy {

class PythonSource {
public:
    // Reads size, fps and frame_count (GIL held); throws ValueError on bad
    // values and the library's message when the decoder cannot be made.
    explicit PythonSource(pybind11::object source);
    ~PythonSource();
    PythonSource(const PythonSource&) = delete;
    PythonSource& operator=(const PythonSource&) = delete;

    VideoDecoder* Decoder() const { return m_decoder; }
    bool CanSeek() const { return m_canSeek; }
    double Rate() const { return m_rate; }
    // Raises the exception a callback caught, if any (GIL held).
    void RethrowPending();

private:
    static int Info(void* self, VideoInfo* info);
    static const MEDIA_FRAME* Frame(void* self);
    static int Forward(void* self, int count);
    static double Seek(void* self, double seconds, unsigned int flags);

    // Stores the Python error being handled, or a ValueError with `message`.
    void Keep(const char* message = nullptr);
    const MEDIA_FRAME* Convert(const pybind11::handle& picture);

    pybind11::object m_source;
    int m_width = 0, m_height = 0, m_count = 0;
    double m_rate = 0.0;
    bool m_canSeek = false;
    long long m_index = 0;
    MEDIA_FRAME* m_frame = nullptr;
    std::vector<unsigned char> m_scratch;
    std::unique_ptr<pybind11::error_already_set> m_pending;
    VideoDecoder* m_decoder = nullptr;
};

} // namespace dppy

#endif // DATAPROCESS_PYTHON_PYTHONSOURCE_H
