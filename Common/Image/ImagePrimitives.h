// Declares every public name of the image primitives (colour conversion, scaling, rotation and drag, adjustments and filters).
#ifndef DATAPROCESS_IMAGEPRIMITIVES_H
#define DATAPROCESS_IMAGEPRIMITIVES_H

#endif // DATAPROCESS_IMAGEPRIMITIVES_H
