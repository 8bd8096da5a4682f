// Pictures between the library's YV12 frames and the arrays Python sees:
// planes, or packed rows top-down in RGB, BGR or RGBA order, converted with
// the library's own colour routines (BT.601 studio range).
#ifndef DATAPROCESS_PYTHON_PICTUREFORMATS_H
#define DATAPROCESS_PYTHON_PICTUREFORMATS_H

#include <cstddef>
#include <string>
#include <vector>

#include <DataProcess/DataProcess.h>

#include "BitmapFile.h"

namespace dppy {

enum class PixelFormat { YUV420P, RGB24, BGR24, RGBA };

// "yuv420p", "rgb24", "bgr24", "rgba"; throws std::invalid_argument naming
// the choices otherwise.
PixelFormat ParsePixelFormat(const std::string& name);
// Bytes per pixel of a packed format.
int PackedBytes(PixelFormat f);

// Bytes of one picture in `f`: the three planes one after the other (Y
// w x h, U and V (w+1)/2 x (h+1)/2) or packed rows of w * PackedBytes.
size_t PictureBytes(PixelFormat f, int width, int height);

// Writes `frame` into `out` (PictureBytes long) in format `f`. `scratch`
// is reused between calls for the bottom-up bitmap the colour routines
// write.
void WritePicture(const MEDIA_FRAME& frame, PixelFormat f, unsigned char* out, std::vector<unsigned char>* scratch);

// Converts top-down RGB rows (pitch `rowBytes`) into the planes of `frame`
// (of the same size) through the library's RGB to YUV routine.
void RgbToFrame(const unsigned char* rgb, ptrdiff_t rowBytes, MEDIA_FRAME* frame, std::vector<unsigned char>* scratch);

// A top-down RGBA picture as the 32-bit bottom-up BGRA bitmap (alpha in
// the fourth byte) that the stage's watermark setters take.
dptool::Bitmap RgbaToBitmap(const unsigned char* rgba, ptrdiff_t rowBytes, int width, int height);

} // namespace dppy

#endif // DATAPROCESS_PYTHON_PICTUREFORMATS_H
