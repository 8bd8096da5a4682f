/* A C99 host that makes its own frames: a moving gradient at 25 fps and a
 * 440 Hz tone at 44.1 kHz, handed to the library through C callbacks
 * (DataProcessCallbacks.h) and read back through the flat API after a video
 * stage (160x90 letterboxed, 10 fps) and an audio stage (48 kHz
 * mono). Any language that can call C can do the same.
 *
 * Exits 0 when the stages gave what they should. */
#include <DataProcess/DataProcessC.h>
#include <DataProcess/DataProcessCallbacks.h>

#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* ---- the video source: 2 s of 64x48 pictures ---- */

enum { W = 64, H = 48, FPS = 25, PICTURES = 50 };

typedef struct Gradient {
    unsigned char y[W * H], u[(W / 2) * (H / 2)], v[(W / 2) * (H / 2)];
    MEDIA_FRAME frame;
    int index;
    int closed;
} Gradient;

/* Draws picture `index` into the planes and stamps it. */
static void Draw(Gradient* g)
{
    for (int r = 0; r < H; ++r)
        for (int c = 0; c < W; ++c)
            g->y[r * W + c] = (unsigned char)(16 + (c * 3 + g->index * 4) % 220);
    memset(g->u, 128, sizeof g->u);
    memset(g->v, 128, sizeof g->v);
    memset(&g->frame, 0, sizeof g->frame);
    g->frame.nFrameType = MEDIA_FRAME_VIDEO;
    g->frame.pY = g->y;
    g->frame.pU = g->u;
    g->frame.pV = g->v;
    g->frame.nWidth = W;
    g->frame.nHeight = H;
    g->frame.nPitchY = W;
    g->frame.nPitchU = W / 2;
    g->frame.nPitchV = W / 2;
    g->frame.llStartTime = (int64_t)g->index * DP_TIME_UNITS_PER_SECOND / FPS;
    /* The last tick the picture covers, so that a grid time at a picture
     * boundary goes to the picture starting there. */
    g->frame.llStopTime = (int64_t)(g->index + 1) * DP_TIME_UNITS_PER_SECOND / FPS - 1;
    g->frame.nDuration = (int32_t)(DP_TIME_UNITS_PER_SECOND / FPS);
}

static int VideoInfoCb(void* user, VideoInfo* info)
{
    (void)user;
    info->nWidth = W;
    info->nHeight = H;
    info->dFrameRate = FPS;
    info->nFrameCount = PICTURES;
    return 1;
}

static const MEDIA_FRAME* VideoFrameCb(void* user)
{
    Gradient* g = (Gradient*)user;
    return g->index < PICTURES ? &g->frame : NULL;
}

static int VideoForwardCb(void* user, int count)
{
    Gradient* g = (Gradient*)user;
    int moved = 0;
    while (moved < count && g->index + 1 < PICTURES) {
        ++g->index;
        ++moved;
    }
    Draw(g);
    return moved;
}

static double VideoSeekCb(void* user, double seconds, unsigned int flags)
{
    Gradient* g = (Gradient*)user;
    (void)flags;
    int index = (int)floor(seconds * FPS);
    if (index < 0)
        index = 0;
    if (index >= PICTURES)
        index = PICTURES - 1;
    g->index = index;
    Draw(g);
    return (double)index / FPS;
}

static void VideoCloseCb(void* user) { ((Gradient*)user)->closed += 1; }

/* ---- the audio source: 1 s of a 440 Hz stereo tone in blocks of 1000 ---- */

enum { RATE = 44100, BLOCK = 1000 };

typedef struct Tone {
    int16_t samples[BLOCK * 2];
    MEDIA_FRAME block;
    long position; /* sample frames handed out */
} Tone;

static int AudioInfoCb(void* user, AudioInfo* info)
{
    (void)user;
    info->nSampleRate = RATE;
    info->nChannels = 2;
    info->nBitsPerSample = 16;
    return 1;
}

static const MEDIA_FRAME* AudioNextCb(void* user, int* status)
{
    Tone* t = (Tone*)user;
    (void)status;
    long n = RATE - t->position;
    if (n <= 0)
        return NULL;
    if (n > BLOCK)
        n = BLOCK;
    for (long i = 0; i < n; ++i) {
        const double s = sin(2.0 * 3.14159265358979 * 440.0 * (double)(t->position + i) / RATE);
        t->samples[2 * i] = t->samples[2 * i + 1] = (int16_t)(s * 8000.0);
    }
    memset(&t->block, 0, sizeof t->block);
    t->block.nFrameType = MEDIA_FRAME_AUDIO;
    t->block.nSampleRate = RATE;
    t->block.nChannels = 2;
    t->block.nBitsPerSample = 16;
    t->block.pData = (unsigned char*)t->samples;
    t->block.nDataSize = (int32_t)(n * 4);
    t->block.nBufferSize = (int32_t)sizeof t->samples;
    t->block.llStartTime = t->block.llStopTime = (int64_t)t->position * DP_TIME_UNITS_PER_SECOND / RATE;
    t->block.nDuration = (int32_t)(n * DP_TIME_UNITS_PER_SECOND / RATE);
    t->position += n;
    return &t->block;
}

