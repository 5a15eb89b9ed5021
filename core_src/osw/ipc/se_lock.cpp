/*
 * Named shared/exclusive locks. An entry knows the exclusive owner and how many shared holds there
 * are; who of this process has those is on the handle's list.
 */

#include "osw/ipc/se_lock.h"

#include <algorithm>

#include "clb/list_walk_private.h"
#include "osw/ipc/create_private.h"
#include "osw/ipc/kind_private.h"
#include "osw/ipc/wait_private.h"
#include "osw/mem_part.h"

static bool isOwn(const IpcLockBody& lock) {
    return lock.depth > 0 && oswIpcIsSame(lock.owner, oswIpcCaller());
}

static IpcSharedHolder* findHolder(const IpcHandle& handle) {
    const IpcThread caller = oswIpcCaller();
    for (IpcSharedHolder* holder : zatWalk<IpcSharedHolder>(&handle.lock.sharedHolders))
        if (oswIpcIsSame(holder->holder, caller)) return holder;
    return nullptr;
}

/* Lets those pass who can take the lock as it is now: a writer before the readers. */
static ZatStatus wakeNext(const IpcHandle& handle) {
    const IpcLockBody& lock = handle.entry->lock;
    if (lock.depth > 0) return ZAT_OK;
    if (lock.exclusiveWaiters > 0)
        return lock.sharedHolds > 0 ? ZatStatus{ZAT_OK}
                                    : oswIpcLetOnePass(*handle.entry, IPC_WAITS_EXCLUSIVELY);
    ZatStatus status = ZAT_OK;
    for (uint32_t i = 0; i < lock.sharedWaiters; ++i) {
        const ZatStatus posted = oswIpcPostOne(*handle.entry, IPC_WAITS_TO_SHARE);
        if (posted != ZAT_OK) status = posted;
    }
    return status;
}

static void wake(IpcHandle& handle) {
    wakeNext(handle);
}

static ZatStatus lookExclusive(IpcHandle& handle, IpcComer) {
    const IpcLockBody& lock = handle.entry->lock;
    if (findHolder(handle) != nullptr) return ZAT_IPC_DEADLOCK;
    const bool isFree = lock.sharedHolds == 0 && (lock.depth == 0 || isOwn(lock));
    return isFree ? ZatStatus{ZAT_OK} : ZatStatus{IPC_UNAVAILABLE};
}

static ZatStatus takeExclusive(IpcHandle& handle, void*) {
    IpcLockBody& lock = handle.entry->lock;
    lock.owner = lock.acquirer = oswIpcCaller();
    handle.held = 1;
    oswIpcPublish(lock.depth, lock.depth + 1);
    return ZAT_OK;
}

static ZatStatus freeExclusive(IpcHandle& handle) {
    handle.held = 0;
    oswIpcPublish(handle.entry->lock.depth, 0);
    return wakeNext(handle);
}

static ZatStatus releaseExclusive(IpcHandle& handle, void*) {
    IpcLockBody& lock = handle.entry->lock;
    if (!isOwn(lock)) return ZAT_IPC_NOT_OWNER;
    if (lock.depth > 1) {
        --lock.depth;
        return ZAT_OK;
    }
    return freeExclusive(handle);
}

static ZatStatus lookShared(IpcHandle& handle, IpcComer) {
    const IpcLockBody& lock = handle.entry->lock;
    if (lock.depth == 0) return ZAT_OK;
    return isOwn(lock) ? ZatStatus{ZAT_IPC_DEADLOCK} : ZatStatus{IPC_UNAVAILABLE};
}

static ZatStatus takeShared(IpcHandle& handle, void*) {
    IpcLockBody& lock = handle.entry->lock;
    if (IpcSharedHolder* holder = findHolder(handle)) {
        ++holder->holds;
        ++handle.lock.sharedTotal;
    } else {
        holder = static_cast<IpcSharedHolder*>(zatOSWOrgMalloc(sizeof(IpcSharedHolder)));
        /* Quietly: a message would be written under the lock. */
        if (holder == nullptr) return ZAT_IPC_NO_MEMORY;
        *holder = {{}, oswIpcCaller(), 1};
        zatCLBLstAdd(&handle.lock.sharedHolders, holder);
        /* Set, not counted up, also when other threads of the process hold the lock. */
        handle.lock.sharedTotal = 1;
    }
    lock.acquirer = oswIpcCaller();
    handle.held = 1;
    ++lock.sharedHolds;
    return ZAT_OK;
}

