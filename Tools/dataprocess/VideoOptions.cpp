#include "VideoOptions.h"

#include <CLI/CLI.hpp>

#include <cmath>
#include <cstdlib>

#include "OptionParsers.h"

namespace dptool {

VideoSettings MakeVideoSettings(const VideoArgs& a)
{
    VideoSettings s;
    if (!a.size.empty())
        s.size = ParseSize("--size", a.size);
    s.resizeMethod = ParseChoice("--resize", a.resize, kResizeMethodNames, 6);
    s.interpolation = ParseChoice("--interpolation", a.interpolation, kInterpolationNames, 4);
    if (!a.crop.empty())
        s.crop = ParseRect("--crop", a.crop);
    s.rotation = a.rotate;
    s.rate = a.rate;
    s.brightness = a.brightness;
    s.contrast = a.contrast;
    s.saturation = a.saturation;
    if (!a.filter.empty())
        s.filters = ParseFlags("--filter", a.filter, kFilterNames, 6);
    if (!a.flip.empty())
        s.flips = ParseFlags("--flip", a.flip, kFlipNames, 2);
    s.deinterlace = ParseChoice("--deinterlace", a.deinterlace, kDeinterlaceNames, 5);
    if (!a.watermarkRect.empty())
        s.watermarkRect = ParseRect("--watermark-rect", a.watermarkRect);
    s.watermarkAlign = a.watermarkAlign;
    s.watermarkOpacity = a.watermarkOpacity;
    s.userWatermarkRect = ParseFRect("--user-watermark-rect", a.userWatermarkRect);
    s.userWatermarkOpacity = a.userWatermarkOpacity;
    for (const auto& c : a.captures)
        s.captures.push_back(ParseCapture(c));
    if (!a.watermark.empty())
        s.watermark = LoadBitmapFile(a.watermark);
    if (!a.userWatermark.empty())
        s.userWatermark = LoadBitmapFile(a.userWatermark);
    return s;
}

namespace {

// A turn or mirror of the picture as a 2x2 matrix on (x, y), x right and y
// down: x' = m[0] x + m[1] y, y' = m[2] x + m[3] y.
struct Turn {
    int m[4];
    Turn operator*(const Turn& o) const // this after o
    {
        return Turn{{m[0] * o.m[0] + m[1] * o.m[2], m[0] * o.m[1] + m[1] * o.m[3], m[2] * o.m[0] + m[3] * o.m[2],
                     m[2] * o.m[1] + m[3] * o.m[3]}};
    }
    bool operator==(const Turn& o) const
    {
        return m[0] == o.m[0] && m[1] == o.m[1] && m[2] == o.m[2] && m[3] == o.m[3];
    }
};

// The stage's quarter turns (90 turns the picture counter-clockwise on
// screen: the right edge comes to the top) and its flips (bit 1
// horizontal, bit 2 vertical).
Turn StageRotation(int degrees)
{
    return degrees == 90 ? Turn{{0, 1, -1, 0}} : degrees == 270 ? Turn{{0, -1, 1, 0}} : Turn{{1, 0, 0, 1}};
}

Turn StageFlips(unsigned flips)
{
    return Turn{{(flips & 1) ? -1 : 1, 0, 0, (flips & 2) ? -1 : 1}};
}

} // namespace

void AddVideoOptionFiles(const VideoArgs& a, const VideoSettings& s, std::vector<NamedPath>* inputs,
                         std::vector<NamedPath>* outputs)
{
    if (!a.watermark.empty())
        inputs->push_back({"--watermark", a.watermark});
    if (!a.userWatermark.empty())
        inputs->push_back({"--user-watermark", a.userWatermark});
    for (const CaptureRequest& c : s.captures)
        outputs->push_back({"--capture", c.path});
}

void ApplyDisplayOrientation(const VideoArgs& args, const int m[4], VideoSettings* s)
{
    const Turn display{{m[0], m[1], m[2], m[3]}};
    if (args.noAutorotate || display == Turn{{1, 0, 0, 1}})
        return;
    // The stage turns first and flips after; the user's own turn and flips
    // apply to the upright picture.
    const Turn want = StageFlips(s->flips) * StageRotation(s->rotation) * display;
    // Flips as few as can be, so that a plain quarter turn is the same
    // `--rotate` a user would give, and a half turn is both flips.
    for (unsigned flips : {0u, 1u, 2u, 3u})
        for (int degrees : {0, 90, 270})
            if (StageFlips(flips) * StageRotation(degrees) == want) {
                s->rotation = degrees;
                s->flips = flips;
                return;
            }
}

void AddVideoOptions(CLI::App* cmd, VideoArgs* args)
{
    cmd->add_option("--size", args->size, "Output size WIDTHxHEIGHT (default: the source's, widened to its "
                                          "display aspect)");
    cmd->add_option("--resize", args->resize,
                    "How the picture fits the size: stretch, letterbox (default), fit16x9, fit4x3, "
                    "letterbox-plain, crop-fill");
    cmd->add_option("--interpolation", args->interpolation, "nearest, bilinear (default) or default");
    cmd->add_option("--crop", args->crop, "Source rectangle LEFT,TOP,RIGHT,BOTTOM in pixels");
    cmd->add_option("--rotate", args->rotate, "Quarter turn: 90 or 270 (counter-clockwise on screen for 90), "
                                              "after the file's own turn")
        ->check(CLI::IsMember({0, 90, 270}));
    cmd->add_flag("--no-autorotate", args->noAutorotate,
                  "Keep the pictures as stored (by default a file's display matrix - phones record upright video "
                  "as turned pictures - is applied with the stage's own turn and flips)");
    cmd->add_option("--video-stream", args->videoStream,
                    "Which video stream, counted from 0 among the file's video streams (default: the best; cover "
                    "art is never video)")
        ->check(CLI::Range(0, 1000));
    cmd->add_option("--rate", args->rate, "Output frame rate; frames are repeated or skipped to keep a constant "
                                          "grid (default: the source's)")
        ->check(CLI::Validator(
            [](std::string& text) {
                // A range check alone lets "nan" through (it compares false both ways).
                char* end = nullptr;
                const double v = std::strtod(text.c_str(), &end);
                return end != text.c_str() && *end == '\0' && std::isfinite(v) ? std::string()
                                                                                : "not a finite number: " + text;
            },
            "FPS"))
        ->check(CLI::Range(0.0, 200.0));
    cmd->add_option("--brightness", args->brightness, "-100..100")->check(CLI::Range(-100, 100));
    cmd->add_option("--contrast", args->contrast, "-100..100")->check(CLI::Range(-100, 100));
    cmd->add_option("--saturation", args->saturation, "-100..100 (-100 = grey)")->check(CLI::Range(-100, 100));
    cmd->add_option("--filter", args->filter,
                    "Comma-separated: gray, emboss, negative, black-white, white-black, old-photo");
    cmd->add_option("--flip", args->flip, "Comma-separated: horizontal, vertical");
    cmd->add_option("--deinterlace", args->deinterlace,
                    "none (default), double-even, double-odd, blend-odd, blend-even");
    cmd->add_option("--watermark", args->watermark, "Stage watermark: a 32-bit BMP with alpha (or 24-bit)");
    cmd->add_option("--watermark-rect", args->watermarkRect,
                    "Place the watermark in LEFT,TOP,RIGHT,BOTTOM (output pixels) instead of by alignment");
    cmd->add_option("--watermark-align", args->watermarkAlign,
                    "0 centre, 1 top-left, 2 top, 3 top-right, 4 left, 5 centre, 6 right, 7 bottom-left, "
                    "8 bottom, 9 bottom-right (default)")
        ->check(CLI::Range(0, 9));
    cmd->add_option("--watermark-opacity", args->watermarkOpacity, "Percent, default 100")
        ->check(CLI::Range(0, 100));
    cmd->add_option("--user-watermark", args->userWatermark, "User watermark: a 32-bit BMP with alpha (or 24-bit)");
    cmd->add_option("--user-watermark-rect", args->userWatermarkRect,
                    "Where it goes, as fractions of the picture LEFT,TOP,RIGHT,BOTTOM (default 0.05,0.05,0.25,0.2)");
    cmd->add_option("--user-watermark-opacity", args->userWatermarkOpacity, "Percent, default 100")
        ->check(CLI::Range(0, 100));
    cmd->add_option("--capture", args->captures,
                    "SECONDS:FILE.jpg or SECONDS:FILE.bmp - save the output picture at that time (repeatable)");
}

} // namespace dptool
