/*
 * What this process knows of the objects that it shares: handles, and per type the lock semaphore
 * that guards the type's handles here and its entries in the table.
 */
#ifndef ZATOSW_OSW_IPC_OBJECT_PRIVATE_H
#define ZATOSW_OSW_IPC_OBJECT_PRIVATE_H

#include <stddef.h>

#include "clb/list.h"
#include "osw/handle_private.h"
#include "osw/index_private.h"
#include "osw/ipc/lock_private.h"
#include "osw/ipc/page_private.h"
#include "osw/self_private.h"
#include "osw/timer.h"
#include "osw/types.h"

enum IpcWaiterKind : uint32_t {
    IPC_WAITS_TO_SEND = 0,
    IPC_WAITS_TO_RECEIVE = 1,
    IPC_WAITS_EXCLUSIVELY = 2, /* every waiter of a semaphore */
    IPC_WAITS_TO_SHARE = 3,
};

/* A thread of this process that is blocked on an object; on its own stack. */
struct IpcWaiter {
    ClbLstNode links;
    ZatTaskId thread;
    uint32_t timeMs; /* its time-out */
    IpcWaiterKind kind;
    uint32_t expired;   /* in a queue: the deadline has passed */
    int64_t deadlineNs; /* in a queue: on the clock of uptime */
};

static_assert(offsetof(IpcWaiter, thread) == 8 && offsetof(IpcWaiter, timeMs) == 12 &&
              offsetof(IpcWaiter, kind) == 16);

/* A thread of this process that holds a shared/exclusive lock shared. */
struct IpcSharedHolder {
    ClbLstNode links;
    IpcThread holder;
    uint32_t holds;
};

struct IpcHandleOfQueue {
    struct IpcMessage* transfer; /* room for one message on its way to or from the kernel */
};

struct IpcHandleOfTimer {
    ZatTimerCallback handler;
    uint32_t argument;
    uint32_t starter; /* process that started the timer through this handle */
    ZatTaskId controlTask;
};

struct IpcHandleOfLock {
    ClbLstHead sharedHolders;
    uint32_t sharedTotal;
};

struct IpcHandleOfPart {
    uint8_t* address;
    uint32_t size;
};

/* This process's hold on an object; its address is what callers call the handle. */
struct IpcHandle {
    ClbLstNode links;
    uint32_t localRefs; /* creates of the object in this process */
    IpcObjectEntry* entry;
    uint32_t type;
    ClbLstHead waiters;
    uint32_t held;  /* a thread of this process holds the mutex or lock */
    ZatTimer timer; /* for time-outs of a queue; the local timer of a timer */
    uint32_t generation;
    union {
        IpcHandleOfQueue queue;
        IpcHandleOfTimer server;
        IpcHandleOfLock lock;
        IpcHandleOfPart part;
    };
    OswIndexNode byAddress;
};

static_assert(offsetof(IpcHandle, localRefs) == 8 && offsetof(IpcHandle, entry) == 12 &&
              offsetof(IpcHandle, type) == 16 && offsetof(IpcHandle, waiters) == 20 &&
              offsetof(IpcHandle, held) == 32 && offsetof(IpcHandle, timer) == 36 &&
              offsetof(IpcHandle, generation) == 40 && offsetof(IpcHandle, lock) == 44);

/* A process-local object that was created through the inter-process calls with a null name. */
struct IpcLocalObject {
    ClbLstNode links;
    ZatHandle object;
    OswIndexNode byHandle;
};

struct IpcTypeState {
    int lockSem = -1;
    ClbLstHead handles;
    ClbLstHead locals;
    uint32_t generation; /* of the newest handle */
    OswIndex byHandle;   /* both lists */
};

extern IpcTypeState oswIpcTypes[IPC_TYPES];

/* The global semaphore; -1 while the layer is down. */
extern int oswIpcGlobalSem;

/* The calling process; kept, because asking the kernel is a system call. */
extern uint32_t oswIpcProcess;

/* The calling thread as entries record it. */
inline IpcThread oswIpcCaller() {
    return {oswIpcProcess, oswSelf()};
}

