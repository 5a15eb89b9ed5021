/*
 * The two frames in which everything is done to an object: a wait, and a change.
 *
 * Both find the object by its handle under the lock of its type, or hand the call on to the
 * process-local object that the handle names. A wait is counted in the object's entry and is on the
 * handle's list while it blocks, which it does without the lock; however it ends, also by the
 * deletion of its task, it leaves through one destructor.
 */
#ifndef ZATOSW_OSW_IPC_WAIT_PRIVATE_H
#define ZATOSW_OSW_IPC_WAIT_PRIVATE_H

#include "osw/errno_private.h"
#include "osw/ipc/block_private.h"
#include "osw/ipc/object_private.h"

/* What a look at an object says, besides ZAT_OK (it can be taken) and errors; never returned. */
enum : ZatStatus {
    IPC_UNAVAILABLE = 0xFFFF0001, /* wait for it */
    IPC_LATER = 0xFFFF0002,       /* its waiters are being released: come back in a moment */
};

/* How close a look is. */
enum class IpcComer {
    New,
    Woken,
    Looking, /* nobody woke it: what the entry says is compared with what the kernel knows */
};

/* How an object is waited for. All of it runs under the lock of the type. */
struct IpcWaitKind {
    uint32_t type;
    IpcWaiterKind waiter;
    IpcSignals signals;
    ZatStatus deleted; /* the answer when the handle is deleted meanwhile */

    ZatStatus (*look)(IpcHandle& handle, IpcComer comer);
    ZatStatus (*take)(IpcHandle& handle, void* data); /* IPC_UNAVAILABLE when it is not so */

    /* Null where the handle cannot name a process-local object. */
    ZatStatus (*local)(ZatHandle object, ZatTimeoutMs timeoutMs, void* data);

    /* What a queue's time-outs need besides; null elsewhere. */
    ZatStatus (*enlist)(IpcHandle& handle, IpcWaiter& waiter);
    ZatStatus (*dismiss)(IpcHandle& handle, const IpcWaiter& waiter);
};

/* That of a semaphore or a lock, whose time-outs are the kernel's. */
constexpr IpcWaitKind oswIpcSemaphoreWait(uint32_t type, IpcWaiterKind waiter,
                                          ZatStatus (*look)(IpcHandle& handle, IpcComer comer),
                                          ZatStatus (*take)(IpcHandle& handle, void* data),
                                          ZatStatus (*local)(ZatHandle object,
                                                             ZatTimeoutMs timeoutMs, void* data)) {
    return {type,    waiter, IpcSignals::AsBefore, ZAT_IPC_NO_OBJECT, look, take, local,
            nullptr, nullptr};
}

/* A change of an object: ZAT_OK, IPC_LATER or an error. Under the lock of the type. */
struct IpcChange {
    uint32_t type;
    ZatStatus (*change)(IpcHandle& handle, void* data);
    ZatStatus (*local)(ZatHandle object, void* data); /* null where there is none */
};

/* The two frames from where it does not go straight on. The lock of the type is held, and released
 * when they return. */
ZatStatus oswIpcWaitOn(IpcLock& lock, ZatHandle handle, ZatTimeoutMs timeoutMs,
                       const IpcWaitKind& kind, void* data);
ZatStatus oswIpcApplyLater(IpcLock& lock, ZatHandle handle, const IpcChange& change, void* data);

/* Inline, with a kind that the compiler sees through: right after a system call every call that
 * returns costs more than it looks. */
#define IPC_INLINE __attribute__((always_inline)) inline

/* Waits for an object and takes it; data is what the operation's take and local need. */
IPC_INLINE ZatStatus oswIpcWait(ZatHandle handle, ZatTimeoutMs timeoutMs, const IpcWaitKind& kind,
                                void* data = nullptr) {
    const OswKeepErrno keepErrno;
    IpcLock lock;
    if (const ZatStatus status = oswIpcLockType(lock, kind.type); status != ZAT_OK) return status;
    IpcHandle* object = oswIpcFind(kind.type, handle);
    if (object != nullptr && kind.look(*object, IpcComer::New) == ZAT_OK) {
        const ZatStatus status = kind.take(*object, data);
        if (status != IPC_UNAVAILABLE) return status;
    }
    return oswIpcWaitOn(lock, handle, timeoutMs, kind, data);
}

/* Changes an object. */
IPC_INLINE ZatStatus oswIpcApply(ZatHandle handle, const IpcChange& change, void* data = nullptr) {
    const OswKeepErrno keepErrno;
    IpcLock lock;
    if (const ZatStatus status = oswIpcLockType(lock, change.type); status != ZAT_OK) return status;
    if (IpcHandle* object = oswIpcFind(change.type, handle)) {
        const ZatStatus status = change.change(*object, data);
        if (status != IPC_LATER) return status;
    }
    return oswIpcApplyLater(lock, handle, change, data);
}

/* What the waiting looks like in an entry. */
uint32_t& oswIpcWaiters(IpcObjectEntry& entry, uint32_t waiterKind);
int oswIpcSemId(const IpcObjectEntry& entry);
uint16_t oswIpcSemaphore(uint32_t waiterKind);

/* The waiters of this process. */
uint32_t oswIpcOwnWaiters(const IpcHandle& handle, uint32_t waiterKind);

/* Sends one more wake-up, or makes sure that there is exactly one. */
ZatStatus oswIpcPostOne(int semId, uint32_t waiterKind);
ZatStatus oswIpcPostOne(const IpcObjectEntry& entry, uint32_t waiterKind);
ZatStatus oswIpcLetOnePass(const IpcObjectEntry& entry, uint32_t waiterKind);

/* Counts an object's waiters anew: those that were killed are still counted. */
void oswIpcRecount(IpcHandle& handle);

/* Signals all waiters of a handle that is going away, and takes them back from the entry; others
 * get the wake-ups that they may have had. */
void oswIpcDismissWaiters(IpcHandle& handle);

/* Event semaphores: a broadcast that nobody takes part in any more. */
struct IpcStall {
    uint32_t value;
    int64_t sinceNs;
};
bool oswIpcEndStalledBroadcast(IpcHandle& handle, IpcStall& stall);

#endif
