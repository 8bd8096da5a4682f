// Reading BMP files for watermarks: 32-bit files are used as they are
// (their fourth byte is the alpha), 24-bit files become 32-bit with opaque
// alpha.
#ifndef DATAPROCESS_TOOL_BITMAPFILE_H
#define DATAPROCESS_TOOL_BITMAPFILE_H

#include <string>
#include <vector>

#include <DataProcess/DataProcess.h>

namespace dptool {

struct Bitmap {
    tagBITMAPINFO info{};
    std::vector<unsigned char> bits; // rows as in the file (bottom-up when biHeight > 0)
};

// Throws ProcessingError naming the file on anything it cannot use.
Bitmap LoadBitmapFile(const std::string& path);

// Checks that `path` is a 24-bit BMP the JPEG encoder accepts; throws
// ProcessingError naming the file otherwise.
void CheckBmp24(const std::string& path);

} // namespace dptool

#endif // DATAPROCESS_TOOL_BITMAPFILE_H
