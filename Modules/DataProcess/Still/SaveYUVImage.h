// Saving a YUV 4:2:0 picture as a still image file.
#ifndef DATAPROCESS_SAVEYUVIMAGE_H
#define DATAPROCESS_SAVEYUVIMAGE_H

#include <wchar.h>

#include "DataProcessExport.h"

// Converts the nWidth x nHeight picture (planes pY, pU, pV with their
// pitches; chroma at half width and height) to a 24-bit bitmap and saves it
// at pszPath: as a BMP file when bJpeg is 0, else as a JPEG file made by the
// built-in encoder. A JPEG save writes a temporary bitmap beside the target,
// named by replacing the path's text from its last "." on with "tmp.bmp"
// (/p/shot.jpg gives /p/shottmp.bmp), and deletes it afterwards; the path
// must contain a ".".
// Returns 1 when the bitmap (the file itself, or the temporary one for a
// JPEG) was written, 0 otherwise (null path or plane, negative size, path
// without "." for a JPEG, file not created). The outcome of the JPEG
// conversion itself is not reported.
DP_API int SaveYUVImage(const wchar_t* pszPath, int bJpeg, int nWidth, int nHeight, unsigned char* pY,
                        unsigned char* pU, unsigned char* pV, int nPitchY, int nPitchU, int nPitchV);

#endif // DATAPROCESS_SAVEYUVIMAGE_H
