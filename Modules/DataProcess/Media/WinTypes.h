/* Windows-style records used across the DataProcess interface.
 *
 * No Windows headers exist on this platform, so the library defines the
 * handful of records it needs with the Windows field names and widths.
 * This header compiles as C99 and as C++. */
#ifndef DATAPROCESS_WINTYPES_H
#define DATAPROCESS_WINTYPES_H

#include <stdint.h>

/* Rectangle in pixels: left and top inclusive, right and bottom exclusive. */
typedef struct tagRECT {
    int32_t left;
    int32_t top;
    int32_t right;
    int32_t bottom;
} tagRECT;
typedef tagRECT RECT;

typedef struct tagSIZE {
    int32_t cx;
    int32_t cy;
} tagSIZE;
typedef tagSIZE SIZE;

/* Rectangle as fractions (0.0 .. 1.0) of a picture's width and height. */
typedef struct tagFRECT {
    float left;
    float top;
    float right;
    float bottom;
} tagFRECT;
typedef tagFRECT FRECT;

typedef struct tagRGBQUAD {
    uint8_t rgbBlue;
    uint8_t rgbGreen;
    uint8_t rgbRed;
    uint8_t rgbReserved;
} tagRGBQUAD;
typedef tagRGBQUAD RGBQUAD;

/* The 40-byte bitmap header; multi-byte fields are in host byte order once
 * read (see ReverseBitMapInfo). A positive biHeight means rows bottom-up. */
typedef struct tagBITMAPINFOHEADER {
    uint32_t biSize;
    int32_t  biWidth;
    int32_t  biHeight;
    uint16_t biPlanes;
    uint16_t biBitCount;
    uint32_t biCompression;
    uint32_t biSizeImage;
    int32_t  biXPelsPerMeter;
    int32_t  biYPelsPerMeter;
    uint32_t biClrUsed;
    uint32_t biClrImportant;
} tagBITMAPINFOHEADER;
typedef tagBITMAPINFOHEADER BITMAPINFOHEADER;

typedef struct tagBITMAPINFO {
    tagBITMAPINFOHEADER bmiHeader;
    tagRGBQUAD          bmiColors[1];
} tagBITMAPINFO;
typedef tagBITMAPINFO BITMAPINFO;

/* biCompression value of the library's own 20-bit YV12-with-alpha bitmap:
 * the little-endian 32-bit value of the bytes 'Y', 'V', '1', '2'. */
#define DP_FOURCC_YV12 ((uint32_t)'Y' | ((uint32_t)'V' << 8) | ((uint32_t)'1' << 16) | ((uint32_t)'2' << 24))

/* Compression value of an uncompressed RGB bitmap. */
#define DP_BI_RGB 0u

#ifdef __cplusplus
#include <cstddef>
static_assert(sizeof(tagRECT) == 16, "tagRECT is four int32");
static_assert(sizeof(tagSIZE) == 8, "tagSIZE is two int32");
static_assert(sizeof(tagFRECT) == 16, "tagFRECT is four floats");
static_assert(sizeof(tagRGBQUAD) == 4, "tagRGBQUAD is four bytes");
static_assert(sizeof(tagBITMAPINFOHEADER) == 40, "BITMAPINFOHEADER is 40 bytes");
static_assert(offsetof(tagBITMAPINFOHEADER, biBitCount) == 14, "biBitCount at byte 14");
static_assert(offsetof(tagBITMAPINFOHEADER, biSizeImage) == 20, "biSizeImage at byte 20");
static_assert(offsetof(tagBITMAPINFOHEADER, biClrImportant) == 36, "biClrImportant at byte 36");
static_assert(sizeof(tagBITMAPINFO) == 44, "BITMAPINFO is header plus one RGBQUAD");
#endif

#endif /* DATAPROCESS_WINTYPES_H */
