#include "AudioConverter.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "AudioKernels.h"
#include "AudioSharedState.h"
#include "HqResampler.h"
#include "OrvLog.h"

namespace {

const int kDefaultBufSize = 262144; // samples, when the constructor gets 0

// The resampler's fractional carry (input samples not yet turned into
// output). One value for the whole process, shared by every converter: that
// sharing is intended and kept. It is an atomic so that converters on
// different threads never race on it; ConvertData updates it with one
// compare-exchange per call.
std::atomic<double>& SharedSpare()
{
    static std::atomic<double> s_dSpare{0.0};
    return s_dSpare;
}

// Input samples may sit at any address (a host's frame buffer, a byte
// offset into one); read them bytewise.
inline int LoadSample(const short* p, long long i)
{
    short s;
    std::memcpy(&s, reinterpret_cast<const unsigned char*>(p) + i * 2, sizeof s);
    return s;
}

inline short Clip16(int v)
{
    return static_cast<short>(v > 32767 ? 32767 : (v < -32767 ? -32767 : v));
}

// Sample count after the channel stage for nCount input samples (whole
// input frames only; the formulas are the stage's own, so a trailing partial
// frame can leave a zero sample at the end). Unlisted pairs keep the count
// and write nothing.
long long ConvertedCount(int src, int dst, long long n)
{
    if (src == dst)
        return n;
    switch (src * 16 + dst) {
    case 1 * 16 + 2: return n * 2;
    case 1 * 16 + 6: return n * 6;
    case 2 * 16 + 1: return n / 2;
    case 2 * 16 + 6: return n * 3;
    case 6 * 16 + 1: return n / 6;
    case 6 * 16 + 2: return n / 3;
    case 7 * 16 + 1: return n / 7;
    case 7 * 16 + 2: return (n * 2) / 7;
    case 7 * 16 + 6: return (n * 6) / 7;
    case 8 * 16 + 1: return n / 8;
    case 8 * 16 + 2: return n / 4;
    case 8 * 16 + 6: return (n * 6) / 8;
    default: return n;
    }
}

} // namespace

// The high-quality mode's state: its resampler, the start of a source frame
// cut by the end of a block (completed by the next one), and the work
// buffers of one call.
struct CAudioConverter::HqState {
    std::unique_ptr<dp_audio::HqResampler> resampler;
    std::vector<short> partial;
    std::vector<short> in;  // channel-converted whole frames
    std::vector<short> out; // what the resampler gave
};

namespace dp_audio {

double GetResamplerCarry() { return SharedSpare().load(); }

void SetResamplerCarry(double dSpare) { SharedSpare().store(dSpare); }

} // namespace dp_audio

CAudioConverter::CAudioConverter(int nSrcChannels_, int nDstChannels_, int nSrcRate_, int nDstRate_, int nBufSize_)
    : pOutBuf(nullptr), pWorkBuf(nullptr), nBufSize(nBufSize_ > 0 ? nBufSize_ : kDefaultBufSize), nValidSize(0),
      nSrcChannels(nSrcChannels_), nDstChannels(nDstChannels_), nSrcRate(nSrcRate_), nDstRate(nDstRate_),
      nResampler(AUDIO_RESAMPLER_LINEAR), bStarted(false), pHq(nullptr)
{
    std::unique_ptr<short[]> out(new short[static_cast<size_t>(nBufSize)]());
    std::unique_ptr<short[]> work(new short[static_cast<size_t>(nBufSize)]());
    pOutBuf = out.release();
    pWorkBuf = work.release();
}

CAudioConverter::~CAudioConverter()
{
    delete[] pOutBuf;
    delete[] pWorkBuf;
    delete pHq;
}

