// Declares every public name of the still images (bitmaps, capture, JPEG encoder, JPEG library wrapper).
// The encoder's exported state (width, height, fp_jpeg_stream, RGB_buffer)
// is declared apart, in Bmp2JpegGlobals.h, so that its short names do not
// reach every user of the umbrella header.
#ifndef DATAPROCESS_STILLIMAGES_H
#define DATAPROCESS_STILLIMAGES_H

#include "DibImage.h"
#include "SaveYUVImage.h"
#include "IjlObj.h"
#include "Bmp2Jpeg.h"

#endif // DATAPROCESS_STILLIMAGES_H
