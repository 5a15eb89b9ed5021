/* Event semaphores: one pending post at most, handed over to a woken waiter. */

#include "osw/event_sem.h"

#include "osw/event_sem_private.h"
#include "osw/mem_part.h"
#include "osw/sem_private.h"

static OswObjectKind& oswKindOf(const OswEventSem*) {
    return oswEventSems;
}

static void oswReleaseRecord(OswEventSem* event) {
    zatOSWOrgFreeMemPart(0, event);
}

static bool oswWaitMark(const OswEventSem*) {
    return false;
}

static bool oswHasMore(const OswEventSem&) {
    return false;
}

/* A reset clears it under the list lock alone, a waiter under the internal mutex alone. */
static void setSignalled(OswEventSem& event, uint32_t signalled) {
    __atomic_store_n(&event.signalled, signalled, __ATOMIC_RELAXED);
}

static void consume(OswEventSem& event) {
    setSignalled(event, 0);
}

ZatStatus zatOSWCreateEventSem(ZatEventSem* event, uint32_t, uint32_t initialState) {
    OswEventSem* record = nullptr;
    if (const ZatStatus status = oswSemAllocate(record, event); status != ZAT_OK) return status;
    record->signalled = initialState == 1;
    return oswSemPublish(record, event);
}

ZatStatus zatOSWDeleteEventSem(ZatEventSem event) {
    return oswSemDelete(oswRecord<OswEventSem>(event));
}

ZatStatus zatOSWPostEventSem(ZatEventSem event) {
    auto* record = oswRecord<OswEventSem>(event);
    OswSemLocks locks;
    if (const ZatStatus error = oswSemEnter(record, locks); error != ZAT_OK) return error;
    setSignalled(*record, 1);
    return oswSemWakeOne(*record, locks);
}

ZatStatus zatOSWResetEventSem(ZatEventSem event) {
    auto* record = oswRecord<OswEventSem>(event);
    OswLock list;
    if (const ZatStatus status = oswSemFind(record, list); status != ZAT_OK) return status;
    setSignalled(*record, 0);
    return ZAT_OK;
}

ZatStatus zatOSWFlushEventSem(ZatEventSem event) {
    auto* record = oswRecord<OswEventSem>(event);
    OswSemLocks locks;
    const ZatStatus error = oswSemEnter(record, locks);
    return error == ZAT_OK ? oswSemWakeAll(*record, locks) : error;
}

ZatStatus oswWaitEventSemHolding(ZatHandle event, ZatTimeoutMs timeoutMs, OswLock& held) {
    const auto tryNow = [](OswEventSem& record) {
        if (record.waiters > 0 || record.signalled == 0) return false;
        consume(record);
        return true;
    };
    return oswSemWait(oswRecord<OswEventSem>(event), timeoutMs, tryNow, consume, held);
}

ZatStatus zatOSWWaitEventSem(ZatEventSem event, ZatTimeoutMs timeoutMs) {
    OswLock nothing;
    return oswWaitEventSemHolding(event, timeoutMs, nothing);
}

ZatStatus zatOSWWaitAllEventSem(ZatEventSem event, ZatTimeoutMs timeoutMs) {
    auto* record = oswRecord<OswEventSem>(event);
    OswSemLocks locks;
    if (const ZatStatus error = oswSemEnter(record, locks); error != ZAT_OK) return error;
    if (timeoutMs == 0) return ZAT_TIMED_OUT;
    return oswSemAwait(record, locks, timeoutMs, OswHandoff::Keep, consume);
}
