/* Records and enumerations shared by the image primitives.
 * Compiles as C99 and as C++. */
#ifndef DATAPROCESS_IMAGETYPES_H
#define DATAPROCESS_IMAGETYPES_H

#include <stdint.h>

/* A buffer and a region of interest in it. It never owns the buffer.
 * Bottom-up routines address row r at (nHeight - r - 1) * nPitch. */
typedef struct IMG_PARAM {
    unsigned char* pBits; /* first byte of the buffer as it lies in memory */
    int32_t nWidth;       /* width of the whole buffer in pixels */
    int32_t nHeight;      /* height of the whole buffer in rows */
    int32_t nPitch;       /* bytes from one row to the next */
    int32_t nBitCount;    /* bits per pixel; 8 for a plane */
    int32_t x;            /* region: left column */
    int32_t y;            /* region: top row */
    int32_t cx;           /* region: width in pixels */
    int32_t cy;           /* region: height in rows */
} IMG_PARAM;

/* In C++ the enumerations of this library have int32_t as their underlying
 * type, so every 32-bit value a host stores in them is a value of the type
 * (values outside the listed ones have defined meanings below). */
#ifdef __cplusplus
#define DP_ENUM_BASE : int32_t
#else
#define DP_ENUM_BASE
#endif

/* Scaling filter. Any other value makes a dispatcher return 0. */
typedef enum IMAGE_INTERPOLATION DP_ENUM_BASE {
    IMAGE_INTERPOLATION_DEFAULT = 0,  /* acts as bilinear */
    IMAGE_INTERPOLATION_NEAREST = 1,
    IMAGE_INTERPOLATION_BILINEAR = 2,
    IMAGE_INTERPOLATION_CONVOLVE = 3  /* cubic; 32-bit pictures only */
} IMAGE_INTERPOLATION;

/* Line-based deinterlacing methods. 0 and 5 (and any other value) do
 * nothing. */
typedef enum DEINTERLACE_STYLE DP_ENUM_BASE {
    DEINTERLACE_NONE = 0,
    DEINTERLACE_DOUBLE_EVEN = 1,  /* odd rows become copies of the even row above */
    DEINTERLACE_DOUBLE_ODD = 2,   /* even rows become copies of the odd row below */
    DEINTERLACE_BLEND_ODD = 3,    /* odd rows become the average of their neighbours */
    DEINTERLACE_BLEND_EVEN = 4,   /* even rows from 2 become the average of their neighbours */
    DEINTERLACE_SKIP = 5
} DEINTERLACE_STYLE;

#ifdef __cplusplus
static_assert(sizeof(IMAGE_INTERPOLATION) == 4, "IMAGE_INTERPOLATION is 32-bit");
static_assert(sizeof(DEINTERLACE_STYLE) == 4, "DEINTERLACE_STYLE is 32-bit");
#endif

#endif /* DATAPROCESS_IMAGETYPES_H */
