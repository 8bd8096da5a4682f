/* The record through which the run-time JPEG library (file name "IJL15.DLL")
 * is driven, with the status and mode values the library's wrapper uses.
 * The leading fields are the library's published ones, in order; the tail
 * is the library's own working area. Compiles as C11 and C++. */
#ifndef DATAPROCESS_IJLPROPERTIES_H
#define DATAPROCESS_IJLPROPERTIES_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#  define DP_IJL_ALIGN8 alignas(8)
#else
#  define DP_IJL_ALIGN8 _Alignas(8)
#endif

struct JPEG_CORE_PROPERTIES {
    uint32_t UseJPEGPROPERTIES;
    uint8_t* DIBBytes;      /* pixels of the uncompressed picture */
    uint32_t DIBWidth;
    int32_t DIBHeight;      /* negative: rows bottom-up, as in a Windows DIB */
    uint32_t DIBPadBytes;   /* bytes after each row's pixels */
    uint32_t DIBChannels;
    int32_t DIBColor;
    int32_t DIBSubsampling;
    const char* JPGFile;    /* file read or written by the JFILE modes */
    uint8_t* JPGBytes;      /* buffer read by the JBUFF modes */
    uint32_t JPGSizeBytes;
    uint32_t JPGWidth;
    int32_t JPGHeight;
    uint32_t JPGChannels;
    int32_t JPGColor;
    int32_t JPGSubSampling;
    uint32_t JPGThumbWidth;
    uint32_t JPGThumbHeight;
    uint32_t cconversion_reqd;
    uint32_t upsampling_reqd;
    uint32_t jquality;
    DP_IJL_ALIGN8 unsigned char reserved[32768]; /* the library's own */
};
typedef struct JPEG_CORE_PROPERTIES JPEG_CORE_PROPERTIES;

/* Results: 0 is success, negative values are errors. */
enum { IJL_OK = 0 };

/* Modes of ijlRead and ijlWrite used here. */
enum {
    IJL_JBUFF_READPARAMS = 1,
    IJL_JBUFF_READWHOLEIMAGE = 3,
    IJL_JFILE_WRITEWHOLEIMAGE = 8
};

/* Colour values of DIBColor and JPGColor. */
enum { IJL_RGB = 1, IJL_BGR = 2, IJL_YCBCR = 3 };

typedef int (*PFN_ijlInit)(struct JPEG_CORE_PROPERTIES*);
typedef int (*PFN_ijlFree)(struct JPEG_CORE_PROPERTIES*);
typedef int (*PFN_ijlRead)(struct JPEG_CORE_PROPERTIES*, int);
typedef int (*PFN_ijlWrite)(struct JPEG_CORE_PROPERTIES*, int);

#ifdef __cplusplus
static_assert(offsetof(JPEG_CORE_PROPERTIES, DIBBytes) == 8, "DIBBytes after the 4-byte flag, pointer-aligned");
static_assert(offsetof(JPEG_CORE_PROPERTIES, JPGFile) == 40, "JPGFile after eight 4-byte fields");
static_assert(offsetof(JPEG_CORE_PROPERTIES, JPGSizeBytes) == 56, "JPGSizeBytes after two pointers");
static_assert(offsetof(JPEG_CORE_PROPERTIES, jquality) == 96, "jquality is the last published field");
static_assert(offsetof(JPEG_CORE_PROPERTIES, reserved) == 104, "the opaque area follows, 8-aligned");
static_assert(sizeof(JPEG_CORE_PROPERTIES) == 104 + 32768, "32 KiB opaque tail");
#endif

#endif /* DATAPROCESS_IJLPROPERTIES_H */
