// Helpers of the still-image tests: test pictures, a BMP writer and a BMP
// reader written from the file format (independent of DibImage), JPEG
// segment parsing, decoding through libjpeg-turbo, PSNR and a digest.
#ifndef DATAPROCESS_TESTS_STILLTESTUTIL_H
#define DATAPROCESS_TESTS_STILLTESTUTIL_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace stilltest {

// A top-down picture of 3-byte pixels in red, green, blue order.
struct Picture {
    int width = 0;
    int height = 0;
    std::vector<uint8_t> rgb;

    const uint8_t* at(int x, int y) const { return &rgb[(size_t(y) * width + x) * 3]; }
    uint8_t* at(int x, int y) { return &rgb[(size_t(y) * width + x) * 3]; }
};

Picture MakeFlat(int w, int h, uint8_t r, uint8_t g, uint8_t b);
// A smooth, photo-like picture: soft gradients and low-frequency waves.
Picture MakeSmooth(int w, int h);
// A photo-like picture with texture: the smooth picture plus a fine
// pattern, mild grain and a hard-edged disc.
Picture MakeTextured(int w, int h);
// Pseudo-random pixels (a fixed seed): hard for the coder, many 0xFF bytes.
Picture MakeNoise(int w, int h, uint32_t seed);

// A 24-bit BMP file image: 54-byte header, rows bottom-up in blue, green,
// red order, padded to 4 bytes.
std::vector<uint8_t> BuildBmp24(const Picture& pic);

std::vector<uint8_t> ReadFile(const std::string& path);
bool WriteFile(const std::string& path, const std::vector<uint8_t>& bytes);
bool FileExists(const std::string& path);

// A fresh folder under the system's temporary folder, removed with
// everything in it when the object goes.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::string& path() const { return m_path; }
    std::string file(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

// Decodes a JPEG held in memory with libjpeg-turbo into an RGB picture.
// False (with a message in *error) when the data is not a valid JPEG.
bool DecodeJpeg(const std::vector<uint8_t>& jpeg, Picture* out, std::string* error = nullptr);

// Peak signal-to-noise ratio in dB over all samples (infinity when equal).
double Psnr(const Picture& a, const Picture& b);

// One marker segment of a JPEG file: the marker's second byte, the length
// field (0 for SOI and EOI) and the payload after the length field.
struct Segment {
    uint8_t marker = 0;
    size_t offset = 0;
    unsigned length = 0;
    std::vector<uint8_t> payload;
};

// Splits the file into SOI, the segments up to SOS, and EOI; the bytes
// between SOS and EOI are returned as the entropy-coded data. False when
// the structure is broken.
bool ParseJpeg(const std::vector<uint8_t>& file, std::vector<Segment>* segments, std::vector<uint8_t>* entropy);

// 64-bit FNV-1a.
uint64_t Fnv1a(const std::vector<uint8_t>& bytes);

} // namespace stilltest

#endif // DATAPROCESS_TESTS_STILLTESTUTIL_H
