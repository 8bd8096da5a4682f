#include "Y4mFormat.h"

#include <climits>
#include <cmath>
#include <numeric>

namespace y4m {

int64_t FrameStart(int64_t i, int32_t num, int32_t den)
{
    if (num <= 0 || den <= 0 || i <= 0)
        return 0;
    // i < 2^31, den < 2^31 and 2 * 10^7 < 2^25 make a product below 2^87:
    // 128-bit arithmetic keeps it exact. round(x / num) = (2x + num) / (2 num).
    const __int128 x = static_cast<__int128>(i) * 10000000 * den;
    const __int128 r = (2 * x + num) / (2 * static_cast<__int128>(num));
    return r > INT64_MAX ? INT64_MAX : static_cast<int64_t>(r);
}

void ReduceRatio(int64_t a, int64_t b, int* outA, int* outB)
{
    const int64_t g = std::gcd(a, b);
    if (g > 0) {
        a /= g;
        b /= g;
    }
    while (a > INT_MAX || b > INT_MAX) {
        a = (a + 1) >> 1;
        b = (b + 1) >> 1;
    }
    *outA = static_cast<int>(a);
    *outB = static_cast<int>(b);
}

void DisplayAspect(int width, int height, int parNum, int parDen, int* aspectX, int* aspectY)
{
    *aspectX = *aspectY = 0;
    if (width <= 0 || height <= 0 || parNum <= 0 || parDen <= 0 || parNum == parDen)
        return;
    ReduceRatio(static_cast<int64_t>(width) * parNum, static_cast<int64_t>(height) * parDen, aspectX, aspectY);
}

void PixelAspect(int width, int height, int aspectX, int aspectY, int* parNum, int* parDen)
{
    *parNum = *parDen = 1;
    if (width <= 0 || height <= 0 || aspectX <= 0 || aspectY <= 0)
        return;
    ReduceRatio(static_cast<int64_t>(aspectX) * height, static_cast<int64_t>(aspectY) * width, parNum, parDen);
}

void RateToFraction(double rate, int32_t* num, int32_t* den)
{
    *num = 25;
    *den = 1;
    if (!(rate > 0.0) || !std::isfinite(rate) || rate > 1e6)
        return;
    const double whole = std::round(rate);
    if (whole >= 1.0 && std::fabs(rate - whole) < 1e-6 * whole) {
        *num = static_cast<int32_t>(whole);
        return;
    }
    const double ntsc = std::round(rate * 1.001);
    if (ntsc >= 1.0 && std::fabs(rate - ntsc * 1000.0 / 1001.0) < 1e-4) {
        *num = static_cast<int32_t>(ntsc * 1000.0);
        *den = 1001;
        return;
    }
    const int64_t milli = static_cast<int64_t>(std::llround(rate * 1000.0));
    int n = 0, d = 0;
    ReduceRatio(milli > 0 ? milli : 1, 1000, &n, &d);
    *num = n;
    *den = d;
}

} // namespace y4m
