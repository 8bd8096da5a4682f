// Marker segments of the baseline JPEG encoder. Each segment is a template
// record whose default values are the segment as written; the writers emit
// it field by field, 16-bit fields big-endian.
#ifndef DATAPROCESS_JPEG_JPEGMARKERS_H
#define DATAPROCESS_JPEG_JPEGMARKERS_H

#include <cstdint>
#include <cstdio>

namespace bmp2jpeg {

struct APP0infotype {
    uint16_t marker = 0xFFE0;
    uint16_t length = 16;
    uint8_t JFIFsignature[5] = {'J', 'F', 'I', 'F', 0};
    uint8_t versionhi = 1;
    uint8_t versionlo = 1;
    uint8_t xyunits = 0; // no units: the densities give the aspect ratio
    uint16_t xdensity = 1;
    uint16_t ydensity = 1;
    uint8_t thumbnwidth = 0;
    uint8_t thumbnheight = 0;
};

struct SOF0infotype {
    uint16_t marker = 0xFFC0;
    uint16_t length = 17;
    uint8_t precision = 8;
    uint16_t height = 0;
    uint16_t width = 0;
    uint8_t nrofcomponents = 3;
    uint8_t IdY = 1;
    uint8_t HVY = 0x11; // 1 x 1 sampling for all three: 4:4:4
    uint8_t QTY = 0;
    uint8_t IdCb = 2;
    uint8_t HVCb = 0x11;
    uint8_t QTCb = 1;
    uint8_t IdCr = 3;
    uint8_t HVCr = 0x11;
    uint8_t QTCr = 1;
};

// Both tables are in zig-zag order (filled by set_DQTinfo).
struct DQTinfotype {
    uint16_t marker = 0xFFDB;
    uint16_t length = 132;
    uint8_t QTYinfo = 0; // 8-bit precision, table 0
    uint8_t Ytable[64] = {};
    uint8_t QTCbinfo = 1; // 8-bit precision, table 1
    uint8_t Cbtable[64] = {};
};

// One segment with four tables (filled by set_DHTinfo).
struct DHTinfotype {
    uint16_t marker = 0xFFC4;
    uint16_t length = 0x01A2; // 2 + 4 * (1 + 16) + 12 + 162 + 12 + 162 = 418
    uint8_t HTYDCinfo = 0x00;
    uint8_t YDC_nrcodes[16] = {};
    uint8_t YDC_values[12] = {};
    uint8_t HTYACinfo = 0x10;
    uint8_t YAC_nrcodes[16] = {};
    uint8_t YAC_values[162] = {};
    uint8_t HTCbDCinfo = 0x01;
    uint8_t CbDC_nrcodes[16] = {};
    uint8_t CbDC_values[12] = {};
    uint8_t HTCbACinfo = 0x11;
    uint8_t CbAC_nrcodes[16] = {};
    uint8_t CbAC_values[162] = {};
};

struct SOSinfotype {
    uint16_t marker = 0xFFDA;
    uint16_t length = 12;
    uint8_t nrofcomponents = 3;
    uint8_t IdY = 1;
    uint8_t HTY = 0x00; // DC table 0, AC table 0
    uint8_t IdCb = 2;
    uint8_t HTCb = 0x11;
    uint8_t IdCr = 3;
    uint8_t HTCr = 0x11;
    uint8_t Ss = 0;
    uint8_t Se = 0x3F;
    uint8_t Bf = 0;
};

// The quantisation tables at the encoder's fixed quality of 50.
void set_DQTinfo(DQTinfotype& DQTinfo);
// The typical Huffman tables; Cr shares the chrominance tables with Cb.
void set_DHTinfo(DHTinfotype& DHTinfo);

void writeword(FILE* fp, uint16_t w);
void write_SOI(FILE* fp);
void write_EOI(FILE* fp);
void write_APP0info(FILE* fp, const APP0infotype& APP0info);
void write_DQTinfo(FILE* fp, const DQTinfotype& DQTinfo);
void write_SOF0info(FILE* fp, const SOF0infotype& SOF0info);
void write_DHTinfo(FILE* fp, const DHTinfotype& DHTinfo);
void write_SOSinfo(FILE* fp, const SOSinfotype& SOSinfo);
// A COM segment; a comment is cut to the 65533 bytes a segment can hold.
// The encoder itself writes none.
void write_comment(FILE* fp, const char* comment);

} // namespace bmp2jpeg

#endif // DATAPROCESS_JPEG_JPEGMARKERS_H
