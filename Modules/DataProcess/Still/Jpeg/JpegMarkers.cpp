#include "JpegMarkers.h"

#include <cstring>

#include "JpegDct.h"
#include "JpegTables.h"

namespace bmp2jpeg {

namespace {

void writebyte(FILE* fp, uint8_t b)
{
    std::fputc(b, fp);
}

void writebytes(FILE* fp, const uint8_t* p, size_t n)
{
    std::fwrite(p, 1, n, fp);
}

} // namespace

void set_DQTinfo(DQTinfotype& DQTinfo)
{
    set_quant_table(std_luminance_qt, 50, DQTinfo.Ytable);
    set_quant_table(std_chrominance_qt, 50, DQTinfo.Cbtable);
}

void set_DHTinfo(DHTinfotype& DHTinfo)
{
    std::memcpy(DHTinfo.YDC_nrcodes, std_dc_luminance_nrcodes, 16);
    std::memcpy(DHTinfo.YDC_values, std_dc_luminance_values, 12);
    std::memcpy(DHTinfo.YAC_nrcodes, std_ac_luminance_nrcodes, 16);
    std::memcpy(DHTinfo.YAC_values, std_ac_luminance_values, 162);
    std::memcpy(DHTinfo.CbDC_nrcodes, std_dc_chrominance_nrcodes, 16);
    std::memcpy(DHTinfo.CbDC_values, std_dc_chrominance_values, 12);
    std::memcpy(DHTinfo.CbAC_nrcodes, std_ac_chrominance_nrcodes, 16);
    std::memcpy(DHTinfo.CbAC_values, std_ac_chrominance_values, 162);
}

void writeword(FILE* fp, uint16_t w)
{
    writebyte(fp, static_cast<uint8_t>(w >> 8));
    writebyte(fp, static_cast<uint8_t>(w & 0xFF));
}

void write_SOI(FILE* fp)
{
    writeword(fp, 0xFFD8);
}

void write_EOI(FILE* fp)
{
    writeword(fp, 0xFFD9);
}

void write_APP0info(FILE* fp, const APP0infotype& APP0info)
{
    writeword(fp, APP0info.marker);
    writeword(fp, APP0info.length);
    writebytes(fp, APP0info.JFIFsignature, 5);
    writebyte(fp, APP0info.versionhi);
    writebyte(fp, APP0info.versionlo);
    writebyte(fp, APP0info.xyunits);
    writeword(fp, APP0info.xdensity);
    writeword(fp, APP0info.ydensity);
    writebyte(fp, APP0info.thumbnwidth);
    writebyte(fp, APP0info.thumbnheight);
}

void write_DQTinfo(FILE* fp, const DQTinfotype& DQTinfo)
{
    writeword(fp, DQTinfo.marker);
    writeword(fp, DQTinfo.length);
    writebyte(fp, DQTinfo.QTYinfo);
    writebytes(fp, DQTinfo.Ytable, 64);
    writebyte(fp, DQTinfo.QTCbinfo);
    writebytes(fp, DQTinfo.Cbtable, 64);
}

void write_SOF0info(FILE* fp, const SOF0infotype& SOF0info)
{
    writeword(fp, SOF0info.marker);
    writeword(fp, SOF0info.length);
    writebyte(fp, SOF0info.precision);
    writeword(fp, SOF0info.height);
    writeword(fp, SOF0info.width);
    writebyte(fp, SOF0info.nrofcomponents);
    writebyte(fp, SOF0info.IdY);
    writebyte(fp, SOF0info.HVY);
    writebyte(fp, SOF0info.QTY);
    writebyte(fp, SOF0info.IdCb);
    writebyte(fp, SOF0info.HVCb);
    writebyte(fp, SOF0info.QTCb);
    writebyte(fp, SOF0info.IdCr);
    writebyte(fp, SOF0info.HVCr);
    writebyte(fp, SOF0info.QTCr);
}

void write_DHTinfo(FILE* fp, const DHTinfotype& DHTinfo)
{
    writeword(fp, DHTinfo.marker);
    writeword(fp, DHTinfo.length);
    writebyte(fp, DHTinfo.HTYDCinfo);
    writebytes(fp, DHTinfo.YDC_nrcodes, 16);
    writebytes(fp, DHTinfo.YDC_values, 12);
    writebyte(fp, DHTinfo.HTYACinfo);
    writebytes(fp, DHTinfo.YAC_nrcodes, 16);
    writebytes(fp, DHTinfo.YAC_values, 162);
    writebyte(fp, DHTinfo.HTCbDCinfo);
    writebytes(fp, DHTinfo.CbDC_nrcodes, 16);
    writebytes(fp, DHTinfo.CbDC_values, 12);
    writebyte(fp, DHTinfo.HTCbACinfo);
    writebytes(fp, DHTinfo.CbAC_nrcodes, 16);
    writebytes(fp, DHTinfo.CbAC_values, 162);
}

void write_SOSinfo(FILE* fp, const SOSinfotype& SOSinfo)
{
    writeword(fp, SOSinfo.marker);
    writeword(fp, SOSinfo.length);
    writebyte(fp, SOSinfo.nrofcomponents);
    writebyte(fp, SOSinfo.IdY);
    writebyte(fp, SOSinfo.HTY);
    writebyte(fp, SOSinfo.IdCb);
    writebyte(fp, SOSinfo.HTCb);
    writebyte(fp, SOSinfo.IdCr);
    writebyte(fp, SOSinfo.HTCr);
    writebyte(fp, SOSinfo.Ss);
    writebyte(fp, SOSinfo.Se);
    writebyte(fp, SOSinfo.Bf);
}

void write_comment(FILE* fp, const char* comment)
{
    if (!fp || !comment)
        return;
    size_t length = std::strlen(comment);
    if (length > 65533)
        length = 65533;
    writeword(fp, 0xFFFE);
    writeword(fp, static_cast<uint16_t>(length + 2));
    writebytes(fp, reinterpret_cast<const uint8_t*>(comment), length);
}

} // namespace bmp2jpeg
