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

/* Hands a text to the print hook alone, if there is one, whatever the masks. */
__attribute__((format(printf, 4, 5))) void genTrcHookPrintf(uint32_t component, uint32_t type,
                                                            uint32_t level, const char* format,
                                                            ...);

#endif
