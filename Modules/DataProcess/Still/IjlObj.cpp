#include "IjlObj.h"

#include <dlfcn.h>

#include <climits>
#include <cstdint>
#include <memory>

#include "DibImage.h"
#include "IjlProperties.h"
#include "TextConvert.h"

namespace {

template <typename Fn>
Fn LookUp(void* library, const char* name)
{
    return reinterpret_cast<Fn>(dlsym(library, name));
}

// Bytes after the pixels of a 24-bit row up to the 4-byte boundary.
uint32_t PadBytes(uint32_t width)
{
    const uint64_t row = uint64_t(width) * 3;
    return static_cast<uint32_t>(((row + 3) & ~uint64_t(3)) - row);
}

// The record is 32 KiB: kept off the stack, zeroed.
std::unique_ptr<JPEG_CORE_PROPERTIES> NewProperties()
{
    return std::unique_ptr<JPEG_CORE_PROPERTIES>(new JPEG_CORE_PROPERTIES());
}

} // namespace

CIjlObj::CIjlObj()
    : m_hLibrary(nullptr), m_ijlInit(nullptr), m_ijlFree(nullptr), m_ijlRead(nullptr), m_ijlWrite(nullptr)
{
    Init();
}

CIjlObj::~CIjlObj()
{
    if (m_hLibrary)
        dlclose(m_hLibrary);
}

CIjlObj* CIjlObj::Init()
{
    if (m_hLibrary)
        return this;
    m_hLibrary = dlopen("IJL15.DLL", RTLD_NOW);
    if (!m_hLibrary)
        return nullptr;
    m_ijlInit = LookUp<PFN_ijlInit>(m_hLibrary, "ijlInit");
    m_ijlFree = LookUp<PFN_ijlFree>(m_hLibrary, "ijlFree");
    m_ijlRead = LookUp<PFN_ijlRead>(m_hLibrary, "ijlRead");
    m_ijlWrite = LookUp<PFN_ijlWrite>(m_hLibrary, "ijlWrite");
    return this;
}

bool CIjlObj::IsEmpty() const
{
    return m_hLibrary == nullptr;
}

int CIjlObj::Save(DibImage& dib, const char* pszPath, unsigned long)
{
    if (!m_ijlInit || !m_ijlFree || !m_ijlWrite || !pszPath)
        return 0;
    if (!dib.GetBits() || dib.BitCount() != 24 || dib.Width() <= 0 || dib.Height() <= 0)
        return 0;
    std::unique_ptr<JPEG_CORE_PROPERTIES> props = NewProperties();
    if (m_ijlInit(props.get()) != IJL_OK)
        return 0;

    char narrow[2048];
    const uint32_t w = static_cast<uint32_t>(dib.Width());
    props->JPGFile = __t2a(narrow, pszPath, sizeof(narrow));
    props->JPGWidth = w;
    props->JPGHeight = dib.Height();
    props->DIBBytes = dib.GetBits();
    props->DIBWidth = w;
    props->DIBHeight = -dib.Height();
    props->DIBChannels = 3;
    props->DIBPadBytes = PadBytes(w);
    const int ok = m_ijlWrite(props.get(), IJL_JFILE_WRITEWHOLEIMAGE) == IJL_OK;
    m_ijlFree(props.get());
    return ok ? 1 : 0;
}

int CIjlObj::ProcessBuffer(unsigned char* pJpeg, unsigned long nBytes, DibImage& dib)
{
    if (!m_ijlInit || !m_ijlFree || !m_ijlRead || !pJpeg || nBytes > UINT32_MAX)
        return 0;
    std::unique_ptr<JPEG_CORE_PROPERTIES> props = NewProperties();
    if (m_ijlInit(props.get()) != IJL_OK)
        return 0;

    int ok = 0;
    props->JPGBytes = pJpeg;
    props->JPGSizeBytes = static_cast<uint32_t>(nBytes);
    if (m_ijlRead(props.get(), IJL_JBUFF_READPARAMS) == IJL_OK) {
        const uint32_t w = props->JPGWidth;
        const int32_t h = props->JPGHeight;
        // Sizes an int cannot carry are refused rather than wrapped.
        if (w <= uint32_t(INT_MAX) && h != INT32_MIN && dib.Create(int(w), h < 0 ? -h : h, 24)) {
            props->DIBBytes = dib.GetBits();
            props->DIBWidth = w;
            props->DIBHeight = -h;
            props->DIBChannels = 3;
            props->DIBPadBytes = PadBytes(w);
            ok = m_ijlRead(props.get(), IJL_JBUFF_READWHOLEIMAGE) == IJL_OK;
        }
    }
    m_ijlFree(props.get());
    return ok ? 1 : 0;
}

CIjlObj* GetIjlObj()
{
    static CIjlObj s_ijl;
    return s_ijl.IsEmpty() ? nullptr : &s_ijl;
}
