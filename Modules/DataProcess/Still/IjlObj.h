// CIjlObj: the run-time JPEG library (file name "IJL15.DLL"), loaded on
// demand, writing a DibImage as a JPEG file and reading a JPEG held in
// memory into a DibImage.
#ifndef DATAPROCESS_IJLOBJ_H
#define DATAPROCESS_IJLOBJ_H

#include "DataProcessExport.h"

class DibImage;
struct JPEG_CORE_PROPERTIES;

class DP_API CIjlObj {
public:
    // Runs Init.
    CIjlObj();
    // Unloads the library when it was loaded.
    ~CIjlObj();
    CIjlObj(const CIjlObj&) = delete;
    CIjlObj& operator=(const CIjlObj&) = delete;

    // Loads the library and its entry points ijlInit, ijlFree, ijlRead and
    // ijlWrite unless already loaded. Returns this object, or null when the
    // library cannot be loaded.
    CIjlObj* Init();
    // True when the library is not loaded.
    bool IsEmpty() const;

    // Writes a 24-bit image as a JPEG file (narrow, UTF-8 path) with the
    // library's default settings. Returns 1 on success, 0 when the library
    // or an entry point is missing, the image is not a 24-bit image with
    // pixels, or the library reports an error. The third argument is not
    // used.
    int Save(DibImage& dib, const char* pszPath, unsigned long nReserved = 0);

    // Decodes the JPEG held in pJpeg (nBytes bytes) into dib, which is
    // (re)created as a 24-bit image of the JPEG's size. Returns 1 on
    // success, 0 without the library, without a buffer, or on an error.
    int ProcessBuffer(unsigned char* pJpeg, unsigned long nBytes, DibImage& dib);

private:
    void* m_hLibrary;
    int (*m_ijlInit)(JPEG_CORE_PROPERTIES*);
    int (*m_ijlFree)(JPEG_CORE_PROPERTIES*);
    int (*m_ijlRead)(JPEG_CORE_PROPERTIES*, int);
    int (*m_ijlWrite)(JPEG_CORE_PROPERTIES*, int);
};

// The process-wide CIjlObj, built on the first call (safe against
// concurrent first calls) and destroyed at process exit. Null when the
// library could not be loaded; the load is tried only once per process.
DP_API CIjlObj* GetIjlObj();

#endif // DATAPROCESS_IJLOBJ_H
