// Declares every public name of the audio stages (converter, timeline stage, processing stage).
#ifndef DATAPROCESS_AUDIOSTAGES_H
#define DATAPROCESS_AUDIOSTAGES_H

#endif // DATAPROCESS_AUDIOSTAGES_H
