#include "VideoReader.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <stdexcept>

#include "FfmpegVideoSource.h"
#include "InclusiveStopSource.h"
#include "MediaInputs.h"
#include "PythonSource.h"
#include "TextUtil.h"
#include "ToolErrors.h"
#include "ToolOptions.h"
#include "VideoPipeline.h"

namespace py = pybind11;

namespace dppy {

namespace {

using Buffer = std::shared_ptr<std::vector<unsigned char>>;

// Grid time of output picture k, as the constant-rate stage stamps it.
long long GridTicks(long long k, double rate) { return static_cast<long long>(k / rate * 1e7 + 0.5); }

dptool::Bitmap WatermarkFrom(const py::object& rgba, const char* option)
{
    py::array a = py::array::ensure(rgba);
    if (!a || !a.dtype().is(py::dtype::of<uint8_t>()) || a.ndim() != 3 || a.shape(2) != 4 || a.shape(0) < 1 ||
        a.shape(1) < 1)
        throw std::invalid_argument(std::string(option) + ": expected an (height, width, 4) uint8 RGBA array or a "
                                                          "BMP file name");
    py::array_t<uint8_t, py::array::c_style> c(a);
    return RgbaToBitmap(c.data(), ptrdiff_t(c.shape(1)) * 4, int(c.shape(1)), int(c.shape(0)));
}

// An array over part of `buffer` that keeps the buffer alive.
py::array View(const Buffer& buffer, size_t offset, std::vector<py::ssize_t> shape, bool readOnly)
{
    auto* keep = new Buffer(buffer);
    py::capsule base(keep, [](void* p) { delete static_cast<Buffer*>(p); });
    py::array a(py::dtype::of<uint8_t>(), shape, {}, buffer->data() + offset, base);
    if (readOnly)
        a.attr("flags").attr("writeable") = false;
    return a;
}

} // namespace

// Which pictures the file source must decode; the others are skipped when
// nothing refers to them (B-frames, mostly). Wanted: a picture holding a
// grid time the constant-rate stage will show (when reading at a rate below
// the file's) or, while a seek lands, one of the few times it steps
// through. A time is the target trunc(k / rate * 1e7) the stage compares
// stop times with; a millisecond of slack either side covers rounded
// stamps.
struct WantedPictures {
    double gridRate = 0.0;      // > 0: the pictures shown at k / gridRate
    std::vector<int64_t> times; // non-empty while seeking: only these
    int64_t period = 0;         // the file's picture length, for packets that carry none

