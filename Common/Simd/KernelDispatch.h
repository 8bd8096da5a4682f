// Run-time choice between the reference (plain C++) kernels and their SIMD
// twins (internal to the library).
//
// Every family of kernels keeps a small table of function pointers. The
// table at level 0 ("none") holds the reference kernels; the table of each
// higher level starts as a copy of the one below and is upgraded, once, by
// that level's filler (the vector twins compiled for that instruction set),
// so a level that has no twin for some slot keeps the slot below it. The
// level in use is the best one the CPU supports, capped by DP_SIMD /
// DPSetSimdLevel(); DP_FORCE_REFERENCE=1 caps it at "none".
//
//   const Plane8Kernels& GetPlane8Kernels()
//   {
//       static const KernelLadder<Plane8Kernels> ladder(kPlane8Reference, Plane8SimdFillers());
//       return ladder.Get();
//   }
//
// The SIMD file of a family (FooKernelsSimd.cpp, compiled for every target by
// Highway) defines Plane8SimdFillers() with DP_SIMD_FILLERS (SimdTargets.h).
#ifndef DATAPROCESS_KERNELDISPATCH_H
#define DATAPROCESS_KERNELDISPATCH_H

// Levels are small integers; 0 is the reference. On x86-64: 1 sse4, 2 avx2,
// 3 avx512; on arm64: 1 neon, 2 sve.
constexpr int kDpMaxSimdLevels = 4;

// The level in use now (0 .. kDpMaxSimdLevels - 1).
int DpActiveSimdLevel();
// The best level this CPU supports (what "best" means).
int DpBestSimdLevel();
// True when `level` names a level of this architecture that the CPU runs.
bool DpSimdLevelSupported(int level);
// The name of a level ("none", "sse4", ...), or null outside this architecture's list.
const char* DpSimdLevelName(int level);

// True when the reference kernels are forced (the active level is 0).
bool DpForceReference();
// Forces the reference kernels (true) or lifts every cap (false).
void DpSetForceReference(bool force);

// One filler per level (index = level; index 0 and missing twins are null).
template <class Table>
struct SimdFillers {
    void (*at[kDpMaxSimdLevels])(Table&);
};

// The per-level tables of one family, built once.
template <class Table>
class KernelLadder {
public:
    KernelLadder(const Table& reference, const SimdFillers<Table>& fillers)
    {
        tables_[0] = reference;
        for (int level = 1; level < kDpMaxSimdLevels; ++level) {
            tables_[level] = tables_[level - 1];
            if (fillers.at[level] && DpSimdLevelSupported(level))
                fillers.at[level](tables_[level]);
        }
    }
    const Table& Get() const { return tables_[DpActiveSimdLevel()]; }
    // The table of one level (tests compare every level with level 0).
    const Table& AtLevel(int level) const { return tables_[level < 0 || level >= kDpMaxSimdLevels ? 0 : level]; }

private:
    Table tables_[kDpMaxSimdLevels];
};

#endif // DATAPROCESS_KERNELDISPATCH_H
