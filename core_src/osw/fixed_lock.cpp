/*
 * Fixed locks: an ordinary mutex with an owner and a count around it.
 *
 * A taker asks without the mutex whether it is the holder already. That is sound because only a
 * task itself stores its id as owner, and because the holder stores the owner before the count and
 * a taker loads the count before the owner.
 */

#include "osw/fixed_lock.h"

#include <pthread.h>

#include "osw/init.h"
#include "osw/lock_monitor_private.h"
#include "osw/self_private.h"

static constexpr uint32_t nobody = 0xFFFFFFFF;

struct OswRecursiveLock {
    int32_t count = 0;
    uint32_t owner = nobody; /* keeps the last owner after the final release */
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
};

static OswRecursiveLock criticalSection;
static OswRecursiveLock plainLock;
static OswRecursiveLock globalLock;
static OswRecursiveLock taskLock;
static OswRecursiveLock globalTaskLock1;
static OswRecursiveLock globalTaskLock2;

static int32_t countOf(const OswRecursiveLock& lock) {
    return __atomic_load_n(&lock.count, __ATOMIC_ACQUIRE);
}

static void setCount(OswRecursiveLock& lock, int32_t count) {
    __atomic_store_n(&lock.count, count, __ATOMIC_RELEASE);
}

static bool isHeldBy(const OswRecursiveLock& lock, ZatTaskId task) {
    return countOf(lock) != 0 && __atomic_load_n(&lock.owner, __ATOMIC_RELAXED) == task;
}

static ZatStatus take(OswRecursiveLock& lock) {
    const ZatTaskId caller = oswSelf();
    if (isHeldBy(lock, caller)) {
        setCount(lock, lock.count + 1);
        return ZAT_OK;
    }
    const OswLockMonitorMark mark(&lock.owner);
    if (const int error = pthread_mutex_lock(&lock.mutex); error != 0)
        return static_cast<ZatStatus>(error);
    __atomic_store_n(&lock.owner, caller, __ATOMIC_RELAXED);
    setCount(lock, lock.count + 1);
    return ZAT_OK;
}

static ZatStatus release(OswRecursiveLock& lock) {
    /* The last owner's id stays in the lock: the count tells whether there is a hold to give back.
     */
    if (!isHeldBy(lock, oswSelf())) return ZAT_OK;
    setCount(lock, lock.count - 1);
    if (lock.count != 0) return ZAT_OK;
    return static_cast<ZatStatus>(pthread_mutex_unlock(&lock.mutex));
}

static ZatStatus initialiseAndTake(OswRecursiveLock& lock) {
    const ZatStatus status = zatOSWInit();
    return status == ZAT_OK ? take(lock) : status;
}

ZatStatus zatOSWEnterCriticalSection(void) {
    return initialiseAndTake(criticalSection);
}
ZatStatus zatOSWLeaveCriticalSection(void) {
    return release(criticalSection);
}

ZatStatus zatOSWLock(void) {
    return initialiseAndTake(plainLock);
}
ZatStatus zatOSWUnlock(void) {
    return release(plainLock);
}

ZatStatus zatOSWGlobalLock(void) {
    return initialiseAndTake(globalLock);
}
ZatStatus zatOSWGlobalUnlock(void) {
    return release(globalLock);
}

ZatStatus zatOSWLockTask(void) {
    return initialiseAndTake(taskLock);
}
ZatStatus zatOSWUnlockTask(void) {
    return release(taskLock);
}

static OswRecursiveLock& globalTaskLock(uint32_t selector) {
    return selector == 1 ? globalTaskLock1 : globalTaskLock2;
}

ZatStatus zatOSWGlobalLockTask(uint32_t selector) {
    return take(globalTaskLock(selector));
}
ZatStatus zatOSWGlobalUnlockTask(uint32_t selector) {
    return release(globalTaskLock(selector));
}
