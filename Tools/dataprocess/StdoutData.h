// Standard output as a data channel. When a y4m or WAV stream goes to
// standard output, nothing else may be written there: the library prints its
// watermark diagnostics with printf. ClaimStdoutForData moves the real
// standard output to a private descriptor for the data and points descriptor
// 1 at standard error, so that every other byte lands there.
#ifndef DATAPROCESS_TOOL_STDOUTDATA_H
#define DATAPROCESS_TOOL_STDOUTDATA_H

#include <cstdio>

namespace dptool {

// A stream on the original standard output; the caller closes it. Throws
// ProcessingError when the descriptors cannot be rearranged.
FILE* ClaimStdoutForData();

} // namespace dptool

#endif // DATAPROCESS_TOOL_STDOUTDATA_H
