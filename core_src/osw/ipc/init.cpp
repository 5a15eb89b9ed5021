/* The inter-process layer's life in a process. */

#include <errno.h>
#include <pthread.h>
#include <stdio.h>
#include <unistd.h>

#include "clb/list_walk_private.h"
#include "osw/errno_private.h"
#include "osw/ipc/block_private.h"
#include "osw/ipc/ipc_init.h"
#include "osw/ipc/key.h"
#include "osw/ipc/key_private.h"
#include "osw/ipc/kind_private.h"
#include "osw/ipc/names_private.h"
#include "osw/ipc/timer_private.h"
#include "osw/ipc/wait_private.h"
#include "osw/lock_private.h"
#include "osw/mem_part.h"

static uint32_t initCount;

static void noteProcess() {
    oswIpcProcess = static_cast<uint32_t>(getpid());
}

/* A forked child has neither the waiting threads of its parent nor the tasks of its timers. */
static void becomeChild() {
    noteProcess();
    for (IpcTypeState& type : oswIpcTypes)
        for (IpcHandle* handle : zatWalk<IpcHandle>(&type.handles)) {
            zatCLBLstInit(&handle->waiters);
            handle->timer = 0;
        }
}

/* A lock semaphore that was made but never used or set: its maker was killed in between. */
static bool isUnset(int semId) {
    return oswSysvValue(semId, 0) == 0 && !oswSysvWasUsed(semId);
}

/* Opens or creates a lock semaphore; a new one is not set yet. errno tells why it cannot be.
 * Opening comes first: that is what all processes but one do. */
static bool getSemaphore(uint32_t key, int& semId, bool& created) {
    created = false;
    semId = semget(static_cast<key_t>(key), 1, 0666);
    if (semId < 0 && errno == ENOENT) {
        semId = semget(static_cast<key_t>(key), 1, ipcCreateFlags);
        created = semId >= 0;
    }
    return semId >= 0;
}

static ZatStatus failSetting(int& semId, bool created, const char* name) {
    if (created) {
        oswSysvRemove(semId);
        zatOSWIpcRevokeServerIpcKey(name);
    }
    semId = -1;
    return ZAT_IPC_SEMCTL_FAILED;
}

/* Opens the lock of a type. Nobody interferes: the global semaphore is held. In a table that was
 * never completed, it may be there without being set. */
static ZatStatus openTypeLock(const char* name, bool isComplete, int& semId) {
    uint32_t key = 0;
    bool fileIsNew = false;
    if (const ZatStatus status = oswIpcFindKey(name, &key, &fileIsNew); status != ZAT_OK)
        return status;
    bool created = false;
    if (!getSemaphore(key, semId, created)) {
        if (fileIsNew) zatOSWIpcRevokeServerIpcKey(name);
        return ZAT_IPC_SEMGET_FAILED;
    }
    const bool isSet = !created && (isComplete || !isUnset(semId));
    if (isSet || oswSysvSetValue(semId, 1) == 0) return ZAT_OK;
    return failSetting(semId, created, name);
}

struct GlobalSem {
    uint32_t key;
    int id;
    bool created;
};

/* What came of one attempt to take the global semaphore. */
struct GlobalAttempt {
    ZatStatus status;
    bool again; /* others were removing theirs, or making it, meanwhile */
};

/* Takes back what an attempt has made, which nobody else has seen in use. */
static void discardGlobal(IpcLock& lock, const GlobalSem& global, bool fileIsOurs) {
    if (fileIsOurs) zatOSWIpcRevokeServerIpcKey(ipcTableName);
    if (!global.created) return;
    oswSysvRemove(global.id);
    lock.forget();
}

/*
 * Under the lock of its key file, under which the last process removes both: no semaphore is made
 * for a file that is gone, whose inode may be another file's by then, and only one process at a
 * time may find the semaphore unset, and set it.
 */
