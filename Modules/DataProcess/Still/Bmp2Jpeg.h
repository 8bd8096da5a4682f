// The built-in baseline JPEG encoder: converts a 24-bit BMP file into a
// baseline JFIF file (4:4:4, fixed quality 50, typical Huffman tables).
#ifndef DATAPROCESS_BMP2JPEG_H
#define DATAPROCESS_BMP2JPEG_H

#include "DataProcessExport.h"

// Converts the BMP file at pszBmpPath (24 bits a pixel, 54-byte header,
// sides up to 65535 pixels) into a JPEG file at pszJpegPath; both are
// narrow (UTF-8) paths. When the output cannot be created and its folder is
// missing, that one folder level is created and the output tried again.
// Nothing is reported: a bitmap that is missing, not 24-bit or shorter than
// its header says leaves no output; a later failure may leave a partial
// file. Whole conversions are serialised inside the library, so calls from
// several threads are safe (they run one after the other).
DP_API void BMP2JPEG(const char* pszBmpPath, const char* pszJpegPath);

#endif // DATAPROCESS_BMP2JPEG_H
