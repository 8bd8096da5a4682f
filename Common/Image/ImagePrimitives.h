// Declares every public name of the image primitives (colour conversion, scaling, rotation and drag, adjustments and filters).
#ifndef DATAPROCESS_IMAGEPRIMITIVES_H
#define DATAPROCESS_IMAGEPRIMITIVES_H

// Scaling, rotation and drag.
#include "ImageResize.h"
#include "ImageRotate.h"

// Colour conversion, adjustments and filters.
#include "ImageConvert.h"
#include "ImageAdjust.h"
#include "ImageFlip.h"
#include "ImageDeinterlace.h"
#include "ImageFilter.h"

#endif // DATAPROCESS_IMAGEPRIMITIVES_H
