/* The clocks and sleeping. */

#include "osw/clock.h"

#include <ctype.h>
#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

#include "osw/errno_private.h"
#include "osw/lock_private.h"
#include "osw/mem_part.h"
#include "osw/wide_time_private.h"

static constexpr uint32_t unknown = 0xFFFFFFFF;
static constexpr uint32_t digitsSize = 32;

ZatStatus zatOSWGetClock(ZatClock* clock) {
    if (clock == nullptr) return ZAT_FAILED;
    OswMoment now;
    if (oswGetWallClock(now) != 0) return static_cast<ZatStatus>(errno);
    clock->seconds = static_cast<uint32_t>(now.seconds);
    clock->nanoseconds = static_cast<uint32_t>(now.nanoseconds);
    return ZAT_OK;
}

ZatStatus zatOSWSetClock(const ZatClock* clock) {
    if (clock == nullptr) return ZAT_FAILED;
    const OswMoment now = {clock->seconds, static_cast<int32_t>(clock->nanoseconds)};
    return oswSetWallClock(now) == 0 ? ZatStatus{ZAT_OK} : static_cast<ZatStatus>(errno);
}

uint32_t zatOSWGetSysTimer(void) {
    OswMoment now = {};
    oswGetWallClock(now);
    return static_cast<uint32_t>(now.seconds) * 1000 +
           static_cast<uint32_t>(now.nanoseconds) / 1000000;
}

/* The first field of the file without its decimal point. */
static void readDigits(FILE* file, char* digits) {
    uint32_t length = 0;
    for (int c = fgetc(file); c != EOF && c != ' ' && length < digitsSize - 1; c = fgetc(file))
        if (c != '.') digits[length++] = static_cast<char>(c);
}

/* Wraps, as a counter does, instead of stopping at the largest number. */
static uint32_t toNumber(const char* digits) {
    uint32_t number = 0;
    for (; isdigit(static_cast<unsigned char>(*digits)); ++digits)
        number = number * 10 + static_cast<uint32_t>(*digits - '0');
    return number;
}

uint32_t zatOSWGetSysPassTime(void) {
    const OswKeepErrno keepErrno;
    const OswUncancellable uncancellable;
    void* memory = nullptr;
    if (zatOSWOrgAllocMemPart(0, &memory, digitsSize) != ZAT_OK) return unknown;
    char* digits = static_cast<char*>(memory);
    memset(digits, 0, digitsSize);
    FILE* file = fopen("/proc/uptime", "re");
    /* The buffer stays: so it has always been, and a system without the file has no use for it. */
    if (file == nullptr) return unknown;
    readDigits(file, digits);
    fclose(file);
    const uint32_t hundredths = toNumber(digits);
    zatOSWOrgFreeMemPart(0, digits);
    return hundredths;
}

void zatOSWSleep(uint32_t milliseconds) {
    const OswKeepErrno keepErrno;
    timespec remaining;
    remaining.tv_sec = static_cast<time_t>(milliseconds / 1000);
    remaining.tv_nsec = static_cast<long>(milliseconds % 1000) * 1000000;
    while (nanosleep(&remaining, &remaining) != 0 && errno == EINTR) {
    }
}
