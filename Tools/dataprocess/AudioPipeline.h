// The audio side of the tool: an AudioProcess built through the flat API,
// the loop that reads it into a WAV writer, and the tally of the timeline
// stage's messages (filler and trimmed data).
#ifndef DATAPROCESS_TOOL_AUDIOPIPELINE_H
#define DATAPROCESS_TOOL_AUDIOPIPELINE_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <DataProcess/DataProcess.h>

#include "Progress.h"


namespace dptool {

struct FadeSpan {
    double start = 0.0;
    double length = 0.0;
};

struct AudioSettings {
    int rate = 0;     // 0 = the source's
    int channels = 0; // 0 = the source's
    int volume = 100;
    std::optional<FadeSpan> fadeIn;
    std::optional<FadeSpan> fadeOut;
    bool timeline = true;
    int resampler = AUDIO_RESAMPLER_LINEAR; // the stage's rate conversion
};

class CountingAudioSource;

// The stack source -> [timeline stage] -> processing stage, with byte
// counters before and after the timeline stage. The caller keeps `source`.
class AudioStack {
public:
    AudioStack(AudioDecoder* source, const AudioSettings& settings);
    ~AudioStack();
    AudioStack(const AudioStack&) = delete;
    AudioStack& operator=(const AudioStack&) = delete;

    AudioDecoder* Top() const { return m_top; }
    long long BytesIn() const;      // from the source
    long long TimelineOut() const;  // from the timeline stage (equals BytesIn without one)

private:
    std::unique_ptr<CountingAudioSource> m_in;
    AudioDecoder* m_even = nullptr;
    std::unique_ptr<CountingAudioSource> m_out;
    AudioDecoder* m_top = nullptr;
};

// What the timeline stage reported while it ran.
struct TimelineTally {
    long long fillerBytes = 0;
    double fillerSeconds = 0.0;
    long long trimmedBytes = 0;
    double trimmedSeconds = 0.0;
    int fillMessages = 0;
    int trimMessages = 0;
    std::vector<std::string> lines;
};

// Collects the library's log lines into a tally while it lives (and, when
// `echo` is set, copies them to standard error).
class LogTally {
public:
    explicit LogTally(bool echo);
    ~LogTally();
    const TimelineTally& Tally() const { return m_tally; }

private:
    static void Sink(void* context, const char* line);
    TimelineTally m_tally;
    bool m_echo;
};

// Filler added and data removed by the timeline stage, in the source's
// format. The filler is what its messages report (each gap is reported
// whole); the removed data is what is left over: bytes in + filler - bytes
// out.
struct TimelineFigures {
    long long fillerBytes = 0;
    double fillerSeconds = 0.0;
    long long trimmedBytes = 0;
    double trimmedSeconds = 0.0;
};
TimelineFigures SummariseTimeline(const AudioStack& stack, const TimelineTally& tally, const AudioInfo* sourceInfo);

struct AudioRunStats {
    long long sampleFramesOut = 0;
    long long blocksOut = 0;
    double seconds = 0.0;
};

class MediaSink;

// Reads every block of `stage` into `sink`, with progress over
// `totalSeconds` of input (0 or less when unknown). Throws ProcessingError
// on a write failure.
AudioRunStats RunAudio(AudioDecoder* stage, MediaSink& sink, Progress& progress, double totalSeconds);

} // namespace dptool

#endif // DATAPROCESS_TOOL_AUDIOPIPELINE_H
