// YUV4MPEG2 arithmetic shared by the reader and the writer: frame time
// stamps from the rational rate, pixel aspect <-> display aspect, and a
// rational form of a floating-point frame rate.
#ifndef DATAPROCESS_HOST_Y4MFORMAT_H
#define DATAPROCESS_HOST_Y4MFORMAT_H

#include <cstdint>

namespace y4m {

// Start of frame i in 100 ns at num/den frames per second:
// round(i * 10^7 * den / num), halves rounded up, exact for every int32
// rate and frame number. num must be positive.
int64_t FrameStart(int64_t i, int32_t num, int32_t den);

// Display aspect of a width x height picture of pixel aspect parNum:parDen:
// (width * parNum) : (height * parDen), reduced. Square pixels (0:0, equal
// terms, or a zero term) give 0:0, the "square pixels" value of VideoInfo.
void DisplayAspect(int width, int height, int parNum, int parDen, int* aspectX, int* aspectY);

// Pixel aspect that shows a width x height picture at aspectX:aspectY:
// (aspectX * height) : (aspectY * width), reduced; 1:1 when either term of
// the display aspect is 0 (square pixels).
void PixelAspect(int width, int height, int aspectX, int aspectY, int* parNum, int* parDen);

// A rational for a frame rate: whole rates as n:1, the NTSC family
// (23.976, 29.97, 59.94, ...) as n*1000:1001, anything else to 1/1000.
// A rate that is not positive and finite gives 25:1.
void RateToFraction(double rate, int32_t* num, int32_t* den);

// Reduces a:b by their greatest common divisor and, if either still does
// not fit an int32, halves both until they do (the ratio kept to within
// rounding). Both must be positive.
void ReduceRatio(int64_t a, int64_t b, int* outA, int* outB);

} // namespace y4m

#endif // DATAPROCESS_HOST_Y4MFORMAT_H
