// Decoders made of C callbacks: what they refuse, and how a source that
// fails half-way ends the stream with a status instead of a crash.
#include <gtest/gtest.h>

#include <cstring>
#include <tuple>
#include <string>
#include <vector>

#include "DataProcessCallbacks.h"
#include "Decoder.h"

namespace {

// A 16x8 source of `count` pictures whose faults are switched on by the test.
struct FakeVideo {
    int width = 16, height = 8, count = 10;
    double rate = 25.0;
    int infoResult = 1;
    int badAt = -1;         // picture index that comes out wrong
    std::string fault;      // "width", "plane", "pitch", "forward", "null"
    int index = 0, closes = 0;
    std::vector<unsigned char> planes = std::vector<unsigned char>(16 * 8 * 2, 100);
    MEDIA_FRAME frame{};
};

int VInfo(void* u, VideoInfo* info)
{
    auto* s = static_cast<FakeVideo*>(u);
    info->nWidth = s->width;
    info->nHeight = s->height;
    info->dFrameRate = s->rate;
    return s->infoResult;
}

const MEDIA_FRAME* VFrame(void* u)
{
    auto* s = static_cast<FakeVideo*>(u);
    if (s->index == s->badAt && s->fault == "null")
        return nullptr;
    MEDIA_FRAME& f = s->frame;
    f = MEDIA_FRAME{};
    f.nFrameType = MEDIA_FRAME_VIDEO;
    f.nWidth = 16;
    f.nHeight = 8;
    f.pY = s->planes.data();
    f.pU = f.pY + 16 * 8;
    f.pV = f.pU + 8 * 4;
    f.nPitchY = 16;
    f.nPitchU = f.nPitchV = 8;
    f.llStartTime = s->index * 400000LL;
    f.llStopTime = f.llStartTime + 399999;
    if (s->index == s->badAt) {
        if (s->fault == "width")
            f.nWidth = 32;
        else if (s->fault == "plane")
            f.pV = nullptr;
        else if (s->fault == "pitch")
            f.nPitchU = 4;
    }
    return &f;
}

int VForward(void* u, int n)
{
    auto* s = static_cast<FakeVideo*>(u);
    if (s->fault == "forward" && s->index + 1 == s->badAt)
        return -5;
    const int moved = s->index + n < s->count ? n : s->count - 1 - s->index;
    s->index += moved;
    return moved;
}

void VClose(void* u) { static_cast<FakeVideo*>(u)->closes++; }

DPVideoCallbacks VideoRecord(FakeVideo* s)
{
    DPVideoCallbacks cb{};
    cb.nSize = sizeof cb;
    cb.nVersion = DP_CALLBACKS_VERSION;
    cb.pUser = s;
    cb.GetInfo = VInfo;
    cb.GetFrame = VFrame;
    cb.Forward = VForward;
    cb.Close = VClose;
    return cb;
}

TEST(CallbackDecoder, RefusesBadRecordsAndDescriptions)
{
    struct Case {
        const char* name;
        void (*change)(DPVideoCallbacks*, FakeVideo*);
        const char* message;
    };
    const Case cases[] = {
        {"too small", [](DPVideoCallbacks* cb, FakeVideo*) { cb->nSize = 8; }, "nSize 8"},
        {"version 0", [](DPVideoCallbacks* cb, FakeVideo*) { cb->nVersion = 0; }, "nVersion 0"},
        {"no Forward", [](DPVideoCallbacks* cb, FakeVideo*) { cb->Forward = nullptr; }, "are required"},
        {"info fails", [](DPVideoCallbacks*, FakeVideo* s) { s->infoResult = -3; }, "GetInfo reported failure (-3)"},
        {"zero width", [](DPVideoCallbacks*, FakeVideo* s) { s->width = 0; }, "picture size 0x8"},
        {"no rate", [](DPVideoCallbacks*, FakeVideo* s) { s->rate = 0; }, "frame rate"},
    };
    for (const Case& c : cases) {
        FakeVideo s;
        DPVideoCallbacks cb = VideoRecord(&s);
        c.change(&cb, &s);
        char error[200] = "";
        EXPECT_EQ(PCVideoFromCallbacks(&cb, error, sizeof error), nullptr) << c.name;
        EXPECT_NE(std::string(error).find(c.message), std::string::npos) << c.name << ": " << error;
        EXPECT_EQ(s.closes, 0) << c.name; // nothing was taken over
    }
    char error[200] = "";
    EXPECT_EQ(PCVideoFromCallbacks(nullptr, error, sizeof error), nullptr);
    EXPECT_STREQ(error, "callbacks: the record is null");
    EXPECT_EQ(PCVideoFromCallbacks(nullptr, nullptr, 0), nullptr); // no message buffer: no write
}

TEST(CallbackDecoder, FaultsHalfWayEndTheStreamWithAStatus)
{
    struct Case {
        const char* fault;
        int status;
        const char* message;
    };
    const Case cases[] = {
        {"width", DP_CALLBACK_BAD_FRAME, "picture 4: size 32x8 differs from the stream's 16x8"},
        {"plane", DP_CALLBACK_BAD_FRAME, "picture 4: a null plane pointer"},
        {"pitch", DP_CALLBACK_BAD_FRAME, "narrower than the planes"},
        {"forward", -5, "Forward reported failure (-5)"},
        {"null", DP_CALLBACK_FAILED, "GetFrame gave no picture"},
        {"", DP_CALLBACK_ENDED, ""},
    };
    for (const Case& c : cases) {
        FakeVideo s;
        s.badAt = 4;
        s.fault = c.fault;
        DPVideoCallbacks cb = VideoRecord(&s);
        VideoDecoder* dec = PCVideoFromCallbacks(&cb, nullptr, 0);
        ASSERT_NE(dec, nullptr);
        RESIZE_PARAM resize{32, 16, IMAGE_INTERPOLATION_BILINEAR, IMAGE_RESIZE_LETTERBOX};
        VideoDecoder* stage = PCVideoCreate(dec, &resize, 25.0);
        int pictures = 0;
        while (PCGetVideoFrame(stage) && pictures < 100) {
            ++pictures;
            if (PCVideoForward(stage, 1) < 1)
                break;
        }
        const char* message = nullptr;
        EXPECT_EQ(PCVideoCallbackStatus(dec, &message), c.status) << c.fault;
        EXPECT_NE(std::string(message).find(c.message), std::string::npos) << c.fault << ": " << message;
        EXPECT_EQ(pictures, *c.fault ? 4 : 10) << c.fault;
        // After a failure the wrapper stays at the end.
        EXPECT_EQ(PCVideoForward(dec, 1), 0) << c.fault;
        PCVideoDestroy(stage);
        PCVideoDestroy(dec);
        EXPECT_EQ(s.closes, 1) << c.fault;
    }
    VideoDecoder* notOurs = nullptr;
    const char* message = nullptr;
    EXPECT_EQ(PCVideoCallbackStatus(notOurs, &message), DP_CALLBACK_FAILED);
}

TEST(CallbackDecoder, SeeksGoThroughTheHostOrReportThatItCannot)
{
    FakeVideo s;
    DPVideoCallbacks cb = VideoRecord(&s);
    // A record from a later version (larger) is read up to what this
    // library knows.
    struct Later {
        DPVideoCallbacks v1;
        void* extra;
    } later{cb, nullptr};
    later.v1.nSize = sizeof later;
    VideoDecoder* dec = PCVideoFromCallbacks(&later.v1, nullptr, 0);
    ASSERT_NE(dec, nullptr);
    PCVideoSeek(dec, 1.0, 0); // no SeekTime: nothing happens
    EXPECT_EQ(PCGetVideoFrame(dec)->llStartTime, 0);
    PCVideoDestroy(dec);

    cb.SeekTime = [](void* u, double t, unsigned) {
        static_cast<FakeVideo*>(u)->index = int(t * 25);
        return t;
    };
    dec = PCVideoFromCallbacks(&cb, nullptr, 0);
    // Without SeekFrame, frame 6 is 6 / 25 s.
    EXPECT_EQ(dec->VideoSeek(6, 0), 6);
    EXPECT_EQ(PCGetVideoFrame(dec)->llStartTime, 6 * 400000LL);
    EXPECT_EQ(dec->GetFrameOffset(), 6);
    PCVideoDestroy(dec);
}

struct FakeAudio {
    int channels = 2, bits = 16;
    std::string fault; // "odd", "rate", "status"
    int blocks = 0;
    std::vector<int16_t> pcm = std::vector<int16_t>(2 * 441, 1000);
    MEDIA_FRAME block{};
};

int AInfo(void* u, AudioInfo* info)
{
    auto* s = static_cast<FakeAudio*>(u);
    info->nSampleRate = 44100;
    info->nChannels = s->channels;
    info->nBitsPerSample = s->bits;
    return 1;
}

const MEDIA_FRAME* ANext(void* u, int* status)
{
    auto* s = static_cast<FakeAudio*>(u);
    if (s->blocks == 10)
        return nullptr;
    if (s->blocks == 3 && s->fault == "status") {
        *status = -7;
        return nullptr;
    }
    MEDIA_FRAME& b = s->block;
    b = MEDIA_FRAME{};
    b.nFrameType = MEDIA_FRAME_AUDIO;
    b.nSampleRate = (s->blocks == 3 && s->fault == "rate") ? 48000 : 44100;
    b.nChannels = 2;
    b.nBitsPerSample = 16;
    b.pData = reinterpret_cast<unsigned char*>(s->pcm.data());
    b.nBufferSize = b.nDataSize = int32_t(s->pcm.size() * 2);
    if (s->blocks == 3 && s->fault == "odd")
        b.nDataSize -= 2;
    b.llStartTime = b.llStopTime = s->blocks * 100000LL;
    b.nDuration = 100000;
    ++s->blocks;
    return &b;
}

TEST(CallbackDecoder, AudioRefusalsAndFaults)
{
    for (auto [channels, bits, message] : {std::tuple{9, 16, "9 channels"}, std::tuple{2, 24, "24 bits"}}) {
        FakeAudio s;
        s.channels = channels;
        s.bits = bits;
        DPAudioCallbacks cb{sizeof cb, DP_CALLBACKS_VERSION, &s, AInfo, ANext, nullptr, nullptr, nullptr};
        char error[200] = "";
        EXPECT_EQ(PCAudioFromCallbacks(&cb, error, sizeof error), nullptr);
        EXPECT_NE(std::string(error).find(message), std::string::npos) << error;
    }
    struct Case {
        const char* fault;
        int status;
        const char* message;
    };
    const Case cases[] = {
        {"odd", DP_CALLBACK_BAD_FRAME, "block 3: nDataSize 1762 is not a whole number of 4-byte sample frames"},
        {"rate", DP_CALLBACK_BAD_FRAME, "format 48000 Hz/2 ch/16 bits differs"},
        {"status", -7, "GetNextFrame reported failure (-7)"},
        {"", DP_CALLBACK_ENDED, ""},
    };
    for (const Case& c : cases) {
        FakeAudio s;
        s.fault = c.fault;
        DPAudioCallbacks cb{sizeof cb, DP_CALLBACKS_VERSION, &s, AInfo, ANext, nullptr, nullptr, nullptr};
        AudioDecoder* dec = PCAudioFromCallbacks(&cb, nullptr, 0);
        ASSERT_NE(dec, nullptr);
        AudioDecoder* stage = PCAudioCreate(dec, 48000, 1, 16, 1);
        long long bytes = 0;
        while (MEDIA_FRAME* b = PCGetNextAudioFrame(stage))
            bytes += b->nDataSize;
        const char* message = nullptr;
        EXPECT_EQ(PCAudioCallbackStatus(dec, &message), c.status) << c.fault;
        EXPECT_NE(std::string(message).find(c.message), std::string::npos) << c.fault << ": " << message;
        // Three good blocks of 10 ms (or all ten), at 48 kHz mono.
        EXPECT_NEAR(double(bytes), (*c.fault ? 3 : 10) * 960.0, 200.0) << c.fault;
        EXPECT_NEAR(dec->GetOffset(), (*c.fault ? 3 : 10) * 0.01, 1e-9) << c.fault;
        PCAudioDestroy(stage);
        PCAudioDestroy(dec);
    }
}

} // namespace
