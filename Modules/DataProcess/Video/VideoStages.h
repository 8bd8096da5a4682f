// Declares every public name of the video stages (geometry, processing stage, watermarks, overlays, constant rate).
#ifndef DATAPROCESS_VIDEOSTAGES_H
#define DATAPROCESS_VIDEOSTAGES_H

#include "ResizeTypes.h"
#include "ResizeGeometry.h"
#include "VideoEvenProcess.h"
#include "VideoProcess.h"
#include "Watermark.h"

#endif // DATAPROCESS_VIDEOSTAGES_H