int CAudioConverter::SetResampler(int nMode)
{
    if (nMode == nResampler)
        return 1;
    if (nMode != AUDIO_RESAMPLER_LINEAR && nMode != AUDIO_RESAMPLER_HQ) {
        OrvLogEx(L"CAudioConverter: unknown resampler %d (0 linear, 1 hq); the mode is unchanged", nMode);
        return 0;
    }
    if (bStarted) {
        OrvLogEx(L"CAudioConverter: the resampler is chosen before the first block; the %s resampler stays in use",
                 nResampler == AUDIO_RESAMPLER_HQ ? "hq" : "linear");
        return 0;
    }
    if (nMode == AUDIO_RESAMPLER_LINEAR) {
        delete pHq;
        pHq = nullptr;
        nResampler = nMode;
        return 1;
    }
    std::string why;
    std::unique_ptr<dp_audio::HqResampler> resampler;
    if (!DPAudioResamplerAvailable(AUDIO_RESAMPLER_HQ) || nSrcRate != nDstRate)
        resampler = dp_audio::HqResampler::Create(nSrcRate, nDstRate, nDstChannels, &why);
    if (!resampler && !why.empty()) {
        OrvLogEx(L"CAudioConverter: the hq resampler cannot convert %d Hz to %d Hz with %d channels: %s; the "
                 L"linear resampler stays in use",
                 nSrcRate, nDstRate, nDstChannels, why.c_str());
        return 0;
    }
    // Equal rates need no rate conversion: both modes copy.
    if (resampler) {
        pHq = new HqState;
        pHq->resampler = std::move(resampler);
    }
    nResampler = nMode;
    return 1;
}

int CAudioConverter::GetResampler() const { return nResampler; }

int CAudioConverter::Flush()
{
    if (pHq) {
        pHq->partial.clear(); // a frame never completed
        pHq->resampler->Flush(pHq->out);
        nValidSize += AppendHqOutput();
    }
    return nValidSize;
}

// Moves what the resampler gave into the FIFO; returns the count, leaving
// nValidSize to the caller. Output that would take the FIFO beyond an int32
// capacity is dropped, as the linear mode drops such a call.
int CAudioConverter::AppendHqOutput()
{
    std::vector<short>& out = pHq->out;
    const long long n = static_cast<long long>(out.size());
    int written = 0;
    if (n > 0 && EnsureCapacity(static_cast<long long>(nValidSize) + n)) {
        std::memcpy(pOutBuf + nValidSize, out.data(), static_cast<size_t>(n) * sizeof(short));
        written = static_cast<int>(n);
    }
    out.clear();
    return written;
}

// The high-quality path of ConvertData: the channel stage over whole source
// frames (one output frame each; a pair without a mix gives silent frames),
// then the stream resampler. A frame cut by the end of the block waits for
// the rest of its samples in the next one.
int CAudioConverter::ConvertHq(const short* pSrc, int nCount)
{
    HqState& hq = *pHq;
    const int src = nSrcChannels;
    const int dst = nDstChannels;
    long long pos = 0; // samples of pSrc taken
    if (!hq.partial.empty()) {
        const long long take = std::min<long long>(src - static_cast<long long>(hq.partial.size()), nCount);
        for (; pos < take; ++pos)
            hq.partial.push_back(static_cast<short>(LoadSample(pSrc, pos)));
    }
    const bool joined = hq.partial.size() == static_cast<size_t>(src);
    const long long whole = (nCount - pos) / src;
    const long long frames = whole + (joined ? 1 : 0);
    hq.in.assign(static_cast<size_t>(frames * dst), static_cast<short>(0));
    short* w = hq.in.data();
    if (joined) {
        ConvertChannels(hq.partial.data(), src, w);
        w += dst;
        hq.partial.clear();
    }
    if (whole > 0)
        ConvertChannels(pSrc + pos, static_cast<int>(whole * src), w);
    for (long long i = pos + whole * src; i < nCount; ++i)
        hq.partial.push_back(static_cast<short>(LoadSample(pSrc, i)));

    hq.resampler->Process(hq.in.data(), frames, hq.out);
    return AppendHqOutput();
}

