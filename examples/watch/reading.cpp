#include "reading.h"

#include <inttypes.h>
#include <stdio.h>
#include <string.h>
#include <zatosw/zatosw.h>

// A short file of the kernel as text.
struct FileText {
    char text[4096] = "";

    explicit FileText(const char* path) {
        FILE* file = fopen(path, "re");
        if (file == nullptr) return;
        text[fread(text, 1, sizeof text - 1, file)] = '\0';
        fclose(file);
    }
};

bool Machine::readProcessors(Reading& reading) {
    const FileText file("/proc/stat");
    uint64_t user, nice, system, idle, ioWait, interrupt, softInterrupt;
    if (sscanf(file.text,
               "cpu %" SCNu64 " %" SCNu64 " %" SCNu64 " %" SCNu64 " %" SCNu64 " %" SCNu64
               " %" SCNu64,
               &user, &nice, &system, &idle, &ioWait, &interrupt, &softInterrupt) != 7)
        return false;
    const uint64_t busy = user + nice + system + interrupt + softInterrupt;
    const uint64_t all = busy + idle + ioWait;
    const uint64_t passed = all - allBefore_;
    const bool first = allBefore_ == 0;
    reading.cpuPercent = first || passed == 0 ? 0.0f
                                              : 100.0f * static_cast<float>(busy - busyBefore_) /
                                                    static_cast<float>(passed);
    busyBefore_ = busy;
    allBefore_ = all;
    return true;
}

static bool findKiB(const char* text, const char* name, uint32_t& kiB) {
    const char* line = strstr(text, name);
    return line != nullptr && sscanf(line + strlen(name), " %" SCNu32, &kiB) == 1;
}

bool Machine::read(Reading& reading) {
    reading = {};
    reading.takenMs = zatOSWGetSysTimer();
    const FileText memory("/proc/meminfo");
    const FileText load("/proc/loadavg");
    uint32_t available = 0;
    if (!readProcessors(reading) || !findKiB(memory.text, "MemTotal:", reading.memoryTotalKiB) ||
        !findKiB(memory.text, "MemAvailable:", available))
        return false;
    reading.memoryUsedKiB = reading.memoryTotalKiB - available;
    return sscanf(load.text, "%f %f %f", &reading.load[0], &reading.load[1], &reading.load[2]) == 3;
}