int main(void)
{
    char error[256] = "";
    int failures = 0;

    /* Video: the callbacks become a decoder, the decoder gets a stage. */
    Gradient* g = (Gradient*)calloc(1, sizeof *g);
    if (!g)
        return 1;
    Draw(g);
    DPVideoCallbacks vcb;
    memset(&vcb, 0, sizeof vcb);
    vcb.nSize = sizeof vcb;
    vcb.nVersion = DP_CALLBACKS_VERSION;
    vcb.pUser = g;
    vcb.GetInfo = VideoInfoCb;
    vcb.GetFrame = VideoFrameCb;
    vcb.Forward = VideoForwardCb;
    vcb.SeekTime = VideoSeekCb;
    vcb.Close = VideoCloseCb;
    VideoDecoder* decoder = PCVideoFromCallbacks(&vcb, error, sizeof error);
    if (!decoder) {
        fprintf(stderr, "video: %s\n", error);
        free(g);
        return 1;
    }
    RESIZE_PARAM resize = {160, 90, IMAGE_INTERPOLATION_BILINEAR, IMAGE_RESIZE_LETTERBOX};
    VideoDecoder* stage = PCVideoCreate(decoder, &resize, 10.0);

    int pictures = 0;
    long long lastStart = -1;
    for (const MEDIA_FRAME* f = PCGetVideoFrame(stage); f; f = PCVideoForward(stage, 1) == 1 ? PCGetVideoFrame(stage) : NULL) {
        if (f->nWidth != 160 || f->nHeight != 90 || f->llStartTime <= lastStart)
            ++failures;
        /* 4:3 into 16:9: the side bars stay black, the middle is picture. */
        if (f->pY[45 * f->nPitchY + 2] != 16 || f->pY[45 * f->nPitchY + 80] <= 16)
            ++failures;
        lastStart = f->llStartTime;
        ++pictures;
    }
    int status = PCVideoCallbackStatus(decoder, NULL);
    printf("video: %d pictures of 160x90 at 10 fps from %d callback pictures at %d fps (status %d)\n", pictures,
           PICTURES, FPS, status);
    /* Grid times 0, 0.1, ... 2.0 s: the constant-rate stage lets the last
     * picture also stand for the grid time where the stream ends. */
    if (pictures != 21 || status != DP_CALLBACK_ENDED)
        ++failures;
    PCVideoDestroy(stage);   /* the stage first: it reads the decoder */
    PCVideoDestroy(decoder); /* then the wrapper, which calls Close once */
    if (g->closed != 1)
        ++failures;
    free(g);

    /* Audio. */
    Tone* t = (Tone*)calloc(1, sizeof *t);
    if (!t)
        return 1;
    DPAudioCallbacks acb;
    memset(&acb, 0, sizeof acb);
    acb.nSize = sizeof acb;
    acb.nVersion = DP_CALLBACKS_VERSION;
    acb.pUser = t;
    acb.GetInfo = AudioInfoCb;
    acb.GetNextFrame = AudioNextCb;
    AudioDecoder* adecoder = PCAudioFromCallbacks(&acb, error, sizeof error);
    if (!adecoder) {
        fprintf(stderr, "audio: %s\n", error);
        free(t);
        return 1;
    }
    AudioDecoder* astage = PCAudioCreate(adecoder, 48000, 1, 16, 1);
    long long bytes = 0;
    int peak = 0;
    for (MEDIA_FRAME* b = PCGetNextAudioFrame(astage); b; b = PCGetNextAudioFrame(astage)) {
        const int16_t* s = (const int16_t*)b->pData;
        for (int i = 0; i < b->nDataSize / 2; ++i)
            peak = abs(s[i]) > peak ? abs(s[i]) : peak;
        bytes += b->nDataSize;
    }
    status = PCAudioCallbackStatus(adecoder, NULL);
    printf("audio: %lld samples of 48 kHz mono from 1 s of 44.1 kHz stereo, peak %d (status %d)\n", bytes / 2, peak,
           status);
    /* One second at 48 kHz, give or take the resampler's last block. */
    if (bytes / 2 < 47900 || bytes / 2 > 48100 || peak < 7000 || peak > 8100 || status != DP_CALLBACK_ENDED)
        ++failures;
    PCAudioDestroy(astage);
    PCAudioDestroy(adecoder);
    free(t);

    if (failures)
        fprintf(stderr, "callback_source: %d checks failed\n", failures);
    return failures ? 1 : 0;
}
