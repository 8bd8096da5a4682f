// A stand-in for the run-time JPEG library "IJL15.DLL" over libjpeg-turbo,
// for the tests of CIjlObj, doing only what the wrapper relies on:
// - ijlInit sets quality 75; ijlFree has nothing to release;
// - ijlRead, IJL_JBUFF_READPARAMS: the size of the JPEG in JPGBytes;
//   IJL_JBUFF_READWHOLEIMAGE: decodes it into DIBBytes;
// - ijlWrite, IJL_JFILE_WRITEWHOLEIMAGE: encodes DIBBytes into JPGFile.
// DIB pixels are blue, green, red, rows DIBPadBytes apart beyond their
// pixels, bottom-up when DIBHeight is negative. Another mode, data that is
// not a JPEG or a DIB that does not fit the JPEG is an error (-1). The
// wrapper hands only 24-bit pictures with pixels to ijlWrite, so libjpeg's
// own error handler (which ends the process) is left in place there.
#include <cstdio>

#include <jpeglib.h>

#include "IjlProperties.h"
#include "StillTestUtil.h"

#define IJL_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

// Row r of the picture (top-down) inside the DIB.
uint8_t* DibRow(const JPEG_CORE_PROPERTIES* p, int r)
{
    const int h = p->DIBHeight < 0 ? -p->DIBHeight : p->DIBHeight;
    return p->DIBBytes + (size_t(p->DIBWidth) * 3 + p->DIBPadBytes) * size_t(p->DIBHeight < 0 ? h - 1 - r : r);
}

} // namespace

IJL_EXPORT int ijlInit(JPEG_CORE_PROPERTIES* p)
{
    p->jquality = 75;
    return IJL_OK;
}

IJL_EXPORT int ijlFree(JPEG_CORE_PROPERTIES*)
{
    return IJL_OK;
}

IJL_EXPORT int ijlRead(JPEG_CORE_PROPERTIES* p, int mode)
{
    stilltest::Picture pic;
    if (!p->JPGBytes || !stilltest::DecodeJpeg({p->JPGBytes, p->JPGBytes + p->JPGSizeBytes}, &pic))
        return -1;
    if (mode == IJL_JBUFF_READPARAMS) {
        p->JPGWidth = uint32_t(pic.width);
        p->JPGHeight = pic.height;
        p->JPGChannels = 3;
        return IJL_OK;
    }
    if (mode != IJL_JBUFF_READWHOLEIMAGE || !p->DIBBytes || p->DIBChannels != 3 || p->DIBWidth != uint32_t(pic.width) ||
        (p->DIBHeight != pic.height && p->DIBHeight != -pic.height))
        return -1;
    for (int y = 0; y < pic.height; ++y)
        for (int x = 0; x < pic.width; ++x)
            for (int c = 0; c < 3; ++c)
                DibRow(p, y)[3 * x + c] = pic.at(x, y)[2 - c];
    return IJL_OK;
}

IJL_EXPORT int ijlWrite(JPEG_CORE_PROPERTIES* p, int mode)
{
    FILE* fp = mode == IJL_JFILE_WRITEWHOLEIMAGE ? std::fopen(p->JPGFile, "wb") : nullptr;
    if (!fp)
        return -1;
    jpeg_compress_struct cinfo;
    jpeg_error_mgr err;
    cinfo.err = jpeg_std_error(&err);
    jpeg_create_compress(&cinfo);
    jpeg_stdio_dest(&cinfo, fp);
    cinfo.image_width = p->DIBWidth;
    cinfo.image_height = unsigned(p->DIBHeight < 0 ? -p->DIBHeight : p->DIBHeight);
    cinfo.input_components = 3;
    cinfo.in_color_space = JCS_EXT_BGR;
    jpeg_set_defaults(&cinfo);
    jpeg_set_quality(&cinfo, int(p->jquality), TRUE);
    jpeg_start_compress(&cinfo, TRUE);
    while (cinfo.next_scanline < cinfo.image_height) {
        JSAMPROW row = DibRow(p, int(cinfo.next_scanline));
        jpeg_write_scanlines(&cinfo, &row, 1);
    }
    jpeg_finish_compress(&cinfo);
    jpeg_destroy_compress(&cinfo);
    return std::fclose(fp) == 0 ? IJL_OK : -1;
}
