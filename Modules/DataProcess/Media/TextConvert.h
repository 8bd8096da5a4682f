// Wide-to-narrow text conversion. wchar_t is 32 bits on this platform, so
// wide strings are UTF-32; file names are converted to UTF-8 before they
// reach the file system.
#ifndef DATAPROCESS_TEXTCONVERT_H
#define DATAPROCESS_TEXTCONVERT_H

#include <stdint.h>
#include <wchar.h>

#include "DataProcessExport.h"

typedef uint32_t UTF32;
typedef uint8_t UTF8;

enum ConversionResult {
    conversionOK = 0,    // everything converted
    sourceExhausted = 1, // the input ended inside a character (never for UTF-32)
    targetExhausted = 2, // the next character did not fit; conversion stopped
    sourceIllegal = 3    // a surrogate (strict mode, stopped) or a code point above U+10FFFF (replaced by U+FFFD)
};

enum ConversionFlags {
    strictConversion = 0, // surrogates are illegal
    lenientConversion = 1 // surrogates are encoded as they are
};

// Converts the UTF-32 text [src, srcEnd) to UTF-8 in [dst, dstEnd). Code
// points above U+10FFFF become U+FFFD and make the result sourceIllegal while
// the conversion goes on. The output is not zero-terminated unless the input
// holds the terminator.
DP_API ConversionResult ConvertUTF32toUTF8(const UTF32* src, const UTF32* srcEnd, UTF8* dst, UTF8* dstEnd,
                                           ConversionFlags flags);

// Converts srcLen wide characters (-1: the whole string including its
// terminating zero) into dst of dstSize bytes; strict or lenient mode.
// Returns a ConversionResult value.
DP_API int WtoUTF8(const wchar_t* src, int srcLen, char* dst, int dstSize, bool strict);

// Converts a wide string to UTF-8 (lenient) into dst, always zero-terminated
// when dstSize > 0 (a string that does not fit is cut at a character
// boundary), and returns dst. A null src returns a shared empty string that
// the caller must neither free nor write.
DP_API const char* __w2a(char* dst, const wchar_t* src, int dstSize);
DP_API const char* __w2t(char* dst, const wchar_t* src, int dstSize);

// Narrow and text characters are the same type here: both return src itself
// (no copy), or the shared empty string for a null src.
DP_API const char* __a2t(char* dst, const char* src, int dstSize);
DP_API const char* __t2a(char* dst, const char* src, int dstSize);

#endif // DATAPROCESS_TEXTCONVERT_H
