/**
 * @file
 * Puts itself between the library and the wall clock. For one source file per program.
 */
#ifndef ZATOSW_TESTS_OSW_WALL_CLOCK_H
#define ZATOSW_TESTS_OSW_WALL_CLOCK_H

#include <dlfcn.h>

#include "osw/worker.h"

/** The time that calls with a wide time use. */
struct WideTime {
    int64_t seconds;
    int64_t microseconds;
};

static Shared<const WideTime*> wallClock; /**< null for the real one */
static Shared<int> clockError;            /**< that the clock is answered with */

/** The call with a wide time, under the name that it has in the C library. */
extern "C" int __gettimeofday64(WideTime* now, void* zone) noexcept {
    static const auto next =
        reinterpret_cast<decltype(&__gettimeofday64)>(dlsym(RTLD_NEXT, "__gettimeofday64"));
    const WideTime* given = wallClock;
    if (const int error = clockError) {
        errno = error;
        return -1;
    }
    if (given == nullptr) return next(now, zone);
    *now = *given;
    return 0;
}

#endif
