#include "SaveYUVImage.h"

#include <cstdio>
#include <string>

#include "Bmp2Jpeg.h"
#include "DibImage.h"
#include "ImageConvert.h"
#include "TextConvert.h"

int SaveYUVImage(const wchar_t* pszPath, int bJpeg, int nWidth, int nHeight, unsigned char* pY, unsigned char* pU,
                 unsigned char* pV, int nPitchY, int nPitchU, int nPitchV)
{
    if (!pszPath || !pY || !pU || !pV)
        return 0;
    DibImage dib;
    if (!dib.Create(nWidth, nHeight, 24))
        return 0;
    Yuv420_2_rgb24(&dib.GetBitmapInfo()->bmiHeader, dib.GetBits(), pY, pU, pV, nPitchY, nPitchU, nPitchV);

    char narrow[2048];
    if (!bJpeg)
        return dib.Save(__w2t(narrow, pszPath, sizeof(narrow)));

    const std::string jpegPath = __w2a(narrow, pszPath, sizeof(narrow));
    const size_t dot = jpegPath.rfind('.');
    if (dot == std::string::npos)
        return 0;
    const std::string tempPath = jpegPath.substr(0, dot) + "tmp.bmp";

    char narrowTemp[2048];
    const int result = dib.Save(__a2t(narrowTemp, tempPath.c_str(), sizeof(narrowTemp)));
    if (result) {
        BMP2JPEG(tempPath.c_str(), jpegPath.c_str());
        // Deleted whatever the conversion did; a file that this call did not
        // write is left alone.
        std::remove(tempPath.c_str());
    }
    return result;
}
