/* The library's own messages leave it through the trace, as those of component "OSW", level 0. */

#include "osw/report_private.h"

#include <stdarg.h>

#include "gen/trace/dump.h"
#include "gen/trace/output_private.h"
#include "osw/lock_private.h"

void oswReport(uint32_t type, const char* format, ...) {
    /* What has been done is reported, also by a task that is deleted meanwhile. */
    const OswUncancellable uncancellable;
    va_list arguments;
    va_start(arguments, format);
    genTrcVPrintf(OSW_REPORT_COMPONENT, type, 0, format, arguments);
    va_end(arguments);
}

void oswReportDump(uint32_t type, const void* data, uint32_t sizeBytes) {
    const OswUncancellable uncancellable;
    const auto size = static_cast<int32_t>(sizeBytes);
    zatGENTraceDump(OSW_REPORT_COMPONENT, type, 0, data, size, size, 1);
}
