/* Deadlines and condition waits; see lock_private.h. */

#include <errno.h>
#include <sys/time.h>

#include <limits>

#include "osw/lock_private.h"

timespec oswDeadline(ZatTimeoutMs timeoutMs) {
    timeval now;
    gettimeofday(&now, nullptr);
    int64_t seconds = static_cast<int64_t>(now.tv_sec) + timeoutMs / 1000;
    long nanoseconds = now.tv_usec * 1000 + static_cast<long>(timeoutMs % 1000) * 1000000;
    if (nanoseconds >= 1000000000) {
        nanoseconds -= 1000000000;
        ++seconds;
    }
    /* A deadline past the end of a 32-bit clock must not wrap into the past. */
    constexpr int64_t latest = std::numeric_limits<time_t>::max();
    timespec deadline;
    deadline.tv_sec = static_cast<time_t>(seconds < latest ? seconds : latest);
    deadline.tv_nsec = nanoseconds;
    return deadline;
}

ZatStatus oswCondWait(pthread_cond_t& condition, pthread_mutex_t& mutex, const timespec* deadline) {
    const int error = deadline == nullptr ? pthread_cond_wait(&condition, &mutex)
                                          : pthread_cond_timedwait(&condition, &mutex, deadline);
    return error == EINTR ? ZatStatus{ZAT_TIMED_OUT} : static_cast<ZatStatus>(error);
}
