#include "ImageAdjust.h"
#include "ImageAdjustKernels.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>

namespace {

inline uint8_t Clamp(int v, int lo, int hi) { return static_cast<uint8_t>(v < lo ? lo : (v > hi ? hi : v)); }

inline int ClampSetting(int n) { return n < -100 ? -100 : (n > 100 ? 100 : n); }

// A family of 256-entry maps, one per setting index. Entry [v][i] of a
// table is stored at map[i][v], so that one setting is one contiguous map.
// Built in place (in static storage), not on the stack: the largest family
// is 150 KiB.
template <int N>
struct LutFamily {
    template <typename Entry>
    explicit LutFamily(Entry entry)
    {
        for (int i = 0; i < N; ++i)
            for (int v = 0; v < 256; ++v)
                map[i][v] = entry(v, i);
    }
    uint8_t map[N][256];
};

// The tables are function-local statics: built on first use, once per
// process, and safe to reach from several threads at once.

// Brightness: clamp(v + (i - 100), 16, 235).
const LutFamily<201>& BrightnessTable()
{
    static const LutFamily<201> table([](int v, int i) { return Clamp(v + (i - 100), 16, 235); });
    return table;
}

// Contrast: clamp((v - 128) * (i - 100) / 100 + v, 16, hi), the division
// truncating toward zero; hi 235 for luma, 240 for chroma.
template <int Hi>
const LutFamily<201>& ContrastTable()
{
    static const LutFamily<201> table([](int v, int i) { return Clamp((v - 128) * (i - 100) / 100 + v, 16, Hi); });
    return table;
}

// Saturation: clamp((v - 128) * (i - 300) / 100 + v, 16, 240).
const LutFamily<601>& SaturationTable()
{
    static const LutFamily<601> table([](int v, int i) { return Clamp((v - 128) * (i - 300) / 100 + v, 16, 240); });
    return table;
}

bool Usable(const unsigned char* p, int width, int height) { return p && width > 0 && height > 0; }

void BrightnessContrast_C(uint8_t* row, int n, int brightness, int contrast, int hi)
{
    const uint8_t* b = brightness != kNoAdjustStep ? BrightnessMap(brightness) : nullptr;
    const uint8_t* c = contrast != kNoAdjustStep ? ContrastMap(contrast, hi) : nullptr;
    for (int x = 0; x < n; ++x) {
        uint8_t v = row[x];
        if (b)
            v = b[v];
        if (c)
            v = c[v];
        row[x] = v;
    }
}

void Saturation_C(uint8_t* row, int n, int index)
{
    const uint8_t* map = SaturationMap(index);
    for (int x = 0; x < n; ++x)
        row[x] = map[row[x]];
}

// Entry [v][n] = clamp(v - n + 128, 16, 235), built once on first use.
struct EmbossTable {
    EmbossTable()
    {
        for (int v = 0; v < 256; ++v)
            for (int n = 0; n < 256; ++n) {
                const int e = v - n + 128;
                map[v][n] = static_cast<unsigned char>(e < 16 ? 16 : (e > 235 ? 235 : e));
            }
    }
    unsigned char map[256][256];
};

void Emboss_C(uint8_t* y, size_t n, size_t step)
{
    static const EmbossTable table;
    for (size_t i = 0; i < n; ++i)
        y[i] = table.map[y[i]][y[i + step]];
}

void Threshold_C(uint8_t* y, size_t n, uint8_t low, uint8_t high)
{
    for (size_t i = 0; i < n; ++i)
        y[i] = y[i] < 129 ? low : high;
}

void AverageRows_C(const uint8_t* a, const uint8_t* b, uint8_t* dst, int n)
{
    for (int x = 0; x < n; ++x)
        dst[x] = static_cast<uint8_t>((a[x] + b[x]) >> 1);
}

const AdjustKernels kAdjustReference = {BrightnessContrast_C, Saturation_C, Emboss_C, Threshold_C, AverageRows_C};

// Brightness and/or contrast over a plane through the row kernel.
void AdjustPlane(uint8_t* plane, int pitch, int width, int rows, int brightness, int contrast, int hi)
{
    const AdjustKernels& k = GetAdjustKernels();
    for (int r = 0; r < rows; ++r)
        k.brightnessContrast(plane + static_cast<ptrdiff_t>(r) * pitch, width, brightness, contrast, hi);
}

} // namespace

const uint8_t* BrightnessMap(int brightness) { return BrightnessTable().map[ClampSetting(brightness) + 100]; }

