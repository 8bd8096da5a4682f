// Built with floating-point contraction off (see CMakeLists.txt): a fused
// multiply-add would change the rounding of the DCT on some targets.
#include "JpegDct.h"

#include "JpegTables.h"

namespace bmp2jpeg {

void set_quant_table(const uint8_t* basic_table, int scale_factor, uint8_t* newtable)
{
    for (int i = 0; i < 64; ++i) {
        long temp = (static_cast<long>(basic_table[i]) * scale_factor + 50L) / 100L;
        if (temp <= 0)
            temp = 1;
        if (temp > 255)
            temp = 255;
        newtable[zigzag[i]] = static_cast<uint8_t>(temp);
    }
}

void prepare_quant_tables(const uint8_t* qtable, float* fdtbl)
{
    // s[0] = 1, s[k] = cos(k * pi / 16) * sqrt(2): the output scale of the
    // AAN flow graph per row and per column; the 8 is the DCT's own 1/8.
    static const double aanscalefactor[8] = {1.0,         1.387039845, 1.306562965, 1.175875602,
                                             1.0,         0.785694958, 0.541196100, 0.275899379};
    int i = 0;
    for (int row = 0; row < 8; ++row)
        for (int col = 0; col < 8; ++col, ++i)
            fdtbl[i] = static_cast<float>(
                1.0 / (static_cast<double>(qtable[zigzag[i]]) * aanscalefactor[row] * aanscalefactor[col] * 8.0));
}

namespace {

// One 8-point pass of the Arai-Agui-Nakajima DCT over d[0], d[step], ...
// d[7 * step]; outputs are the DCT coefficients scaled by s[k] * sqrt(8).
void aan_fdct_8(float* d, int step)
{
    float* const p0 = d;
    float* const p1 = d + step;
    float* const p2 = d + 2 * step;
    float* const p3 = d + 3 * step;
    float* const p4 = d + 4 * step;
    float* const p5 = d + 5 * step;
    float* const p6 = d + 6 * step;
    float* const p7 = d + 7 * step;

    const float tmp0 = *p0 + *p7;
    const float tmp7 = *p0 - *p7;
    const float tmp1 = *p1 + *p6;
    const float tmp6 = *p1 - *p6;
    const float tmp2 = *p2 + *p5;
    const float tmp5 = *p2 - *p5;
    const float tmp3 = *p3 + *p4;
    const float tmp4 = *p3 - *p4;

    // Even part.
    float tmp10 = tmp0 + tmp3;
    const float tmp13 = tmp0 - tmp3;
    float tmp11 = tmp1 + tmp2;
    float tmp12 = tmp1 - tmp2;

    *p0 = tmp10 + tmp11;
    *p4 = tmp10 - tmp11;

    const float z1 = (tmp12 + tmp13) * 0.707106781f; // cos(4 pi / 16)
    *p2 = tmp13 + z1;
    *p6 = tmp13 - z1;

    // Odd part.
    tmp10 = tmp4 + tmp5;
    tmp11 = tmp5 + tmp6;
    tmp12 = tmp6 + tmp7;

    const float z5 = (tmp10 - tmp12) * 0.382683433f; // cos(6 pi / 16)
    const float z2 = 0.541196100f * tmp10 + z5;      // cos(6 pi / 16) * sqrt(2)
    const float z4 = 1.306562965f * tmp12 + z5;      // cos(2 pi / 16) * sqrt(2)
    const float z3 = tmp11 * 0.707106781f;

    const float z11 = tmp7 + z3;
    const float z13 = tmp7 - z3;

    *p5 = z13 + z2;
    *p3 = z13 - z2;
    *p1 = z11 + z4;
    *p7 = z11 - z4;
}

} // namespace

void fdct_and_quantization(const int8_t* data, const float* fdtbl, int16_t* outdata)
{
    float datafloat[64];
    for (int i = 0; i < 64; ++i)
        datafloat[i] = static_cast<float>(data[i]);

    for (int row = 0; row < 8; ++row)
        aan_fdct_8(datafloat + row * 8, 1);
    for (int col = 0; col < 8; ++col)
        aan_fdct_8(datafloat + col, 8);

    for (int i = 0; i < 64; ++i) {
        // The product is a float; the offset 16384.5 is a double, so the sum
        // and its truncation happen in double: nearest integer, halves up.
        // Samples are -128..127, so |c * fdtbl| stays below 2048 and the
        // offset keeps the truncated value positive.
        const float temp = datafloat[i] * fdtbl[i];
        outdata[zigzag[i]] = static_cast<int16_t>(static_cast<int>(temp + 16384.5) - 16384);
    }
}

} // namespace bmp2jpeg
