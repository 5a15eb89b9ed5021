#include "logs.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <initializer_list>

#include "trace.h"

static constexpr int32_t readingsLog = 0x5002;
static constexpr int32_t readingsKept = 600;
static constexpr int32_t readingLength = 80;
static constexpr int32_t standardLog = 0;
static constexpr int32_t errorLog = 1;

void chooseLogs() {
    setenv("GEN_STDLOG_ENV", "400,120,watch.std", 0);
    setenv("GEN_ERRLOG_ENV", "400,120,watch.err", 0);
    setenv("GEN_LOG_ENV", "1", 0);
}

bool openLogs() {
    // Reports are for people; they would only drive the trouble out of the log.
    zatGENClrRgnLogMask(standardLog, levelReport);
    return made(zatGENInitRgnLog(readingsLog, "watch.log", 0xFFFF, readingsKept, readingLength, 1,
                                 1),
                "log of readings") &&
           made(zatGENStartRgnLog(readingsLog), "start of the log");
}

void logReading(const Reading& reading) {
    char text[readingLength];
    const int length = snprintf(text, sizeof text, "cpu %.1f %% memory %lu KiB load %.2f",
                                static_cast<double>(reading.cpuPercent),
                                static_cast<unsigned long>(reading.memoryUsedKiB),
                                static_cast<double>(reading.load[0]));
    ZatClock now = {};
    zatOSWGetClock(&now);
    zatGENWriteRgnLog(readingsLog, &now, text, static_cast<uint32_t>(length));
}

void printLogs() {
    for (const int32_t log : {standardLog, errorLog, readingsLog})
        zatGENPrnRgnLog(log, 1, watchComponent, levelReport);
}

bool saveReadings(const char* path) {
    if (zatGENTrcCreateLogFile(readingsLog, path) == 0) return true;
    fprintf(stderr, "Cannot save %s: %s\n", path, strerror(errno));
    return false;
}
