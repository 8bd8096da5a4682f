// Test buffers for the scaling and rotation tests: each ends exactly at its
// last pixel, so that the address sanitizer catches any access past it.
#ifndef DP_TESTS_SCALETESTPLANE_H
#define DP_TESTS_SCALETESTPLANE_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "ImageTypes.h"

struct TestPlane {
    int width, height, pitch, bpp;
    std::vector<uint8_t> bytes;

    TestPlane(int w, int h, int p, int bytesPerPixel, uint8_t fill)
        : width(w), height(h), pitch(p), bpp(bytesPerPixel),
          bytes(static_cast<size_t>(h - 1) * p + static_cast<size_t>(w) * bytesPerPixel, fill)
    {
    }

    uint8_t* data() { return bytes.data(); }
    // Top-down addressing.
    uint8_t& at(int x, int y, int b = 0) { return bytes.at(static_cast<size_t>(y) * pitch + x * bpp + b); }
    // Bottom-up addressing: row y lies at (height - y - 1) * pitch.
    uint8_t& bu(int x, int y, int b = 0) { return at(x, height - 1 - y, b); }

    IMG_PARAM Param(int x, int y, int cx, int cy)
    {
        IMG_PARAM p = {};
        p.pBits = data();
        p.nWidth = width;
        p.nHeight = height;
        p.nPitch = pitch;
        p.nBitCount = bpp * 8;
        p.x = x;
        p.y = y;
        p.cx = cx;
        p.cy = cy;
        return p;
    }
};

#endif // DP_TESTS_SCALETESTPLANE_H