    bool Wanted(int64_t start, int64_t length) const
    {
        const int64_t lo = start - 10000, hi = start + std::max(length, period) + 10000;
        if (!times.empty())
            return std::any_of(times.begin(), times.end(), [&](int64_t t) { return t >= lo && t <= hi; });
        if (gridRate <= 0)
            return true;
        for (long long k = static_cast<long long>(std::floor(lo * gridRate / 1e7));; ++k) {
            const int64_t target = static_cast<int64_t>(k / gridRate * 1e7);
            if (target > hi)
                return false;
            if (target >= lo)
                return true;
        }
    }
};

namespace {

// Skipped pictures leave gaps of at most one grid period between decoded
// ones (or a seek's pre-roll), far below the source's discontinuity limit
// at the rates the grid is used for (0.2 fps and up).
std::shared_ptr<WantedPictures> SkipUnwantedPictures(VideoDecoder* decoder, double rate)
{
    auto* file = dynamic_cast<FfmpegVideoSource*>(decoder);
    if (!file || !(file->FrameRate() > 0))
        return nullptr;
    auto wanted = std::make_shared<WantedPictures>();
    wanted->period = static_cast<int64_t>(1e7 / file->FrameRate());
    if (rate >= 0.2 && rate < file->FrameRate())
        wanted->gridRate = rate;
    file->SetPacketFilter([wanted](int64_t start, int64_t length) { return wanted->Wanted(start, length); });
    return wanted;
}

} // namespace

VideoReader::VideoReader(py::object source, const std::vector<std::string>& flags, py::object watermark,
                         py::object userWatermark, const std::string& format)
    : m_format(ParsePixelFormat(format)), m_view(std::make_shared<std::vector<unsigned char>>())
{
    dptool::VideoArgs args = ParseVideoFlags(flags);
    if (!args.captures.empty())
        throw std::invalid_argument("capture: a reader captures with capture(path); convert() takes capture=");
    dptool::VideoSettings s = dptool::MakeVideoSettings(args);
    if (!watermark.is_none())
        s.watermark = WatermarkFrom(watermark, "watermark");
    if (!userWatermark.is_none())
        s.userWatermark = WatermarkFrom(userWatermark, "user_watermark");

    VideoDecoder* decoder = nullptr;
    if (py::isinstance<py::str>(source)) {
        const std::string path = source.cast<std::string>();
        {
            py::gil_scoped_release nogil;
            m_input = std::make_unique<dptool::VideoInput>(path, false, args.videoStream);
        }
        int orientation[4];
        m_input->DisplayOrientation(orientation);
        dptool::ApplyDisplayOrientation(args, orientation, &s);
        m_stamped = std::make_unique<dptool::InclusiveStopSource>(m_input->Decoder());
        decoder = m_stamped.get();
        m_duration = m_input->DurationSeconds();
    } else {
        m_python = std::make_unique<PythonSource>(source);
        m_python->RethrowPending();
        decoder = m_python->Decoder();
        m_canSeek = m_python->CanSeek();
    }
    m_stage = dptool::CreateVideoStage(decoder, s);
    const VideoInfo* vi = PCGetVideoInfo(m_stage);
    m_rate = vi && vi->dFrameRate > 0 ? vi->dFrameRate : 25.0;
    if (m_input)
        m_wanted = SkipUnwantedPictures(m_input->Decoder(), args.rate > 0 ? m_rate : 0.0);
    if (m_duration <= 0 && vi && vi->nFrameCount > 0)
        m_duration = vi->nFrameCount / m_rate;
    m_ended = PCGetVideoFrame(m_stage) == nullptr;
}

VideoReader::~VideoReader() { Close(); }

void VideoReader::Close()
{
    PCVideoDestroy(m_stage);
    m_stage = nullptr;
    m_stamped.reset();
    m_input.reset();
    m_python.reset();
}

void VideoReader::Check() const
{
    if (!m_stage)
        throw std::invalid_argument("the reader is closed");
}

void VideoReader::AfterStage()
{
    if (m_python)
        m_python->RethrowPending();
}

bool VideoReader::Step()
{
    if (PCVideoForward(m_stage, 1) < 1)
        return false;
    ++m_index;
    return true;
}

long long VideoReader::IndexAt(double seconds) const
{
    if (!(seconds >= 0) || !std::isfinite(seconds))
        throw std::invalid_argument("time " + std::to_string(seconds) + " s: times are finite and not negative");
    const long long ticks = std::llround(seconds * 1e7);
    long long k = static_cast<long long>(std::floor(ticks * m_rate / 1e7));
    while (k > 0 && GridTicks(k, m_rate) > ticks)
        --k;
    while (GridTicks(k + 1, m_rate) <= ticks)
        ++k;
    return k;
}

void VideoReader::MoveTo(long long k)
{
    if (k == m_index && !m_ended)
        return;
    // Onwards within a few seconds reading on is cheaper than a seek back to
    // a keyframe; with unwanted pictures skipped it costs only the pictures
    // others refer to.
    const long long nearby = static_cast<long long>((m_wanted ? 5 : 2) * m_rate) + 1;
    const auto target = [&](long long j) { return static_cast<int64_t>(j / m_rate * 1e7); };
    if (m_wanted && k - m_index > 1)
        m_wanted->times = {target(k - 1), target(k)};
    if (k < m_index || m_ended || k - m_index > nearby) {
        if (!m_canSeek) {
            if (k < m_index || m_ended)
                throw std::invalid_argument("this source cannot seek: pictures can only be read onwards");
        } else {
            // The constant-rate stage lands a seek on the grid with its
            // source a little early; one step then puts the source where
            // reading from the start would have it, and the step after that
            // chooses the picture for k exactly as reading does.
            m_ended = false;
            const long long start = std::max(0LL, k - 2);
            if (m_wanted)
                m_wanted->times = {std::llround(std::max(0.0, start / m_rate - 0.5) * 1e7), target(start),
                                   target(k - 1), target(k)};
            PCVideoSeek(m_stage, start / m_rate, 0);
            m_index = start;
        }
    }
    while (m_index < k)
        if (!Step()) {
            m_ended = true;
            break;
        }
    if (m_wanted)
        m_wanted->times.clear();
}

py::object VideoReader::Emit(bool copy)
{
    const MEDIA_FRAME* f = nullptr;
    Buffer buffer;
    {
        py::gil_scoped_release nogil;
        f = PCGetVideoFrame(m_stage);
        if (f) {
            // Views share the reader's buffer; one of another size is a new
            // buffer, so that arrays over the old one never dangle.
            const size_t bytes = PictureBytes(m_format, f->nWidth, f->nHeight);
            if (!copy && m_view->size() != bytes)
                m_view = std::make_shared<std::vector<unsigned char>>(bytes);
            buffer = copy ? std::make_shared<std::vector<unsigned char>>(bytes) : m_view;
            WritePicture(*f, m_format, buffer->data(), &m_scratch);
        }
    }
    AfterStage();
    if (!f)
        return py::none();
    const py::ssize_t w = f->nWidth, h = f->nHeight;
    py::object data;
    if (m_format == PixelFormat::YUV420P) {
        const py::ssize_t cw = (w + 1) / 2, ch = (h + 1) / 2;
        data = py::make_tuple(View(buffer, 0, {h, w}, !copy), View(buffer, size_t(w * h), {ch, cw}, !copy),
                              View(buffer, size_t(w * h + cw * ch), {ch, cw}, !copy));
    } else {
        data = View(buffer, 0, {h, w, PackedBytes(m_format)}, !copy);
    }
    return py::make_tuple(data, f->llStartTime / 1e7, f->nDuration / 1e7, m_index);
}

py::object VideoReader::Read(bool copy)
{
    Check();
    if (m_ended)
        return py::none();
    if (!m_pending) {
        bool more;
        {
            py::gil_scoped_release nogil;
            more = Step();
        }
        AfterStage();
        if (!more) {
            m_ended = true;
            if (m_input)
                m_input->Finish(); // a file that did not read cleanly to its end raises
            return py::none();
        }
    }
    m_pending = false;
    return Emit(copy);
}

py::object VideoReader::FrameAt(double seconds, bool copy)
{
    Check();
    const long long k = IndexAt(seconds);
    {
        py::gil_scoped_release nogil;
        MoveTo(k);
    }
    AfterStage();
    if (m_ended || m_index != k) {
        char text[160];
        std::snprintf(text, sizeof text, "no picture at %.6g s: the video ends before (%lld pictures at %.6g fps)",
                      seconds, m_index + (m_ended ? 0 : 1), m_rate);
        throw py::index_error(text);
    }
    m_pending = false;
    return Emit(copy);
}

py::list VideoReader::FramesAt(const std::vector<double>& seconds)
{
    Check();
    // In time order, each picture once; handed back in the order asked.
    std::map<long long, py::object> pictures;
    std::vector<long long> wanted;
    for (double t : seconds) {
        wanted.push_back(IndexAt(t));
        pictures[wanted.back()] = py::none();
    }
    for (auto& [k, picture] : pictures)
        picture = FrameAt(GridTicks(k, m_rate) / 1e7, true);
    py::list out;
    for (long long k : wanted)
        out.append(pictures[k]);
    return out;
}

void VideoReader::Capture(const std::string& path)
{
    Check();
    const auto dot = path.rfind('.');
    std::string ext = dot == std::string::npos ? "" : path.substr(dot + 1);
    std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return char(std::tolower(c)); });
    if (ext != "jpg" && ext != "jpeg" && ext != "bmp")
        throw std::invalid_argument(path + ": a capture is a .jpg or .bmp file");
    std::wstring wide;
    if (!dptool::WidenUtf8(path, &wide))
        throw std::invalid_argument(path + ": the file name is not valid UTF-8");
    std::vector<wchar_t> name(wide.begin(), wide.end());
    name.push_back(L'\0');
    int ok;
    {
        py::gil_scoped_release nogil;
        ok = PCCaptureImage(m_stage, name.data(), ext == "bmp" ? 0 : 1, 0);
    }
    if (!ok)
        throw dptool::ProcessingError(path + ": capture failed (cannot write the picture there)");
}

py::dict VideoReader::Info() const
{
    Check();
    const VideoInfo* vi = PCGetVideoInfo(m_stage);
    py::dict d;
    d["width"] = vi->nWidth;
    d["height"] = vi->nHeight;
    d["fps"] = m_rate;
    d["frame_count"] = vi->nFrameCount;
    d["aspect"] = py::make_tuple(vi->nAspectX, vi->nAspectY);
    d["duration"] = m_duration;
    return d;
}

} // namespace dppy
