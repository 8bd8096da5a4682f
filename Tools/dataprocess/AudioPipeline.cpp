#include "AudioPipeline.h"

#include <cstdio>
#include <cstring>

#include "CountingAudioSource.h"
#include "ToolErrors.h"
#include "MediaOutputs.h"

namespace dptool {

AudioStack::AudioStack(AudioDecoder* source, const AudioSettings& s)
{
    const AudioInfo* in = source->GetAudioInfo();
    int rate = s.rate;
    if (rate == 0 && s.channels != 0 && in)
        rate = in->nSampleRate; // a channel change alone still needs the converter
    const int channels = s.channels ? s.channels : (in ? in->nChannels : 2);

    // The timeline stage is built here rather than by the processing stage
    // (its bEven flag) so that the bytes on either side of it can be counted.
    m_in = std::make_unique<CountingAudioSource>(source);
    AudioDecoder* below = m_in.get();
    if (s.timeline) {
        m_even = PEAudioCreate(m_in.get());
        if (!m_even)
            throw ProcessingError("cannot create the audio timeline stage");
        m_out = std::make_unique<CountingAudioSource>(m_even);
        below = m_out.get();
    }
    m_top = PCAudioCreate(below, rate, rate ? channels : 0, rate ? 16 : 0, 0);
    if (!m_top)
        throw ProcessingError("cannot create the audio stage");
    if (!PCSetAudioResampler(m_top, s.resampler))
        throw ProcessingError("cannot choose the audio stage's resampler");
    PCSetVolum(m_top, s.volume);
    const FadeSpan in0 = s.fadeIn.value_or(FadeSpan{});
    const FadeSpan out0 = s.fadeOut.value_or(FadeSpan{});
    PCSetFadeInOutTime(m_top, in0.start, in0.length, out0.start, out0.length);
}

AudioStack::~AudioStack()
{
    PCAudioDestroy(m_top);
    PEAudioDestroy(m_even);
}

long long AudioStack::BytesIn() const { return m_in->Bytes(); }

long long AudioStack::TimelineOut() const { return m_out ? m_out->Bytes() : m_in->Bytes(); }

TimelineFigures SummariseTimeline(const AudioStack& stack, const TimelineTally& tally, const AudioInfo* in)
{
    TimelineFigures f;
    const double bps = in ? double(in->nSampleRate) * in->nChannels * in->nBitsPerSample / 8 : 0.0;
    f.fillerBytes = tally.fillerBytes;
    f.trimmedBytes = stack.BytesIn() + f.fillerBytes - stack.TimelineOut();
    if (f.trimmedBytes < 0)
        f.trimmedBytes = 0;
    if (bps > 0) {
        f.fillerSeconds = f.fillerBytes / bps;
        f.trimmedSeconds = f.trimmedBytes / bps;
    }
    return f;
}

LogTally::LogTally(bool echo) : m_echo(echo) { OrvLogSetSink(&LogTally::Sink, this); }

LogTally::~LogTally() { OrvLogSetSink(nullptr, nullptr); }

void LogTally::Sink(void* context, const char* line)
{
    auto* self = static_cast<LogTally*>(context);
    TimelineTally& t = self->m_tally;
    t.lines.emplace_back(line);
    if (self->m_echo)
        std::fprintf(stderr, "%s\n", line);
    else if (std::strstr(line, "hq resampler"))
        std::fprintf(stderr, "warning: %s\n", line); // the stream is converted linearly instead

    // "... Fill Blank Audio Data [0.50 sec/88200 bytes] before ..." and
    // "... Throw away Audio Data [0.010 sec/1764 bytes] before ...".
    const char* bracket = std::strchr(line, '[');
    double sec = 0.0;
    long long bytes = 0;
    if (!bracket || std::sscanf(bracket, "[%lf sec/%lld bytes]", &sec, &bytes) != 2)
        return;
    if (std::strstr(line, "Fill Blank")) {
        t.fillerBytes += bytes;
        t.fillerSeconds += sec;
        ++t.fillMessages;
    } else if (std::strstr(line, "Throw away")) {
        t.trimmedBytes += bytes;
        t.trimmedSeconds += sec;
        ++t.trimMessages;
    }
}

AudioRunStats RunAudio(AudioDecoder* stage, MediaSink& sink, Progress& progress, double totalSeconds)
{
    AudioRunStats st;
    const AudioInfo* info = PCGetAudioInfo(stage);
    const int align = info ? info->nChannels * info->nBitsPerSample / 8 : 0;
    while (MEDIA_FRAME* f = PCGetNextAudioFrame(stage)) {
        if (f->nDataSize <= 0)
            continue;
        if (!sink.WriteAudio(f))
            throw ProcessingError(sink.Error());
        if (align > 0)
            st.sampleFramesOut += f->nDataSize / align;
        ++st.blocksOut;
        progress.UpdateSeconds(double(st.sampleFramesOut) / (info && info->nSampleRate ? info->nSampleRate : 1),
                               totalSeconds);
    }
    st.seconds = progress.ElapsedSeconds();
    return st;
}

} // namespace dptool
