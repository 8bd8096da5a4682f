#include "OptionParsers.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <sstream>
#include <vector>

#include "ToolErrors.h"

namespace dptool {

const char* const kResizeMethodNames[6] = {"stretch", "letterbox", "fit16x9", "fit4x3", "letterbox-plain", "crop-fill"};
const char* const kInterpolationNames[4] = {"default", "nearest", "bilinear", "convolve"};
const char* const kDeinterlaceNames[5] = {"none", "double-even", "double-odd", "blend-odd", "blend-even"};
const char* const kFilterNames[6] = {"gray", "emboss", "negative", "black-white", "white-black", "old-photo"};
const char* const kFlipNames[2] = {"horizontal", "vertical"};

namespace {

std::vector<std::string> Split(const std::string& text, char sep)
{
    std::vector<std::string> parts;
    std::string cur;
    std::istringstream in(text);
    while (std::getline(in, cur, sep))
        parts.push_back(cur);
    if (!text.empty() && text.back() == sep)
        parts.emplace_back();
    return parts;
}

bool ToInt(const std::string& s, int* out)
{
    if (s.empty())
        return false;
    errno = 0;
    char* end = nullptr;
    long v = std::strtol(s.c_str(), &end, 10);
    if (errno || *end || v < -1000000000L || v > 1000000000L)
        return false;
    *out = static_cast<int>(v);
    return true;
}

bool ToDouble(const std::string& s, double* out)
{
    if (s.empty())
        return false;
    errno = 0;
    char* end = nullptr;
    double v = std::strtod(s.c_str(), &end);
    if (errno || *end || !std::isfinite(v))
        return false;
    *out = v;
    return true;
}

[[noreturn]] void Bad(const std::string& option, const std::string& text, const std::string& expected)
{
    throw UsageError(option + ": invalid value '" + text + "' (expected " + expected + ")");
}

} // namespace

SizeValue ParseSize(const std::string& option, const std::string& text)
{
    const auto x = text.find_first_of("xX");
    SizeValue s;
    if (x == std::string::npos || !ToInt(text.substr(0, x), &s.width) || !ToInt(text.substr(x + 1), &s.height) ||
        s.width < 2 || s.height < 2 || s.width > 16384 || s.height > 16384)
        Bad(option, text, "WIDTHxHEIGHT, e.g. 1280x720, each 2..16384");
    return s;
}

tagRECT ParseRect(const std::string& option, const std::string& text)
{
    const auto p = Split(text, ',');
    int v[4];
    if (p.size() != 4 || !ToInt(p[0], &v[0]) || !ToInt(p[1], &v[1]) || !ToInt(p[2], &v[2]) || !ToInt(p[3], &v[3]) ||
        v[2] < v[0] || v[3] < v[1])
        Bad(option, text, "LEFT,TOP,RIGHT,BOTTOM in pixels with right >= left and bottom >= top, e.g. 0,60,640,420");
    return tagRECT{v[0], v[1], v[2], v[3]};
}

tagFRECT ParseFRect(const std::string& option, const std::string& text)
{
    const auto p = Split(text, ',');
    double v[4];
    if (p.size() != 4 || !ToDouble(p[0], &v[0]) || !ToDouble(p[1], &v[1]) || !ToDouble(p[2], &v[2]) ||
        !ToDouble(p[3], &v[3]) || v[2] <= v[0] || v[3] <= v[1] || v[0] < -1 || v[3] > 2)
        Bad(option, text, "LEFT,TOP,RIGHT,BOTTOM as fractions of the picture, e.g. 0.75,0.05,0.95,0.2");
    return tagFRECT{static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2]),
                    static_cast<float>(v[3])};
}

CaptureRequest ParseCapture(const std::string& text)
{
    const auto colon = text.find(':');
    CaptureRequest c;
    if (colon == std::string::npos || !ToDouble(text.substr(0, colon), &c.seconds) || c.seconds < 0)
        Bad("--capture", text, "SECONDS:FILE.jpg or SECONDS:FILE.bmp, e.g. 2.5:shot.jpg");
    c.path = text.substr(colon + 1);
    const auto dot = c.path.rfind('.');
    std::string ext = dot == std::string::npos ? "" : c.path.substr(dot + 1);
    for (auto& ch : ext)
        ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
    if (ext == "jpg" || ext == "jpeg")
        c.jpeg = true;
    else if (ext != "bmp")
        Bad("--capture", text, "a file name ending in .jpg, .jpeg or .bmp");
    return c;
}

int ParseChoice(const std::string& option, const std::string& text, const char* const* names, int count)
{
    std::string expected;
    for (int i = 0; i < count; ++i) {
        if (text == names[i])
            return i;
        expected += (i ? ", " : "one of ") + std::string(names[i]);
    }
    int v;
    if (ToInt(text, &v) && v >= 0 && v < count)
        return v;
    Bad(option, text, expected + " (or its number 0.." + std::to_string(count - 1) + ")");
}

unsigned int ParseFlags(const std::string& option, const std::string& text, const char* const* names, int count)
{
    unsigned int flags = 0;
    for (const auto& part : Split(text, ','))
        flags |= 1u << ParseChoice(option, part, names, count);
    return flags;
}

} // namespace dptool
