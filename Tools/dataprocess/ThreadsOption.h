// --threads of the commands that read and write media: whether decoding,
// the stages and encoding overlap on threads of their own (the default)
// or run one after another on one thread (--threads 1, or
// DATAPROCESS_THREADS=1 in the environment). The output is the same
// either way.
#ifndef DATAPROCESS_TOOL_THREADSOPTION_H
#define DATAPROCESS_TOOL_THREADSOPTION_H

namespace CLI {
class App;
}

namespace dptool {

void AddThreadsOption(CLI::App* cmd, int* threads);
// True when the run overlaps its work: `threads` as given (0 = not given,
// then the environment decides).
bool OverlapWork(int threads);

} // namespace dptool

#endif // DATAPROCESS_TOOL_THREADSOPTION_H
