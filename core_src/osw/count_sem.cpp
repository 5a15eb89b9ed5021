/* Counting semaphores: units, handed over to a woken waiter. */

#include "osw/count_sem.h"

#include "osw/count_sem_private.h"
#include "osw/mem_part.h"
#include "osw/sem_private.h"

static OswObjectKind& oswKindOf(const OswCountSem*) {
    return oswCountSems;
}

static void oswReleaseRecord(OswCountSem* semaphore) {
    zatOSWOrgFreeMemPart(0, semaphore);
}

static bool oswWaitMark(const OswCountSem*) {
    return false;
}

/* Units that nobody is woken for, because a task came to wait while those before it were woken. */
static bool oswHasMore(const OswCountSem& semaphore) {
    return semaphore.count > static_cast<int32_t>(semaphore.waiting.grants);
}

static void consume(OswCountSem& semaphore) {
    semaphore.count -= 1;
}

ZatStatus zatOSWCreateCountSem(ZatCountSem* semaphore, uint32_t, int32_t initialCount) {
    OswCountSem* record = nullptr;
    if (const ZatStatus status = oswSemAllocate(record, semaphore); status != ZAT_OK) return status;
    record->count = initialCount;
    return oswSemPublish(record, semaphore);
}

ZatStatus zatOSWDeleteCountSem(ZatCountSem semaphore) {
    return oswSemDelete(oswRecord<OswCountSem>(semaphore));
}

static ZatStatus post(ZatHandle semaphore, OswHandleIs handleIs) {
    auto* record = oswRecord<OswCountSem>(semaphore);
    OswSemLocks locks;
    if (const ZatStatus error = oswSemEnter(record, locks, handleIs); error != ZAT_OK) return error;
    /* No upper bound: it wraps. */
    record->count = static_cast<int32_t>(static_cast<uint32_t>(record->count) + 1);
    return record->count > 0 ? oswSemWakeOne(*record, locks) : ZatStatus{ZAT_OK};
}

ZatStatus zatOSWPostCountSem(ZatCountSem semaphore) {
    return post(semaphore, OswHandleIs::Anybodys);
}

ZatStatus oswPostCountSemHolding(ZatHandle semaphore) {
    return post(semaphore, OswHandleIs::Alive);
}

ZatStatus oswWaitCountSemHolding(ZatHandle semaphore, ZatTimeoutMs timeoutMs, OswLock& held) {
    const auto tryNow = [](OswCountSem& record) {
        if (record.waiters > 0 || record.count <= 0) return false;
        consume(record);
        return true;
    };
    return oswSemWait(oswRecord<OswCountSem>(semaphore), timeoutMs, tryNow, consume, held);
}

ZatStatus zatOSWWaitCountSem(ZatCountSem semaphore, ZatTimeoutMs timeoutMs) {
    OswLock nothing;
    return oswWaitCountSemHolding(semaphore, timeoutMs, nothing);
}
