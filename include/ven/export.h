/* Visibility of the library's exported functions and data. */
#ifndef VEN_EXPORT_H
#define VEN_EXPORT_H

#if defined(__GNUC__)
#define VEN_API __attribute__((visibility("default")))
#else
#define VEN_API
#endif

#ifdef __cplusplus
#define VEN_EXTERN_C_BEGIN extern "C" {
#define VEN_EXTERN_C_END }
#else
#define VEN_EXTERN_C_BEGIN
#define VEN_EXTERN_C_END
#endif

#endif
