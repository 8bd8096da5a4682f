// Declares every public name of the audio stages (converter, timeline stage, processing stage).
#ifndef DATAPROCESS_AUDIOSTAGES_H
#define DATAPROCESS_AUDIOSTAGES_H

#include "AudioConverter.h"
#include "AudioEvenProcess.h"
#include "AudioProcess.h"
#include "AudioResampler.h"

#endif // DATAPROCESS_AUDIOSTAGES_H
