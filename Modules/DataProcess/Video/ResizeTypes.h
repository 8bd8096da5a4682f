/* The output request of a video stage: size, interpolation and fit method.
 * Compiles as C99 and as C++. */
#ifndef DATAPROCESS_RESIZETYPES_H
#define DATAPROCESS_RESIZETYPES_H

#include <stdint.h>

#include "ImageTypes.h"

/* How the source picture is fitted into the output. */
typedef enum IMAGE_RESIZE_METHOD DP_ENUM_BASE {
    IMAGE_RESIZE_STRETCH = 0,         /* the whole source region fills the whole output */
    IMAGE_RESIZE_LETTERBOX = 1,       /* keep the aspect, bars on two sides; refit for quarter turns */
    IMAGE_RESIZE_FIT_16_9 = 2,        /* as letterbox with the aspect forced to 16:9 */
    IMAGE_RESIZE_FIT_4_3 = 3,         /* as letterbox with the aspect forced to 4:3 */
    IMAGE_RESIZE_LETTERBOX_PLAIN = 4, /* as letterbox without the refit for rotation */
    IMAGE_RESIZE_CROP_FILL = 5        /* fill the output; the source is cut to its aspect */
} IMAGE_RESIZE_METHOD;

typedef struct RESIZE_PARAM {
    int32_t nWidth;                     /* output width; <= 0 = follow the source and its aspect */
    int32_t nHeight;                    /* output height (used when nWidth > 0) */
    IMAGE_INTERPOLATION nInterpolation; /* filter of every scaling of the stage */
    IMAGE_RESIZE_METHOD nResizeMethod;
} RESIZE_PARAM;

#ifdef __cplusplus
static_assert(sizeof(IMAGE_RESIZE_METHOD) == 4, "IMAGE_RESIZE_METHOD is 32-bit");
static_assert(sizeof(RESIZE_PARAM) == 16, "RESIZE_PARAM is four int32");
#endif

#endif /* DATAPROCESS_RESIZETYPES_H */