// Enlarges both buffers by nGrow samples, keeping their content; the new
// part is zero. Fails (changing nothing) when the capacity would leave the
// int32 range of nBufSize.
bool CAudioConverter::Grow(long long nGrow)
{
    const long long newSize = static_cast<long long>(nBufSize) + nGrow;
    if (nGrow <= 0 || newSize > INT_MAX)
        return false;
    std::unique_ptr<short[]> out(new short[static_cast<size_t>(newSize)]());
    std::unique_ptr<short[]> work(new short[static_cast<size_t>(newSize)]());
    std::memcpy(out.get(), pOutBuf, static_cast<size_t>(nBufSize) * sizeof(short));
    std::memcpy(work.get(), pWorkBuf, static_cast<size_t>(nBufSize) * sizeof(short));
    delete[] pOutBuf;
    delete[] pWorkBuf;
    pOutBuf = out.release();
    pWorkBuf = work.release();
    nBufSize = static_cast<int>(newSize);
    return true;
}

// Not part of the growth rule of Put: reached only where that estimate falls
// short of what a call really writes (channel up-mixes, which it ignores on
// purpose, or a carry handed over by a converter of another rate). Without
// it such a call would write past the buffers.
bool CAudioConverter::EnsureCapacity(long long nNeeded)
{
    if (nNeeded <= nBufSize)
        return true;
    return Grow(nNeeded - nBufSize + 4096);
}

int CAudioConverter::Put(const short* pSrc, int nCount)
{
    if (nCount <= 0 || !pSrc)
        return nValidSize;
    bStarted = true;
    if (nSrcRate > 0) {
        // Room estimate: twice the resampled count, ignoring the channel
        // change (kept so: a 1 -> 6 conversion is not covered by it).
        const double dNeed = 2.0 * (static_cast<double>(nDstRate) / nSrcRate) * nCount;
        if (!(dNeed < static_cast<double>(INT_MAX)))
            return nValidSize; // could never fit an int32 capacity: nothing done
        const long long need = static_cast<long long>(dNeed);
        if (nBufSize - nValidSize < need && !Grow(2 * need + 4096))
            return nValidSize;
    }

    int written;
    if (nSrcChannels != nDstChannels || nSrcRate != nDstRate) {
        written = ConvertData(pSrc, nCount);
    } else {
        if (!EnsureCapacity(static_cast<long long>(nValidSize) + nCount))
            return nValidSize;
        std::memcpy(pOutBuf + nValidSize, pSrc, static_cast<size_t>(nCount) * sizeof(short));
        written = nCount;
    }
    // A converter of another rate can leave a negative carry that makes a
    // call of this one return a negative count; the FIFO never goes below
    // empty.
    const long long valid = static_cast<long long>(nValidSize) + written;
    nValidSize = valid < 0 ? 0 : static_cast<int>(valid);
    return nValidSize;
}

int CAudioConverter::Get(short* pDst, int nCount)
{
    if (!pDst || nCount <= 0 || nValidSize <= 0)
        return 0;
    const int n = std::min(nCount, nValidSize);
    std::memcpy(pDst, pOutBuf, static_cast<size_t>(n) * sizeof(short));
    // Linear FIFO: the rest moves down to the front.
    std::memmove(pOutBuf, pOutBuf + n, static_cast<size_t>(nValidSize - n) * sizeof(short));
    nValidSize -= n;
    return n;
}

int CAudioConverter::GetFreeSize() const { return nBufSize - nValidSize; }

int CAudioConverter::GetValidSize() const { return nValidSize; }

void CAudioConverter::Reset() { nValidSize = 0; }

