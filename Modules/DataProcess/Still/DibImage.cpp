#include "DibImage.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>

#include "TextConvert.h"
#include "Utility.h"

namespace {

// The file header: bfType "BM", bfSize, two reserved words, bfOffBits, all
// little-endian whatever the host.
void WriteFileHeader(FILE* fp, uint32_t bfSize, uint32_t bfOffBits)
{
    unsigned char h[14] = {'B', 'M'};
    for (int i = 0; i < 4; ++i) {
        h[2 + i] = static_cast<unsigned char>(bfSize >> (8 * i));
        h[10 + i] = static_cast<unsigned char>(bfOffBits >> (8 * i));
    }
    std::fwrite(h, 1, sizeof(h), fp);
}

} // namespace

DibImage::DibImage() : m_nStride(0), m_pBits(nullptr), m_pInfo(nullptr) {}

DibImage::~DibImage()
{
    Clear();
}

int DibImage::Create(int nWidth, int nHeight, int nBitCount)
{
    if (m_pInfo && m_pBits && Width() == nWidth && Height() == nHeight && BitCount() == nBitCount)
        return 1;
    Clear();
    if (nWidth < 0 || nHeight < 0 || nBitCount < 1 || nBitCount > 32)
        return 0;

    const uint64_t stride = ((uint64_t(nBitCount) * uint64_t(nWidth) + 31) & ~uint64_t(31)) / 8;
    const uint64_t sizeImage = stride * uint64_t(nHeight);
    if (sizeImage > UINT32_MAX - 4)
        return 0;

    const size_t headerBytes = 40 + (nBitCount < 9 ? size_t(4) << nBitCount : 0);
    // The header block is raw storage big enough for a tagBITMAPINFO (44
    // bytes) and its colour table.
    const size_t headerAlloc = headerBytes < sizeof(tagBITMAPINFO) ? sizeof(tagBITMAPINFO) : headerBytes;
    unsigned char* header = new (std::nothrow) unsigned char[headerAlloc]();
    if (!header)
        return 0;
    m_pInfo = reinterpret_cast<tagBITMAPINFO*>(header);
    tagBITMAPINFOHEADER& bih = m_pInfo->bmiHeader;
    bih.biSize = 40;
    bih.biWidth = nWidth;
    bih.biHeight = nHeight;
    bih.biPlanes = 1;
    bih.biBitCount = static_cast<uint16_t>(nBitCount);
    bih.biSizeImage = static_cast<uint32_t>(sizeImage);

    m_pBits = new (std::nothrow) unsigned char[size_t(sizeImage) + 4]();
    if (!m_pBits) {
        Clear();
        return 0;
    }
    m_nStride = static_cast<int>(stride);
    return 1;
}

void DibImage::Clear()
{
    delete[] m_pBits;
    delete[] reinterpret_cast<unsigned char*>(m_pInfo);
    m_pBits = nullptr;
    m_pInfo = nullptr;
    m_nStride = 0;
}

unsigned int DibImage::HeaderSize(tagBITMAPINFO* pInfo) const
{
    const tagBITMAPINFO* info = pInfo ? pInfo : m_pInfo;
    if (!info)
        return 0;
    const tagBITMAPINFOHEADER& bih = info->bmiHeader;
    if (bih.biBitCount > 8)
        return 40;
    const unsigned colours = bih.biClrUsed ? bih.biClrUsed : 1u << bih.biBitCount;
    return 40 + 4 * colours;
}

unsigned int DibImage::ImageSize() const
{
    return m_pInfo ? m_pInfo->bmiHeader.biSizeImage : 0;
}

int DibImage::Save(const char* pszPath)
{
    if (!m_pBits || !m_pInfo || !pszPath)
        return 0;
    char narrow[2048];
    FILE* fp = std::fopen(__t2a(narrow, pszPath, sizeof(narrow)), "wb");
    if (!fp)
        return 0;

    const uint32_t headerSize = HeaderSize();
    const uint32_t imageSize = ImageSize();
    WriteFileHeader(fp, 14 + headerSize + imageSize, 14 + headerSize);

    tagBITMAPINFO copy;
    std::memcpy(&copy, m_pInfo, sizeof(copy));
    ReverseBitMapInfo(&copy);
    const uint32_t fromCopy = headerSize < sizeof(copy) ? headerSize : uint32_t(sizeof(copy));
    std::fwrite(&copy, 1, fromCopy, fp);
    // Kept deliberately: only the 44-byte copy is carried over; a longer
    // colour table is written as zeros.
    for (uint32_t i = fromCopy; i < headerSize; ++i)
        std::fputc(0, fp);

    std::fwrite(m_pBits, 1, imageSize, fp);
    std::fclose(fp);
    return 1;
}

int DibImage::Width() const
{
    return m_pInfo ? m_pInfo->bmiHeader.biWidth : 0;
}

int DibImage::Height() const
{
    return m_pInfo ? m_pInfo->bmiHeader.biHeight : 0;
}

int DibImage::BitCount() const
{
    return m_pInfo ? m_pInfo->bmiHeader.biBitCount : 0;
}
