// DPMediaWriter: the FFmpeg writer behind a C handle.
#include "DataProcessMedia.h"

#include <exception>
#include <new>
#include <string>

#include "FfmpegWriter.h"
#include "MediaText.h"

struct DPMediaWriter {
    FfmpegWriter writer;
};

namespace {

// The fields of a caller's record that its nSize covers.
template <class Field> bool Has(const DPMediaOutputFormat* f, const Field& field)
{
    const size_t end = static_cast<size_t>(reinterpret_cast<const char*>(&field) + sizeof field -
                                           reinterpret_cast<const char*>(f));
    return f->nSize >= end;
}

} // namespace

void DPMediaOutputFormatInit(DPMediaOutputFormat* format)
{
    if (!format)
        return;
    *format = DPMediaOutputFormat{};
    format->nSize = sizeof *format;
    format->nRateNum = 25;
    format->nRateDen = 1;
    format->nCrf = -1;
}

DPMediaWriter* DPMediaWriterOpen(const char* path, const DPMediaOutputFormat* format, char* error, size_t errorSize)
{
    if (!path || !format) {
        dpmedia::WriteError(error, errorSize, "no file name or format given");
        return nullptr;
    }
    if (!Has(format, format->llAudioBitrate)) {
        dpmedia::WriteError(error, errorSize, std::string(path) +
                                                  ": the format record is too small (fill it with DPMediaOutputFormatInit)");
        return nullptr;
    }
    FfmpegOutputFormat f;
    f.width = format->nWidth;
    f.height = format->nHeight;
    f.rateNum = format->nRateNum;
    f.rateDen = format->nRateDen;
    f.aspectX = format->nAspectX;
    f.aspectY = format->nAspectY;
    f.videoCodec = format->videoCodec ? format->videoCodec : "";
    f.crf = format->nCrf;
    f.videoBitrate = format->llVideoBitrate;
    f.preset = format->preset ? format->preset : "";
    f.sampleRate = format->nSampleRate;
    f.channels = format->nChannels;
    f.audioCodec = format->audioCodec ? format->audioCodec : "";
    f.audioBitrate = format->llAudioBitrate;
    const std::string name(path);
    std::string why;
    if (f.width < 0 || f.height < 0 || (f.width > 0 && (f.height <= 0 || f.rateNum <= 0 || f.rateDen <= 0)))
        why = name + ": the video format needs a size and a positive frame rate";
    else if (f.sampleRate < 0 || (f.sampleRate > 0 && (f.channels < 1 || f.channels > 8)))
        why = name + ": the audio format needs 1 to 8 channels";
    else if (f.width == 0 && f.sampleRate == 0)
        why = name + ": neither video nor audio to write";
    else if (f.crf > 51)
        why = name + ": crf " + std::to_string(f.crf) + " is outside 0..51";
    if (!why.empty()) {
        dpmedia::WriteError(error, errorSize, why);
        return nullptr;
    }
    DPMediaWriter* w = new (std::nothrow) DPMediaWriter;
    if (!w) {
        dpmedia::WriteError(error, errorSize, name + ": out of memory");
        return nullptr;
    }
    try {
        if (FfmpegWriter::ChooseCodecs(name, &f, &why) && w->writer.Open(name, f))
            return w;
        if (why.empty())
            why = w->writer.LastError();
    } catch (const std::exception& e) {
        why = name + ": " + e.what();
    }
    dpmedia::WriteError(error, errorSize, why);
    delete w;
    return nullptr;
}

int DPMediaWriterVideo(DPMediaWriter* writer, const MEDIA_FRAME* frame)
{
    return writer && frame && writer->writer.WriteVideo(frame) ? 1 : 0;
}

int DPMediaWriterAudio(DPMediaWriter* writer, const MEDIA_FRAME* block)
{
    return writer && block && writer->writer.WriteAudio(block) ? 1 : 0;
}

int DPMediaWriterCommit(DPMediaWriter* writer) { return writer && writer->writer.Commit() ? 1 : 0; }

const char* DPMediaWriterError(DPMediaWriter* writer) { return writer ? writer->writer.LastError().c_str() : ""; }

void DPMediaWriterClose(DPMediaWriter* writer)
{
    if (!writer)
        return;
    writer->writer.Discard();
    delete writer;
}
