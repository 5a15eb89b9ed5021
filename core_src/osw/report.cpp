/* The library's own messages leave it through the trace, as those of component "OSW", level 0. */

#include "osw/report_private.h"

#include <stdarg.h>
#include <stdio.h>

#include <algorithm>

#include "gen/trace/output_private.h"
#include "osw/lock_private.h"

static constexpr uint32_t dumpBytesPerLine = 16;

void oswReport(uint32_t type, const char* format, ...) {
    /* What has been done is reported, also by a task that is deleted meanwhile. */
    const OswUncancellable uncancellable;
    va_list arguments;
    va_start(arguments, format);
    genTrcVPrintf(OSW_REPORT_COMPONENT, type, 0, format, arguments);
    va_end(arguments);
}

static void formatDumpLine(char* hex, char* characters, const uint8_t* data, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) {
        hex += sprintf(hex, i % 2 == 0 || i + 1 == dumpBytesPerLine ? "%02X" : "%02X ", data[i]);
        *characters++ = data[i] >= 32 && data[i] <= 126 ? static_cast<char>(data[i]) : '.';
    }
    *characters = '\0';
}

void oswReportDump(uint32_t type, const void* data, uint32_t sizeBytes) {
    const auto* bytes = static_cast<const uint8_t*>(data);
    for (uint32_t at = 0; at < sizeBytes; at += dumpBytesPerLine) {
        char hex[dumpBytesPerLine * 3 + 1];
        char characters[dumpBytesPerLine + 1];
        formatDumpLine(hex, characters, bytes + at, std::min(sizeBytes - at, dumpBytesPerLine));
        oswReport(type, "%08lx| %-39s | %s\n", reinterpret_cast<unsigned long>(bytes + at), hex,
                  characters);
    }
}
