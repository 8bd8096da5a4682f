// Declares every public name of the still images (bitmaps, capture, JPEG encoder, JPEG library wrapper).
#ifndef DATAPROCESS_STILLIMAGES_H
#define DATAPROCESS_STILLIMAGES_H

#endif // DATAPROCESS_STILLIMAGES_H
