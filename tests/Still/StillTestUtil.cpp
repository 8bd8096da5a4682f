#include "StillTestUtil.h"

#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <limits>

#include <jpeglib.h>

namespace stilltest {

Picture MakeFlat(int w, int h, uint8_t r, uint8_t g, uint8_t b)
{
    Picture p;
    p.width = w;
    p.height = h;
    p.rgb.resize(size_t(w) * h * 3);
    for (size_t i = 0; i < p.rgb.size(); i += 3) {
        p.rgb[i] = r;
        p.rgb[i + 1] = g;
        p.rgb[i + 2] = b;
    }
    return p;
}

Picture MakeSmooth(int w, int h)
{
    Picture p = MakeFlat(w, h, 0, 0, 0);
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            const double u = double(x) / w;
            const double v = double(y) / h;
            const double r = 60 + 130 * u + 30 * std::sin(6.0 * v + 2.0 * u);
            const double g = 90 + 80 * v + 25 * std::cos(5.0 * u - 3.0 * v);
            const double b = 170 - 90 * u * v + 20 * std::sin(4.0 * (u + v));
            uint8_t* px = p.at(x, y);
            px[0] = uint8_t(std::lround(r));
            px[1] = uint8_t(std::lround(g));
            px[2] = uint8_t(std::lround(b));
        }
    }
    return p;
}

Picture MakeTextured(int w, int h)
{
    Picture p = MakeSmooth(w, h);
    uint32_t s = 2024;
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            const double dx = x - 0.6 * w, dy = y - 0.4 * h;
            const bool disc = dx * dx + dy * dy < 0.04 * w * h;
            const double pattern = 12 * std::sin(0.9 * x) * std::sin(0.7 * y);
            uint8_t* px = p.at(x, y);
            for (int c = 0; c < 3; ++c) {
                s = s * 1664525u + 1013904223u;
                const double grain = double(int(s >> 28) - 8); // -8..7
                double v = px[c] + pattern + grain;
                if (disc)
                    v = c == 0 ? 0.3 * v + 160 : 0.5 * v;
                px[c] = uint8_t(v < 0 ? 0 : v > 255 ? 255 : std::lround(v));
            }
        }
    }
    return p;
}

Picture MakeNoise(int w, int h, uint32_t seed)
{
    Picture p = MakeFlat(w, h, 0, 0, 0);
    uint32_t s = seed;
    for (auto& c : p.rgb) {
        s = s * 1664525u + 1013904223u;
        c = uint8_t(s >> 24);
    }
    return p;
}

namespace {

void Put16(std::vector<uint8_t>& v, size_t at, uint32_t x)
{
    v[at] = uint8_t(x);
    v[at + 1] = uint8_t(x >> 8);
}

void Put32(std::vector<uint8_t>& v, size_t at, uint32_t x)
{
    for (int i = 0; i < 4; ++i)
        v[at + i] = uint8_t(x >> (8 * i));
}

} // namespace

std::vector<uint8_t> BuildBmp24(const Picture& pic)
{
    const size_t stride = (size_t(pic.width) * 3 + 3) & ~size_t(3);
    const size_t image = stride * pic.height;
    std::vector<uint8_t> f(54 + image, 0);
    f[0] = 'B';
    f[1] = 'M';
    Put32(f, 2, uint32_t(f.size()));
    Put32(f, 10, 54);
    Put32(f, 14, 40);
    Put32(f, 18, uint32_t(pic.width));
    Put32(f, 22, uint32_t(pic.height));
    Put16(f, 26, 1);
    Put16(f, 28, 24);
    Put32(f, 34, uint32_t(image));
    for (int y = 0; y < pic.height; ++y) {
        uint8_t* row = &f[54 + size_t(pic.height - 1 - y) * stride];
        for (int x = 0; x < pic.width; ++x) {
            const uint8_t* px = pic.at(x, y);
            row[3 * x] = px[2];
            row[3 * x + 1] = px[1];
            row[3 * x + 2] = px[0];
        }
    }
    return f;
}

std::vector<uint8_t> ReadFile(const std::string& path)
{
    std::vector<uint8_t> bytes;
    FILE* fp = std::fopen(path.c_str(), "rb");
    if (!fp)
        return bytes;
    uint8_t buf[65536];
    size_t n;
    while ((n = std::fread(buf, 1, sizeof(buf), fp)) > 0)
        bytes.insert(bytes.end(), buf, buf + n);
    std::fclose(fp);
    return bytes;
}

bool WriteFile(const std::string& path, const std::vector<uint8_t>& bytes)
{
    FILE* fp = std::fopen(path.c_str(), "wb");
    if (!fp)
        return false;
    const bool ok = std::fwrite(bytes.data(), 1, bytes.size(), fp) == bytes.size();
    return std::fclose(fp) == 0 && ok;
}

bool FileExists(const std::string& path)
{
    std::error_code ec;
    return std::filesystem::exists(path, ec);
}

TempDir::TempDir()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "dpstill-XXXXXX").string();
    if (char* made = mkdtemp(pattern.data()))
        m_path = made;
}

TempDir::~TempDir()
{
    std::error_code ec;
    if (!m_path.empty())
        std::filesystem::remove_all(m_path, ec);
}

