// UTF-8 to wide text for the library's wide file-name arguments.
#ifndef DATAPROCESS_TOOL_TEXTUTIL_H
#define DATAPROCESS_TOOL_TEXTUTIL_H

#include <string>

namespace dptool {

// Decodes UTF-8 into UTF-32 wide characters; false on a malformed sequence.
bool WidenUtf8(const std::string& in, std::wstring* out);

} // namespace dptool

#endif // DATAPROCESS_TOOL_TEXTUTIL_H