// Stage 2: channel conversion of the whole input frames of pSrc into pW.
// x/k is a signed division truncating toward zero; where no clip is listed
// the sum of the divided terms cannot leave 16 bits. Six-channel frames are
// FL, FR, C, LFE, SL, SR. Unlisted pairs write nothing (pW stays zero).
int CAudioConverter::ConvertChannels(const short* pSrc, int nCount, short* pW) const
{
    const int src = nSrcChannels;
    const int dst = nDstChannels;
    const long long frames = nCount / src;
    auto s = [pSrc, src](long long f, int k) { return LoadSample(pSrc, f * src + k); };

    if (src == dst) {
        std::memcpy(pW, pSrc, static_cast<size_t>(nCount) * sizeof(short));
        return nCount;
    }
    switch (src * 16 + dst) {
    case 1 * 16 + 2:
        for (long long f = 0; f < frames; ++f)
            pW[2 * f] = pW[2 * f + 1] = static_cast<short>(s(f, 0));
        break;
    case 1 * 16 + 6:
        for (long long f = 0; f < frames; ++f) {
            short* o = pW + 6 * f;
            o[0] = o[1] = static_cast<short>(s(f, 0));
            o[2] = o[3] = o[4] = o[5] = 0;
        }
        break;
    case 2 * 16 + 1:
        for (long long f = 0; f < frames; ++f)
            pW[f] = static_cast<short>(s(f, 1) / 2 + s(f, 0) / 2);
        break;
    case 2 * 16 + 6:
        for (long long f = 0; f < frames; ++f) {
            short* o = pW + 6 * f;
            o[0] = static_cast<short>(s(f, 0));
            o[1] = static_cast<short>(s(f, 1));
            o[2] = o[3] = o[4] = o[5] = 0;
        }
        break;
    case 6 * 16 + 1:
        for (long long f = 0; f < frames; ++f)
            pW[f] = Clip16(s(f, 2) / 2 + s(f, 0) / 2 + s(f, 1) / 2 + s(f, 3) / 2 + s(f, 4) / 4 + s(f, 5) / 4);
        break;
    case 6 * 16 + 2:
        GetAudioKernels().mix6to2(pW, pSrc, frames);
        break;
    case 7 * 16 + 1:
        for (long long f = 0; f < frames; ++f) {
            int v = 0;
            for (int k = 0; k < 7; ++k)
                v += s(f, k) / 7;
            pW[f] = static_cast<short>(v);
        }
        break;
    case 7 * 16 + 2:
        // Kept as it is: three channels to the left, four to the right.
        for (long long f = 0; f < frames; ++f) {
            pW[2 * f] = static_cast<short>(s(f, 0) / 3 + s(f, 1) / 3 + s(f, 2) / 3);
            pW[2 * f + 1] = static_cast<short>(s(f, 3) / 4 + s(f, 4) / 4 + s(f, 5) / 4 + s(f, 6) / 4);
        }
        break;
    case 7 * 16 + 6:
    case 8 * 16 + 6:
        for (long long f = 0; f < frames; ++f)
            for (int k = 0; k < 6; ++k)
                pW[6 * f + k] = static_cast<short>(s(f, k));
        break;
    case 8 * 16 + 1:
        for (long long f = 0; f < frames; ++f) {
            int v = 0;
            for (int k = 0; k < 8; ++k)
                v += s(f, k) / 8;
            pW[f] = static_cast<short>(v);
        }
        break;
    case 8 * 16 + 2:
        for (long long f = 0; f < frames; ++f) {
            pW[2 * f] = static_cast<short>(s(f, 0) / 4 + s(f, 1) / 4 + s(f, 2) / 4 + s(f, 3) / 4);
            pW[2 * f + 1] = static_cast<short>(s(f, 4) / 4 + s(f, 5) / 4 + s(f, 6) / 4 + s(f, 7) / 4);
        }
        break;
    default:
        break; // silent fallback: the zeros of stage 1 are resampled
    }
    return static_cast<int>(ConvertedCount(src, dst, nCount));
}

