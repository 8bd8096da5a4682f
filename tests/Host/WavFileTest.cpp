#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include <DataProcess/Frame.h>

#include "FileTestSupport.h"
#include "WavAudioSource.h"
#include "WavFormat.h"
#include "WavWriter.h"

namespace {

using filetest::Bytes;

// Interleaved test samples: byte i of the data, any sample size.
unsigned char Sample(size_t i) { return static_cast<unsigned char>(i * 37 + (i >> 7) * 11 + 3); }

Bytes SampleData(size_t bytes)
{
    Bytes b(bytes);
    for (size_t i = 0; i < bytes; ++i)
        b[i] = Sample(i);
    return b;
}

void Put16(Bytes* b, unsigned v)
{
    b->push_back(static_cast<unsigned char>(v));
    b->push_back(static_cast<unsigned char>(v >> 8));
}

void Put32(Bytes* b, uint32_t v)
{
    Put16(b, v & 0xFFFF);
    Put16(b, v >> 16);
}

void Chunk(Bytes* b, const char* id, const Bytes& body, bool pad = true)
{
    b->insert(b->end(), id, id + 4);
    Put32(b, static_cast<uint32_t>(body.size()));
    b->insert(b->end(), body.begin(), body.end());
    if (pad && (body.size() & 1))
        b->push_back(0);
}

Bytes FmtBody(unsigned tag, unsigned channels, uint32_t rate, unsigned bits)
{
    Bytes f;
    const unsigned align = channels * bits / 8;
    Put16(&f, tag);
    Put16(&f, channels);
    Put32(&f, rate);
    Put32(&f, rate * align);
    Put16(&f, align);
    Put16(&f, bits);
    return f;
}

Bytes ExtensibleFmtBody(unsigned subTag, unsigned channels, uint32_t rate, unsigned bits, uint32_t mask)
{
    Bytes f = FmtBody(wav::FORMAT_EXTENSIBLE, channels, rate, bits);
    Put16(&f, 22);
    Put16(&f, bits);
    Put32(&f, mask);
    Put32(&f, subTag);
    f.insert(f.end(), wav::kSubFormatTail, wav::kSubFormatTail + sizeof(wav::kSubFormatTail));
    return f;
}

// RIFF/WAVE around the given chunks (RIFF size as declared, or the real one).
Bytes Riff(const Bytes& chunks, uint32_t riffSize = 0)
{
    Bytes b = {'R', 'I', 'F', 'F'};
    Put32(&b, riffSize ? riffSize : static_cast<uint32_t>(chunks.size() + 4));
    b.insert(b.end(), {'W', 'A', 'V', 'E'});
    b.insert(b.end(), chunks.begin(), chunks.end());
    return b;
}

// A data chunk header declaring `declared` bytes, followed by `data`.
void DataChunk(Bytes* b, const Bytes& data, uint32_t declared)
{
    b->insert(b->end(), {'d', 'a', 't', 'a'});
    Put32(b, declared);
    b->insert(b->end(), data.begin(), data.end());
}

// Everything a source delivers, with the block times checked to be contiguous.
struct ReadResult {
    Bytes data;
    int blocks = 0;
    int64_t lastStop = 0;
};

ReadResult ReadAll(WavAudioSource& src)
{
    ReadResult r;
    int64_t frames = 0;
    for (MEDIA_FRAME* f = src.GetNextFrame(); f; f = src.GetNextFrame()) {
        EXPECT_EQ(f->nFrameType, MEDIA_FRAME_AUDIO);
        EXPECT_EQ(f->nSampleRate, src.SampleRate());
        EXPECT_EQ(f->nChannels, src.Channels());
        EXPECT_EQ(f->nBitsPerSample, src.BitsPerSample());
        EXPECT_LE(f->nDataSize, f->nBufferSize);
        const int align = src.Channels() * src.BitsPerSample() / 8;
        EXPECT_EQ(f->nDataSize % align, 0);
        EXPECT_EQ(f->llStartTime, r.lastStop) << "block " << r.blocks;
        EXPECT_EQ(f->llStartTime, (frames * 20000000 + src.SampleRate()) / (2 * src.SampleRate()));
        EXPECT_EQ(f->llStopTime, f->llStartTime) << "audio blocks carry their start in both stamps";
        r.lastStop = f->llStartTime + f->nDuration;
        frames += f->nDataSize / align;
        r.data.insert(r.data.end(), f->pData, f->pData + f->nDataSize);
        ++r.blocks;
    }
    return r;
}

bool EndsWith(const std::string& s, const std::string& tail)
{
    return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

class WavFile : public ::testing::Test {
protected:
    std::string Put(const std::string& name, const Bytes& data)
    {
        const std::string path = dir.File(name);
        filetest::WriteFile(path, data);
        return path;
    }
    filetest::TempDir dir;
};

TEST_F(WavFile, WriterAndReaderRoundTrip16BitStereo)
{
    const std::string path = dir.File("out.wav");
    const Bytes samples = SampleData(2500 * 4);
    WavWriter writer;
    WavStreamFormat fmt;
    fmt.sampleRate = 44100;
    fmt.channels = 2;
    ASSERT_TRUE(writer.Open(path, fmt)) << writer.LastError();
    MEDIA_FRAME* block = CreateAudioFrame(44100, 2, 16, 4000);
    for (size_t at = 0; at < samples.size(); at += 4000) {
        const size_t n = std::min<size_t>(4000, samples.size() - at);
        std::memcpy(block->pData, samples.data() + at, n);
        block->nDataSize = static_cast<int32_t>(n);
        ASSERT_TRUE(writer.WriteFrame(block)) << writer.LastError();
    }
    ReleaseAudioFrame(block);
    EXPECT_EQ(writer.SampleFramesWritten(), 2500);
    EXPECT_FALSE(filetest::Exists(path)); // not before Commit
    ASSERT_TRUE(writer.Commit()) << writer.LastError();

    const Bytes file = filetest::ReadFile(path);
    ASSERT_EQ(file.size(), 44u + samples.size());
    EXPECT_EQ(wav::Get32(&file[4]), 36u + 10000u);
    EXPECT_EQ(wav::Get16(&file[20]), wav::FORMAT_PCM);
    EXPECT_EQ(wav::Get32(&file[40]), 10000u);

    WavAudioSource src;
    int error = -1;
    const std::wstring wide(path.begin(), path.end());
    ASSERT_EQ(src.Open(wide.c_str(), nullptr, &error), 1) << src.LastError();
    EXPECT_EQ(error, HOSTFILE_OK);
    EXPECT_EQ(src.SampleFrameCount(), 2500);
    const AudioInfo* ai = src.GetAudioInfo();
    EXPECT_EQ(ai->nSampleRate, 44100);
    EXPECT_EQ(ai->nChannels, 2);
    EXPECT_EQ(ai->nBitsPerSample, 16);
    EXPECT_EQ(ai->nBytesPerSecond, 176400);
    EXPECT_EQ(reinterpret_cast<const unsigned char*>(ai),
              reinterpret_cast<const unsigned char*>(src.GetAudioStreamInfo()) + 836);
    const ReadResult r = ReadAll(src);
    EXPECT_EQ(r.blocks, 3); // 1024 + 1024 + 452
    EXPECT_EQ(r.data, samples);
    EXPECT_EQ(r.lastStop, 566893); // round(2500 / 44100 s)
    EXPECT_DOUBLE_EQ(src.GetOffset(), 2500.0 / 44100.0);
    EXPECT_TRUE(src.LastError().empty()) << src.LastError();
    EXPECT_FALSE(src.Truncated());
}

TEST_F(WavFile, EightBitMonoOddLengthIsPaddedAndReadExactly)
{
    const std::string path = dir.File("mono8.wav");
    const Bytes samples = SampleData(1001);
    WavWriter writer;
    WavStreamFormat fmt;
    fmt.sampleRate = 8000;
    fmt.channels = 1;
    fmt.bitsPerSample = 8;
    ASSERT_TRUE(writer.Open(path, fmt));
    ASSERT_TRUE(writer.WriteSamples(samples.data(), samples.size()));
    ASSERT_TRUE(writer.Commit()) << writer.LastError();
    const Bytes file = filetest::ReadFile(path);
    ASSERT_EQ(file.size(), 44u + 1001u + 1u);
    EXPECT_EQ(wav::Get32(&file[4]), 36u + 1002u); // the RIFF size counts the pad byte
    EXPECT_EQ(wav::Get32(&file[40]), 1001u);      // the data size does not

    WavAudioSource src(100);
    ASSERT_EQ(src.OpenPath(path), HOSTFILE_OK) << src.LastError();
    EXPECT_EQ(src.BitsPerSample(), 8);
    const ReadResult r = ReadAll(src);
    EXPECT_EQ(r.blocks, 11);
    EXPECT_EQ(r.data, samples);
    EXPECT_FALSE(src.Truncated());
}

TEST_F(WavFile, SampleSizeIsConvertedOnWrite)
{
    MEDIA_FRAME* block = CreateAudioFrame(8000, 1, 16, 8);
    const int16_t in[4] = {-32768, -1, 255, 32767};
    std::memcpy(block->pData, in, sizeof(in));
    block->nDataSize = sizeof(in);
    WavWriter writer;
    WavStreamFormat fmt;
    fmt.sampleRate = 8000;
    fmt.channels = 1;
    fmt.bitsPerSample = 8;
    const std::string path = dir.File("c.wav");
    ASSERT_TRUE(writer.Open(path, fmt));
    ASSERT_TRUE(writer.WriteFrame(block));
    ASSERT_TRUE(writer.Commit());
    ReleaseAudioFrame(block);
    const Bytes file = filetest::ReadFile(path);
    ASSERT_EQ(file.size(), 48u);
    EXPECT_EQ(Bytes(file.begin() + 44, file.end()), (Bytes{0x00, 0x7F, 0x80, 0xFF}));

    // 8 -> 16 and a frame that does not match the file.
    MEDIA_FRAME* small = CreateAudioFrame(8000, 1, 8, 2);
    small->pData[0] = 0x00;
    small->pData[1] = 0xFF;
    small->nDataSize = 2;
    fmt.bitsPerSample = 16;
    ASSERT_TRUE(writer.Open(path, fmt));
    ASSERT_TRUE(writer.WriteFrame(small));
    small->nSampleRate = 44100;
    EXPECT_FALSE(writer.WriteFrame(small));
    EXPECT_EQ(writer.LastError(),
              path + ": frame of 44100 Hz, 1 channels does not match the file (8000 Hz, 1 channels)");
    ReleaseAudioFrame(small);
    // The abandoned second output left the first file as it was.
    EXPECT_EQ(filetest::ReadFile(path), file);
    EXPECT_EQ(dir.List().size(), 1u);
}

TEST_F(WavFile, SixChannelsUseExtensibleFormat)
{
    const std::string path = dir.File("surround.wav");
    const Bytes samples = SampleData(12 * 300);
    WavWriter writer;
    WavStreamFormat fmt;
    fmt.sampleRate = 48000;
    fmt.channels = 6;
    ASSERT_TRUE(writer.Open(path, fmt));
    ASSERT_TRUE(writer.WriteSamples(samples.data(), samples.size()));
    EXPECT_FALSE(writer.WriteSamples(samples.data(), 5)); // not a whole sample frame
    EXPECT_EQ(writer.LastError(), path + ": 5 bytes are not a whole number of 12-byte sample frames");
    EXPECT_FALSE(writer.Commit());
    EXPECT_TRUE(dir.List().empty());

    ASSERT_TRUE(writer.Open(path, fmt));
    ASSERT_TRUE(writer.WriteSamples(samples.data(), samples.size()));
    ASSERT_TRUE(writer.Commit());
    const Bytes file = filetest::ReadFile(path);
    ASSERT_EQ(file.size(), 68u + samples.size());
    EXPECT_EQ(wav::Get32(&file[16]), 40u);
    EXPECT_EQ(wav::Get16(&file[20]), wav::FORMAT_EXTENSIBLE);
    EXPECT_EQ(wav::Get32(&file[40]), 0x3Fu); // 5.1
    EXPECT_EQ(wav::Get32(&file[64]), samples.size());

    WavAudioSource src;
    ASSERT_EQ(src.OpenPath(path), HOSTFILE_OK) << src.LastError();
    EXPECT_TRUE(src.Extensible());
    EXPECT_EQ(src.ChannelMask(), 0x3Fu);
    EXPECT_EQ(src.Channels(), 6);
    EXPECT_EQ(ReadAll(src).data, samples);
}

TEST_F(WavFile, UnknownChunksOddPaddingAndLongFmtAreSkipped)
{
    const Bytes samples = SampleData(4 * 77);
    Bytes chunks;
    Chunk(&chunks, "LIST", Bytes{'I', 'N', 'F', 'O', 'x'}); // odd: a pad byte follows
    Bytes fmt = FmtBody(wav::FORMAT_PCM, 2, 22050, 16);
    Put16(&fmt, 0); // cbSize of an 18-byte fmt chunk
    Chunk(&chunks, "fmt ", fmt);
    Chunk(&chunks, "fact", Bytes{1, 2, 3});
    DataChunk(&chunks, samples, static_cast<uint32_t>(samples.size()));
    Chunk(&chunks, "id3 ", Bytes(10, 0xEE)); // after the data: never read as samples
    WavAudioSource src(32);
    ASSERT_EQ(src.OpenPath(Put("chunks.wav", Riff(chunks))), HOSTFILE_OK) << src.LastError();
    EXPECT_EQ(src.SampleFrameCount(), 77);
    EXPECT_EQ(ReadAll(src).data, samples);
    EXPECT_TRUE(src.LastError().empty());

    // The extensible PCM sub-format with 3 channels.
    Bytes ext;
    Chunk(&ext, "fmt ", ExtensibleFmtBody(wav::FORMAT_PCM, 3, 16000, 16, 0x7));
    DataChunk(&ext, SampleData(6 * 5), 30);
    WavAudioSource e;
    ASSERT_EQ(e.OpenPath(Put("ext.wav", Riff(ext))), HOSTFILE_OK) << e.LastError();
    EXPECT_EQ(e.Channels(), 3);
    EXPECT_EQ(e.ChannelMask(), 0x7u);
    EXPECT_EQ(ReadAll(e).data, SampleData(30));
}

// Streaming tools write 0 or 0xFFFFFFFF, or leave a size larger than what
// follows: the data runs to the end of the stream.
TEST_F(WavFile, UnknownDataLengthIsReadToTheEnd)
{
    const Bytes samples = SampleData(4 * 3000);
    for (uint32_t declared : {0u, 0xFFFFFFFFu, 0x7FFFF000u}) {
        Bytes chunks;
        Chunk(&chunks, "fmt ", FmtBody(wav::FORMAT_PCM, 2, 48000, 16));
        DataChunk(&chunks, samples, declared);
        const Bytes file = Riff(chunks, 0xFFFFFFFFu);
        WavAudioSource src;
        ASSERT_EQ(src.OpenPath(Put("stream.wav", file)), HOSTFILE_OK) << src.LastError();
        EXPECT_EQ(src.SampleFrameCount(), 3000) << declared;
        EXPECT_EQ(ReadAll(src).data, samples) << declared;

        filetest::FedPipe pipe(file);
        WavAudioSource piped;
        ASSERT_EQ(piped.OpenStream(pipe.Read(), "pipe", false), HOSTFILE_OK) << piped.LastError();
        EXPECT_EQ(piped.SampleFrameCount(), -1);
        EXPECT_EQ(ReadAll(piped).data, samples) << declared;
        EXPECT_TRUE(piped.LastError().empty()) << piped.LastError();
    }
}

TEST_F(WavFile, WriterStreamsUnknownSizesToAPipeAndReaderFollows)
{
    filetest::DrainedPipe out;
    FILE* stream = fdopen(dup(out.WriteFd()), "wb");
    ASSERT_NE(stream, nullptr);
    const Bytes samples = SampleData(2 * 999); // 16-bit mono, 999 frames
    WavWriter writer;
    WavStreamFormat fmt;
    fmt.sampleRate = 11025;
    fmt.channels = 1;
    ASSERT_TRUE(writer.Attach(stream, "pipe", fmt));
    ASSERT_TRUE(writer.WriteSamples(samples.data(), samples.size()));
    ASSERT_TRUE(writer.Commit()) << writer.LastError();
    std::fclose(stream);
    const Bytes file = out.Finish();
    ASSERT_EQ(file.size(), 44u + samples.size());
    EXPECT_EQ(wav::Get32(&file[4]), 0xFFFFFFFFu);
    EXPECT_EQ(wav::Get32(&file[40]), 0xFFFFFFFFu);

    filetest::FedPipe in(file);
    WavAudioSource src(256);
    ASSERT_EQ(src.OpenStream(in.Read(), "pipe", false), HOSTFILE_OK);
    EXPECT_EQ(ReadAll(src).data, samples);
}

TEST_F(WavFile, StandardOutputRedirectedToAFileGetsRealSizes)
{
    const std::string path = dir.File("redirected.wav");
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    ASSERT_GE(fd, 0);
    const Bytes samples = SampleData(4 * 10);
    {
        filetest::Redirect out(1, fd);
        WavWriter writer;
        ASSERT_TRUE(writer.Open("-", WavStreamFormat()));
        ASSERT_TRUE(writer.WriteSamples(samples.data(), samples.size()));
        ASSERT_TRUE(writer.Commit()) << writer.LastError();
    }
    ::close(fd);
    const Bytes file = filetest::ReadFile(path);
    ASSERT_EQ(file.size(), 44u + samples.size());
    EXPECT_EQ(wav::Get32(&file[4]), 36u + 40u);
    EXPECT_EQ(wav::Get32(&file[40]), 40u);
}

TEST_F(WavFile, SeeksAreSampleExactOnFilesAndForwardOnlyOnPipes)
{
    Bytes chunks;
    Chunk(&chunks, "fmt ", FmtBody(wav::FORMAT_PCM, 2, 8000, 16));
    const Bytes samples = SampleData(4 * 16000);
    DataChunk(&chunks, samples, static_cast<uint32_t>(samples.size()));
    const Bytes file = Riff(chunks);

    WavAudioSource src(1000);
    ASSERT_EQ(src.OpenPath(Put("seek.wav", file)), HOSTFILE_OK);
    EXPECT_DOUBLE_EQ(src.AudioSeek(0.5), 0.5);
    EXPECT_EQ(src.SamplePosition(), 4000);
    MEDIA_FRAME* f = src.GetNextFrame();
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->llStartTime, 5000000);
    EXPECT_EQ(Bytes(f->pData, f->pData + 8), Bytes(samples.begin() + 16000, samples.begin() + 16008));
    EXPECT_DOUBLE_EQ(src.AudioSeek(0.000125), 0.000125); // one sample frame, backwards
    f = src.GetNextFrame();
    EXPECT_EQ(f->llStartTime, 1250);
    EXPECT_EQ(f->pData[0], samples[4]);
    EXPECT_DOUBLE_EQ(src.AudioSeek(100.0), 2.0); // clamped to the end
    EXPECT_EQ(src.GetNextFrame(), nullptr);
    EXPECT_DOUBLE_EQ(src.AudioSeek(0.0), 0.0);
    EXPECT_NE(src.GetNextFrame(), nullptr);

    filetest::FedPipe pipe(file);
    WavAudioSource piped(1000);
    ASSERT_EQ(piped.OpenStream(pipe.Read(), "pipe", false), HOSTFILE_OK);
    EXPECT_DOUBLE_EQ(piped.AudioSeek(1.25), 1.25);
    f = piped.GetNextFrame();
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->llStartTime, 12500000);
    EXPECT_EQ(f->pData[0], samples[4 * 10000]);
    EXPECT_DOUBLE_EQ(piped.AudioSeek(0.5), piped.GetOffset());
    EXPECT_EQ(piped.SamplePosition(), 11000);
    EXPECT_EQ(piped.LastError(),
              "pipe: cannot seek back to sample frame 4000 on a stream that does not seek (at sample frame 11000)");
    EXPECT_DOUBLE_EQ(piped.AudioSeek(99.0), 2.0);
    EXPECT_EQ(piped.GetNextFrame(), nullptr);
}