static GlobalAttempt openGlobal(GlobalSem& global, bool& fileIsNew) {
    const ZatStatus status = oswIpcFindKey(ipcTableName, &global.key, &fileIsNew);
    if (status != ZAT_OK) return {status, status == ZAT_IPC_KEY_STAT_FAILED};
    errno = 0;
    const IpcKeyFileLock file(ipcTableName);
    /* Another user's file may be there to be looked at only, which must do. */
    const bool mayGoOn = file.isHeld() || errno == EACCES;
    errno = 0;
    if (!mayGoOn || !oswIpcKeyIsCurrent(ipcTableName, global.key)) {
        /* Revoked meanwhile, by those who were leaving; or it cannot be looked at. */
        const bool again = errno == 0 || errno == ENOENT;
        if (fileIsNew && !again) zatOSWIpcRevokeServerIpcKey(ipcTableName);
        return {ZAT_IPC_KEY_STAT_FAILED, again};
    }
    if (!getSemaphore(global.key, global.id, global.created)) {
        if (fileIsNew) zatOSWIpcRevokeServerIpcKey(ipcTableName);
        return {ZAT_IPC_SEMGET_FAILED, false};
    }
    if (!isUnset(global.id) || oswSysvSetValue(global.id, 1) == 0) return {ZAT_OK, false};
    return {failSetting(global.id, global.created, ipcTableName), false};
}

static GlobalAttempt tryGlobal(IpcLock& lock, GlobalSem& global) {
    bool fileIsNew = false;
    const GlobalAttempt opened = openGlobal(global, fileIsNew);
    if (opened.status != ZAT_OK) return opened;
    if (lock.take(global.id) != ZAT_OK)
        return {ZAT_IPC_SEMOP_FAILED, errno == EIDRM || errno == EINVAL};
    errno = 0;
    if (oswIpcKeyIsCurrent(ipcTableName, global.key)) return {ZAT_OK, false};
    const bool cannotLook = errno != 0 && errno != ENOENT;
    discardGlobal(lock, global, fileIsNew && cannotLook);
    lock.release();
    return {cannotLook ? ZatStatus{ZAT_IPC_KEY_STAT_FAILED} : ZatStatus{ZAT_IPC_SEMOP_FAILED},
            !cannotLook};
}

/* Finds or makes the global semaphore and takes it. */
static ZatStatus takeGlobal(IpcLock& lock, GlobalSem& global) {
    GlobalAttempt attempt = {ZAT_IPC_SEMOP_FAILED, true};
    for (int i = 0; i < 100 && attempt.again; ++i)
        attempt = tryGlobal(lock, global);
    return attempt.status;
}

/* The last one out: everything that is left goes, except for the global semaphore. */
static void removeTable() {
    for (uint32_t type = 0; type < IPC_TYPES; ++type) {
        if (oswIpcTypes[type].lockSem == -1) continue;
        oswSysvRemove(oswIpcTypes[type].lockSem);
        zatOSWIpcRevokeServerIpcKey(ipcKindNames[type].lock);
    }
    if (oswIpcFirstPage() == nullptr) return;
    oswIpcAttachAllPages();
    oswIpcWalkEntries(oswIpcRetireEntry);
    oswIpcRemovePages();
}

/* While it is held: who waits for it starts over. */
static void removeGlobal(IpcLock& lock, int semId) {
    const IpcKeyFileLock file(ipcTableName);
    zatOSWIpcRevokeServerIpcKey(ipcTableName);
    oswSysvRemove(semId);
    lock.forget();
}

/* The lists are empty by now. Under the global semaphore: without it another task may be bringing
 * the layer up again. */
static void forgetLocks() {
    for (IpcTypeState& type : oswIpcTypes)
        type.lockSem = -1;
    oswIpcGlobalSem = -1;
}

/* Under the global semaphore: takes this process out of the table. */
static void leaveTable(IpcLock& lock, int semId) {
    const bool isLast = oswIpcLeaveProcesses();
    if (isLast)
        removeTable();
    else
        oswIpcDetachPages();
    forgetLocks();
    if (isLast) removeGlobal(lock, semId);
}

