// Process-wide state of the built-in JPEG encoder (see Bmp2Jpeg.h), exported
// under its historical names. These names are short and common, so this
// header is not part of the umbrella header: include it only to inspect the
// encoder's state.
//
// The values are written by BMP2JPEG while it holds its internal lock (the
// encoder itself works on its own copies and never reads them back) and
// are meaningful only to a caller that serialises itself with conversions:
// - width, height: the last picture's width rounded up to a multiple of 8
//   (as 16 bits: 0 for widths above 65528) and its height;
// - fp_jpeg_stream: the output file during a conversion, else null;
// - RGB_buffer: the picture (top-down, 3 bytes a pixel: blue, green, red)
//   during a conversion, else null. Both are owned by the encoder.
#ifndef DATAPROCESS_BMP2JPEGGLOBALS_H
#define DATAPROCESS_BMP2JPEGGLOBALS_H

#include <stdint.h>
#include <stdio.h>

#include "DataProcessExport.h"

DP_API extern uint16_t width;
DP_API extern uint16_t height;
DP_API extern FILE* fp_jpeg_stream;
DP_API extern unsigned char* RGB_buffer;

#endif // DATAPROCESS_BMP2JPEGGLOBALS_H
