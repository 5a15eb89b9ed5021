/* The waiters of an object as its entry counts them, and how they are woken. */

#include <errno.h>
#include <pthread.h>
#include <signal.h>

#include <algorithm>

#include "clb/list_walk_private.h"
#include "osw/ipc/kind_private.h"
#include "osw/ipc/wait_private.h"

uint32_t& oswIpcWaiters(IpcObjectEntry& entry, uint32_t waiterKind) {
    static constexpr uint32_t first =
        (offsetof(IpcObjectEntry, sem.waiters) - offsetof(IpcObjectEntry, word)) / sizeof(uint32_t);
    static_assert(
        offsetof(IpcObjectEntry, sem.waiters) == offsetof(IpcObjectEntry, queue.senders) &&
        offsetof(IpcObjectEntry, sem.waiters) == offsetof(IpcObjectEntry, lock.exclusiveWaiters) &&
        offsetof(IpcObjectEntry, queue.receivers) == offsetof(IpcObjectEntry, lock.sharedWaiters));
    return entry.word[first + oswIpcSemaphore(waiterKind)];
}

/* Receivers and shared requesters block on the second semaphore of a set. */
uint16_t oswIpcSemaphore(uint32_t waiterKind) {
    return waiterKind & 1;
}

int oswIpcSemId(const IpcObjectEntry& entry) {
    switch (entry.type) {
    case IPC_QUEUE:
        return entry.queue.semId;
    case IPC_SE_LOCK:
        return entry.lock.semId;
    default:
        return entry.sem.semId;
    }
}

ZatStatus oswIpcPostOne(int semId, uint32_t waiterKind) {
    sembuf operation = oswIpcSemaphore(waiterKind) == 0 ? ipcPost : ipcPostSecond;
    const uint32_t error = oswSysvOperate(semId, operation);
    /* Full of wake-ups that nobody takes, because those who waited were killed: nobody sleeps. */
    return error == 0 || error == ERANGE ? ZatStatus{ZAT_OK} : ZatStatus{ZAT_IPC_SEMOP_FAILED};
}

ZatStatus oswIpcPostOne(const IpcObjectEntry& entry, uint32_t waiterKind) {
    return oswIpcPostOne(oswIpcSemId(entry), waiterKind);
}

ZatStatus oswIpcLetOnePass(const IpcObjectEntry& entry, uint32_t waiterKind) {
    return oswSysvSetValue(oswIpcSemId(entry), oswIpcSemaphore(waiterKind), 1) == 0
               ? ZatStatus{ZAT_OK}
               : ZatStatus{ZAT_IPC_SEMCTL_FAILED};
}

uint32_t oswIpcOwnWaiters(const IpcHandle& handle, uint32_t waiterKind) {
    uint32_t own = 0;
    for (const IpcWaiter* waiter : zatWalk<IpcWaiter>(&handle.waiters))
        own += waiter->kind == waiterKind;
    return own;
}

static void recount(IpcHandle& handle, uint32_t waiterKind) {
    const int blocked = oswSysvBlocked(oswIpcSemId(*handle.entry), oswIpcSemaphore(waiterKind));
    if (blocked < 0) return;
    oswIpcWaiters(*handle.entry, waiterKind) =
        std::max(oswIpcOwnWaiters(handle, waiterKind), static_cast<uint32_t>(blocked));
}

void oswIpcRecount(IpcHandle& handle) {
    const bool isQueue = handle.type == IPC_QUEUE;
    recount(handle, isQueue ? IPC_WAITS_TO_SEND : IPC_WAITS_EXCLUSIVELY);
    if (isQueue) recount(handle, IPC_WAITS_TO_RECEIVE);
    if (handle.type == IPC_SE_LOCK) recount(handle, IPC_WAITS_TO_SHARE);
}

void oswIpcDismissWaiters(IpcHandle& handle) {
    uint32_t dismissed = 0;
    for (IpcWaiter* waiter : zatWalk<IpcWaiter>(&handle.waiters)) {
        uint32_t& waiters = oswIpcWaiters(*handle.entry, waiter->kind);
        if (waiters > 0) --waiters;
        pthread_kill(waiter->thread, SIGUSR1);
        ++dismissed;
    }
    zatCLBLstInit(&handle.waiters);
    for (; dismissed > 0; --dismissed)
        oswIpcKinds[handle.type].use->wake(handle);
}
