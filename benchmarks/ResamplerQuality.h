// The resamplers' sound, measured on tones: a markdown table (indented for
// the benchmark's notes) of the library's linear and high-quality modes,
// swresample's defaults and the sox program where installed.
#ifndef DATAPROCESS_BENCH_RESAMPLERQUALITY_H
#define DATAPROCESS_BENCH_RESAMPLERQUALITY_H

#include <string>

std::string ResamplerQualityTable();

#endif // DATAPROCESS_BENCH_RESAMPLERQUALITY_H
