/* Mutex semaphores: recursive for their owner, handed over to a woken waiter. */

#include "osw/mutex_sem.h"

#include <stdlib.h>

#include "osw/lock_monitor_private.h"
#include "osw/mutex_sem_private.h"
#include "osw/self_private.h"
#include "osw/sem_private.h"

static constexpr uint32_t nobody = 0xFFFFFFFF;

static OswObjectKind& oswKindOf(const OswMutexSem*) {
    return oswMutexSems;
}

static void oswReleaseRecord(OswMutexSem* mutex) {
    free(mutex);
}

static OswLockMonitorMark oswWaitMark(const OswMutexSem* mutex) {
    return OswLockMonitorMark(&mutex->owner);
}

static bool oswHasMore(const OswMutexSem&) {
    return false;
}

/* Reports read the owner of a mutex without its lock. */
static void setOwner(OswMutexSem& mutex, uint32_t owner) {
    __atomic_store_n(&mutex.owner, owner, __ATOMIC_RELAXED);
}

static bool isTaken(const OswMutexSem& mutex) {
    return mutex.count < 1;
}

ZatStatus zatOSWCreateMutexSem(ZatMutexSem* mutex, uint32_t, uint32_t initialState) {
    if (const ZatStatus status = zatOSWInit(); status != ZAT_OK) return status;
    if (mutex == nullptr) return ZAT_FAILED;
    const OswKeepErrno keepErrno;
    auto* record = static_cast<OswMutexSem*>(malloc(sizeof(OswMutexSem)));
    /* Success without a handle: callers check the handle. */
    if (record == nullptr) return ZAT_OK;
    record->count = static_cast<int32_t>(initialState);
    record->owner = initialState == 1 ? nobody : oswSelf();
    return oswSemPublish(record, mutex);
}

ZatStatus zatOSWDeleteMutexSem(ZatMutexSem mutex) {
    auto* record = oswRecord<OswMutexSem>(mutex);
    OswSemLocks locks;
    if (const ZatStatus error = oswSemEnter(record, locks); error != ZAT_OK) return error;
    if (isTaken(*record) && record->owner != oswSelf()) return ZAT_FAILED;
    return oswSemDelete(record, locks);
}

static void takeFor(OswMutexSem& mutex, ZatTaskId caller) {
    setOwner(mutex, caller);
    mutex.count -= 1;
}

ZatStatus zatOSWRequestMutexSem(ZatMutexSem mutex, ZatTimeoutMs timeoutMs) {
    const ZatTaskId caller = oswSelf();
    const auto tryNow = [caller](OswMutexSem& record) {
        if (isTaken(record) && record.owner == caller) {
            record.count -= 1;
            return true;
        }
        if (isTaken(record) || record.waiters > 0) return false;
        takeFor(record, caller);
        return true;
    };
    const auto consume = [caller](OswMutexSem& record) { takeFor(record, caller); };
    return oswSemWait(oswRecord<OswMutexSem>(mutex), timeoutMs, tryNow, consume);
}

ZatStatus zatOSWReleaseMutexSem(ZatMutexSem mutex) {
    auto* record = oswRecord<OswMutexSem>(mutex);
    OswSemLocks locks;
    if (const ZatStatus error = oswSemEnter(record, locks); error != ZAT_OK) return error;
    if (!isTaken(*record) || record->owner != oswSelf()) return ZAT_FAILED;
    if (record->count < 0) {
        record->count += 1;
        return ZAT_OK;
    }
    setOwner(*record, nobody);
    record->count = 1;
    return oswSemWakeOne(*record, locks);
}

ZatStatus zatOSWSetWaitMutexOwner(ZatTaskId task, const uint32_t* owner) {
    if (oswLockMonitorOn()) oswSetWaitMutex(task, owner);
    return ZAT_OK;
}
