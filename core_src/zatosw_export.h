/**
 * @file
 * What every public header of the library begins with: the linkage of its declarations, the mark
 * of an exported symbol, and the machines that it serves.
 */
#ifndef ZATOSW_EXPORT_H
#define ZATOSW_EXPORT_H

#include <stdint.h>

/** @def ZATOSW_BEGIN_DECLS
 *  Opens the part of a header whose declarations have the linkage of C. */
/** @def ZATOSW_END_DECLS
 *  Closes that part. */
/** @def ZATOSW_STATIC_ASSERT
 *  A condition that holds when this is compiled, in C as in C++. */
#ifdef __cplusplus
#define ZATOSW_BEGIN_DECLS extern "C" {
#define ZATOSW_END_DECLS }
#define ZATOSW_STATIC_ASSERT(condition, text) static_assert(condition, text)
#else
#define ZATOSW_BEGIN_DECLS
#define ZATOSW_END_DECLS
#define ZATOSW_STATIC_ASSERT(condition, text) _Static_assert(condition, text)
#endif

/** Marks a function or variable that the shared library exports; everything else is hidden. */
#define ZATOSW_API __attribute__((visibility("default")))

/** Marks a call that never returns to its caller. */
#define ZATOSW_NORETURN __attribute__((noreturn))

/* Handles are addresses passed as 32-bit words. */
ZATOSW_STATIC_ASSERT(sizeof(void*) == 4 && sizeof(long) == 4 && sizeof(int) == 4,
                     "zatosw serves ILP32 targets only");

#endif
