// Parsers for the option values of the dataprocess tool. Each throws
// UsageError with a message that names the option and shows the expected
// form.
#ifndef DATAPROCESS_TOOL_OPTIONPARSERS_H
#define DATAPROCESS_TOOL_OPTIONPARSERS_H

#include <string>

#include <DataProcess/DataProcess.h>

namespace dptool {

struct SizeValue {
    int width = 0;
    int height = 0;
};

struct CaptureRequest {
    double seconds = 0.0;
    std::string path;
    bool jpeg = false;
};

// "1280x720"
SizeValue ParseSize(const std::string& option, const std::string& text);
// "left,top,right,bottom" in pixels
tagRECT ParseRect(const std::string& option, const std::string& text);
// "left,top,right,bottom" as fractions 0..1 of the picture
tagFRECT ParseFRect(const std::string& option, const std::string& text);
// "SECONDS:FILE.jpg" or "SECONDS:FILE.bmp"
CaptureRequest ParseCapture(const std::string& text);
// A name from a list ("letterbox", ...) or its number.
int ParseChoice(const std::string& option, const std::string& text, const char* const* names, int count);

// Names of the resize methods, interpolations, deinterlace styles, filters
// and flips as the tool spells them (index = the library's value).
extern const char* const kResizeMethodNames[6];
extern const char* const kInterpolationNames[4];
extern const char* const kDeinterlaceNames[5];
extern const char* const kFilterNames[6]; // bit i = 1 << i
extern const char* const kFlipNames[2];   // bit i = 1 << i

// A comma-separated list of names from `names` (bit i = names[i]) to flags.
unsigned int ParseFlags(const std::string& option, const std::string& text, const char* const* names, int count);

} // namespace dptool

#endif // DATAPROCESS_TOOL_OPTIONPARSERS_H
