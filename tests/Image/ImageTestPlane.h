// Buffers for the image tests. Each ends exactly at its last pixel, so that
// the address sanitizer catches any access past it, and is pre-filled
// (kSent by default) so that every byte a routine leaves alone shows.
#ifndef DP_TESTS_IMAGETESTPLANE_H
#define DP_TESTS_IMAGETESTPLANE_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "ImageTypes.h"

constexpr uint8_t kSent = 0xEE;
constexpr int S = kSent;
using Grid = std::vector<std::vector<int>>;

struct TestPlane {
    int width, height, pitch, bpp;
    std::vector<uint8_t> bytes;

    TestPlane(int w, int h, int p, int bytesPerPixel = 1, uint8_t fill = kSent)
        : width(w), height(h), pitch(p), bpp(bytesPerPixel),
          bytes(static_cast<size_t>(h - 1) * p + static_cast<size_t>(w) * bytesPerPixel, fill)
    {
    }

    uint8_t* data() { return bytes.data(); }
    // Top-down addressing.
    uint8_t& at(int x, int y, int b = 0) { return bytes.at(static_cast<size_t>(y) * pitch + x * bpp + b); }
    // Bottom-up addressing: row y lies at (height - y - 1) * pitch.
    uint8_t& bu(int x, int y, int b = 0) { return at(x, height - 1 - y, b); }
    // Sets every byte of the pixels of a region to f(x, y).
    template <typename F>
    TestPlane& Fill(int x, int y, int w, int h, F f, bool bottomUp = false)
    {
        for (int r = y; r < y + h; ++r)
            for (int c = x; c < x + w; ++c)
                for (int b = 0; b < bpp; ++b)
                    (bottomUp ? bu(c, r, b) : at(c, r, b)) = static_cast<uint8_t>(f(c, r));
        return *this;
    }
    template <typename F>
    TestPlane& Fill(F f)
    {
        return Fill(0, 0, width, height, f);
    }
    // Sets every byte (padding too) to successive values of g().
    template <typename G>
    TestPlane& FillBytes(G&& g)
    {
        for (uint8_t& v : bytes)
            v = static_cast<uint8_t>(g());
        return *this;
    }
    bool Untouched() const
    {
        return std::all_of(bytes.begin(), bytes.end(), [](uint8_t v) { return v == kSent; });
    }
    // Every byte outside the region (x, y, w, h) still holds kSent.
    bool UntouchedOutside(int x, int y, int w, int h, bool bottomUp = false) const
    {
        TestPlane rest = *this;
        for (int r = 0; r < h; ++r)
            for (int c = 0; c < w * bpp; ++c)
                (bottomUp ? rest.bu(x, y + r, c) : rest.at(x, y + r, c)) = kSent;
        return rest.Untouched();
    }
    // Byte b of the pixels of a region, rows in picture order.
    Grid Read(int x, int y, int w, int h, bool bottomUp = false, int b = 0)
    {
        Grid g(static_cast<size_t>(h));
        for (int r = 0; r < h; ++r)
            for (int c = 0; c < w; ++c)
                g[static_cast<size_t>(r)].push_back(bottomUp ? bu(x + c, y + r, b) : at(x + c, y + r, b));
        return g;
    }
    Grid Read() { return Read(0, 0, width, height); }

    IMG_PARAM Param(int x, int y, int cx, int cy)
    {
        return IMG_PARAM{data(), width, height, pitch, bpp * 8, x, y, cx, cy};
    }
};

#endif // DP_TESTS_IMAGETESTPLANE_H