const uint8_t* ContrastMap(int contrast, int hi)
{
    return (hi == 240 ? ContrastTable<240>() : ContrastTable<235>()).map[ClampSetting(contrast) + 100];
}

const uint8_t* SaturationMap(int index) { return SaturationTable().map[index < 200 ? 200 : (index > 600 ? 600 : index)]; }

#if !DP_HAVE_HIGHWAY
SimdFillers<AdjustKernels> AdjustSimdFillers() { return {}; }
#endif

const AdjustKernels& ReferenceAdjustKernels() { return kAdjustReference; }

const AdjustKernels& GetAdjustKernels()
{
    static const KernelLadder<AdjustKernels> ladder(kAdjustReference, AdjustSimdFillers());
    return ladder.Get();
}

void AdjustBrightness(unsigned char* pY, unsigned char*, unsigned char*, int nPitchY, int, int, int nWidth,
                      int nHeight, int nBrightness)
{
    if (!Usable(pY, nWidth, nHeight))
        return;
    AdjustPlane(pY, nPitchY, nWidth, nHeight, nBrightness, kNoAdjustStep, 235);
}

void AdjustContrast(unsigned char* pY, unsigned char* pU, unsigned char* pV, int nPitchY, int nPitchU, int,
                    int nWidth, int nHeight, int nContrast)
{
    if (Usable(pY, nWidth, nHeight))
        AdjustPlane(pY, nPitchY, nWidth, nHeight, kNoAdjustStep, nContrast, 235);
    const int cw = (nWidth + 1) / 2;
    const int ch = (nHeight + 1) / 2;
    // Kept deliberately: V is walked with the U pitch, as U is.
    if (Usable(pU, cw, ch))
        AdjustPlane(pU, nPitchU, cw, ch, kNoAdjustStep, nContrast, 240);
    if (Usable(pV, cw, ch))
        AdjustPlane(pV, nPitchU, cw, ch, kNoAdjustStep, nContrast, 240);
}

void AdjustSaturation(unsigned char*, unsigned char* pU, unsigned char* pV, int, int nPitchU, int, int nWidth,
                      int nHeight, int nSaturation)
{
    const int n = ClampSetting(nSaturation);
    // +100 must reach a factor of 4 (index 600) while -100 reaches 0 (index
    // 200): positive settings count three times.
    const int index = n > 0 ? 300 + 3 * n : 300 + n;
    const int cw = (nWidth + 1) / 2;
    const int ch = (nHeight + 1) / 2;
    const AdjustKernels& k = GetAdjustKernels();
    // Kept deliberately: V is walked with the U pitch, as U is.
    for (unsigned char* plane : {pU, pV})
        if (Usable(plane, cw, ch))
            for (int r = 0; r < ch; ++r)
                k.saturation(plane + static_cast<ptrdiff_t>(r) * nPitchU, cw, index);
}

void AdjustImage(unsigned char* pY, unsigned char* pU, unsigned char* pV, int nPitchY, int nPitchU, int nPitchV,
                 int nWidth, int nHeight, int nBrightness, int nContrast, int nSaturation)
{
    if (nBrightness && nContrast && Usable(pY, nWidth, nHeight)) {
        // Both steps on luma in one pass (each sample goes through the
        // brightness map, then the contrast map: the same values as two
        // passes); contrast then does the chroma planes alone.
        AdjustPlane(pY, nPitchY, nWidth, nHeight, nBrightness, nContrast, 235);
        AdjustContrast(nullptr, pU, pV, nPitchY, nPitchU, nPitchV, nWidth, nHeight, nContrast);
    } else {
        if (nBrightness)
            AdjustBrightness(pY, pU, pV, nPitchY, nPitchU, nPitchV, nWidth, nHeight, nBrightness);
        if (nContrast)
            AdjustContrast(pY, pU, pV, nPitchY, nPitchU, nPitchV, nWidth, nHeight, nContrast);
    }
    if (nSaturation)
        AdjustSaturation(pY, pU, pV, nPitchY, nPitchU, nPitchV, nWidth, nHeight, nSaturation);
}

void AdjustImage(MEDIA_FRAME* pFrame, int nBrightness, int nContrast, int nSaturation)
{
    if (!pFrame)
        return;
    const int w = pFrame->nWidth;
    const int cw = (w + 1) / 2;
    AdjustImage(pFrame->pY, pFrame->pU, pFrame->pV, w, cw, cw, w, pFrame->nHeight, nBrightness, nContrast,
                nSaturation);
}
