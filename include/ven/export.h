/** @file
 * Visibility of the library's exported functions and data, and the C linkage of the headers. */
#ifndef VEN_EXPORT_H
#define VEN_EXPORT_H

#if defined(__GNUC__)
/** Marks a function or datum that libven.so exports. */
#define VEN_API __attribute__((visibility("default")))
#else
#define VEN_API /**< Marks an exported function or datum (no effect with this compiler). */
#endif

#ifdef __cplusplus
/** Opens C linkage for the declarations that follow (in C++). */
#define VEN_EXTERN_C_BEGIN extern "C" {
/** Closes what VEN_EXTERN_C_BEGIN opened. */
#define VEN_EXTERN_C_END }
#else
#define VEN_EXTERN_C_BEGIN /**< Opens C linkage (nothing to do in C). */
#define VEN_EXTERN_C_END   /**< Closes C linkage (nothing to do in C). */
#endif

#endif
