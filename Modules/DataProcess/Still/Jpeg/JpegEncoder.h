// The driver of the baseline JPEG encoder: the steps BMP2JPEG runs, open to
// tests. All of them act on one conversion's state.
#ifndef DATAPROCESS_JPEG_JPEGENCODER_H
#define DATAPROCESS_JPEG_JPEGENCODER_H

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "JpegColor.h"
#include "JpegEntropy.h"
#include "JpegKernels.h"
#include "JpegMarkers.h"
#include "JpegTables.h"

namespace bmp2jpeg {

struct EncoderState {
    APP0infotype APP0info;
    DQTinfotype DQTinfo;
    SOF0infotype SOF0info;
    DHTinfotype DHTinfo;
    SOSinfotype SOSinfo;

    // DC tables hold 16 entries so that any category indexes inside them.
    bitstring YDC_HT[16] = {};
    bitstring CbDC_HT[16] = {};
    bitstring YAC_HT[256] = {};
    bitstring CbAC_HT[256] = {};
    CategoryTables tables;
    const YCbCrTables* ycc = nullptr;
    const JpegKernels* kernels = &ReferenceJpegKernels(); // the level's kernels from init_all
    float fdtbl_Y[64] = {};
    float fdtbl_Cb[64] = {};

    int8_t YDU[64] = {};
    int8_t CbDU[64] = {};
    int8_t CrDU[64] = {};
    int16_t DU[64] = {};
    BitWriter bw;
};

// Prints the text on standard output and returns; it ends nothing.
void exitmessage(const char* text);

void init_Huffman_tables(EncoderState& s);
// Fills the tables of a conversion. Returns false (after "Not enough
// memory.") when the category and code tables cannot be allocated.
bool init_all(EncoderState& s);

// Transforms, quantises and codes one block of one component.
void process_DU(EncoderState& s, const int8_t* ComponentDU, const float* fdtbl, int16_t* DC, const bitstring* HTDC,
                const bitstring* HTAC);

// Codes the picture (top-down, 3-byte pixels, padded_width pixels a row,
// rows padded to a multiple of 8) block by block: the blocks of rows
// y < picture_height, Y then Cb then Cr per block. Writes to s.bw.
void main_encoder(EncoderState& s, const unsigned char* rgb, size_t padded_width, size_t picture_height);

// Opens the output; when that fails, creates the missing last folder of
// the path (one level) and tries once more. Null on failure.
FILE* open_jpeg_output(const char* path);

} // namespace bmp2jpeg

#endif // DATAPROCESS_JPEG_JPEGENCODER_H
