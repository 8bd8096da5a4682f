#include "JpegEncoder.h"

#include <sys/stat.h>
#include <sys/types.h>

#include <cstdlib>
#include <mutex>
#include <string>

#include "Bmp2Jpeg.h"
#include "Bmp2JpegGlobals.h"
#include "JpegBitmap.h"
#include "JpegDct.h"
#include "JpegKernels.h"

uint16_t width = 0;
uint16_t height = 0;
FILE* fp_jpeg_stream = nullptr;
unsigned char* RGB_buffer = nullptr;

namespace bmp2jpeg {

void exitmessage(const char* text)
{
    std::puts(text);
}

void init_Huffman_tables(EncoderState& s)
{
    compute_Huffman_table(s.DHTinfo.YDC_nrcodes, s.DHTinfo.YDC_values, s.YDC_HT);
    compute_Huffman_table(s.DHTinfo.YAC_nrcodes, s.DHTinfo.YAC_values, s.YAC_HT);
    compute_Huffman_table(s.DHTinfo.CbDC_nrcodes, s.DHTinfo.CbDC_values, s.CbDC_HT);
    compute_Huffman_table(s.DHTinfo.CbAC_nrcodes, s.DHTinfo.CbAC_values, s.CbAC_HT);
}

bool init_all(EncoderState& s)
{
    set_DQTinfo(s.DQTinfo);
    set_DHTinfo(s.DHTinfo);
    init_Huffman_tables(s);
    if (!set_numbers_category_and_bitcode(s.tables)) {
        // The message is kept; going on without the tables would read
        // through null pointers, so the conversion stops here instead.
        exitmessage("Not enough memory.");
        return false;
    }
    s.ycc = &precalculate_YCbCr_tables();
    s.kernels = &GetJpegKernels();
    prepare_quant_tables(s.DQTinfo.Ytable, s.fdtbl_Y);
    prepare_quant_tables(s.DQTinfo.Cbtable, s.fdtbl_Cb);
    return true;
}

void process_DU(EncoderState& s, const int8_t* ComponentDU, const float* fdtbl, int16_t* DC, const bitstring* HTDC,
                const bitstring* HTAC)
{
    QuantisedBlock q;
    s.kernels->fdctQuant(ComponentDU, fdtbl, q);
    write_DU_codes(s.bw, q.out, q.order, q.nonzero, DC, HTDC, HTAC, s.tables);
}

void main_encoder(EncoderState& s, const unsigned char* rgb, size_t padded_width, size_t picture_height)
{
    int16_t DCY = 0;
    int16_t DCCb = 0;
    int16_t DCCr = 0;
    const JpegKernels& kernels = *s.kernels;
    // Blocks are transformed two at a time (two lumas, then each block's two
    // chromas: pairs share a table) and coded in the stream's order, block
    // by block: Y, Cb, Cr of one block, then of the next.
    int8_t du[2][3][64];
    QuantisedBlock q[2][3];
    auto code = [&](const QuantisedBlock (&b)[3]) {
        write_DU_codes(s.bw, b[0].out, b[0].order, b[0].nonzero, &DCY, s.YDC_HT, s.YAC_HT, s.tables);
        write_DU_codes(s.bw, b[1].out, b[1].order, b[1].nonzero, &DCCb, s.CbDC_HT, s.CbAC_HT, s.tables);
        write_DU_codes(s.bw, b[2].out, b[2].order, b[2].nonzero, &DCCr, s.CbDC_HT, s.CbAC_HT, s.tables);
    };
    for (size_t ypos = 0; ypos < picture_height; ypos += 8) {
        size_t xpos = 0;
        for (; xpos + 16 <= padded_width; xpos += 16) {
            kernels.loadBlock(*s.ycc, rgb, padded_width, xpos, ypos, du[0][0], du[0][1], du[0][2]);
            kernels.loadBlock(*s.ycc, rgb, padded_width, xpos + 8, ypos, du[1][0], du[1][1], du[1][2]);
            kernels.fdctQuantPair(du[0][0], du[1][0], s.fdtbl_Y, q[0][0], q[1][0]);
            kernels.fdctQuantPair(du[0][1], du[0][2], s.fdtbl_Cb, q[0][1], q[0][2]);
            kernels.fdctQuantPair(du[1][1], du[1][2], s.fdtbl_Cb, q[1][1], q[1][2]);
            code(q[0]);
            code(q[1]);
        }
        for (; xpos < padded_width; xpos += 8) {
            kernels.loadBlock(*s.ycc, rgb, padded_width, xpos, ypos, s.YDU, s.CbDU, s.CrDU);
            process_DU(s, s.YDU, s.fdtbl_Y, &DCY, s.YDC_HT, s.YAC_HT);
            process_DU(s, s.CbDU, s.fdtbl_Cb, &DCCb, s.CbDC_HT, s.CbAC_HT);
            process_DU(s, s.CrDU, s.fdtbl_Cb, &DCCr, s.CbDC_HT, s.CbAC_HT);
        }
    }
}

FILE* open_jpeg_output(const char* path)
{
    FILE* fp = std::fopen(path, "wb");
    if (fp)
        return fp;
    // Like the command "mkdir <folder>": one level, no parents. A path
    // without a folder part has nothing to create.
    std::string folder(path);
    const size_t slash = folder.rfind('/');
    if (slash == std::string::npos || slash == 0)
        return nullptr;
    folder.resize(slash);
    ::mkdir(folder.c_str(), 0777);
    return std::fopen(path, "wb");
}

namespace {

// One conversion at a time: the exported globals belong to the conversion
// that holds this lock.
std::mutex g_conversion;

} // namespace

} // namespace bmp2jpeg

void BMP2JPEG(const char* pszBmpPath, const char* pszJpegPath)
{
    using namespace bmp2jpeg;
    if (!pszBmpPath || !pszJpegPath)
        return;
    std::lock_guard<std::mutex> lock(g_conversion);

    // The conversion works on its own copies and publishes them in the
    // exported globals; it never reads them back, so a same-named symbol of
    // the host that wins the dynamic binding cannot steer the encoder.
    LoadedBitmap picture;
    if (!load_bitmap(pszBmpPath, &picture))
        return;
    RGB_buffer = picture.rgb;
    width = static_cast<uint16_t>(picture.padded_width); // 65536 wraps to 0
    height = picture.image_height;

    FILE* const fp = open_jpeg_output(pszJpegPath);
    fp_jpeg_stream = fp;
    if (fp) {
        EncoderState s;
        if (init_all(s)) {
            s.SOF0info.height = picture.image_height;
            s.SOF0info.width = picture.image_width;
            write_SOI(fp);
            write_APP0info(fp, s.APP0info);
            write_DQTinfo(fp, s.DQTinfo);
            write_SOF0info(fp, s.SOF0info);
            write_DHTinfo(fp, s.DHTinfo);
            write_SOSinfo(fp, s.SOSinfo);

            s.bw.fp = fp;
            main_encoder(s, picture.rgb, picture.padded_width, picture.image_height);
            pad_with_ones(s.bw);
            write_EOI(fp);
            s.tables.release();
        }
        std::fclose(fp);
        fp_jpeg_stream = nullptr;
    }
    std::free(picture.rgb);
    RGB_buffer = nullptr;
}
