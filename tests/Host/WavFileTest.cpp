#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>
#include <utility>

#include <DataProcess/Frame.h>

#include "FileTestSupport.h"
#include "WavAudioSource.h"
#include "WavFormat.h"
#include "WavWriter.h"

namespace {

using filetest::Bytes;

Bytes SampleData(size_t bytes)
{
    Bytes b(bytes);
    for (size_t i = 0; i < bytes; ++i)
        b[i] = static_cast<unsigned char>(i * 37 + (i >> 7) * 11 + 3);
    return b;
}

// Little-endian fields of the given byte widths.
void Put(Bytes* b, std::initializer_list<std::pair<uint32_t, int>> fields)
{
    for (const auto& [value, bytes] : fields)
        for (int i = 0; i < bytes; ++i)
            b->push_back(static_cast<unsigned char>(value >> (8 * i)));
}

// A fmt chunk body, written by hand; with a channel mask it is
// WAVE_FORMAT_EXTENSIBLE with `tag` as the sub-format.
Bytes Fmt(unsigned tag, unsigned channels, uint32_t rate, unsigned bits, int64_t mask = -1)
{
    Bytes f;
    const unsigned align = channels * bits / 8;
    Put(&f, {{mask >= 0 ? unsigned(wav::FORMAT_EXTENSIBLE) : tag, 2}, {channels, 2}, {rate, 4}, {rate * align, 4},
             {align, 2}, {bits, 2}});
    if (mask >= 0) {
        Put(&f, {{22, 2}, {bits, 2}, {static_cast<uint32_t>(mask), 4}, {tag, 4}});
        f.insert(f.end(), wav::kSubFormatTail, wav::kSubFormatTail + sizeof(wav::kSubFormatTail));
    }
    return f;
}

// A chunk declaring `declared` bytes (by default its size, then padded when odd).
void Chunk(Bytes* b, const char* id, const Bytes& body, int64_t declared = -1)
{
    b->insert(b->end(), id, id + 4);
    Put(b, {{static_cast<uint32_t>(declared >= 0 ? declared : static_cast<int64_t>(body.size())), 4}});
    b->insert(b->end(), body.begin(), body.end());
    if (declared < 0 && (body.size() & 1))
        b->push_back(0);
}

// RIFF/WAVE around `chunks`, declaring `riffSize` (0: the real size).
Bytes Riff(const Bytes& chunks, uint32_t riffSize = 0)
{
    Bytes b = {'R', 'I', 'F', 'F'};
    Put(&b, {{riffSize ? riffSize : static_cast<uint32_t>(chunks.size() + 4), 4}});
    filetest::Append(&b, "WAVE");
    b.insert(b.end(), chunks.begin(), chunks.end());
    return b;
}

Bytes Wav(const Bytes& fmt, const Bytes& samples, int64_t declared = -1, uint32_t riffSize = 0)
{
    Bytes chunks;
    Chunk(&chunks, "fmt ", fmt);
    Chunk(&chunks, "data", samples, declared);
    return Riff(chunks, riffSize);
}

// Everything a source delivers. Block stamps are checked on the way: the
// start in both stamps, at the rounded time of the block's first sample
// frame, and each block's duration reaching the next block's start.
struct ReadResult {
    Bytes data;
    int blocks = 0;
    int64_t end = 0;
};

ReadResult ReadAll(WavAudioSource& src)
{
    ReadResult r;
    const int rate = src.SampleRate(), align = src.Channels() * src.BitsPerSample() / 8;
    for (MEDIA_FRAME* f = src.GetNextFrame(); f; f = src.GetNextFrame(), ++r.blocks) {
        const int64_t at = static_cast<int64_t>(r.data.size()) / align;
        EXPECT_EQ(std::make_tuple(f->nFrameType, f->nSampleRate, f->nChannels, f->nDataSize % align),
                  std::make_tuple(MEDIA_FRAME_AUDIO, rate, src.Channels(), 0));
        EXPECT_EQ(f->llStartTime, r.end) << "block " << r.blocks;
        EXPECT_EQ(f->llStartTime, (at * 20000000 + rate) / (2 * rate));
        EXPECT_EQ(f->llStopTime, f->llStartTime) << "audio blocks carry their start in both stamps";
        r.end = f->llStartTime + f->nDuration;
        r.data.insert(r.data.end(), f->pData, f->pData + f->nDataSize);
    }
    return r;
}

// Six channels go out as WAVE_FORMAT_EXTENSIBLE (5.1 mask) and come back
// whole at any block size. What does not fit the file abandons the output.
TEST(WavFile, WriterAndReaderRoundTrip)
{
    filetest::TempDir dir;
    const std::string path = dir.File("surround.wav");
    const Bytes samples = SampleData(2500 * 12);
    WavWriter writer;
    ASSERT_TRUE(writer.Open(path, WavStreamFormat{44100, 6, 16, 0}));
    EXPECT_FALSE(writer.WriteSamples(samples.data(), 5));
    EXPECT_EQ(writer.LastError(), path + ": 5 bytes are not a whole number of 12-byte sample frames");
    EXPECT_FALSE(writer.Commit());
    MEDIA_FRAME* block = CreateAudioFrame(48000, 6, 16, static_cast<int>(samples.size()));
    ASSERT_TRUE(writer.Open(path, WavStreamFormat{44100, 6, 16, 0}));
    EXPECT_FALSE(writer.WriteFrame(block));
    EXPECT_EQ(writer.LastError(),
              path + ": frame of 48000 Hz, 6 channels does not match the file (44100 Hz, 6 channels)");
    EXPECT_TRUE(dir.List().empty());

    block->nSampleRate = 44100;
    std::memcpy(block->pData, samples.data(), samples.size());
    block->nDataSize = static_cast<int32_t>(samples.size());
    ASSERT_TRUE(writer.Open(path, WavStreamFormat{44100, 6, 16, 0})) << writer.LastError();
    ASSERT_TRUE(writer.WriteFrame(block)) << writer.LastError();
    ReleaseAudioFrame(block);
    EXPECT_EQ(writer.SampleFramesWritten(), 2500);
    EXPECT_FALSE(std::filesystem::exists(path)); // not before Commit
    ASSERT_TRUE(writer.Commit()) << writer.LastError();
    const Bytes file = filetest::ReadFile(path);
    ASSERT_EQ(file.size(), 68u + samples.size());
    EXPECT_EQ(std::make_tuple(wav::Get32(&file[4]), wav::Get32(&file[16]), wav::Get16(&file[20]), wav::Get32(&file[28]),
                              wav::Get32(&file[40]), wav::Get32(&file[64])),
              std::make_tuple(60u + 30000u, 40u, unsigned(wav::FORMAT_EXTENSIBLE), 44100u * 12, 0x3Fu, 30000u));

    WavAudioSource src;
    int error = -1;
    ASSERT_EQ(src.Open(filetest::Wide(path).c_str(), nullptr, &error), 1) << src.LastError();
    EXPECT_EQ(error, HOSTFILE_OK);
    EXPECT_EQ(std::make_tuple(src.Extensible(), src.ChannelMask(), src.SampleFrameCount()),
              std::make_tuple(true, 0x3Fu, int64_t(2500)));
    const AudioInfo* ai = src.GetAudioInfo();
    EXPECT_EQ(reinterpret_cast<const char*>(ai), reinterpret_cast<const char*>(src.GetAudioStreamInfo()) + 836);
    EXPECT_EQ(std::make_tuple(ai->nSampleRate, ai->nChannels, ai->nBitsPerSample, ai->nBytesPerSecond),
              std::make_tuple(44100, 6, 16, 529200));
    for (int frames : {1, 7, 1024, 100000}) {
        SCOPED_TRACE(frames);
        src.SetBlockFrames(frames);
        ASSERT_EQ(src.OpenPath(path), HOSTFILE_OK);
        const ReadResult r = ReadAll(src);
        EXPECT_EQ(r.blocks, (2500 + frames - 1) / frames);
        EXPECT_EQ(r.data, samples);
        EXPECT_EQ(r.end, 566893); // round(2500 / 44100 s)
        EXPECT_DOUBLE_EQ(src.GetOffset(), 2500.0 / 44100.0);
        EXPECT_EQ(src.LastError(), "");
        EXPECT_FALSE(src.Truncated());
    }
    EXPECT_DOUBLE_EQ(src.AudioSeek(0.05), 2205 / 44100.0);
    EXPECT_EQ(src.GetNextFrame()->llStartTime, 500000);
    // 16-bit samples into an 8-bit file keep their high byte; an odd number
    // of data bytes is padded, and the RIFF size counts the pad.
    MEDIA_FRAME* five = CreateAudioFrame(8000, 1, 16, 10);
    const int16_t values[5] = {0x0102, -32768, 32767, 0, -1};
    std::memcpy(five->pData, values, 10);
    five->nDataSize = 10;
    ASSERT_TRUE(writer.Open(path, WavStreamFormat{8000, 1, 8, 0}));
    ASSERT_TRUE(writer.WriteFrame(five) && writer.Commit()) << writer.LastError();
    ReleaseAudioFrame(five);
    const Bytes odd = filetest::ReadFile(path);
    EXPECT_EQ(std::make_tuple(odd.size(), wav::Get32(&odd[4]), wav::Get32(&odd[40])), std::make_tuple(50u, 42u, 5u));
    EXPECT_EQ(Bytes(odd.begin() + 44, odd.end()), (Bytes{0x81, 0x00, 0xFF, 0x80, 0x7F, 0}));
}

// Inputs read from a file and from a pipe: the open result, the sample
// bytes delivered, and the message, for every input that is refused or cut
// short and for the data sizes that streaming tools leave unknown.
TEST(WavFile, InputsOnFilesAndPipes)
{
    const Bytes good = Wav(Fmt(wav::FORMAT_PCM, 2, 8000, 16), SampleData(64));
    auto withFmt = [](const Bytes& fmt) { return Wav(fmt, SampleData(64)); };
    auto head = [&good](size_t n) { return Bytes(good.begin(), good.begin() + static_cast<ptrdiff_t>(n)); };
    Bytes misaligned = Fmt(wav::FORMAT_PCM, 2, 8000, 16), early, tailed;
    misaligned[12] = 3;
    Chunk(&tailed, "fmt ", Fmt(wav::FORMAT_PCM, 2, 8000, 16));
    Chunk(&tailed, "LIST", Bytes(3, 'x')); // odd: padded
    Chunk(&tailed, "data", SampleData(64));
    Chunk(&tailed, "junk", Bytes(6, 'j')); // after the samples
    Chunk(&early, "data", SampleData(4));
    Chunk(&early, "fmt ", Fmt(wav::FORMAT_PCM, 2, 8000, 16));
    const std::string pcm = " (only 8- and 16-bit PCM are supported)";
    const std::string ends = "truncated header (the stream ends at byte ";
    const unsigned PCM = wav::FORMAT_PCM, FLOAT = wav::FORMAT_FLOAT;
    const int BAD = HOSTFILE_BAD_FORMAT, UNSUPPORTED = HOSTFILE_UNSUPPORTED, TRUNCATED = HOSTFILE_TRUNCATED;
    const struct {
        Bytes content;
        int code, bytes;
        std::string message; // after "<path>: "
    } cases[] = {
        {Bytes{}, BAD, 0, "empty input (not a WAV file)"},
        {Bytes{'Y', 'U', 'V', '4', 'M', 'P', 'E', 'G'}, BAD, 0, "not a WAV file (no RIFF header)"},
        {Bytes{'R', 'I'}, BAD, 0, "not a WAV file (no RIFF header)"},
        {Bytes{'R', 'I', 'F', 'F', 0, 0, 0, 0, 'A', 'V', 'I', ' '}, BAD, 0,
         "not a WAV file (RIFF form 'AVI ', expected 'WAVE')"},
        {Bytes{'R', 'I', 'F', 'X', 0, 0, 0, 0, 'W', 'A', 'V', 'E'}, UNSUPPORTED, 0,
         "big-endian WAV (RIFX) is not supported"},
        {head(8), TRUNCATED, 0, ends + "8 inside the RIFF header)"},
        {head(12), TRUNCATED, 0, ends + "12 before the fmt chunk)"},
        {head(30), TRUNCATED, 0, ends + "30 inside the 'fmt ' chunk)"},
        {head(36), TRUNCATED, 0, ends + "36 before the data chunk)"},
        {head(40), TRUNCATED, 0, ends + "40 inside a chunk header)"},
        {withFmt(Fmt(FLOAT, 2, 48000, 32)), UNSUPPORTED, 0, "unsupported WAV encoding: 32-bit IEEE float" + pcm},
        {withFmt(Fmt(FLOAT, 2, 48000, 32, 3)), UNSUPPORTED, 0, "unsupported WAV encoding: 32-bit IEEE float" + pcm},
        {withFmt(Fmt(2, 2, 48000, 4)), UNSUPPORTED, 0,
         "unsupported WAV encoding: Microsoft ADPCM (format tag 0x0002)" + pcm},
        {withFmt(Fmt(0x1234, 2, 48000, 16)), UNSUPPORTED, 0, "unsupported WAV encoding: format tag 0x1234" + pcm},
        {withFmt(Fmt(PCM, 2, 48000, 24)), UNSUPPORTED, 0, "unsupported sample size: 24-bit PCM" + pcm},
        {withFmt(Fmt(PCM, 2, 48000, 24, 3)), UNSUPPORTED, 0, "unsupported sample size: 24-bit PCM" + pcm},
        {withFmt(Fmt(PCM, 9, 48000, 16)), UNSUPPORTED, 0, "9 channels (at most 8 are supported)"},
        {withFmt(Fmt(PCM, 0, 48000, 16)), BAD, 0, "fmt chunk gives 0 channels"},
        {withFmt(Fmt(PCM, 2, 0, 16)), BAD, 0, "bad sample rate 0"},
        {withFmt(misaligned), BAD, 0, "inconsistent block alignment 3 (expected 4 for 2 channels of 16 bits)"},
        {withFmt(Bytes(14, 1)), BAD, 0, "fmt chunk too small (14 bytes)"},
        {withFmt(Fmt(wav::FORMAT_EXTENSIBLE, 2, 48000, 16)), BAD, 0,
         "WAVE_FORMAT_EXTENSIBLE fmt chunk too small (16 bytes)"},
        {Riff(early), BAD, 0, "data chunk before the fmt chunk"},
        // Opens, but the data ends inside a sample frame: that frame is dropped.
        {Wav(Fmt(PCM, 2, 8000, 16), SampleData(43), 0), HOSTFILE_OK, 40,
         "truncated final sample frame (got 3 of 4 bytes), dropped"},
        {Riff(tailed), HOSTFILE_OK, 64, ""},
        // A data size of 0 or 0xFFFFFFFF: to the end of the stream.
        {Wav(Fmt(PCM, 2, 8000, 16), SampleData(4000), 0, 0xFFFFFFFFu), HOSTFILE_OK, 4000, ""},
        {Wav(Fmt(PCM, 2, 8000, 16), SampleData(4000), 0xFFFFFFFFu, 0xFFFFFFFFu), HOSTFILE_OK, 4000, ""},
    };
    filetest::TempDir dir;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.message);
        const std::string path = dir.Put("in.wav", c.content);
        WavAudioSource file(3), piped(4);
        int error = -1;
        EXPECT_EQ(file.Open(filetest::Wide(path).c_str(), nullptr, &error), c.code == HOSTFILE_OK ? 1 : 0);
        EXPECT_EQ(error, c.code);
        EXPECT_EQ(piped.OpenStream(filetest::Pipe(c.content), path, true), c.code);
        EXPECT_EQ(file.SampleFrameCount(), c.code == HOSTFILE_OK ? c.bytes / 4 : -1);
        EXPECT_EQ(piped.SampleFrameCount(), -1);
        for (WavAudioSource* src : {&file, &piped}) {
            EXPECT_EQ(ReadAll(*src).data, SampleData(static_cast<size_t>(c.bytes)));
            EXPECT_EQ(src->LastError(), c.message.empty() ? "" : path + ": " + c.message);
            EXPECT_EQ(src->Truncated(), c.code == HOSTFILE_OK && !c.message.empty());
            EXPECT_EQ(src->GetAudioInfo()->nSampleRate, c.code == HOSTFILE_OK ? 8000 : 0);
        }
    }
}

// A data chunk claiming more than follows (a header of gigabytes over a few
// kilobytes): the samples that are there come out and the stream is
// truncated, from a file and from a pipe alike.
TEST(WavFile, DataClaimingMoreThanFollowsIsTruncated)
{
    const Bytes content = Wav(Fmt(wav::FORMAT_PCM, 2, 8000, 16), SampleData(4000), 0x7FFFF000u);
    filetest::TempDir dir;
    const std::string path = dir.Put("in.wav", content);
    WavAudioSource file(3), piped(4);
    ASSERT_EQ(file.OpenPath(path), HOSTFILE_OK);
    ASSERT_EQ(piped.OpenStream(filetest::Pipe(content), path, true), HOSTFILE_OK);
    for (WavAudioSource* src : {&file, &piped}) {
        EXPECT_EQ(ReadAll(*src).data, SampleData(4000));
        EXPECT_TRUE(src->Truncated());
        EXPECT_NE(src->LastError().find("truncated data"), std::string::npos) << src->LastError();
    }
}

} // namespace
