/* The media C API from C99: a lossless file written through
 * DPMediaWriter reads back byte for byte through DPMediaVideo/DPMediaAudio
 * and a stage, and each bad input gives a message instead of a handle.
 * Argument: a scratch folder. */
#include <DataProcess/DataProcessC.h>
#include <DataProcess/DataProcessMedia.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int failures = 0;

#define CHECK(cond)                                                                                \
    do {                                                                                           \
        if (!(cond)) {                                                                             \
            fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #cond);                             \
            ++failures;                                                                            \
        }                                                                                          \
    } while (0)

enum { W = 64, H = 48, PICTURES = 10, RATE = 48000 };

static unsigned char Pixel(int picture, int plane, int x, int y) { return (unsigned char)(20 + plane * 50 + x + y * 2 + picture * 7); }

static void MakePicture(MEDIA_FRAME* f, unsigned char* planes, int picture)
{
    unsigned char* p[3] = {planes, planes + W * H, planes + W * H + (W / 2) * (H / 2)};
    for (int k = 0; k < 3; ++k) {
        const int w = k ? W / 2 : W, h = k ? H / 2 : H;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                p[k][y * w + x] = Pixel(picture, k, x, y);
    }
    memset(f, 0, sizeof *f);
    f->nFrameType = MEDIA_FRAME_VIDEO;
    f->pY = p[0];
    f->pU = p[1];
    f->pV = p[2];
    f->nWidth = W;
    f->nHeight = H;
    f->nPitchY = W;
    f->nPitchU = f->nPitchV = W / 2;
    f->llStartTime = (long long)picture * 400000;
    f->llStopTime = f->llStartTime + 400000;
    f->nDuration = 400000;
}

static void MakeBlock(MEDIA_FRAME* b, short* pcm, int index)
{
    for (int i = 0; i < 1024; ++i)
        pcm[i] = (short)((i * 37 + index * 11) % 2000 - 1000);
    memset(b, 0, sizeof *b);
    b->nFrameType = MEDIA_FRAME_AUDIO;
    b->nSampleRate = RATE;
    b->nChannels = 1;
    b->nBitsPerSample = 16;
    b->pData = (unsigned char*)pcm;
    b->nDataSize = b->nBufferSize = 2048;
    b->llStartTime = b->llStopTime = (long long)index * 1024 * 10000000 / RATE;
}

