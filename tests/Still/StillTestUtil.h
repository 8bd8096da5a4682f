// Helpers of the still-image tests: test pictures, a BMP writer and a field
// reader written from the file format (independent of DibImage), JPEG
// segment parsing, decoding through libjpeg-turbo, PSNR and a digest.
#ifndef DATAPROCESS_TESTS_STILLTESTUTIL_H
#define DATAPROCESS_TESTS_STILLTESTUTIL_H

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace stilltest {

// A top-down picture of 3-byte pixels in red, green, blue order.
struct Picture {
    int width = 0, height = 0;
    std::vector<uint8_t> rgb;

    const uint8_t* at(int x, int y) const { return &rgb[(size_t(y) * width + x) * 3]; }
    uint8_t* at(int x, int y) { return &rgb[(size_t(y) * width + x) * 3]; }
};

Picture MakeFlat(int w, int h, uint8_t r, uint8_t g, uint8_t b);
// Soft gradients and low-frequency waves, like a photograph.
Picture MakeSmooth(int w, int h);
// Pseudo-random pixels (a fixed seed): hard for the coder, many 0xFF bytes.
Picture MakeNoise(int w, int h, uint32_t seed);

// A 24-bit BMP file image: 54-byte header, rows bottom-up in blue, green,
// red order, padded to 4 bytes (the pixel layout of a 24-bit DibImage).
std::vector<uint8_t> BuildBmp24(const Picture& pic);
// The little-endian field of `bytes` bytes at `at`.
uint32_t Le(const std::vector<uint8_t>& f, size_t at, int bytes);

std::vector<uint8_t> ReadFile(const std::string& path);
bool WriteFile(const std::string& path, const std::vector<uint8_t>& bytes);
inline bool FileExists(const std::string& path) { return std::filesystem::exists(path); }

// A fresh folder under the system's temporary folder, removed with
// everything in it when the object goes.
class TempDir {
public:
    TempDir();
    ~TempDir() { std::filesystem::remove_all(m_path, m_error); }
    const std::string& path() const { return m_path; }
    std::string file(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
    std::error_code m_error;
};

// Decodes a JPEG with libjpeg-turbo into an RGB picture. False (with a
// message in *error) when the data is not a valid JPEG or draws a warning.
bool DecodeJpeg(const std::vector<uint8_t>& jpeg, Picture* out, std::string* error = nullptr);

// Peak signal-to-noise ratio in dB over all samples (infinity when equal).
double Psnr(const Picture& a, const Picture& b);

// One marker segment: the marker's second byte, the length field (0 for
// SOI and EOI) and the payload after the length field.
struct Segment { uint8_t marker; unsigned length; std::vector<uint8_t> payload; };

// Splits the file into SOI, the segments up to SOS, and EOI; the bytes
// between SOS and EOI are the entropy-coded data. False when the structure
// is broken.
bool ParseJpeg(const std::vector<uint8_t>& file, std::vector<Segment>* segments, std::vector<uint8_t>* entropy);

// 64-bit FNV-1a.
uint64_t Fnv1a(const std::vector<uint8_t>& bytes);

} // namespace stilltest

#endif // DATAPROCESS_TESTS_STILLTESTUTIL_H
