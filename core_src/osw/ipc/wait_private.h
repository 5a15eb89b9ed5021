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

#include "osw/ipc/block_private.h"
#include "osw/ipc/object_private.h"

/* The operations by which objects are waited for and given back. */
enum IpcOperation : uint32_t {
    IPC_OP_MUTEX = 0,
    IPC_OP_COUNT = 1,
    IPC_OP_EVENT = 2,
    IPC_OP_SEND = 3,
    IPC_OP_RECEIVE = 4,
    IPC_OP_EXCLUSIVE = 8,
    IPC_OP_SHARED = 9,
    IPC_OPERATIONS = 10,
};

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

extern const IpcWaitKind oswIpcMutexWait;
extern const IpcWaitKind oswIpcCountWait;
extern const IpcWaitKind oswIpcEventWait;
extern const IpcWaitKind oswIpcSendWait;
extern const IpcWaitKind oswIpcReceiveWait;
extern const IpcWaitKind oswIpcExclusiveWait;
extern const IpcWaitKind oswIpcSharedWait;

/* Waits for an object and takes it; data is what the operation's take and local need. */
ZatStatus oswIpcWait(ZatHandle handle, ZatTimeoutMs timeoutMs, IpcOperation operation,
                     void* data = nullptr);

/* A change of an object: ZAT_OK, IPC_LATER or an error. Under the lock of the type. */
struct IpcChange {
    uint32_t type;
    ZatStatus (*change)(IpcHandle& handle, void* data);
    ZatStatus (*local)(ZatHandle object, void* data); /* null where there is none */
};

ZatStatus oswIpcApply(ZatHandle handle, const IpcChange& change, void* data = nullptr);

extern const IpcChange oswIpcMutexRelease;
extern const IpcChange oswIpcCountPost;
extern const IpcChange oswIpcEventPost;
extern const IpcChange oswIpcExclusiveRelease;
extern const IpcChange oswIpcSharedRelease;

/* Gives an object back. */
ZatStatus oswIpcRelease(ZatHandle handle, IpcOperation operation);

/* What the waiting looks like in an entry. */
uint32_t& oswIpcWaiters(IpcObjectEntry& entry, uint32_t waiterKind);
int oswIpcSemId(const IpcObjectEntry& entry);
uint16_t oswIpcSemaphore(uint32_t waiterKind);

/* The waiters of this process. */
uint32_t oswIpcOwnWaiters(const IpcHandle& handle, uint32_t waiterKind);

/* Sends one more wake-up, or makes sure that there is exactly one. */
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
