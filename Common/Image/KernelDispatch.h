// Run-time choice between the reference (plain C++) kernels and faster ones.
//
// Every family of image kernels keeps a small table of function pointers,
// filled with the reference kernels first and upgraded by the CPU features
// found. Setting the environment variable DP_FORCE_REFERENCE=1 (or calling
// DpSetForceReference(true) before first use) keeps every table on the
// reference kernels, so tests and benchmarks can compare both paths.
#ifndef DATAPROCESS_KERNELDISPATCH_H
#define DATAPROCESS_KERNELDISPATCH_H

// True when the reference kernels are forced.
bool DpForceReference();
// Forces (or releases) the reference kernels for tables built afterwards and
// for families that consult the switch on each call.
void DpSetForceReference(bool force);

#endif // DATAPROCESS_KERNELDISPATCH_H
