/* Deadlines and condition waits; see lock_private.h. */

#include "osw/lock_private.h"

#include <errno.h>
#include <time.h>

#include <limits>

OswMoment oswDeadline(ZatTimeoutMs timeoutMs) {
    OswMoment deadline = {};
    oswGetWallClock(deadline);
    deadline.seconds += timeoutMs / 1000;
    deadline.nanoseconds += static_cast<int32_t>(timeoutMs % 1000) * 1000000;
    if (deadline.nanoseconds >= 1000000000) {
        deadline.nanoseconds -= 1000000000;
        ++deadline.seconds;
    }
    return deadline;
}

/* The checkers know the wait with a narrow time only, which is the one of most years. */
static int waitUntil(pthread_cond_t& condition, pthread_mutex_t& mutex, const OswMoment& deadline) {
    if (deadline.seconds > std::numeric_limits<time_t>::max())
        return oswCondWaitUntil(condition, mutex, deadline);
    const timespec time = {static_cast<time_t>(deadline.seconds), deadline.nanoseconds};
    return pthread_cond_timedwait(&condition, &mutex, &time);
}

ZatStatus oswCondWait(pthread_cond_t& condition, pthread_mutex_t& mutex,
                      const OswMoment* deadline) {
    const int error = deadline == nullptr ? pthread_cond_wait(&condition, &mutex)
                                          : waitUntil(condition, mutex, *deadline);
    return error == EINTR ? ZatStatus{ZAT_TIMED_OUT} : static_cast<ZatStatus>(error);
}
