// Helpers shared by the fuzz targets: a cursor that takes typed values off
// the fuzzer's bytes (zeros once they run out), and the entry point each
// target defines (libFuzzer's name, so the same file builds for libFuzzer
// with clang and for the corpus replay driver with any compiler).
#ifndef DP_TESTS_FUZZINPUT_H
#define DP_TESTS_FUZZINPUT_H

#include <cstddef>
#include <cstdint>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

class FuzzInput {
public:
    FuzzInput(const uint8_t* data, size_t size) : m_data(data), m_size(size) {}
    template <class T>
    T Take()
    {
        T v{};
        const size_t n = m_size - m_pos < sizeof(T) ? m_size - m_pos : sizeof(T);
        if (n)
            std::memcpy(&v, m_data + m_pos, n);
        m_pos += n;
        return v;
    }
    // An integer in lo..hi.
    int Range(int lo, int hi)
    {
        const uint32_t v = Take<uint32_t>();
        return lo + static_cast<int>(v % static_cast<uint32_t>(hi - lo + 1));
    }
    const uint8_t* Rest() const { return m_data + m_pos; }
    size_t RestSize() const { return m_size - m_pos; }

private:
    const uint8_t* m_data;
    size_t m_size;
    size_t m_pos = 0;
};

#endif // DP_TESTS_FUZZINPUT_H
