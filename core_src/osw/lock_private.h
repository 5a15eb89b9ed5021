/*
 * How the library holds a lock and waits on a condition.
 *
 * A lock is held by the scope of an OswLock; ending a task unwinds its stack, so a scope that is
 * left by a cancelled wait gives its lock back like any other. Deadlines are computed here only.
 */
#ifndef ZATOSW_OSW_LOCK_PRIVATE_H
#define ZATOSW_OSW_LOCK_PRIVATE_H

#include <pthread.h>

#include "osw/status.h"
#include "osw/wide_time_private.h"

/* Holds one mutex until released or until the end of the scope. */
class OswLock {
  public:
    OswLock() = default;
    /* For locks that cannot fail: the statically initialised ones. */
    explicit OswLock(pthread_mutex_t& mutex) { take(mutex); }
    OswLock(const OswLock&) = delete;
    OswLock& operator=(const OswLock&) = delete;
    ~OswLock() { release(); }

    ZatStatus take(pthread_mutex_t& mutex) {
        const int error = pthread_mutex_lock(&mutex);
        if (error == 0) held_ = &mutex;
        return static_cast<ZatStatus>(error);
    }

    bool isHeld() const { return held_ != nullptr; }

    ZatStatus release() {
        if (held_ == nullptr) return ZAT_OK;
        pthread_mutex_t* mutex = held_;
        held_ = nullptr;
        return static_cast<ZatStatus>(pthread_mutex_unlock(mutex));
    }

  private:
    pthread_mutex_t* held_ = nullptr;
};

/*
 * Puts off a deletion of the calling task to the end of the scope, for short work with files and
 * for steps that belong together. Destructors may not be ended either: they hold no call that can.
 */
class OswUncancellable {
  public:
    OswUncancellable() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_); }
    OswUncancellable(const OswUncancellable&) = delete;
    OswUncancellable& operator=(const OswUncancellable&) = delete;
    ~OswUncancellable() { pthread_setcancelstate(before_, nullptr); }

  private:
    int before_ = PTHREAD_CANCEL_ENABLE;
};

/* The moment, on the wall clock, that lies timeoutMs ahead. */
OswMoment oswDeadline(ZatTimeoutMs timeoutMs);

/*
 * Waits once on a condition whose mutex the caller holds: without limit when deadline is null.
 * Returns 0, ZAT_TIMED_OUT or an error number; 0 may also be a wake-up that nobody sent.
 */
ZatStatus oswCondWait(pthread_cond_t& condition, pthread_mutex_t& mutex, const OswMoment* deadline);

#endif