/* Takes holds of a thread back, and its record with the last one. */
static ZatStatus dropShared(IpcHandle& handle, IpcSharedHolder& holder, uint32_t holds) {
    IpcLockBody& lock = handle.entry->lock;
    holder.holds -= holds;
    if (holder.holds == 0) {
        zatCLBLstDelete(&handle.lock.sharedHolders, &holder);
        zatOSWOrgFree(&holder);
    }
    /* The total may be less than the sum of the holds. */
    handle.lock.sharedTotal -= std::min(handle.lock.sharedTotal, holds);
    if (handle.lock.sharedTotal == 0) handle.held = 0;
    lock.sharedHolds -= std::min(lock.sharedHolds, holds);
    return lock.sharedHolds == 0 && lock.exclusiveWaiters > 0 ? wakeNext(handle)
                                                              : ZatStatus{ZAT_OK};
}

static ZatStatus releaseShared(IpcHandle& handle, void*) {
    IpcSharedHolder* holder = findHolder(handle);
    return holder == nullptr ? ZatStatus{ZAT_IPC_NOT_OWNER} : dropShared(handle, *holder, 1);
}

static bool mayDelete(const IpcHandle& handle) {
    if (handle.held == 0) return true;
    const IpcSharedHolder* holder = findHolder(handle);
    const bool holdsAll = holder != nullptr && holder->holds == handle.lock.sharedTotal;
    return holdsAll || (isOwn(handle.entry->lock) && handle.lock.sharedTotal == 0);
}

static ZatStatus giveBackAll(IpcHandle& handle) {
    ZatStatus status = ZAT_OK;
    for (IpcSharedHolder* holder : zatWalk<IpcSharedHolder>(&handle.lock.sharedHolders)) {
        const ZatStatus dropped = dropShared(handle, *holder, holder->holds);
        if (dropped != ZAT_OK) status = dropped;
    }
    if (!isOwn(handle.entry->lock)) return status;
    const ZatStatus freed = freeExclusive(handle);
    return freed == ZAT_OK ? status : freed;
}

static ZatStatus giveBackOwn(IpcHandle& handle) {
    if (isOwn(handle.entry->lock)) return freeExclusive(handle);
    IpcSharedHolder* holder = findHolder(handle);
    return holder == nullptr ? ZatStatus{ZAT_OK} : dropShared(handle, *holder, holder->holds);
}

static constexpr IpcWaitKind exclusiveWait =
    oswIpcSemaphoreWait(IPC_SE_LOCK, IPC_WAITS_EXCLUSIVELY, lookExclusive, takeExclusive, nullptr);
static constexpr IpcWaitKind sharedWait =
    oswIpcSemaphoreWait(IPC_SE_LOCK, IPC_WAITS_TO_SHARE, lookShared, takeShared, nullptr);
constexpr IpcUse oswIpcSELockUse = {wake, mayDelete, giveBackAll, giveBackOwn};
static constexpr IpcChange exclusiveRelease = {IPC_SE_LOCK, releaseExclusive, nullptr};
static constexpr IpcChange sharedRelease = {IPC_SE_LOCK, releaseShared, nullptr};

ZatStatus zatOSWIpcCreateSELock(const char* name, ZatIpcHandle* handle, uint32_t,
                                uint32_t initialState) {
    if (initialState > ZAT_SE_LOCK_FREE) return ZAT_IPC_BAD_PARAMETERS;
    if (handle == nullptr) return ZAT_FAILED;
    IpcCreated created([](ZatHandle made) { return oswIpcTakeBack(made, IPC_SE_LOCK); });
    ZatStatus status = oswIpcCreate(name, IPC_SE_LOCK, {}, &created.handle, nullptr, {});
    if (status == ZAT_OK && initialState == ZAT_SE_LOCK_SHARED)
        status = zatOSWIpcRequestSharedLock(created.handle, ZAT_FOREVER);
    if (status == ZAT_OK && initialState == ZAT_SE_LOCK_EXCLUSIVE)
        status = zatOSWIpcRequestExclusiveLock(created.handle, ZAT_FOREVER);
    if (status == ZAT_OK) *handle = created.finish();
    return status;
}

ZatStatus zatOSWIpcRequestExclusiveLock(ZatIpcHandle handle, ZatTimeoutMs timeoutMs) {
    return oswIpcWait(handle, timeoutMs, exclusiveWait);
}

ZatStatus zatOSWIpcReleaseExclusiveLock(ZatIpcHandle handle) {
    return oswIpcApply(handle, exclusiveRelease);
}

ZatStatus zatOSWIpcRequestSharedLock(ZatIpcHandle handle, ZatTimeoutMs timeoutMs) {
    return oswIpcWait(handle, timeoutMs, sharedWait);
}

ZatStatus zatOSWIpcReleaseSharedLock(ZatIpcHandle handle) {
    return oswIpcApply(handle, sharedRelease);
}

ZatStatus zatOSWIpcDeleteSELock(ZatIpcHandle handle) {
    return oswIpcDelete(handle, IPC_SE_LOCK);
}
