/* Messages for the library's own callers. */
#ifndef ZATOSW_GEN_TRACE_OUTPUT_PRIVATE_H
#define ZATOSW_GEN_TRACE_OUTPUT_PRIVATE_H

#include <stdarg.h>

#include "gen/trace/output.h"

/* zatGENTrcPrintf() with its arguments in a list. Call it without holding a lock of the library's:
 * what takes the message may need one. */
__attribute__((format(printf, 4, 0))) void genTrcVPrintf(uint32_t component, uint32_t type,
                                                         uint32_t level, const char* format,
                                                         va_list arguments);

/* Where a message goes, in the order in which it gets there. */
enum GenSink : uint32_t {
    GEN_TO_STANDARD_ERROR = 1,
    GEN_TO_DIRECT_LOG = 2,
    GEN_TO_PRINT_HOOK = 4,
    GEN_TO_USER_FUNCTIONS = 8,
    GEN_TO_STANDARD_LOG = 16,
    GEN_TO_OWN_LOG = 32,
    GEN_TO_ERROR_LOG = 64,
    GEN_TO_PERFORMANCE_LOG = 128,
};

/* The sinks that the masks let a message through to. */
uint32_t genTrcGates(uint32_t component, uint32_t type, uint32_t level);

/* Whether messages of a level are also written into region logs. */
bool genTrcForwards(uint32_t level);

/* Hands a text, as it is, to those of standard error and the print hook that are among the sinks,
 * whatever the masks. */
__attribute__((format(printf, 5, 6))) void genTrcPrintTo(uint32_t sinks, uint32_t component,
                                                         uint32_t type, uint32_t level,
                                                         const char* format, ...);

#endif
