/* The logging library: wide printf-style messages emitted as UTF-8 lines.
 *
 * OrvLogEx accepts the Windows conversions %I64d, %I64u and %I64x (and
 * %I64i, %I64X) for 64-bit integers. The default sink writes each line to
 * standard error; a host may install its own sink or silence logging.
 * Compiles as C99 and C++. */
#ifndef ORVLOG_H
#define ORVLOG_H

#include <stddef.h>
#include <wchar.h>

#if defined(__GNUC__) || defined(__clang__)
#  define ORVLOG_API __attribute__((visibility("default")))
#else
#  define ORVLOG_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Receives one formatted message as a zero-terminated UTF-8 line without a
 * trailing newline. Called with the library's emit lock held: one call at a
 * time, in order. */
typedef void (*OrvLogSink)(void* context, const char* utf8Line);

/* Formats and emits one message. */
ORVLOG_API void OrvLogEx(const wchar_t* format, ...);

/* Installs a sink; a null sink restores the default (standard error). */
ORVLOG_API void OrvLogSetSink(OrvLogSink sink, void* context);

/* Nonzero silences every message; zero turns logging back on. */
ORVLOG_API void OrvLogSetSilent(int silent);

/* Rewrites the Windows 64-bit conversions of a wide format (%I64d and
 * friends) into their C99 form (%lld, ...). Writes at most outCount wide
 * characters including the terminator; returns the length needed without
 * the terminator. */
ORVLOG_API size_t OrvLogTranslateFormat(const wchar_t* format, wchar_t* out, size_t outCount);

#ifdef __cplusplus
}
#endif

#endif /* ORVLOG_H */
