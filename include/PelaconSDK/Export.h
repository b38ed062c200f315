/* Macros for the declarations of the public headers. Applications do not include this header
 * directly. */
#ifndef PELACONSDK_EXPORT_H
#define PELACONSDK_EXPORT_H

#include <stdbool.h>
#include <stdint.h>

/* Marks what the library exports. PELACON_SDK_BUILD is defined while the library itself is built,
 * PELACON_SDK_STATIC where its objects are linked into a program. */
#if defined(PELACON_SDK_STATIC)
#define PELACON_API
#elif defined(_WIN32)
#if defined(PELACON_SDK_BUILD)
#define PELACON_API __declspec(dllexport)
#else
#define PELACON_API __declspec(dllimport)
#endif
#else
#define PELACON_API __attribute__((visibility("default")))
#endif

/* Marks a class that applications derive from, so that it is one type in all modules. */
#if defined(_WIN32)
#define PELACON_INTERFACE
#else
#define PELACON_INTERFACE __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
#define PELACON_C_BEGIN extern "C" {
#define PELACON_C_END }
#else
#define PELACON_C_BEGIN
#define PELACON_C_END
#endif

/* The name of an enumeration that is 32 bits wide and may hold values beyond its enumerators, as
 * the service's own codes pass through unchanged: `enum PELACON_ENUM(Name) { ... };`. In C the type
 * is int32_t; the enumeration in the middle is there only to make room for its declaration. */
/* clang-format off */
#ifdef __cplusplus
#define PELACON_ENUM(name) name : int32_t
#else
#define PELACON_ENUM(name) name##Unused { name##Unused_ }; typedef int32_t name; enum
#endif
/* clang-format on */

#endif /* PELACONSDK_EXPORT_H */
