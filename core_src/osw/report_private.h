/*
 * Where the library's own warnings and fatal messages leave it: the one place that hands them to
 * the trace.
 */
#ifndef ZATOSW_OSW_REPORT_PRIVATE_H
#define ZATOSW_OSW_REPORT_PRIVATE_H

#include <stdint.h>

enum : uint32_t {
    OSW_REPORT_COMPONENT = 0x2002,
    OSW_REPORT_WARNING = 0x102, /* the trace channel and its monitor */
    OSW_REPORT_FATAL = 0x302,   /* the same, from a call that cannot go on */
};

/* Writes one message of type OSW_REPORT_...; a fatal one ends the calling task. Call it without
 * holding any lock: hooks of the application run in it. */
__attribute__((format(printf, 2, 3))) void oswReport(uint32_t type, const char* format, ...);

/* Writes a hexadecimal dump of memory, 16 bytes a line. */
void oswReportDump(uint32_t type, const void* data, uint32_t sizeBytes);

#endif