int main(int argc, char** argv)
{
    if (argc < 2)
        return 2;
    char mkv[512], flac[512], bad[512], error[256];
    snprintf(mkv, sizeof mkv, "%s/media-api.mkv", argv[1]);
    snprintf(flac, sizeof flac, "%s/media-api.flac", argv[1]);
    snprintf(bad, sizeof bad, "%s/media-api.mp4", argv[1]);
    unsigned char* planes = (unsigned char*)malloc(W * H * 2);
    short pcm[1024];
    MEDIA_FRAME f;

    /* Write: FFV1 + FLAC in Matroska, then FLAC alone. */
    DPMediaOutputFormat fmt;
    DPMediaOutputFormatInit(&fmt);
    fmt.nWidth = W;
    fmt.nHeight = H;
    fmt.videoCodec = "ffv1";
    fmt.nSampleRate = RATE;
    fmt.nChannels = 1;
    DPMediaWriter* w = DPMediaWriterOpen(mkv, &fmt, error, sizeof error);
    CHECK(w != NULL);
    for (int i = 0; i < PICTURES; ++i) {
        MakePicture(&f, planes, i);
        CHECK(DPMediaWriterVideo(w, &f) == 1);
        MakeBlock(&f, pcm, i);
        CHECK(DPMediaWriterAudio(w, &f) == 1);
    }
    CHECK(DPMediaWriterCommit(w) == 1);
    DPMediaWriterClose(w);
    fmt.nWidth = 0;
    w = DPMediaWriterOpen(flac, &fmt, error, sizeof error);
    MakeBlock(&f, pcm, 0);
    CHECK(DPMediaWriterAudio(w, &f) == 1 && DPMediaWriterCommit(w) == 1);
    DPMediaWriterClose(w);

    /* Read the pictures back through a stage that changes nothing but the
     * rate source: the same bytes, on the file's grid. */
    DPMediaVideo* v = DPMediaVideoOpen(mkv, error, sizeof error);
    CHECK(v != NULL);
    CHECK(strstr(DPMediaVideoDescription(v), "ffv1") != NULL);
    VideoDecoder* stage = PCVideoCreate(DPMediaVideoDecoder(v), NULL, 0.0);
    int n = 0, same = 1;
    for (const MEDIA_FRAME* g = PCGetVideoFrame(stage); g; g = PCVideoForward(stage, 1) == 1 ? PCGetVideoFrame(stage) : NULL) {
        for (int y = 0; y < H; ++y)
            for (int x = 0; x < W; ++x)
                same &= g->pY[y * g->nPitchY + x] == Pixel(n, 0, x, y);
        same &= g->llStartTime == (long long)n * 400000;
        ++n;
    }
    CHECK(same);
    CHECK(n == PICTURES);
    CHECK(DPMediaVideoError(v)[0] == '\0');
    PCVideoDestroy(stage);
    DPMediaVideoClose(v);

    DPMediaAudio* a = DPMediaAudioOpen(mkv, error, sizeof error);
    CHECK(a != NULL);
    long long bytes = 0;
    int first = 1;
    for (MEDIA_FRAME* b = PCGetNextAudioFrame(DPMediaAudioDecoder(a)); b; b = PCGetNextAudioFrame(DPMediaAudioDecoder(a))) {
        if (first)
            CHECK(memcmp(b->pData, pcm, 64) == 0 || b->nDataSize < 64);
        first = 0;
        bytes += b->nDataSize;
    }
    CHECK(bytes == PICTURES * 2048);
    DPMediaAudioClose(a);

    /* Bad inputs: a message, no handle. */
    struct {
        const char* path;
        const char* expect;
        int video;
    } refusals[] = {
        {"/nonexistent/in.mp4", "cannot open", 1},
        {flac, "no video stream", 1},
        {"/nonexistent/in.mp4", "cannot open", 0},
    };
    for (size_t i = 0; i < sizeof refusals / sizeof refusals[0]; ++i) {
        error[0] = '\0';
        if (refusals[i].video)
            CHECK(DPMediaVideoOpen(refusals[i].path, error, sizeof error) == NULL);
        else
            CHECK(DPMediaAudioOpen(refusals[i].path, error, sizeof error) == NULL);
        if (!strstr(error, refusals[i].expect)) {
            fprintf(stderr, "refusal %d: '%s'\n", (int)i, error);
            ++failures;
        }
    }
    DPMediaOutputFormatInit(&fmt);
    fmt.nWidth = W;
    fmt.nHeight = H;
    fmt.videoCodec = "ffv1";
    CHECK(DPMediaWriterOpen(bad, &fmt, error, sizeof error) == NULL && strstr(error, "mp4") != NULL);
    fmt.nCrf = 60;
    fmt.videoCodec = NULL;
    CHECK(DPMediaWriterOpen(bad, &fmt, error, sizeof error) == NULL && strstr(error, "crf 60") != NULL);
    fmt.nSize = 8;
    CHECK(DPMediaWriterOpen(bad, &fmt, error, sizeof error) == NULL && strstr(error, "too small") != NULL);
    /* A writer closed without commit leaves nothing. */
    DPMediaOutputFormatInit(&fmt);
    fmt.nSampleRate = RATE;
    fmt.nChannels = 1;
    w = DPMediaWriterOpen(flac, &fmt, error, sizeof error);
    CHECK(w != NULL);
    remove(flac);
    DPMediaWriterClose(w);
    FILE* left = fopen(flac, "rb");
    CHECK(left == NULL);
    if (left)
        fclose(left);
    /* Null handles do nothing. */
    CHECK(DPMediaVideoDecoder(NULL) == NULL && DPMediaAudioDecoder(NULL) == NULL);
    CHECK(DPMediaWriterVideo(NULL, &f) == 0 && DPMediaWriterCommit(NULL) == 0);
    DPMediaVideoClose(NULL);
    DPMediaWriterClose(NULL);

    free(planes);
    remove(mkv);
    if (failures)
        fprintf(stderr, "MediaApiTest: %d checks failed\n", failures);
    return failures ? 1 : 0;
}