// However the blocks are cut, the same samples come out on one time line.
TEST_F(WavFile, BlockSizeDoesNotChangeTheSamples)
{
    Bytes chunks;
    Chunk(&chunks, "fmt ", FmtBody(wav::FORMAT_PCM, 1, 44100, 16));
    const Bytes samples = SampleData(2 * 4411);
    DataChunk(&chunks, samples, static_cast<uint32_t>(samples.size()));
    const std::string path = Put("blocks.wav", Riff(chunks));
    for (int block : {1, 2, 7, 4410, 1024, 100000}) {
        WavAudioSource src(block);
        ASSERT_EQ(src.OpenPath(path), HOSTFILE_OK);
        const ReadResult r = ReadAll(src);
        EXPECT_EQ(r.data, samples) << block;
        EXPECT_EQ(r.lastStop, 1000227) << block; // round(4411 / 44100 s)
    }
}

TEST_F(WavFile, TruncatedFinalSampleFrameIsDroppedAndReported)
{
    Bytes chunks;
    Chunk(&chunks, "fmt ", FmtBody(wav::FORMAT_PCM, 2, 8000, 16));
    const Bytes samples = SampleData(4 * 10 + 3);
    DataChunk(&chunks, samples, 0);
    const Bytes file = Riff(chunks);
    WavAudioSource src(4);
    ASSERT_EQ(src.OpenPath(Put("in.wav", file)), HOSTFILE_OK);
    EXPECT_EQ(src.SampleFrameCount(), 10);
    const ReadResult r = ReadAll(src);
    EXPECT_EQ(r.data, Bytes(samples.begin(), samples.begin() + 40));
    EXPECT_TRUE(src.Truncated());
    EXPECT_TRUE(EndsWith(src.LastError(), "in.wav: truncated final sample frame (got 3 of 4 bytes), dropped"))
        << src.LastError();

    filetest::FedPipe pipe(file);
    WavAudioSource piped(3);
    ASSERT_EQ(piped.OpenStream(pipe.Read(), "in.wav", false), HOSTFILE_OK);
    EXPECT_EQ(ReadAll(piped).data, Bytes(samples.begin(), samples.begin() + 40));
    EXPECT_TRUE(piped.Truncated());
    EXPECT_EQ(piped.LastError(), "in.wav: truncated final sample frame (got 3 of 4 bytes), dropped");
}

