/* The calls with a wide time; see wide_time_private.h. */

#include "osw/wide_time_private.h"

#include <sys/time.h>

#include <algorithm>
#include <limits>

/* An old C library has none: its latest moment is the best it can do. */
static time_t systemTime(int64_t seconds) {
    return static_cast<time_t>(std::min<int64_t>(seconds, std::numeric_limits<time_t>::max()));
}

int oswGetWallClock(OswMoment& now) {
    timeval time;
    if (gettimeofday(&time, nullptr) != 0) return -1;
    now = {time.tv_sec, static_cast<int32_t>(time.tv_usec) * 1000};
    return 0;
}

int oswSetWallClock(const OswMoment& now) {
    timeval time = {};
    time.tv_sec = systemTime(now.seconds);
    time.tv_usec = now.nanoseconds / 1000;
    return settimeofday(&time, nullptr);
}

void oswLocalTime(int64_t seconds, tm& result) {
    const time_t time = systemTime(seconds);
    localtime_r(&time, &result);
}

int oswCondWaitUntil(pthread_cond_t& condition, pthread_mutex_t& mutex, const OswMoment& deadline) {
    timespec time = {};
    time.tv_sec = systemTime(deadline.seconds);
    time.tv_nsec = deadline.nanoseconds;
    return pthread_cond_timedwait(&condition, &mutex, &time);
}
