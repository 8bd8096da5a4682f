// Capture of the current picture of VideoProcess to a BMP or JPEG file.
#include "Frame.h"
#include "SaveYUVImage.h"
#include "VideoProcess.h"

int VideoProcess::CaptureImage(wchar_t* pszPath, int bJpeg, unsigned int)
{
    if (!pszPath || !m_pSource)
        return 0;
    // Held from taking the picture until the file is written.
    CSingleLock lock(&m_csFrame);
    const MEDIA_FRAME* frame = m_pOutFrame ? m_pOutFrame : m_pSource->GetFrame();
    if (!frame || frame->nWidth < 0 || frame->nHeight < 0)
        return 0;
    // A private copy without alpha, packed, whatever the pitches of the
    // picture taken.
    MEDIA_FRAME* copy = CreateYV12Frame(frame->nWidth, frame->nHeight, 0, 0);
    if (!copy)
        return 0;
    CopyVideoFrame(copy, frame, 0);
    const int result = SaveYUVImage(pszPath, bJpeg, copy->nWidth, copy->nHeight, copy->pY, copy->pU, copy->pV,
                                    copy->nPitchY, copy->nPitchU, copy->nPitchV);
    ReleaseYV12Frame(copy);
    return result;
}
