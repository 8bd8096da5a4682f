// DataProcess: media-processing stages that wrap a host's decoders.
//
// This umbrella header declares every public name of the library.
#ifndef DATAPROCESS_DATAPROCESS_H
#define DATAPROCESS_DATAPROCESS_H

#include "DataProcessExport.h"
#include "WinTypes.h"
#include "MediaTypes.h"
#include "Decoder.h"
#include "Frame.h"
#include "Lock.h"
#include "TextConvert.h"
#include "Utility.h"
#include "OrvLog.h"

#include "ImageTypes.h"
#include "ImagePrimitives.h"
#include "SimdLevel.h"
#include "ResizeTypes.h"
#include "VideoStages.h"
#include "AudioStages.h"
#include "StillImages.h"
#include "DataProcessC.h"
#include "DataProcessCallbacks.h"

#endif // DATAPROCESS_DATAPROCESS_H
