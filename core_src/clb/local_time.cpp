/**
 * @file
 * Local time with the system's present time zone. The name of the zone last seen is kept for the
 * process, so that TZ is touched only when the zone changes; like TZ, it is not guarded.
 */
#include "clb/local_time.h"

#include <stdlib.h>
#include <string.h>
#include <unistd.h>

namespace {

constexpr char kZoneLink[] = "/etc/localtime";
constexpr char kZoneDirectory[] = "/usr/share/zoneinfo/";
constexpr size_t kZoneDirectoryLength = sizeof kZoneDirectory - 1;
constexpr size_t kTargetSize = 64;

char lastZone[kTargetSize - kZoneDirectoryLength];

void followSystemZone() {
    char target[kTargetSize];
    const ssize_t length = readlink(kZoneLink, target, sizeof target);
    /* readlink() cuts a longer target without telling and never terminates it. */
    if (length < 0 || static_cast<size_t>(length) >= sizeof target) return;
    target[length] = '\0';
    if (strncmp(target, kZoneDirectory, kZoneDirectoryLength) != 0) return;
    const char* zone = target + kZoneDirectoryLength;
    if (strcmp(zone, lastZone) == 0) return;
    strcpy(lastZone, zone);
    setenv("TZ", zone, 1);
    tzset();
}

}  // namespace

struct tm* zatCLBLocalTime(const time_t* time) {
    followSystemZone();
    return localtime(time);
}

struct tm* zatCLBLocalTime_r(const time_t* time, struct tm* result) {
    followSystemZone();
    return localtime_r(time, result);
}
