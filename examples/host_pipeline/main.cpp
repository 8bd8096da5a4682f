// A host program: it owns a video decoder and an audio decoder (here the
// synthetic ones from Host/, standing in for a real demultiplexer), stacks
// DataProcess stages over them and reads processed media exactly as it would
// read decoded media.
//
//   decoder -> VideoProcess (-> its own constant-rate stage) -> host
//   decoder -> AudioProcess (-> timeline stage, converter)    -> host
#include <DataProcess/DataProcess.h>

#include <cstdio>

#include "SyntheticAudioSource.h"
#include "SyntheticVideoSource.h"

int main()
{
    // The host opens its decoders first; the stages never destroy them.
    SyntheticVideoConfig vc;
    vc.width = 720;
    vc.height = 576;
    vc.frameRate = 25.0;
    vc.frameCount = 50;
    vc.aspectX = 16; // a 16:9 PAL picture
    vc.aspectY = 9;
    SyntheticVideoSource videoDecoder(vc);

    SyntheticAudioConfig ac;
    ac.sampleRate = 44100;
    ac.channels = 2;
    ac.totalFrames = 2 * 44100;
    SyntheticAudioSource audioDecoder(ac);

    {
        // 1280x720 letterboxed, 30 frames per second: the stage puts a
        // constant-rate stage between itself and the decoder.
        RESIZE_PARAM resize{1280, 720, IMAGE_INTERPOLATION_BILINEAR, IMAGE_RESIZE_LETTERBOX};
        VideoProcess video(&videoDecoder, &resize, 30.0);
        video.SetBrightness(10);
        video.SetExFilterFlag(32); // old photo

        int frames = 0;
        do {
            const MEDIA_FRAME* f = video.GetFrame(); // valid until the next call on `video`
            if (!f)
                break;
            if (frames == 0)
                std::printf("video: %dx%d, first picture at %lld (100 ns)\n", f->nWidth, f->nHeight,
                            static_cast<long long>(f->llStartTime));
            ++frames;
        } while (video.Forward(1) == 1);
        std::printf("video: %d pictures at %.0f fps\n", frames, video.GetVideoInfo()->dFrameRate);
    } // the stage is gone; videoDecoder is still the host's

    // The same through the flat API: 48 kHz mono with a one-second fade in.
    AudioDecoder* audio = PCAudioCreate(&audioDecoder, 48000, 1, 16, 1);
    PCSetFadeInOutTime(audio, 0.0, 1.0, 0.0, 0.0);
    long long bytes = 0;
    while (MEDIA_FRAME* block = PCGetNextAudioFrame(audio))
        bytes += block->nDataSize;
    const AudioInfo* info = PCGetAudioInfo(audio);
    std::printf("audio: %lld samples at %d Hz, %d channel(s)\n", bytes / (info->nBitsPerSample / 8 * info->nChannels),
                info->nSampleRate, info->nChannels);
    PCAudioDestroy(audio);
    return bytes > 0 ? 0 : 1;
}
