// The flat API: each function checks its handle and forwards one call.
#include "DataProcessC.h"

#include "AudioStages.h"
#include "Decoder.h"
#include "VideoStages.h"

namespace {

// Handles of the setters are the library's own stages, made by
// PCVideoCreate/PCAudioCreate.
VideoProcess* Video(VideoDecoder* h) { return static_cast<VideoProcess*>(h); }
AudioProcess* Audio(AudioDecoder* h) { return static_cast<AudioProcess*>(h); }

} // namespace

VideoDecoder* PCVideoCreate(VideoDecoder* decoder, const RESIZE_PARAM* resize, double frameRate)
{
    if (!decoder)
        return nullptr;
    return new VideoProcess(decoder, resize, frameRate);
}

void PCVideoDestroy(VideoDecoder* video) { delete video; }

AudioDecoder* PCAudioCreate(AudioDecoder* decoder, int sampleRate, int channels, int bitsPerSample,
                            unsigned int bEven)
{
    if (!decoder)
        return nullptr;
    return new AudioProcess(decoder, sampleRate, channels, bitsPerSample, bEven);
}

void PCAudioDestroy(AudioDecoder* audio) { delete audio; }

void PCSetCropRect(VideoDecoder* video, const tagRECT* crop)
{
    if (video)
        Video(video)->SetCropRect(crop, IMAGE_RESIZE_LETTERBOX);
}

void PCSetCropRectEx(VideoDecoder* video, const tagRECT* crop, IMAGE_RESIZE_METHOD method)
{
    if (video)
        Video(video)->SetCropRect(crop, method);
}

void PCSetRotation(VideoDecoder* video, int angle, int param)
{
    if (video)
        Video(video)->SetRotation(angle, param, 0);
}

void PCSetVideoBrightness(VideoDecoder* video, int brightness)
{
    if (video)
        Video(video)->SetBrightness(brightness);
}

void PCSetContrast(VideoDecoder* video, int contrast)
{
    if (video)
        Video(video)->SetContrast(contrast);
}

void PCSetVideoSaturation(VideoDecoder* video, int saturation)
{
    if (video)
        Video(video)->SetSaturation(saturation);
}

void PCSetExFilterFlag(VideoDecoder* video, unsigned int flags)
{
    if (video)
        Video(video)->SetExFilterFlag(flags);
}

void PCSetFlipFlag(VideoDecoder* video, unsigned int flags)
{
    if (video)
        Video(video)->SetFlipFlag(flags);
}

void PCSetVideoDeintelace(VideoDecoder* video, DEINTERLACE_STYLE style)
{
    if (video)
        Video(video)->SetDeintelace(style);
}

void PCSetWatermarkSrcID(VideoDecoder* video, void* source, const wchar_t* id, tagRECT* rect, int param)
{
    if (video)
        Video(video)->SetWatermarkSrcID(source, id, rect, param);
}

void PCSetWatermarkSrcIDAlign(VideoDecoder* video, void* source, const wchar_t* id, int align, int param)
{
    if (video)
        Video(video)->SetWatermarkSrcIDAlign(source, id, align, param);
}

void PCDisableWatermark(VideoDecoder* video, unsigned int disable)
{
    if (video)
        Video(video)->DisableWatermark(disable);
}

void PCSetWatermarkImage(VideoDecoder* video, tagBITMAPINFO* info, unsigned char* bits, tagRECT* rect, int percent)
{
    if (video)
        Video(video)->SetWatermarkImage(info, bits, rect, percent);
}

void PCSetWatermarkImageAlign(VideoDecoder* video, tagBITMAPINFO* info, unsigned char* bits, int align,
                              int percent)
{
    if (video)
        Video(video)->SetWatermarkImageAlign(info, bits, align, percent);
}

void PCSetUserWatermarkImage(VideoDecoder* video, tagBITMAPINFO* info, unsigned char* bits, tagFRECT* rect,
                             int percent)
{
    if (video)
        Video(video)->SetUserWatermarkImage(info, bits, rect, percent);
}

void PCSetUserSubPicture(VideoDecoder* video, tagUserSubPic* subPicture, int param)
{
    if (video)
        Video(video)->SetUserSubPic(subPicture, param);
}

void PCSetSubPicEx(VideoDecoder* video, tagUserSubPicEx* subPicture, int param)
{
    if (video)
        Video(video)->SetSubPicEx(subPicture, param);
}

void PCSetVolum(AudioDecoder* audio, int volume)
{
    if (audio)
        Audio(audio)->SetVolum(volume);
}

void PCSetFadeInOutTime(AudioDecoder* audio, double inStart, double inLength, double outStart, double outLength)
{
    if (audio)
        Audio(audio)->FadeInOut(inStart, inLength, outStart, outLength);
}

int PCSetAudioResampler(AudioDecoder* audio, int mode) { return audio ? Audio(audio)->SetResampler(mode) : 0; }

int PCGetAudioResampler(AudioDecoder* audio) { return audio ? Audio(audio)->GetResampler() : 0; }

int PCCaptureImage(VideoDecoder* video, wchar_t* path, int bJpeg, unsigned int reserved)
{
    if (!video)
        return 0;
    return Video(video)->CaptureImage(path, bJpeg, reserved);
}

void PCVideoSeek(VideoDecoder* video, double seconds, unsigned int flags)
{
    if (video)
        video->VideoSeekTime(seconds, flags);
}

void PCAudioSeek(AudioDecoder* audio, double seconds)
{
    if (audio)
        audio->AudioSeek(seconds);
}

const VideoInfo* PCGetVideoInfo(VideoDecoder* video) { return video ? video->GetVideoInfo() : nullptr; }

const AudioInfo* PCGetAudioInfo(AudioDecoder* audio) { return audio ? audio->GetAudioInfo() : nullptr; }

MEDIA_FRAME* PCGetVideoFrame(VideoDecoder* video)
{
    // The interface hands out a read-only view; the flat API gives hosts the
    // frame record as the stage owns it.
    return video ? const_cast<MEDIA_FRAME*>(video->GetFrame()) : nullptr;
}

int PCVideoForward(VideoDecoder* video, int count) { return video ? video->Forward(count) : 0; }

MEDIA_FRAME* PCGetNextAudioFrame(AudioDecoder* audio) { return audio ? audio->GetNextFrame() : nullptr; }
