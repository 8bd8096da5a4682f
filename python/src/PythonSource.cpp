#include "PythonSource.h"

#include <pybind11/numpy.h>

#include <cmath>
#include <cstring>
#include <stdexcept>
#include <string>

#include "PictureFormats.h"

namespace py = pybind11;

namespace dppy {

namespace {

std::string Shape(const py::array& a)
{
    std::string s = "(";
    for (py::ssize_t i = 0; i < a.ndim(); ++i)
        s += (i ? ", " : "") + std::to_string(a.shape(i));
    return s + (a.ndim() == 1 ? ",)" : ")");
}

std::string Describe(const py::handle& h)
{
    if (!py::isinstance<py::array>(h))
        return std::string(py::str(py::type::of(h).attr("__name__")));
    py::array a = py::reinterpret_borrow<py::array>(h);
    return std::string(py::str(a.dtype())) + " array of shape " + Shape(a);
}

// `h` as a uint8 array of exactly `rows` x `cols` (x `depth` when > 0).
bool Matches(const py::handle& h, py::ssize_t rows, py::ssize_t cols, py::ssize_t depth)
{
    if (!py::isinstance<py::array>(h))
        return false;
    py::array a = py::reinterpret_borrow<py::array>(h);
    if (!a.dtype().is(py::dtype::of<uint8_t>()) || a.ndim() != (depth > 0 ? 3 : 2))
        return false;
    return a.shape(0) == rows && a.shape(1) == cols && (depth == 0 || a.shape(2) == depth);
}

} // namespace

PythonSource::PythonSource(py::object source) : m_source(std::move(source))
{
    py::tuple size = py::tuple(m_source.attr("size"));
    if (size.size() != 2)
        throw std::invalid_argument("source.size must be (width, height)");
    m_width = size[0].cast<int>();
    m_height = size[1].cast<int>();
    m_rate = m_source.attr("fps").cast<double>();
    m_count = py::hasattr(m_source, "frame_count") && !m_source.attr("frame_count").is_none()
                  ? m_source.attr("frame_count").cast<int>()
                  : 0;
    m_canSeek = py::hasattr(m_source, "seek");
    if (m_width < 1 || m_height < 1 || m_width > 16384 || m_height > 16384)
        throw std::invalid_argument("source.size " + std::to_string(m_width) + "x" + std::to_string(m_height) +
                                    " is outside 1..16384");
    if (!(m_rate > 0 && m_rate <= 1000))
        throw std::invalid_argument("source.fps must be in (0, 1000]");
    m_frame = CreateYV12Frame(m_width, m_height, 0, 1);
    if (!m_frame)
        throw std::bad_alloc();

    DPVideoCallbacks cb{};
    cb.nSize = sizeof cb;
    cb.nVersion = DP_CALLBACKS_VERSION;
    cb.pUser = this;
    cb.GetInfo = Info;
    cb.GetFrame = Frame;
    cb.Forward = Forward;
    if (m_canSeek)
        cb.SeekTime = Seek;
    char error[256] = "";
    // Called with the GIL held: the first picture is fetched at once.
    m_decoder = PCVideoFromCallbacks(&cb, error, sizeof error);
    if (!m_decoder) {
        ReleaseYV12Frame(m_frame);
        throw std::invalid_argument(error);
    }
}

PythonSource::~PythonSource()
{
    PCVideoDestroy(m_decoder);
    ReleaseYV12Frame(m_frame);
}

void PythonSource::RethrowPending()
{
    if (!m_pending)
        return;
    std::unique_ptr<py::error_already_set> e = std::move(m_pending);
    throw std::move(*e);
}

void PythonSource::Keep(const char* message)
{
    if (message)
        PyErr_SetString(PyExc_ValueError, message);
    if (!m_pending)
        m_pending = std::make_unique<py::error_already_set>();
    else
        PyErr_Clear();
}

int PythonSource::Info(void* self, VideoInfo* info)
{
    auto* s = static_cast<PythonSource*>(self);
    info->nWidth = s->m_width;
    info->nHeight = s->m_height;
    info->dFrameRate = s->m_rate;
    info->nFrameCount = s->m_count;
    return 1;
}

const MEDIA_FRAME* PythonSource::Convert(const py::handle& picture)
{
    const int w = m_width, h = m_height, cw = (w + 1) / 2, ch = (h + 1) / 2;
    MEDIA_FRAME* f = m_frame;
    if (Matches(picture, h, w, 3)) {
        py::array a = py::reinterpret_borrow<py::array>(picture);
        py::array_t<uint8_t, py::array::c_style> rgb(a); // contiguous (a copy only if it was not)
        RgbToFrame(rgb.data(), ptrdiff_t(w) * 3, f, &m_scratch);
    } else if (py::isinstance<py::tuple>(picture) && py::len(picture) == 3 &&
               Matches(picture[py::int_(0)], h, w, 0) && Matches(picture[py::int_(1)], ch, cw, 0) &&
               Matches(picture[py::int_(2)], ch, cw, 0)) {
        unsigned char* planes[3] = {f->pY, f->pU, f->pV};
        const int pitches[3] = {f->nPitchY, f->nPitchU, f->nPitchV};
        for (int k = 0; k < 3; ++k) {
            py::array_t<uint8_t, py::array::c_style> p(py::reinterpret_borrow<py::array>(picture[py::int_(k)]));
            const int pw = k ? cw : w, ph = k ? ch : h;
            for (int y = 0; y < ph; ++y)
                std::memcpy(planes[k] + ptrdiff_t(y) * pitches[k], p.data() + ptrdiff_t(y) * pw, size_t(pw));
        }
    } else {
        const std::string why = "source picture " + std::to_string(m_index) + ": expected a uint8 array of shape (" +
                                std::to_string(h) + ", " + std::to_string(w) +
                                ", 3) or a (y, u, v) tuple of uint8 planes, got " + Describe(picture);
        Keep(why.c_str());
        return nullptr;
    }
    f->llStartTime = std::llround(m_index * 1e7 / m_rate);
    // The last tick the picture covers (see DataProcessMedia.h).
    f->llStopTime = std::llround((m_index + 1) * 1e7 / m_rate) - 1;
    f->nDuration = static_cast<int32_t>(f->llStopTime + 1 - f->llStartTime);
    return f;
}

const MEDIA_FRAME* PythonSource::Frame(void* self)
{
    auto* s = static_cast<PythonSource*>(self);
    py::gil_scoped_acquire gil;
    try {
        py::object picture = s->m_source.attr("get_frame")();
        return picture.is_none() ? nullptr : s->Convert(picture);
    } catch (py::error_already_set& e) {
        e.restore();
        s->Keep();
    } catch (const std::exception& e) {
        s->Keep(e.what());
    }
    return nullptr;
}

int PythonSource::Forward(void* self, int count)
{
    auto* s = static_cast<PythonSource*>(self);
    py::gil_scoped_acquire gil;
    try {
        const int moved = s->m_source.attr("forward")(count).cast<int>();
        if (moved > 0)
            s->m_index += moved;
        return moved < 0 ? -1 : moved;
    } catch (py::error_already_set& e) {
        e.restore();
        s->Keep();
    } catch (const std::exception& e) {
        s->Keep(e.what());
    }
    return -1;
}

double PythonSource::Seek(void* self, double seconds, unsigned int)
{
    auto* s = static_cast<PythonSource*>(self);
    py::gil_scoped_acquire gil;
    try {
        const double reached = s->m_source.attr("seek")(seconds).cast<double>();
        if (reached >= 0)
            s->m_index = std::llround(reached * s->m_rate);
        return reached;
    } catch (py::error_already_set& e) {
        e.restore();
        s->Keep();
    } catch (const std::exception& e) {
        s->Keep(e.what());
    }
    return -1.0;
}

} // namespace dppy
