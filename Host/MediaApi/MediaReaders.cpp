// DPMediaVideo and DPMediaAudio: the FFmpeg sources behind C handles.
#include "DataProcessMedia.h"

#include <exception>
#include <memory>
#include <new>
#include <string>

#include "FfmpegAudioSource.h"
#include "FfmpegVideoSource.h"
#include "HostFile.h"
#include "InclusiveStopSource.h"
#include "MediaText.h"

struct DPMediaVideo {
    FfmpegVideoSource source;
    // What stages see: the source with stop times on the last tick each
    // picture covers (the tool reads files the same way).
    dptool::InclusiveStopSource stamped{&source};
    std::string text;
};

struct DPMediaAudio {
    FfmpegAudioSource source;
    std::string text;
};

namespace {

// Opens a source of type Handle; null with the reason when it cannot.
template <class Handle> Handle* OpenHandle(const char* path, char* error, size_t errorSize)
{
    if (!path) {
        dpmedia::WriteError(error, errorSize, "no file name given");
        return nullptr;
    }
    std::unique_ptr<Handle> h(new (std::nothrow) Handle);
    if (!h) {
        dpmedia::WriteError(error, errorSize, std::string(path) + ": out of memory");
        return nullptr;
    }
    try {
        if (h->source.OpenPath(path) != HOSTFILE_OK) {
            dpmedia::WriteError(error, errorSize, h->source.LastError());
            return nullptr;
        }
    } catch (const std::exception& e) {
        dpmedia::WriteError(error, errorSize, std::string(path) + ": " + e.what());
        return nullptr;
    }
    return h.release();
}

} // namespace

DPMediaVideo* DPMediaVideoOpen(const char* path, char* error, size_t errorSize)
{
    DPMediaVideo* v = OpenHandle<DPMediaVideo>(path, error, errorSize);
    if (v && !v->source.GetFrame()) {
        dpmedia::WriteError(error, errorSize, std::string(path) + ": the video stream holds no picture");
        delete v;
        return nullptr;
    }
    return v;
}

VideoDecoder* DPMediaVideoDecoder(DPMediaVideo* video) { return video ? &video->stamped : nullptr; }

double DPMediaVideoDuration(DPMediaVideo* video) { return video ? video->source.DurationUnits() / 1e7 : 0.0; }

int DPMediaVideoVariableRate(DPMediaVideo* video) { return video && video->source.VariableRate() ? 1 : 0; }

const char* DPMediaVideoDescription(DPMediaVideo* video) { return video ? video->source.Description().c_str() : ""; }

const char* DPMediaVideoWarning(DPMediaVideo* video) { return video ? video->source.Warning().c_str() : ""; }

long long DPMediaVideoDamagedPackets(DPMediaVideo* video) { return video ? video->source.DamagedPackets() : 0; }

const char* DPMediaVideoError(DPMediaVideo* video)
{
    if (!video)
        return "";
    video->text = video->source.LastError();
    return video->text.c_str();
}

void DPMediaVideoClose(DPMediaVideo* video) { delete video; }

DPMediaAudio* DPMediaAudioOpen(const char* path, char* error, size_t errorSize)
{
    return OpenHandle<DPMediaAudio>(path, error, errorSize);
}

AudioDecoder* DPMediaAudioDecoder(DPMediaAudio* audio) { return audio ? &audio->source : nullptr; }

double DPMediaAudioDuration(DPMediaAudio* audio) { return audio ? audio->source.DurationUnits() / 1e7 : 0.0; }

const char* DPMediaAudioDescription(DPMediaAudio* audio) { return audio ? audio->source.Description().c_str() : ""; }

long long DPMediaAudioDamagedPackets(DPMediaAudio* audio) { return audio ? audio->source.DamagedPackets() : 0; }

const char* DPMediaAudioError(DPMediaAudio* audio)
{
    if (!audio)
        return "";
    audio->text = audio->source.LastError();
    return audio->text.c_str();
}

void DPMediaAudioClose(DPMediaAudio* audio) { delete audio; }