int CAudioConverter::ConvertData(const short* pSrc, int nCount)
{
    if (!pSrc || nCount <= 0 || nSrcChannels <= 0 || nDstChannels <= 0 || nSrcRate <= 0 || nDstRate <= 0)
        return 0;
    if (pHq)
        return ConvertHq(pSrc, nCount);
    const int ch = nDstChannels;
    // The history region is nDstRate samples long; it must hold at least the
    // one frame that is read from it.
    const long long hist = std::max(nDstRate, ch);
    const long long n = ConvertedCount(nSrcChannels, ch, nCount);
    const bool sameRate = nSrcRate == nDstRate;
    const double ratio = static_cast<double>(nSrcRate) / nDstRate;

    // Output count and carry, read and updated as one atomic step.
    std::atomic<double>& spare = SharedSpare();
    double before = spare.load(std::memory_order_relaxed);
    double after;
    long long out;
    for (;;) {
        const double dOut = (before + static_cast<double>(n)) / ratio + 0.5;
        if (!(dOut > -static_cast<double>(INT_MAX) && dOut < static_cast<double>(INT_MAX)))
            return 0; // beyond any buffer: nothing written, carry untouched
        out = static_cast<long long>(dOut);
        if (!sameRate)
            out = (out / ch) * ch; // whole output frames only
        after = before + (static_cast<double>(n) - static_cast<double>(out) * ratio);
        if (spare.compare_exchange_weak(before, after, std::memory_order_relaxed))
            break;
    }

    const long long outRoom = std::max(out, sameRate ? n : 0LL);
    if (!EnsureCapacity(hist + n + 2 * ch) || !EnsureCapacity(static_cast<long long>(nValidSize) + outRoom)) {
        // Too large for an int32 capacity: hand the carry back, write nothing.
        const double delta = after - before;
        double cur = spare.load(std::memory_order_relaxed);
        while (!spare.compare_exchange_weak(cur, cur - delta, std::memory_order_relaxed)) {
        }
        return 0;
    }

    // Stage 1: clear the input area W. Only the part this call can read is
    // cleared (its n samples and two frames behind them); nothing beyond it
    // is read before a later call clears it again, so the result is the
    // same as clearing the whole rest of the buffer.
    short* W = pWorkBuf + hist;
    std::fill_n(W, static_cast<size_t>(n + 2 * ch), static_cast<short>(0));

    // Stage 2: channel conversion into W.
    ConvertChannels(pSrc, nCount, W);

    // Stage 3: rate conversion into the FIFO.
    short* pOut = pOutBuf + nValidSize;
    if (sameRate) {
        // The count returned is still `out`, which differs from n only while
        // the shared carry holds what a converter of unequal rates left.
        std::memcpy(pOut, W, static_cast<size_t>(n) * sizeof(short));
    } else {
        // Output frame i sits at the end of its share of the input, so the
        // last output frame of a call lands on the last input frame; frame
        // -1 is the last frame of the previous call (the history).
        GetAudioKernels().interpolate(pOut, W, out / ch, ch, n, out);
    }

    // The history becomes the last nDstRate samples of history + input. Of
    // that region only its last frame is ever read again (frame -1 of the
    // next call), so only that frame is moved: the same samples are read as
    // after moving the whole region, without copying nDstRate samples a call.
    std::memmove(pWorkBuf + hist - ch, pWorkBuf + hist - ch + n, static_cast<size_t>(ch) * sizeof(short));
    return static_cast<int>(out);
}

int IntermixAudio(short** ppSrc, int nSrcCount, int nSamples, short* pDst)
{
    if (!ppSrc || !pDst || nSrcCount <= 0 || nSamples <= 0)
        return 0;
    for (int k = 0; k < nSrcCount; ++k)
        if (!ppSrc[k])
            return 0;
    double gain = 1.0;
    const double step = nSrcCount / 441000.0;
    for (int i = 0; i < nSamples; ++i) {
        // Recovery has no upper clamp: the gain may end slightly above 1.
        if (gain < 1.0)
            gain += step;
        long long sum = 0; // int32 in range for any realistic count of sources
        for (int k = 0; k < nSrcCount; ++k)
            sum += ppSrc[k][i];
        long long v = static_cast<long long>(static_cast<double>(sum) * gain);
        if (v > 32767) {
            gain = 32767.0 / static_cast<double>(v);
            v = 32767;
        } else if (v < -32767) {
            gain = -32767.0 / static_cast<double>(v);
            v = -32767;
        }
        pDst[i] = static_cast<short>(v);
    }
    return 0;
}
