// Process-wide state of the audio stages, reachable from the static build
// for tests and diagnostics (not part of the public interface):
// - the resampler's fractional carry, shared by every CAudioConverter;
// - the counter of small frames thrown away by every AudioEvenProcess,
//   which rate-limits their message to one in a hundred.
// Both are atomics; reading or setting them is race-free.
#ifndef DATAPROCESS_AUDIOSHAREDSTATE_H
#define DATAPROCESS_AUDIOSHAREDSTATE_H

namespace dp_audio {

double GetResamplerCarry();
void SetResamplerCarry(double dSpare);

int GetSmallDiscardCount();
void SetSmallDiscardCount(int nCount);

} // namespace dp_audio

#endif // DATAPROCESS_AUDIOSHAREDSTATE_H
