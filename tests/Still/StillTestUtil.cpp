#include "StillTestUtil.h"

#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <limits>

#include <jpeglib.h>

namespace stilltest {

Picture MakeFlat(int w, int h, uint8_t r, uint8_t g, uint8_t b)
{
    Picture p;
    p.width = w;
    p.height = h;
    for (size_t i = 0; i < size_t(w) * h; ++i)
        p.rgb.insert(p.rgb.end(), {r, g, b});
    return p;
}

Picture MakeSmooth(int w, int h)
{
    Picture p = MakeFlat(w, h, 0, 0, 0);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const double u = double(x) / w, v = double(y) / h;
            uint8_t* px = p.at(x, y);
            px[0] = uint8_t(std::lround(60 + 130 * u + 30 * std::sin(6.0 * v + 2.0 * u)));
            px[1] = uint8_t(std::lround(90 + 80 * v + 25 * std::cos(5.0 * u - 3.0 * v)));
            px[2] = uint8_t(std::lround(170 - 90 * u * v + 20 * std::sin(4.0 * (u + v))));
        }
    return p;
}

Picture MakeNoise(int w, int h, uint32_t seed)
{
    Picture p = MakeFlat(w, h, 0, 0, 0);
    for (auto& c : p.rgb) {
        seed = seed * 1664525u + 1013904223u;
        c = uint8_t(seed >> 24);
    }
    return p;
}

uint32_t Le(const std::vector<uint8_t>& f, size_t at, int bytes)
{
    uint32_t v = 0;
    for (int i = bytes - 1; i >= 0; --i)
        v = v << 8 | f[at + i];
    return v;
}

std::vector<uint8_t> BuildBmp24(const Picture& pic)
{
    const size_t stride = (size_t(pic.width) * 3 + 3) & ~size_t(3);
    std::vector<uint8_t> f(54 + stride * pic.height, 0);
    auto put32 = [&f](size_t at, uint32_t x) {
        for (int i = 0; i < 4; ++i)
            f[at + i] = uint8_t(x >> (8 * i));
    };
    // "BM", bfSize, bfOffBits, biSize, width, height, planes, bits, biSizeImage.
    for (const auto& field : {std::pair<size_t, uint32_t>{0, 0x4D42}, {2, uint32_t(f.size())}, {10, 54}, {14, 40},
                              {18, uint32_t(pic.width)}, {22, uint32_t(pic.height)}, {26, 1}, {28, 24},
                              {34, uint32_t(f.size() - 54)}})
        put32(field.first, field.second);
    for (int y = 0; y < pic.height; ++y)
        for (int x = 0; x < pic.width; ++x)
            for (int c = 0; c < 3; ++c)
                f[54 + size_t(pic.height - 1 - y) * stride + 3 * size_t(x) + c] = pic.at(x, y)[2 - c];
    return f;
}

std::vector<uint8_t> ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), {});
}

bool WriteFile(const std::string& path, const std::vector<uint8_t>& bytes)
{
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
    out.close();
    return !out.fail();
}

TempDir::TempDir() : m_path((std::filesystem::temp_directory_path() / "dpstill-XXXXXX").string())
{
    if (!mkdtemp(m_path.data()))
        m_path.clear();
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

} // namespace

// As in libjpeg's own example: an error jumps back over libjpeg's frames
// only, and nothing but cinfo (reached through its address) changes here.
bool DecodeJpeg(const std::vector<uint8_t>& jpeg, Picture* out, std::string* error)
{
    jpeg_decompress_struct cinfo;
    ErrorManager err;
    cinfo.err = jpeg_std_error(&err.pub);
    err.pub.error_exit = ErrorExit;
    if (setjmp(err.jump)) {
        jpeg_destroy_decompress(&cinfo);
        if (error)
            *error = err.message;
        return false;
    }
    jpeg_create_decompress(&cinfo);
    jpeg_mem_src(&cinfo, jpeg.data(), static_cast<unsigned long>(jpeg.size()));
    jpeg_read_header(&cinfo, TRUE);
    cinfo.out_color_space = JCS_RGB;
    jpeg_start_decompress(&cinfo);
    out->width = int(cinfo.output_width);
    out->height = int(cinfo.output_height);
    out->rgb.resize(size_t(out->width) * out->height * 3);
    while (cinfo.output_scanline < cinfo.output_height) {
        JSAMPROW row = out->at(0, int(cinfo.output_scanline));
        jpeg_read_scanlines(&cinfo, &row, 1);
    }
    jpeg_finish_decompress(&cinfo);
    // A corrupt-data warning (for example a premature end) counts as failure.
    const long warnings = cinfo.err->num_warnings;
    jpeg_destroy_decompress(&cinfo);
    if (warnings && error)
        *error = std::to_string(warnings) + " decoder warnings";
    return warnings == 0;
}

double Psnr(const Picture& a, const Picture& b)
{
    if (a.rgb.size() != b.rgb.size() || a.rgb.empty())
        return 0.0;
    double sum = 0;
    for (size_t i = 0; i < a.rgb.size(); ++i)
        sum += (double(a.rgb[i]) - b.rgb[i]) * (double(a.rgb[i]) - b.rgb[i]);
    if (sum == 0)
        return std::numeric_limits<double>::infinity();
    return 10.0 * std::log10(255.0 * 255.0 * double(a.rgb.size()) / sum);
}

bool ParseJpeg(const std::vector<uint8_t>& f, std::vector<Segment>* segments, std::vector<uint8_t>* entropy)
{
    segments->clear();
    if (f.size() < 4 || f[0] != 0xFF || f[1] != 0xD8)
        return false;
    segments->push_back(Segment{0xD8, 0, {}});
    size_t pos = 2;
    while (segments->back().marker != 0xDA) {
        if (pos + 4 > f.size() || f[pos] != 0xFF)
            return false;
        const unsigned length = unsigned(f[pos + 2]) << 8 | f[pos + 3];
        if (length < 2 || pos + 2 + length > f.size())
            return false;
        segments->push_back(Segment{f[pos + 1], length, {f.begin() + pos + 4, f.begin() + pos + 2 + length}});
        pos += 2 + length;
    }
    // The entropy-coded data runs to the EOI marker at the very end.
    if (f.size() < pos + 2 || f[f.size() - 2] != 0xFF || f.back() != 0xD9)
        return false;
    entropy->assign(f.begin() + pos, f.end() - 2);
    segments->push_back(Segment{0xD9, 0, {}});
    return true;
}

uint64_t Fnv1a(const std::vector<uint8_t>& bytes)
{
    uint64_t h = 1469598103934665603ull;
    for (uint8_t b : bytes)
        h = (h ^ b) * 1099511628211ull;
    return h;
}

} // namespace stilltest
