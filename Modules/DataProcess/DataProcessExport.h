/* Symbol visibility for the DataProcess shared library.
 *
 * The library is built with hidden visibility by default; every public
 * function, class and constant carries DP_API so that exactly the public
 * interface is exported from libDataProcess.so. */
#ifndef DATAPROCESS_EXPORT_H
#define DATAPROCESS_EXPORT_H

#if defined(_WIN32)
#  if defined(DP_BUILDING_LIBRARY)
#    define DP_API __declspec(dllexport)
#  else
#    define DP_API __declspec(dllimport)
#  endif
#elif defined(__GNUC__) || defined(__clang__)
#  define DP_API __attribute__((visibility("default")))
#else
#  define DP_API
#endif

#ifdef __cplusplus
#  define DP_EXTERN_C extern "C"
#  define DP_BEGIN_C extern "C" {
#  define DP_END_C }
#else
#  define DP_EXTERN_C
#  define DP_BEGIN_C
#  define DP_END_C
#endif

#endif /* DATAPROCESS_EXPORT_H */