TEST_F(WavFile, BadInputsAreRefusedWithAClearMessage)
{
    auto withFmt = [](const Bytes& fmt) {
        Bytes chunks;
        Chunk(&chunks, "fmt ", fmt);
        DataChunk(&chunks, SampleData(64), 64);
        return Riff(chunks);
    };
    const Bytes good = withFmt(FmtBody(wav::FORMAT_PCM, 2, 8000, 16));
    struct Case {
        Bytes content;
        int code;
        std::string message; // after "<path>: "
    } cases[] = {
        {Bytes{}, HOSTFILE_BAD_FORMAT, "empty input (not a WAV file)"},
        {Bytes{'Y', 'U', 'V', '4', 'M', 'P', 'E', 'G', '2', ' '}, HOSTFILE_BAD_FORMAT,
         "not a WAV file (no RIFF header)"},
        {Bytes{'R', 'I'}, HOSTFILE_BAD_FORMAT, "not a WAV file (no RIFF header)"},
        {Bytes{'R', 'I', 'F', 'F', 0, 0, 0, 0, 'A', 'V', 'I', ' '}, HOSTFILE_BAD_FORMAT,
         "not a WAV file (RIFF form 'AVI ', expected 'WAVE')"},
        {Bytes{'R', 'I', 'F', 'X', 0, 0, 0, 0, 'W', 'A', 'V', 'E'}, HOSTFILE_UNSUPPORTED,
         "big-endian WAV (RIFX) is not supported"},
        {Bytes(good.begin(), good.begin() + 8), HOSTFILE_TRUNCATED,
         "truncated header (the stream ends at byte 8 inside the RIFF header)"},
        {Bytes(good.begin(), good.begin() + 30), HOSTFILE_TRUNCATED,
         "truncated header (the stream ends at byte 30 inside the 'fmt ' chunk)"},
        {Bytes(good.begin(), good.begin() + 40), HOSTFILE_TRUNCATED,
         "truncated header (the stream ends at byte 40 inside a chunk header)"},
        {Bytes(good.begin(), good.begin() + 36), HOSTFILE_TRUNCATED,
         "truncated header (the stream ends at byte 36 before the data chunk)"},
        {Bytes(good.begin(), good.begin() + 12), HOSTFILE_TRUNCATED,
         "truncated header (the stream ends at byte 12 before the fmt chunk)"},
        {withFmt(FmtBody(wav::FORMAT_FLOAT, 2, 48000, 32)), HOSTFILE_UNSUPPORTED,
         "unsupported WAV encoding: 32-bit IEEE float (only 8- and 16-bit PCM are supported)"},
        {withFmt(ExtensibleFmtBody(wav::FORMAT_FLOAT, 2, 48000, 32, 3)), HOSTFILE_UNSUPPORTED,
         "unsupported WAV encoding: 32-bit IEEE float (only 8- and 16-bit PCM are supported)"},
        {withFmt(FmtBody(0x0002, 2, 48000, 4)), HOSTFILE_UNSUPPORTED,
         "unsupported WAV encoding: Microsoft ADPCM (format tag 0x0002) (only 8- and 16-bit PCM are supported)"},
        {withFmt(FmtBody(0x1234, 2, 48000, 16)), HOSTFILE_UNSUPPORTED,
         "unsupported WAV encoding: format tag 0x1234 (only 8- and 16-bit PCM are supported)"},
        {withFmt(FmtBody(wav::FORMAT_PCM, 2, 48000, 24)), HOSTFILE_UNSUPPORTED,
         "unsupported sample size: 24-bit PCM (only 8- and 16-bit PCM are supported)"},
        {withFmt(FmtBody(wav::FORMAT_PCM, 2, 48000, 32)), HOSTFILE_UNSUPPORTED,
         "unsupported sample size: 32-bit PCM (only 8- and 16-bit PCM are supported)"},
        {withFmt(ExtensibleFmtBody(wav::FORMAT_PCM, 2, 48000, 24, 3)), HOSTFILE_UNSUPPORTED,
         "unsupported sample size: 24-bit PCM (only 8- and 16-bit PCM are supported)"},
        {withFmt(FmtBody(wav::FORMAT_PCM, 9, 48000, 16)), HOSTFILE_UNSUPPORTED,
         "9 channels (at most 8 are supported)"},
        {withFmt(FmtBody(wav::FORMAT_PCM, 0, 48000, 16)), HOSTFILE_BAD_FORMAT, "fmt chunk gives 0 channels"},
        {withFmt(FmtBody(wav::FORMAT_PCM, 2, 0, 16)), HOSTFILE_BAD_FORMAT, "bad sample rate 0"},
        {withFmt(Bytes(14, 1)), HOSTFILE_BAD_FORMAT, "fmt chunk too small (14 bytes)"},
        {withFmt(Bytes(FmtBody(wav::FORMAT_EXTENSIBLE, 2, 48000, 16))), HOSTFILE_BAD_FORMAT,
         "WAVE_FORMAT_EXTENSIBLE fmt chunk too small (16 bytes)"},
    };
    for (const Case& c : cases) {
        const std::string path = Put("in.wav", c.content);
        WavAudioSource src;
        int error = -1;
        const std::wstring wide(path.begin(), path.end());
        EXPECT_EQ(src.Open(wide.c_str(), nullptr, &error), 0) << c.message;
        EXPECT_EQ(error, c.code) << c.message;
        EXPECT_EQ(src.LastError(), path + ": " + c.message);
        EXPECT_EQ(src.GetNextFrame(), nullptr);
        EXPECT_EQ(src.AudioSeek(1.0), 0.0);
        EXPECT_EQ(src.GetAudioInfo()->nSampleRate, 0);
    }

    // Data before fmt, and a bad block alignment.
    Bytes early;
    DataChunk(&early, SampleData(4), 4);
    Chunk(&early, "fmt ", FmtBody(wav::FORMAT_PCM, 2, 8000, 16));
    WavAudioSource a;
    EXPECT_EQ(a.OpenPath(Put("early.wav", Riff(early))), HOSTFILE_BAD_FORMAT);
    EXPECT_TRUE(EndsWith(a.LastError(), "early.wav: data chunk before the fmt chunk"));
    Bytes fmt = FmtBody(wav::FORMAT_PCM, 2, 8000, 16);
    fmt[12] = 3;
    WavAudioSource b;
    EXPECT_EQ(b.OpenPath(Put("align.wav", withFmt(fmt))), HOSTFILE_BAD_FORMAT);
    EXPECT_TRUE(EndsWith(b.LastError(), "inconsistent block alignment 3 (expected 4 for 2 channels of 16 bits)"));

    // A truncated header on a pipe.
    filetest::FedPipe pipe(Bytes(good.begin(), good.begin() + 30));
    WavAudioSource piped;
    EXPECT_EQ(piped.OpenStream(pipe.Read(), "standard input", false), HOSTFILE_TRUNCATED);
    EXPECT_EQ(piped.LastError(), "standard input: truncated header (the stream ends at byte 30 inside the 'fmt ' chunk)");
}

TEST_F(WavFile, ReadsStandardInputForDash)
{
    Bytes chunks;
    Chunk(&chunks, "fmt ", FmtBody(wav::FORMAT_PCM, 2, 32000, 16));
    const Bytes samples = SampleData(4 * 5000);
    DataChunk(&chunks, samples, 0xFFFFFFFFu);
    filetest::FedPipe pipe(Riff(chunks, 0xFFFFFFFFu));
    WavAudioSource src;
    ReadResult r;
    {
        filetest::Redirect in(0, pipe.ReadFd());
        int error = -1;
        ASSERT_EQ(src.Open(L"-", nullptr, &error), 1) << src.LastError();
        r = ReadAll(src);
        src.Close();
    }
    EXPECT_EQ(r.data, samples);
    EXPECT_TRUE(src.LastError().empty());
}

} // namespace
