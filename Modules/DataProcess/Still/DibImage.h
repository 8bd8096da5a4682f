// DibImage: a Windows device-independent bitmap in memory, with its header
// and pixel rows, that can be saved as a BMP file.
#ifndef DATAPROCESS_DIBIMAGE_H
#define DATAPROCESS_DIBIMAGE_H

#include "DataProcessExport.h"
#include "WinTypes.h"

// Rows are stored bottom-up (positive biHeight), each padded to a multiple
// of four bytes. The object owns its header block and its pixel block; the
// pointers returned by GetBitmapInfo and GetBits stay valid until the next
// Create with another size or depth, Clear or destruction.
class DP_API DibImage {
public:
    DibImage();
    DibImage(const DibImage&) = delete;
    DibImage& operator=(const DibImage&) = delete;

    // Returns 1 at once, keeping the pixels, when the image already has this
    // width, height and bit count. Otherwise frees the old blocks and
    // allocates a zeroed header of 40 bytes plus a colour table of 4 <<
    // nBitCount bytes for depths up to 8, and zeroed pixels of biSizeImage
    // (stride * nHeight) plus 4 bytes. Returns 1, or 0 with nothing held
    // when a block cannot be allocated or the arguments are unusable
    // (negative sizes, a depth outside 1..32, more than 4 GiB of pixels).
    virtual int Create(int nWidth, int nHeight, int nBitCount);
    // Second and third virtual slots (after Create): frees both blocks.
    virtual ~DibImage();

    // Frees both blocks.
    void Clear();

    // Bytes of header and colour table of pInfo, or of this image's header
    // when pInfo is null: 0 without a header, 40 above 8 bits a pixel, else
    // 40 + 4 * (biClrUsed, or 1 << biBitCount when that is 0).
    unsigned int HeaderSize(tagBITMAPINFO* pInfo = nullptr) const;
    // biSizeImage of this image's header, or 0.
    unsigned int ImageSize() const;

    // Writes the image as a BMP file (narrow, UTF-8 path). Returns 1, or 0
    // when there are no pixels or the file cannot be created. Write errors
    // are not reported. Only images without a colour table (more than 8
    // bits a pixel) are written faithfully: the header written is a 44-byte
    // copy, and the rest of a colour table is written as zeros.
    int Save(const char* pszPath);

    // From the header; 0 without one.
    int Width() const;
    int Height() const;
    int BitCount() const;

    tagBITMAPINFO* GetBitmapInfo() const { return m_pInfo; }
    unsigned char* GetBits() const { return m_pBits; }

protected:
    int m_nStride;              // bytes per row: ((nBitCount * width + 31) & ~31) / 8
    unsigned char* m_pBits;     // stride * height + 4 bytes, zeroed
    tagBITMAPINFO* m_pInfo;     // header and colour table
};

#endif // DATAPROCESS_DIBIMAGE_H