static ZatStatus openTypeLocks() {
    const bool isComplete = oswIpcTableIsComplete();
    for (uint32_t type = 0; type < IPC_TYPES; ++type) {
        const ZatStatus status =
            openTypeLock(ipcKindNames[type].lock, isComplete, oswIpcTypes[type].lockSem);
        if (status != ZAT_OK) return status;
    }
    oswIpcCompleteTable();
    return ZAT_OK;
}

static ZatStatus joinTable(IpcLock& lock, const GlobalSem& global) {
    ZatStatus status = oswIpcJoinPages(global.key);
    if (status != ZAT_OK) {
        /* With a semaphore that was there, the table may be others'. */
        if (global.created) removeGlobal(lock, global.id);
        return status;
    }
    status = openTypeLocks();
    if (status != ZAT_OK) leaveTable(lock, global.id);
    return status;
}

ZatStatus zatOSWIpcInit(void) {
    if (__atomic_load_n(&initCount, __ATOMIC_ACQUIRE) > 0) return ZAT_OK;
    const OswKeepErrno keepErrno;
    const OswUncancellable uncancellable;
    /* That may bring the whole library up, and this layer with it. */
    oswIpcPrepareKeyDirectory();
    if (__atomic_load_n(&initCount, __ATOMIC_ACQUIRE) > 0) return ZAT_OK;
    oswIpcPrepareSignal();
    static pthread_once_t once = PTHREAD_ONCE_INIT;
    pthread_once(&once, [] { pthread_atfork(nullptr, nullptr, becomeChild); });
    IpcLock lock;
    GlobalSem global = {0, -1, false};
    ZatStatus status = takeGlobal(lock, global);
    if (status != ZAT_OK) return status;
    if (initCount > 0) {
        ++initCount;
        return ZAT_OK;
    }
    noteProcess();
    status = joinTable(lock, global);
    if (status != ZAT_OK) return status;
    oswIpcGlobalSem = global.id;
    __atomic_store_n(&initCount, 1, __ATOMIC_RELEASE);
    return ZAT_OK;
}

/* What is disposed of when no lock semaphore is held any more. */
struct Dropped {
    ClbLstHead handles;
    ClbLstHead locals;
};

/* Takes all handles of a type off their lists. */
static void dropHandles(uint32_t type, Dropped& dropped) {
    {
        IpcLock lock;
        const bool isLocked = oswIpcLockType(lock, type) == ZAT_OK;
        IpcTypeState& state = oswIpcTypes[type];
        for (IpcHandle* handle : zatWalk<IpcHandle>(&state.handles)) {
            /* Without the lock, which somebody has removed, nobody knows who still waits. */
            if (!isLocked) zatCLBLstInit(&handle->waiters);
            oswIpcDismissWaiters(*handle);
            oswIpcForgetHandle(*handle);
            zatCLBLstAdd(&dropped.handles, handle);
        }
        for (IpcLocalObject* local : zatWalk<IpcLocalObject>(&state.locals)) {
            oswIpcRemoveLocal(type, local->object);
            zatCLBLstAdd(&dropped.locals, local);
        }
    }
    if (type != IPC_TIMER) return;
    for (IpcHandle* handle : zatWalk<IpcHandle>(&dropped.handles))
        if (handle->type == IPC_TIMER) oswIpcStopServing(*handle);
}

void zatOSWIpcTerm(void) {
    const OswKeepErrno keepErrno;
    const OswUncancellable uncancellable;
    Dropped dropped = {};
    IpcLock global;
    if (oswIpcLockGlobal(global) != ZAT_OK) return;
    if (initCount == 0 || --initCount > 0) return;
    for (uint32_t type = 0; type < IPC_TYPES; ++type)
        dropHandles(type, dropped);
    leaveTable(global, oswIpcGlobalSem);
    global.release();
    /* Timers are joined, whose tasks may be waiting for a lock semaphore: without any. */
    for (IpcHandle* handle : zatWalk<IpcHandle>(&dropped.handles))
        oswIpcDispose(handle);
    for (IpcLocalObject* local : zatWalk<IpcLocalObject>(&dropped.locals))
        zatOSWOrgFreeMemPart(0, local);
}
