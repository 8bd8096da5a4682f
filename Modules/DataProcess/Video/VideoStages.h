// Declares every public name of the video stages (geometry, processing stage, watermarks, overlays, constant rate).
#ifndef DATAPROCESS_VIDEOSTAGES_H
#define DATAPROCESS_VIDEOSTAGES_H

#endif // DATAPROCESS_VIDEOSTAGES_H
