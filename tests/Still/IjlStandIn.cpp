// A stand-in for the run-time JPEG library "IJL15.DLL", built over
// libjpeg-turbo for the tests of CIjlObj. It implements the four entry
// points with the behaviour the wrapper relies on:
// - ijlInit fills the defaults (BGR pixels, 3 channels, quality 75) and
//   returns 0; ijlFree releases the record;
// - ijlRead with IJL_JBUFF_READPARAMS reads the size and channel count of
//   the JPEG in JPGBytes; with IJL_JBUFF_READWHOLEIMAGE it decodes it into
//   DIBBytes (DIBWidth x |DIBHeight|, DIBChannels 3, rows DIBPadBytes
//   apart beyond their pixels, bottom-up when DIBHeight is negative);
// - ijlWrite with IJL_JFILE_WRITEWHOLEIMAGE encodes the DIB into JPGFile.
// Every other mode, or a record that was not initialised, is an error (-1).
#include <csetjmp>
#include <cstdio>
#include <cstring>

#include <jpeglib.h>

#include "IjlProperties.h"

#define IJL_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

const char kInitialised[4] = {'t', 'e', 's', 't'};
const int kError = -1;

bool Initialised(const JPEG_CORE_PROPERTIES* p)
{
    return p && std::memcmp(p->reserved, kInitialised, 4) == 0;
}

struct ErrorManager {
    jpeg_error_mgr pub;
    std::jmp_buf jump;
};

void ErrorExit(j_common_ptr cinfo)
{
    std::longjmp(reinterpret_cast<ErrorManager*>(cinfo->err)->jump, 1);
}

void Silent(j_common_ptr, int) {}

J_COLOR_SPACE DibSpace(const JPEG_CORE_PROPERTIES* p)
{
    return p->DIBColor == IJL_RGB ? JCS_RGB : JCS_EXT_BGR;
}

// Row r of the picture (top-down) inside the DIB.
unsigned char* DibRow(const JPEG_CORE_PROPERTIES* p, unsigned r, unsigned height)
{
    const size_t stride = size_t(p->DIBWidth) * p->DIBChannels + p->DIBPadBytes;
    const unsigned row = p->DIBHeight < 0 ? height - 1 - r : r;
    return p->DIBBytes + stride * row;
}

unsigned AbsHeight(int32_t h)
{
    return h < 0 ? 0u - unsigned(h) : unsigned(h);
}

int Read(JPEG_CORE_PROPERTIES* p, bool whole)
{
    jpeg_decompress_struct cinfo;
    ErrorManager err;
    cinfo.err = jpeg_std_error(&err.pub);
    err.pub.error_exit = ErrorExit;
    err.pub.emit_message = Silent;
    if (setjmp(err.jump)) {
        jpeg_destroy_decompress(&cinfo);
        return kError;
    }
    jpeg_create_decompress(&cinfo);
    jpeg_mem_src(&cinfo, p->JPGBytes, p->JPGSizeBytes);
    jpeg_read_header(&cinfo, TRUE);
    if (!whole) {
        p->JPGWidth = cinfo.image_width;
        p->JPGHeight = int32_t(cinfo.image_height);
        p->JPGChannels = unsigned(cinfo.num_components);
        jpeg_destroy_decompress(&cinfo);
        return IJL_OK;
    }
    const unsigned height = AbsHeight(p->DIBHeight);
    if (!p->DIBBytes || p->DIBChannels != 3 || p->DIBWidth != cinfo.image_width || height != cinfo.image_height) {
        jpeg_destroy_decompress(&cinfo);
        return kError;
    }
    cinfo.out_color_space = DibSpace(p);
    jpeg_start_decompress(&cinfo);
    while (cinfo.output_scanline < cinfo.output_height) {
        JSAMPROW row = DibRow(p, cinfo.output_scanline, height);
        jpeg_read_scanlines(&cinfo, &row, 1);
    }
    jpeg_finish_decompress(&cinfo);
    jpeg_destroy_decompress(&cinfo);
    return IJL_OK;
}

int WriteFile(JPEG_CORE_PROPERTIES* p)
{
    const unsigned height = AbsHeight(p->DIBHeight);
    if (!p->JPGFile || !p->DIBBytes || p->DIBChannels != 3 || p->DIBWidth == 0 || height == 0)
        return kError;
    FILE* fp = std::fopen(p->JPGFile, "wb");
    if (!fp)
        return kError;
    jpeg_compress_struct cinfo;
    ErrorManager err;
    cinfo.err = jpeg_std_error(&err.pub);
    err.pub.error_exit = ErrorExit;
    if (setjmp(err.jump)) {
        jpeg_destroy_compress(&cinfo);
        std::fclose(fp);
        return kError;
    }
    jpeg_create_compress(&cinfo);
    jpeg_stdio_dest(&cinfo, fp);
    cinfo.image_width = p->DIBWidth;
    cinfo.image_height = height;
    cinfo.input_components = 3;
    cinfo.in_color_space = DibSpace(p);
    jpeg_set_defaults(&cinfo);
    jpeg_set_quality(&cinfo, int(p->jquality), TRUE);
    jpeg_start_compress(&cinfo, TRUE);
    while (cinfo.next_scanline < cinfo.image_height) {
        JSAMPROW row = DibRow(p, cinfo.next_scanline, height);
        jpeg_write_scanlines(&cinfo, &row, 1);
    }
    jpeg_finish_compress(&cinfo);
    jpeg_destroy_compress(&cinfo);
    return std::fclose(fp) == 0 ? IJL_OK : kError;
}

} // namespace

IJL_EXPORT int ijlInit(JPEG_CORE_PROPERTIES* p)
{
    if (!p || Initialised(p))
        return kError;
    p->DIBColor = IJL_BGR;
    p->DIBChannels = 3;
    p->JPGColor = IJL_YCBCR;
    p->JPGChannels = 3;
    p->jquality = 75;
    std::memcpy(p->reserved, kInitialised, 4);
    return IJL_OK;
}

IJL_EXPORT int ijlFree(JPEG_CORE_PROPERTIES* p)
{
    if (!Initialised(p))
        return kError;
    std::memset(p->reserved, 0, 4);
    return IJL_OK;
}

IJL_EXPORT int ijlRead(JPEG_CORE_PROPERTIES* p, int mode)
{
    if (!Initialised(p) || !p->JPGBytes)
        return kError;
    if (mode == IJL_JBUFF_READPARAMS)
        return Read(p, false);
    if (mode == IJL_JBUFF_READWHOLEIMAGE)
        return Read(p, true);
    return kError;
}

IJL_EXPORT int ijlWrite(JPEG_CORE_PROPERTIES* p, int mode)
{
    if (!Initialised(p) || mode != IJL_JFILE_WRITEWHOLEIMAGE)
        return kError;
    return WriteFile(p);
}
