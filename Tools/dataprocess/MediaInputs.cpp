#include "MediaInputs.h"

#include <cstdio>
#include <set>

#include "HostFile.h"
#include "ReadAheadAudioSource.h"
#include "ReadAheadVideoSource.h"
#include "ToolErrors.h"
#include "WavAudioSource.h"
#include "Y4mVideoSource.h"
#ifdef DP_HAVE_FFMPEG
#include "FfmpegAudioSource.h"
#include "FfmpegVideoSource.h"
#endif

namespace dptool {

namespace {

// Opens `path` with a y4m or WAV source; throws with its message.
template <class Source> std::unique_ptr<Source> OpenPlain(const std::string& path)
{
    auto source = std::make_unique<Source>();
    if (source->OpenPath(path) != HOSTFILE_OK)
        throw ProcessingError(source->LastError());
    return source;
}

#ifdef DP_HAVE_FFMPEG
// Opens `path` with an FFmpeg source; null when `optional` and the file has
// no stream of the source's kind; throws with its message otherwise.
template <class Source>
std::unique_ptr<Source> OpenFfmpeg(const std::string& path, bool optional, int streamIndex)
{
    auto source = std::make_unique<Source>();
    if (source->OpenPath(path, streamIndex) == HOSTFILE_OK)
        return source;
    // A stream asked for by number must be there; only the default choice
    // may find none.
    if (optional && streamIndex < 0 && source->NoStream())
        return nullptr;
    throw ProcessingError(source->LastError());
}

std::string Plural(long long n, const char* what)
{
    return std::to_string(n) + " " + what + (n == 1 ? "" : "s");
}

template <class Source> void WarnAfterRun(const std::string& path, const Source& source)
{
    if (source.DamagedPackets() > 0)
        Warn(path + ": " + Plural(source.DamagedPackets(), "damaged packet") + " skipped or concealed by the decoder");
    if (source.Discontinuities() > 0)
        Warn(path + ": " + Plural(source.Discontinuities(), "time stamp discontinuity") +
             " (stamps jumping by more than 10 s) joined without a gap");
}
#else
[[noreturn]] void NoFfmpeg(const std::string& path, const char* plain)
{
    throw ProcessingError(path + ": this build reads only ." + plain +
                          " files (it was built without FFmpeg; install FFmpeg's development packages and rebuild)");
}
#endif

} // namespace

bool ReadsThroughFfmpeg(const std::string& path, const char* plainExtension)
{
    // No extension (a device, a named pipe, /dev/stdin): the plain format,
    // as for "-".
    const std::string ext = HostPathExtension(path);
    return path != "-" && !ext.empty() && ext != plainExtension;
}

void Warn(const std::string& line)
{
    // The video and the audio reader of one file may both find the same
    // thing (a discontinuity of the whole file): one line says it.
    static std::set<std::string> said;
    if (said.insert(line).second)
        std::fprintf(stderr, "warning: %s\n", line.c_str());
}

// A plain y4m or WAV file has one stream, number 0.
static void CheckPlainStream(const std::string& path, int streamIndex, const char* option)
{
    if (streamIndex > 0)
        throw UsageError(std::string(option) + ": " + HostInputName(path) + " has one stream, number 0");
}

VideoInput::VideoInput(const std::string& path, bool optional, int streamIndex) : m_path(path)
{
    if (optional && !ReadsThroughFfmpeg(path, "wav"))
        return; // a WAV file: no video
    if (ReadsThroughFfmpeg(path, "y4m")) {
#ifdef DP_HAVE_FFMPEG
        m_ffmpeg = OpenFfmpeg<FfmpegVideoSource>(path, optional, streamIndex);
        if (!m_ffmpeg)
            return;
        if (!m_ffmpeg->Warning().empty())
            Warn(m_ffmpeg->Warning());
        if (!m_ffmpeg->GetFrame())
            throw ProcessingError(path + ": the video stream holds no picture");
        return;
#else
        NoFfmpeg(path, "y4m");
#endif
    }
    CheckPlainStream(path, streamIndex, "--video-stream");
    m_y4m = OpenPlain<Y4mVideoSource>(path);
}

VideoInput::~VideoInput() = default;

VideoDecoder* VideoInput::Decoder() const
{
    if (m_readAhead)
        return m_readAhead.get();
#ifdef DP_HAVE_FFMPEG
    if (m_ffmpeg)
        return m_ffmpeg.get();
#endif
    return m_y4m.get();
}

void VideoInput::ReadAhead()
{
    if (m_readAhead || !Decoder())
        return;
    ReadAheadVideoSource::Exchange exchange;
#ifdef DP_HAVE_FFMPEG
    if (m_ffmpeg) {
        FfmpegVideoSource* source = m_ffmpeg.get();
        exchange = [source](MEDIA_FRAME* spare) { return source->ExchangeFrame(spare); };
    }
#endif
    m_readAhead = std::make_unique<ReadAheadVideoSource>(Decoder(), 8, exchange);
}

double VideoInput::Rate() const
{
#ifdef DP_HAVE_FFMPEG
    if (m_ffmpeg)
        return m_ffmpeg->FrameRate();
#endif
    return m_y4m ? m_y4m->RateNum() / double(m_y4m->RateDen()) : 0.0;
}

char VideoInput::Interlacing() const { return m_y4m ? m_y4m->Interlacing() : 'p'; }

double VideoInput::DurationSeconds() const
{
#ifdef DP_HAVE_FFMPEG
    if (m_ffmpeg)
        return m_ffmpeg->DurationUnits() / 1e7;
#endif
    if (!m_y4m)
        return 0.0;
    return m_y4m->FrameCount() > 0 ? m_y4m->FrameCount() * (m_y4m->FramePeriod() / 1e7) : 0.0;
}

void VideoInput::DisplayOrientation(int m[4]) const
{
    m[0] = m[3] = 1;
    m[1] = m[2] = 0;
#ifdef DP_HAVE_FFMPEG
    if (m_ffmpeg)
        for (int i = 0; i < 4; ++i)
            m[i] = m_ffmpeg->DisplayOrientation().m[i];
#endif
}

void VideoInput::NoteVariableRate(double chosenRate) const
{
#ifdef DP_HAVE_FFMPEG
    if (m_ffmpeg && m_ffmpeg->VariableRate() && chosenRate <= 0) {
        char text[160];
        std::snprintf(text, sizeof(text),
                      ": variable frame rate; pictures are repeated or skipped to an even %.3f fps, the average "
                      "(--rate chooses another)",
                      m_ffmpeg->FrameRate());
        Warn(m_path + text);
    }
#else
    (void)chosenRate;
#endif
}

void VideoInput::Finish() const
{
    // The source is asked how its reading went: its reader stops first.
    if (m_readAhead)
        m_readAhead->Stop();
#ifdef DP_HAVE_FFMPEG
    if (m_ffmpeg) {
        if (!m_ffmpeg->LastError().empty())
            throw ProcessingError(m_ffmpeg->LastError());
        WarnAfterRun(m_path, *m_ffmpeg);
        return;
    }
#endif
    if (m_y4m && (m_y4m->Truncated() || !m_y4m->LastError().empty()))
        throw ProcessingError(m_y4m->LastError().empty() ? m_path + ": truncated stream" : m_y4m->LastError());
}

AudioInput::AudioInput(const std::string& path, bool optional, int streamIndex) : m_path(path)
{
    if (optional && (path == "-" || !ReadsThroughFfmpeg(path, "y4m")))
        return; // a y4m stream: no audio
    if (ReadsThroughFfmpeg(path, "wav")) {
#ifdef DP_HAVE_FFMPEG
        m_ffmpeg = OpenFfmpeg<FfmpegAudioSource>(path, optional, streamIndex);
        return;
#else
        NoFfmpeg(path, "wav");
#endif
    }
    CheckPlainStream(path, streamIndex, "--audio-stream");
    m_wav = OpenPlain<WavAudioSource>(path);
}

AudioInput::~AudioInput() = default;

AudioDecoder* AudioInput::Decoder() const
{
    if (m_readAhead)
        return m_readAhead.get();
#ifdef DP_HAVE_FFMPEG
    if (m_ffmpeg)
        return m_ffmpeg.get();
#endif
    return m_wav.get();
}

void AudioInput::ReadAhead()
{
    if (!m_readAhead && Decoder())
        m_readAhead = std::make_unique<ReadAheadAudioSource>(Decoder());
}

int AudioInput::BitsPerSample() const { return m_wav ? m_wav->BitsPerSample() : 16; }

int AudioInput::SampleRate() const
{
#ifdef DP_HAVE_FFMPEG
    if (m_ffmpeg)
        return m_ffmpeg->SampleRate();
#endif
    return m_wav ? m_wav->SampleRate() : 0;
}

double AudioInput::DurationSeconds() const
{
#ifdef DP_HAVE_FFMPEG
    if (m_ffmpeg)
        return m_ffmpeg->DurationUnits() > 0 ? m_ffmpeg->DurationUnits() / 1e7 : -1.0;
#endif
    if (!m_wav)
        return -1.0;
    return m_wav->SampleFrameCount() < 0 ? -1.0 : double(m_wav->SampleFrameCount()) / m_wav->SampleRate();
}

void AudioInput::Finish() const
{
    if (m_readAhead)
        m_readAhead->Stop();
#ifdef DP_HAVE_FFMPEG
    if (m_ffmpeg) {
        if (!m_ffmpeg->LastError().empty())
            throw ProcessingError(m_ffmpeg->LastError());
        WarnAfterRun(m_path, *m_ffmpeg);
        if (m_ffmpeg->FormatChanges() > 0)
            Warn(m_path + ": the audio format changes mid-stream (" + Plural(m_ffmpeg->FormatChanges(), "change") +
                 "); converted to the format it began with");
        return;
    }
#endif
    if (m_wav && m_wav->Truncated())
        throw ProcessingError(m_wav->LastError().empty() ? m_path + ": truncated stream" : m_wav->LastError());
}

} // namespace dptool