namespace {

struct ErrorManager {
    jpeg_error_mgr pub;
    std::jmp_buf jump;
    char message[JMSG_LENGTH_MAX];
};

void ErrorExit(j_common_ptr cinfo)
{
    ErrorManager* err = reinterpret_cast<ErrorManager*>(cinfo->err);
    (*cinfo->err->format_message)(cinfo, err->message);
    std::longjmp(err->jump, 1);
}

// No C++ objects with destructors live in this frame across setjmp.
bool DecodeInto(const uint8_t* data, size_t size, int* w, int* h, uint8_t** pixels, char* message)
{
    jpeg_decompress_struct cinfo;
    ErrorManager err;
    cinfo.err = jpeg_std_error(&err.pub);
    err.pub.error_exit = ErrorExit;
    err.message[0] = 0;
    *pixels = nullptr;
    if (setjmp(err.jump)) {
        std::snprintf(message, JMSG_LENGTH_MAX, "%s", err.message);
        jpeg_destroy_decompress(&cinfo);
        std::free(*pixels);
        *pixels = nullptr;
        return false;
    }
    jpeg_create_decompress(&cinfo);
    jpeg_mem_src(&cinfo, data, static_cast<unsigned long>(size));
    jpeg_read_header(&cinfo, TRUE);
    cinfo.out_color_space = JCS_RGB;
    jpeg_start_decompress(&cinfo);
    *w = int(cinfo.output_width);
    *h = int(cinfo.output_height);
    const size_t stride = size_t(cinfo.output_width) * 3;
    *pixels = static_cast<uint8_t*>(std::malloc(stride * cinfo.output_height));
    while (cinfo.output_scanline < cinfo.output_height) {
        JSAMPROW row = *pixels + stride * cinfo.output_scanline;
        jpeg_read_scanlines(&cinfo, &row, 1);
    }
    jpeg_finish_decompress(&cinfo);
    // A corrupt-data warning (for example a premature end) counts as failure.
    const bool clean = cinfo.err->num_warnings == 0;
    if (!clean)
        std::snprintf(message, JMSG_LENGTH_MAX, "%ld decoder warnings", cinfo.err->num_warnings);
    jpeg_destroy_decompress(&cinfo);
    if (!clean) {
        std::free(*pixels);
        *pixels = nullptr;
    }
    return clean;
}

} // namespace

bool DecodeJpeg(const std::vector<uint8_t>& jpeg, Picture* out, std::string* error)
{
    if (jpeg.empty()) {
        if (error)
            *error = "empty file";
        return false;
    }
    int w = 0, h = 0;
    uint8_t* pixels = nullptr;
    char message[JMSG_LENGTH_MAX] = {};
    if (!DecodeInto(jpeg.data(), jpeg.size(), &w, &h, &pixels, message)) {
        if (error)
            *error = message;
        return false;
    }
    out->width = w;
    out->height = h;
    out->rgb.assign(pixels, pixels + size_t(w) * h * 3);
    std::free(pixels);
    return true;
}

double Psnr(const Picture& a, const Picture& b)
{
    if (a.rgb.size() != b.rgb.size() || a.rgb.empty())
        return 0.0;
    double sum = 0;
    for (size_t i = 0; i < a.rgb.size(); ++i) {
        const double d = double(a.rgb[i]) - double(b.rgb[i]);
        sum += d * d;
    }
    if (sum == 0)
        return std::numeric_limits<double>::infinity();
    const double mse = sum / double(a.rgb.size());
    return 10.0 * std::log10(255.0 * 255.0 / mse);
}

bool ParseJpeg(const std::vector<uint8_t>& f, std::vector<Segment>* segments, std::vector<uint8_t>* entropy)
{
    segments->clear();
    entropy->clear();
    if (f.size() < 4 || f[0] != 0xFF || f[1] != 0xD8)
        return false;
    segments->push_back(Segment{0xD8, 0, 0, {}});
    size_t pos = 2;
    for (;;) {
        if (pos + 4 > f.size() || f[pos] != 0xFF)
            return false;
        Segment s;
        s.marker = f[pos + 1];
        s.offset = pos;
        s.length = unsigned(f[pos + 2]) << 8 | f[pos + 3];
        if (s.length < 2 || pos + 2 + s.length > f.size())
            return false;
        s.payload.assign(f.begin() + pos + 4, f.begin() + pos + 2 + s.length);
        pos += 2 + s.length;
        const bool sos = s.marker == 0xDA;
        segments->push_back(std::move(s));
        if (sos)
            break;
    }
    // The entropy-coded data runs to the EOI marker at the very end.
    if (f.size() < pos + 2 || f[f.size() - 2] != 0xFF || f[f.size() - 1] != 0xD9)
        return false;
    entropy->assign(f.begin() + pos, f.end() - 2);
    segments->push_back(Segment{0xD9, f.size() - 2, 0, {}});
    return true;
}

uint64_t Fnv1a(const std::vector<uint8_t>& bytes)
{
    uint64_t h = 1469598103934665603ull;
    for (uint8_t b : bytes) {
        h ^= b;
        h *= 1099511628211ull;
    }
    return h;
}

} // namespace stilltest
