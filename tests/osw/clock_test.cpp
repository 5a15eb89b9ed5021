/* The clock calls, with what they ask of the system answered by the test. */

#include "osw/clock.h"

#include <dlfcn.h>
#include <errno.h>
#include <signal.h>
#include <sys/time.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "osw/wall_clock.h"

namespace {

WideTime clockSet;
/* Answers of the system; without one, it is the system's own. */
const char* uptime;
bool uptimeMissing;

}  // namespace

extern "C" int __settimeofday64(const WideTime* time, const struct timezone*) noexcept {
    clockSet = *time;
    errno = clockError;
    return clockError == 0 ? 0 : -1;
}

/* Remembers what the library allocated last. */
static void* allocated;

ZatStatus zatOSWOrgAllocMemPart(ZatPartition partition, void** out, uint32_t sizeBytes) {
    static const auto real = reinterpret_cast<decltype(&zatOSWOrgAllocMemPart)>(
        dlsym(RTLD_NEXT, "zatOSWOrgAllocMemPart"));
    const ZatStatus status = real(partition, out, sizeBytes);
    allocated = *out;
    return status;
}

extern "C" FILE* fopen(const char* path, const char* mode) {
    static const auto real = reinterpret_cast<decltype(&fopen)>(dlsym(RTLD_NEXT, "fopen64"));
    if (strcmp(path, "/proc/uptime") != 0) return real(path, mode);
    if (uptimeMissing) return nullptr;
    if (uptime == nullptr) return real(path, mode);
    FILE* file = tmpfile();
    fputs(uptime, file);
    rewind(file);
    return file;
}

namespace {

TEST(Clock, TellsAndSetsTheWallClock) {
    ZatClock clock = {};
    for (const uint32_t seconds : {0x7FFFFFFEu, 0xFFFFFFFEu}) {
        const WideTime time = {seconds, 999999};
        wallClock = &time;
        EXPECT_EQ(zatOSWGetClock(&clock), ZAT_OK);
        EXPECT_EQ(clock.seconds, seconds);
        EXPECT_EQ(clock.nanoseconds, 999999000u);
        EXPECT_EQ(zatOSWGetSysTimer(), static_cast<uint32_t>(seconds * 1000ull + 999)) << "wraps";
        wallClock = nullptr;
        clock = {seconds, 123456789};
        EXPECT_EQ(zatOSWSetClock(&clock), ZAT_OK);
        EXPECT_EQ(clockSet.seconds, int64_t{seconds});
        EXPECT_EQ(clockSet.microseconds, 123456);
    }
    clockError = EPERM;
    EXPECT_EQ(zatOSWGetClock(&clock), ZatStatus{EPERM});
    EXPECT_EQ(zatOSWSetClock(&clock), ZatStatus{EPERM});
    clockError = 0;
}

TEST(Clock, TellsTheTimeSinceBootInHundredths) {
    zatOSWInit();
    const uint32_t memory = heldMemory();
    uptime = "12345.67 54321.00\n";
    EXPECT_EQ(zatOSWGetSysPassTime(), 1234567u);
    uptime = "0.05 0.00\n";
    EXPECT_EQ(zatOSWGetSysPassTime(), 5u);
    uptime = nullptr;
    const uint32_t before = zatOSWGetSysPassTime();
    timespec boot;
    clock_gettime(CLOCK_BOOTTIME, &boot);
    EXPECT_NEAR(before, boot.tv_sec * 100.0 + boot.tv_nsec / 1e7, 500);
    EXPECT_EQ(heldMemory(), memory);
    uptimeMissing = true;
    EXPECT_EQ(zatOSWGetSysPassTime(), 0xFFFFFFFFu);
    EXPECT_EQ(heldMemory(), memory + 32) << "its buffer stays then";
    zatOSWOrgFreeMemPart(0, allocated);
    EXPECT_EQ(heldMemory(), memory);
}

TEST(Clock, SleepsItsTimeWhateverSignalsCome) {
    static volatile sig_atomic_t signals;
    struct sigaction action = {};
    action.sa_handler = [](int) { signals = signals + 1; };
    sigaction(SIGALRM, &action, nullptr);
    const itimerval every = {{0, 7000}, {0, 7000}};
    setitimer(ITIMER_REAL, &every, nullptr);
    const Stopwatch stopwatch;
    zatOSWSleep(1100);
    EXPECT_GE(stopwatch.elapsedMs(), 1099u);
    EXPECT_LT(stopwatch.elapsedMs(), 20000u);
    const itimerval never = {};
    setitimer(ITIMER_REAL, &never, nullptr);
    EXPECT_GT(signals, 3);
    zatOSWSleep(0);
}

}  // namespace
