// The JPEG case of the peer benchmark: a 1920x1080 24-bit bottom-up picture
// to baseline JPEG 4:4:4 through a file on both sides (BMP file in, JPEG
// file out, on a memory file system when there is one), against TurboJPEG
// at quality 75 with the accurate DCT.
#include <sys/stat.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include <DataProcess/DataProcess.h>
#include <turbojpeg.h>

#include "BenchHarness.h"

namespace {

constexpr int kW = 1920, kH = 1080;

std::string Folder()
{
    struct stat st;
    return stat("/dev/shm", &st) == 0 && S_ISDIR(st.st_mode) ? "/dev/shm" : "/tmp";
}

std::vector<unsigned char> ReadAll(const std::string& path)
{
    std::vector<unsigned char> v;
    if (FILE* f = std::fopen(path.c_str(), "rb")) {
        unsigned char buf[65536];
        size_t n;
        while ((n = std::fread(buf, 1, sizeof buf, f)) > 0)
            v.insert(v.end(), buf, buf + n);
        std::fclose(f);
    }
    return v;
}

// Top-down BGR pixels of a textured picture (waves, edges, noise).
std::vector<unsigned char> Picture()
{
    std::vector<unsigned char> bgr(size_t(kW) * kH * 3);
    uint32_t s = 7;
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) {
            s = s * 1664525u + 1013904223u;
            unsigned char* p = &bgr[(size_t(y) * kW + x) * 3];
            const int n = static_cast<int>(s >> 27) - 16;
            const int wave = static_cast<int>(60 * std::sin(x * 0.05) * std::cos(y * 0.03));
            auto clip = [](int v) { return static_cast<unsigned char>(v < 0 ? 0 : (v > 255 ? 255 : v)); };
            p[0] = clip(128 + wave + n);
            p[1] = clip(x * 255 / kW + ((x / 64 + y / 64) % 2) * 30 + n / 2);
            p[2] = clip(y * 255 / kH - n);
        }
    return bgr;
}

void WriteBmp(const std::string& path, const std::vector<unsigned char>& topDown)
{
    const uint32_t rowBytes = kW * 3, imageBytes = rowBytes * kH;
    unsigned char h[54] = {'B', 'M'};
    auto put = [&h](int at, uint32_t v, int n) {
        for (int i = 0; i < n; ++i)
            h[at + i] = static_cast<unsigned char>(v >> (8 * i));
    };
    put(2, 54 + imageBytes, 4);
    put(10, 54, 4);
    put(14, 40, 4);
    put(18, kW, 4);
    put(22, kH, 4);
    put(26, 1, 2);
    put(28, 24, 2);
    put(34, imageBytes, 4);
    FILE* f = std::fopen(path.c_str(), "wb");
    if (!f)
        return;
    std::fwrite(h, 1, 54, f);
    for (int y = kH - 1; y >= 0; --y)
        std::fwrite(&topDown[size_t(y) * rowBytes], 1, rowBytes, f);
    std::fclose(f);
}

double Psnr(const std::vector<unsigned char>& a, const std::vector<unsigned char>& b)
{
    if (a.size() != b.size() || a.empty())
        return 0.0;
    double se = 0.0;
    for (size_t i = 0; i < a.size(); ++i)
        se += (double(a[i]) - b[i]) * (double(a[i]) - b[i]);
    return se == 0.0 ? INFINITY : 10.0 * std::log10(255.0 * 255.0 * a.size() / se);
}

// Decodes a JPEG file to top-down BGR (empty when it fails).
std::vector<unsigned char> Decode(const std::vector<unsigned char>& jpeg)
{
    std::vector<unsigned char> out(size_t(kW) * kH * 3);
    tjhandle h = tjInitDecompress();
    const int rc = tjDecompress2(h, jpeg.data(), jpeg.size(), out.data(), kW, kW * 3, kH, TJPF_BGR, TJFLAG_ACCURATEDCT);
    tjDestroy(h);
    return rc == 0 ? out : std::vector<unsigned char>();
}

} // namespace

void AddStillCases(std::vector<BenchCase>& cases)
{
    static const std::string dir = Folder();
    static const std::string bmp = dir + "/dp-bench-in.bmp", ours = dir + "/dp-bench-ours.jpg",
                             theirs = dir + "/dp-bench-turbo.jpg";
    static const std::vector<unsigned char> picture = Picture();
    WriteBmp(bmp, picture);
    static tjhandle tj = tjInitCompress();
    cases.push_back(
        {"1920x1080 24-bit BMP file -> JPEG 4:4:4 file",
         [] { BMP2JPEG(bmp.c_str(), ours.c_str()); },
         {{"TurboJPEG", [] {
             int w = 0, h = 0, pf = TJPF_BGR;
             unsigned char* pixels = tjLoadImage(bmp.c_str(), &w, 1, &h, &pf, 0);
             unsigned char* jpeg = nullptr;
             unsigned long size = 0;
             if (pixels && tjCompress2(tj, pixels, w, 0, h, pf, &jpeg, &size, TJSAMP_444, 75, TJFLAG_ACCURATEDCT) == 0) {
                 if (FILE* f = std::fopen(theirs.c_str(), "wb")) {
                     std::fwrite(jpeg, 1, size, f);
                     std::fclose(f);
                 }
             }
             tjFree(jpeg);
             tjFree(pixels);
         }}},
         "TurboJPEG quality 75, accurate DCT, tjLoadImage + tjCompress2 + file write; files on " + dir,
         [] {
             const std::vector<unsigned char> a = ReadAll(ours), b = ReadAll(theirs);
             char text[200];
             std::snprintf(text, sizeof text, "; sizes library %zu bytes, TurboJPEG %zu bytes; PSNR library %.2f dB, TurboJPEG %.2f dB",
                           a.size(), b.size(), Psnr(Decode(a), picture), Psnr(Decode(b), picture));
             std::remove(ours.c_str());
             std::remove(theirs.c_str());
             return std::string(text);
         }});
}
