// The peer benchmark's harness: a case is the same work done by this library
// and by one or more peer libraries; the runs are interleaved (library, each
// peer, library, ...) on one pinned CPU, and each side's median is reported
// with the ratio library / best peer.
#ifndef DATAPROCESS_BENCH_HARNESS_H
#define DATAPROCESS_BENCH_HARNESS_H

#include <functional>
#include <string>
#include <vector>

struct Side {
    std::string name;
    std::function<void()> run;
};

struct BenchCase {
    std::string name;
    std::function<void()> library;
    std::vector<Side> peers = {};  // none: the library is timed alone
    std::string note = {};         // printed under the table (sizes, PSNR, peer settings)
    std::function<std::string()> after = {}; // optional: computed once after timing, appended to the note
};

// The cases of each area, built on demand (inputs are made once per case).
void AddImageCases(std::vector<BenchCase>& cases);
void AddStillCases(std::vector<BenchCase>& cases);
void AddAudioCases(std::vector<BenchCase>& cases);

#endif // DATAPROCESS_BENCH_HARNESS_H
