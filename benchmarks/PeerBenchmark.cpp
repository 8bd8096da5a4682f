// dataprocess peer benchmark: times this library and the libraries a host
// would otherwise pick (libyuv, FFmpeg's swscale and swresample, TurboJPEG)
// on the same work in one process, single-threaded, pinned to one CPU, and
// prints per case the median time of each side and the ratio library / best
// peer (below 1.0: the library is faster).
//
//   PeerBenchmark [--filter TEXT] [--reps N] [--level none|sse4|avx2|avx512|best|all] [--csv]
#include <sched.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include <DataProcess/SimdLevel.h>

#include "BenchHarness.h"

namespace {

double TimeMs(const std::function<void()>& f)
{
    const auto t0 = std::chrono::steady_clock::now();
    f();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count();
}

double Median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v.empty() ? 0.0 : v[v.size() / 2];
}

std::string CpuModel()
{
    std::ifstream in("/proc/cpuinfo");
    std::string line;
    while (std::getline(in, line))
        if (line.rfind("model name", 0) == 0)
            return line.substr(line.find(':') + 2);
    return "unknown CPU";
}

// Pins the process to the last CPU it may run on; returns that CPU.
int PinToOneCpu()
{
    cpu_set_t set;
    CPU_ZERO(&set);
    if (sched_getaffinity(0, sizeof set, &set) != 0)
        return -1;
    int cpu = -1;
    for (int c = 0; c < CPU_SETSIZE; ++c)
        if (CPU_ISSET(c, &set))
            cpu = c;
    if (cpu < 0)
        return -1;
    CPU_ZERO(&set);
    CPU_SET(cpu, &set);
    return sched_setaffinity(0, sizeof set, &set) == 0 ? cpu : -1;
}

void Usage()
{
    std::puts("usage: PeerBenchmark [--filter TEXT] [--reps N] [--level none|sse4|avx2|avx512|best|all] [--csv]\n"
              "  Times this library against libyuv, swscale, swresample and TurboJPEG on the same work\n"
              "  (interleaved runs, one pinned CPU) and prints medians and the ratio library / best peer.\n"
              "  --level all runs the library side once per SIMD level the CPU has.");
}

} // namespace

int main(int argc, char** argv)
{
    std::string filter, level = "best";
    int reps = 15;
    bool csv = false;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        if (a == "--filter" && i + 1 < argc)
            filter = argv[++i];
        else if (a == "--reps" && i + 1 < argc)
            reps = std::max(3, std::atoi(argv[++i]));
        else if (a == "--level" && i + 1 < argc)
            level = argv[++i];
        else if (a == "--csv")
            csv = true;
        else {
            Usage();
            return a == "--help" || a == "-h" ? 0 : 2;
        }
    }
    std::vector<std::string> levels;
    if (level == "all") {
        for (const char* l : {"none", "sse4", "avx2", "avx512", "neon", "sve"})
            if (DPSetSimdLevel(l) == 0 && std::strcmp(DPGetSimdLevel(), l) == 0)
                levels.push_back(l);
    } else {
        if (DPSetSimdLevel(level.c_str()) != 0) {
            std::fprintf(stderr, "PeerBenchmark: unknown SIMD level '%s'\n", level.c_str());
            return 2;
        }
        levels.push_back(DPGetSimdLevel());
    }

    const int cpu = PinToOneCpu();
    std::vector<BenchCase> cases;
    AddImageCases(cases);
    AddStillCases(cases);
    AddAudioCases(cases);

    if (csv)
        std::puts("case,level,library_ms,best_peer,best_peer_ms,ratio");
    else
        std::printf("# %s, pinned to CPU %d, single thread, %d interleaved runs per side, medians\n",
                    CpuModel().c_str(), cpu, reps);
    std::vector<std::string> notes;
    for (const std::string& lv : levels) {
        DPSetSimdLevel(lv.c_str());
        if (!csv)
            std::printf("\n## SIMD level %s\n\n| case | library ms | best peer | peer ms | ratio |\n|---|---|---|---|---|\n",
                        DPGetSimdLevel());
        for (BenchCase& c : cases) {
            if (!filter.empty() && c.name.find(filter) == std::string::npos)
                continue;
            // One warm-up run of each side, then interleaved timed runs.
            c.library();
            for (Side& p : c.peers)
                p.run();
            std::vector<double> lib;
            std::vector<std::vector<double>> peer(c.peers.size());
            for (int r = 0; r < reps; ++r) {
                lib.push_back(TimeMs(c.library));
                for (size_t k = 0; k < c.peers.size(); ++k)
                    peer[k].push_back(TimeMs(c.peers[k].run));
            }
            const double libMs = Median(lib);
            std::string best = "-";
            double bestMs = 0.0;
            for (size_t k = 0; k < c.peers.size(); ++k) {
                const double m = Median(peer[k]);
                if (best == "-" || m < bestMs) {
                    best = c.peers[k].name;
                    bestMs = m;
                }
            }
            const double ratio = bestMs > 0.0 ? libMs / bestMs : 0.0;
            if (csv) {
                std::printf("\"%s\",%s,%.4f,%s,%.4f,%.3f\n", c.name.c_str(), DPGetSimdLevel(), libMs, best.c_str(),
                            bestMs, ratio);
            } else if (bestMs > 0.0) {
                std::printf("| %s | %.3f | %s | %.3f | %.2fx |\n", c.name.c_str(), libMs, best.c_str(), bestMs, ratio);
            } else {
                std::printf("| %s | %.3f | - | - | - |\n", c.name.c_str(), libMs);
            }
            std::fflush(stdout);
            std::string note = c.note;
            if (c.after)
                note += c.after();
            if (!note.empty() && lv == levels.back())
                notes.push_back(c.name + ": " + note);
        }
    }
    if (!csv && !notes.empty()) {
        std::puts("\nNotes:");
        for (const std::string& n : notes)
            std::printf("- %s\n", n.c_str());
    }
    return 0;
}
