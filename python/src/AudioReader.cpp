#include "AudioReader.h"

#include <pybind11/numpy.h>

#include <cstring>
#include <stdexcept>

#include "AudioOptions.h"
#include "AudioPipeline.h"
#include "MediaInputs.h"
#include "ToolOptions.h"

namespace py = pybind11;

namespace dppy {

namespace {

// Bytes of blocks gathered by ReadAll, with the format of the first.
struct Gathered {
    std::vector<unsigned char> bytes;
    int channels = 0, bits = 16;
    double time = 0.0;
    bool any = false;
};

void Append(Gathered* g, const MEDIA_FRAME* b)
{
    if (!g->any) {
        g->channels = b->nChannels;
        g->bits = b->nBitsPerSample;
        g->time = b->llStartTime / 1e7;
        g->any = true;
    }
    g->bytes.insert(g->bytes.end(), b->pData, b->pData + b->nDataSize);
}

py::object ToArray(const Gathered& g)
{
    const py::ssize_t width = g.bits / 8, channels = g.channels > 0 ? g.channels : 1;
    const py::ssize_t n = py::ssize_t(g.bytes.size()) / (width * channels);
    py::array a = g.bits == 8 ? py::array(py::dtype::of<uint8_t>(), {n, channels})
                              : py::array(py::dtype::of<int16_t>(), {n, channels});
    if (n > 0)
        std::memcpy(a.mutable_data(), g.bytes.data(), size_t(n * width * channels));
    return py::make_tuple(a, g.time);
}

} // namespace

AudioReader::AudioReader(const std::string& path, const std::vector<std::string>& flags)
{
    dptool::AudioArgs args = ParseAudioFlags(flags);
    py::gil_scoped_release nogil;
    m_input = std::make_unique<dptool::AudioInput>(path, false, args.audioStream);
    dptool::AudioSettings s = dptool::MakeAudioSettings(args, *m_input);
    m_stack = std::make_unique<dptool::AudioStack>(m_input->Decoder(), s);
}

AudioReader::~AudioReader() { Close(); }

void AudioReader::Close()
{
    m_stack.reset();
    m_input.reset();
}

void AudioReader::Check() const
{
    if (!m_stack)
        throw std::invalid_argument("the reader is closed");
}

py::object AudioReader::Read()
{
    Check();
    if (m_ended)
        return py::none();
    Gathered g;
    {
        py::gil_scoped_release nogil;
        const MEDIA_FRAME* b = PCGetNextAudioFrame(m_stack->Top());
        if (b)
            Append(&g, b);
        else
            m_ended = true;
    }
    if (m_ended) {
        m_input->Finish();
        return py::none();
    }
    return ToArray(g);
}

py::object AudioReader::ReadAll()
{
    Check();
    Gathered g;
    if (!m_ended) {
        py::gil_scoped_release nogil;
        while (const MEDIA_FRAME* b = PCGetNextAudioFrame(m_stack->Top()))
            Append(&g, b);
        m_ended = true;
    }
    m_input->Finish();
    if (!g.any) {
        const AudioInfo* ai = PCGetAudioInfo(m_stack->Top());
        g.channels = ai ? ai->nChannels : 1;
        g.bits = ai && ai->nBitsPerSample == 8 ? 8 : 16;
    }
    return ToArray(g);
}

py::dict AudioReader::Info() const
{
    Check();
    const AudioInfo* ai = PCGetAudioInfo(m_stack->Top());
    py::dict d;
    d["rate"] = ai->nSampleRate;
    d["channels"] = ai->nChannels;
    d["bits"] = ai->nBitsPerSample;
    d["duration"] = m_input->DurationSeconds();
    return d;
}

} // namespace dppy
