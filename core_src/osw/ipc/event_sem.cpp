/*
 * Named event semaphores. An entry's value counts the signals that may still be consumed; its
 * broadcast word is set while the waiters of a post or a flush are being released, and until then
 * everybody else stands back.
 */

#include "osw/ipc/event_sem.h"

#include <time.h>

#include <algorithm>

#include "osw/event_sem.h"
#include "osw/ipc/create_private.h"
#include "osw/ipc/kind_private.h"
#include "osw/ipc/wait_private.h"

static ZatStatus look(IpcHandle& handle, IpcComer comer) {
    const IpcSemBody& event = handle.entry->sem;
    if (comer == IpcComer::New && event.broadcast != 0) return IPC_LATER;
    return event.value > 0 ? ZatStatus{ZAT_OK} : ZatStatus{IPC_UNAVAILABLE};
}

static ZatStatus take(IpcHandle& handle, void*) {
    IpcSemBody& event = handle.entry->sem;
    event.owner = oswIpcCaller();
    /* In this order: a process that is killed in between leaves a signal, not a broadcast of none.
     */
    if (event.value == 1) oswIpcPublish(event.broadcast, 0);
    oswIpcPublish(event.value, event.value - 1);
    return ZAT_OK;
}

/* After a waiter has left without its signal: what nobody is left to consume goes. */
static void settle(IpcHandle& handle) {
    IpcSemBody& event = handle.entry->sem;
    if (event.broadcast == 0 || event.value <= event.waiters) return;
    event.value = event.waiters;
    if (event.value > 0) return;
    event.broadcast = 0;
    oswSysvSetValue(event.semId, 0);
}

/* Releases a number of waiters; none when nobody waits. */
static ZatStatus broadcast(IpcHandle& handle, uint32_t signals) {
    IpcSemBody& event = handle.entry->sem;
    event.releaser = oswIpcCaller();
    const uint32_t wakes = std::min(signals, event.waiters);
    if (wakes > 0) oswIpcPublish(event.broadcast, 1);
    oswIpcPublish(event.value, signals);
    ZatStatus status = ZAT_OK;
    for (uint32_t i = 0; i < wakes; ++i) {
        const ZatStatus posted = oswIpcPostOne(*handle.entry, IPC_WAITS_EXCLUSIVELY);
        if (posted != ZAT_OK) status = posted;
    }
    return status;
}

static ZatStatus post(IpcHandle& handle, void*) {
    return handle.entry->sem.broadcast != 0 ? ZatStatus{IPC_LATER} : broadcast(handle, 1);
}

static ZatStatus flush(IpcHandle& handle, void*) {
    const IpcSemBody& event = handle.entry->sem;
    return event.broadcast != 0 ? ZatStatus{IPC_LATER} : broadcast(handle, event.waiters);
}

static ZatStatus reset(IpcHandle& handle, void*) {
    IpcSemBody& event = handle.entry->sem;
    event.value = 0;
    event.releaser = oswIpcCaller();
    if (event.broadcast == 0) return ZAT_OK;
    /* Nobody is left to end it. */
    event.broadcast = 0;
    return oswSysvSetValue(event.semId, 0) == 0 ? ZatStatus{ZAT_OK}
                                                : ZatStatus{ZAT_IPC_SEMCTL_FAILED};
}

/* Whether wake-ups lie about that nobody in the kernel waits for: those they were sent to are gone,
 * or have been about to block for all that time. */
static bool isUnclaimed(const IpcSemBody& event) {
    return oswSysvBlocked(event.semId, 0) == 0 &&
           oswSysvValue(event.semId, 0) >= static_cast<int>(event.value);
}

bool oswIpcEndStalledBroadcast(IpcHandle& handle, IpcStall& stall) {
    static constexpr int64_t unclaimedNs = 50000000;
    static constexpr int64_t anywayNs = 1000000000;
    IpcSemBody& event = handle.entry->sem;
    const int64_t now = oswIpcClockNs(CLOCK_MONOTONIC);
    if (stall.sinceNs == 0 || stall.value != event.value) {
        stall = {event.value, now};
        return false;
    }
    const int64_t stalledNs = now - stall.sinceNs;
    /* A flush is lost to those who have been kept from running all the time: it gets longer. */
    const bool isUrgent = event.value <= 1 && stalledNs >= unclaimedNs && isUnclaimed(event);
    if (!isUrgent && stalledNs < anywayNs) return false;
    oswIpcRecount(handle);
    if (event.waiters > 0 && event.value > 0) {
        /* Those who are left have it. */
        event.value = std::min(event.value, event.waiters);
        oswSysvSetValue(event.semId, static_cast<int>(event.value));
        stall = {};
        return false;
    }
    /* A post stays for the next one to come; a flush was for those who are gone. */
    event.value = event.value == 1;
    event.broadcast = 0;
    oswSysvSetValue(event.semId, 0);
    return true;
}

static ZatStatus waitLocal(ZatHandle event, ZatTimeoutMs timeoutMs, void*) {
    return zatOSWWaitEventSem(event, timeoutMs);
}

static ZatStatus postLocal(ZatHandle event, void*) {
    return zatOSWPostEventSem(event);
}

static ZatStatus flushLocal(ZatHandle event, void*) {
    return zatOSWFlushEventSem(event);
}

static ZatStatus resetLocal(ZatHandle event, void*) {
    return zatOSWResetEventSem(event);
}

static constexpr IpcWaitKind eventWait =
    oswIpcSemaphoreWait(IPC_EVENT, IPC_WAITS_EXCLUSIVELY, look, take, waitLocal);

constexpr IpcUse oswIpcEventUse = {settle, nullptr, nullptr, nullptr};
static constexpr IpcChange eventPost = {IPC_EVENT, post, postLocal};

static ZatStatus makeLocal(ZatHandle* event, const IpcLocalWords& words) {
    return zatOSWCreateEventSem(event, words.word[0], words.word[1]);
}

ZatStatus zatOSWIpcCreateEventSem(const char* name, ZatIpcHandle* handle, uint32_t options,
                                  uint32_t initialState) {
    return oswIpcCreate(name, IPC_EVENT, {initialState, 0}, handle, makeLocal,
                        {{options, initialState}});
}

ZatStatus zatOSWIpcWaitEventSem(ZatIpcHandle handle, ZatTimeoutMs timeoutMs) {
    return oswIpcWait(handle, timeoutMs, eventWait);
}

ZatStatus zatOSWIpcPostEventSem(ZatIpcHandle handle) {
    return oswIpcApply(handle, eventPost);
}

ZatStatus zatOSWIpcResetEventSem(ZatIpcHandle handle) {
    static constexpr IpcChange change = {IPC_EVENT, reset, resetLocal};
    return oswIpcApply(handle, change);
}

ZatStatus zatOSWIpcFlushEventSem(ZatIpcHandle handle) {
    static constexpr IpcChange change = {IPC_EVENT, flush, flushLocal};
    return oswIpcApply(handle, change);
}

ZatStatus zatOSWIpcDeleteEventSem(ZatIpcHandle handle) {
    return oswIpcDelete(handle, IPC_EVENT);
}
