// The harness that holds every SIMD twin to its reference.
//
// A check runs the same work once at level 0 (the reference kernels) and
// once at each SIMD level the CPU supports, on random data, and compares
// every byte. Inputs and outputs live in EdgeBuffers, which end exactly at
// the end of their allocation (a read or write past the end trips the
// address sanitizer) and start at a chosen misalignment. Each comparison is
// made twice, with destinations pre-filled with two different sentinels, so
// a byte written by one side and left alone by the other shows.
#ifndef DP_TESTS_KERNELCHECK_H
#define DP_TESTS_KERNELCHECK_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "KernelDispatch.h"
#include "SimdLevel.h"

// `size` bytes whose last one is the last byte of the allocation; the first
// lies `misalign` bytes past a 64-byte boundary.
class EdgeBuffer {
public:
    explicit EdgeBuffer(size_t size, size_t misalign = 0)
        : size_(size), block_(static_cast<uint8_t*>(::operator new[](misalign % 64 + size + (size == 0), kAlign)))
    {
        data_ = block_.get() + misalign % 64;
    }
    uint8_t* data() { return data_; }
    const uint8_t* data() const { return data_; }
    size_t size() const { return size_; }
    void Fill(uint8_t v) { std::memset(data_, v, size_); }
    void Random(std::mt19937& rng)
    {
        for (size_t i = 0; i < size_; ++i)
            data_[i] = static_cast<uint8_t>(rng() >> 24);
    }
    std::vector<uint8_t> Bytes() const { return std::vector<uint8_t>(data_, data_ + size_); }

private:
    static constexpr std::align_val_t kAlign{64};
    struct Free {
        void operator()(uint8_t* p) const { ::operator delete[](p, kAlign); }
    };
    size_t size_;
    std::unique_ptr<uint8_t, Free> block_;
    uint8_t* data_ = nullptr;
};

// Widths every row check runs: 1 to 67 and two large odd ones.
inline std::vector<int> CheckWidths()
{
    std::vector<int> w;
    for (int i = 1; i <= 67; ++i)
        w.push_back(i);
    w.push_back(1023);
    w.push_back(1921);
    return w;
}

// Runs f(levelName) with the library capped at each supported SIMD level
// above the reference, then lifts the cap.
template <class F>
void ForEachSimdLevel(F f)
{
    for (int level = 1; level < kDpMaxSimdLevels; ++level) {
        if (!DpSimdLevelSupported(level))
            continue;
        ASSERT_EQ(DPSetSimdLevel(DpSimdLevelName(level)), 0);
        f(std::string(DpSimdLevelName(level)));
    }
    DPSetSimdLevel("best");
}

// Runs `work` (which writes into `out`) at the reference level and at each
// SIMD level, with `out` pre-filled with two sentinels in turn, and expects
// the same bytes. `what` names the case in failure messages.
template <class Work>
void ExpectSameAtEveryLevel(EdgeBuffer& out, const std::string& what, Work work)
{
    for (uint8_t sentinel : {uint8_t{0xA5}, uint8_t{0x3C}}) {
        DPSetSimdLevel("none");
        out.Fill(sentinel);
        work();
        const std::vector<uint8_t> expected = out.Bytes();
        ForEachSimdLevel([&](const std::string& level) {
            out.Fill(sentinel);
            work();
            const std::vector<uint8_t> got = out.Bytes();
            if (got != expected) {
                size_t i = 0;
                while (got[i] == expected[i])
                    ++i;
                ADD_FAILURE() << what << " at " << level << ": byte " << i << " is " << int(got[i]) << ", reference "
                              << int(expected[i]);
            }
        });
    }
}

#endif // DP_TESTS_KERNELCHECK_H