inline bool oswIpcIsSame(const IpcThread& a, const IpcThread& b) {
    return a.process == b.process && a.thread == b.thread;
}

/* Writes the word of an entry that makes the others count, behind them: a process may be killed
 * between any two instructions. */
inline void oswIpcPublish(uint32_t& word, uint32_t value) {
    __atomic_store_n(&word, value, __ATOMIC_RELEASE);
}

/* Takes the global semaphore; ZAT_IPC_SEMOP_FAILED also while the layer is down. */
ZatStatus oswIpcLockGlobal(IpcLock& lock);

inline ZatStatus oswIpcLockType(IpcLock& lock, uint32_t type) {
    return lock.take(oswIpcTypes[type].lockSem);
}

/* Takes both, in their order: what creating and deleting need. */
inline ZatStatus oswIpcLockBoth(IpcLock& global, IpcLock& lock, uint32_t type) {
    const ZatStatus status = oswIpcLockGlobal(global);
    return status == ZAT_OK ? oswIpcLockType(lock, type) : status;
}

/* What an object is created with; a new one's must equal those of an existing one. */
struct IpcParameters {
    uint32_t first;
    uint32_t second;
};

/*
 * Under the type's lock: the handle among this process's handles of the type, null when it is not
 * there.
 */
inline IpcHandle* oswIpcFind(uint32_t type, ZatHandle handle) {
    const OswIndexNode* node = oswIndexFind(oswIpcTypes[type].byHandle, handle);
    if (node == nullptr || oswWord(node->record) != handle) return nullptr;
    return static_cast<IpcHandle*>(node->record);
}

/* Under the type's lock: whether the handle names a process-local object. */
bool oswIpcIsLocal(uint32_t type, ZatHandle handle);

/* Under the type's lock: adds to, and takes from, the type's process-local objects. */
void oswIpcAddLocal(uint32_t type, IpcLocalObject& local, ZatHandle object);
IpcLocalObject* oswIpcRemoveLocal(uint32_t type, ZatHandle object);

/* A handle for an object that may turn out to be new to this process; freed at the end of the scope
 * unless it came into use. Made before the lock semaphores are taken: a fault would be reported. */
class IpcNewHandle {
  public:
    explicit IpcNewHandle(uint32_t type);
    IpcNewHandle(const IpcNewHandle&) = delete;
    IpcNewHandle& operator=(const IpcNewHandle&) = delete;
    ~IpcNewHandle();

    /* Null when there was no memory. */
    IpcHandle* get() { return handle_; }

    /* Puts it on its list. */
    IpcHandle* finish();

  private:
    IpcHandle* handle_;
};

/*
 * Finds or creates the object of a name, and this process's handle on it. Under the global and the
 * type's lock semaphore.
 *
 * Returns ZAT_OK; ZAT_IPC_BAD_PARAMETERS when they differ from the existing object's; or what
 * failed in making a new one, of which nothing stays behind.
 */
ZatStatus oswIpcOpenObject(const char* name, uint32_t type, const IpcParameters& parameters,
                           IpcNewHandle& fresh, IpcHandle** handle);

/*
 * Takes one create of a handle back. Under the global and the type's lock semaphore; for a
 * partition the latter will do. With the last one of this process the handle leaves its list: the
 * caller disposes of it when it has released the type's lock. With the last one of all processes
 * the object goes. Whether the handle went.
 */
bool oswIpcCloseObject(IpcHandle& handle);

/* The part of it that concerns the entry. */
void oswIpcDropUse(IpcObjectEntry& entry);

/* Under the type's lock: takes a handle off its list, whatever its counts. */
void oswIpcForgetHandle(IpcHandle& handle);

/* Frees an entry, whatever its count, and removes its System V objects and its key file. */
void oswIpcRetireEntry(IpcObjectEntry& entry);

/* Frees what is left of a handle that has left its list. Holds no lock semaphore of the type. */
void oswIpcDispose(IpcHandle* handle);

#endif
