/*
 * The library's own messages go to standard error, each in one write so that lines of different
 * tasks do not mix. The trace calls take this place over when they are there.
 */

#include "osw/report_private.h"

#include <stdarg.h>
#include <stdio.h>
#include <string.h>

#include <algorithm>

#include "osw/errno_private.h"
#include "osw/lock_private.h"

static constexpr uint32_t textSize = 1280;
static constexpr uint32_t dumpBytesPerLine = 16;

void oswReport(uint32_t type, const char* format, ...) {
    (void)type;
    const OswKeepErrno keepErrno;
    /* What has been done is reported, also by a task that is deleted meanwhile. */
    const OswUncancellable uncancellable;
    char text[textSize];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    fprintf(stderr, "OSW:%s", text);
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
