/**
 * @file
 * Named shared/exclusive locks: many threads of any processes share, or one has it alone.
 *
 * Waiting exclusive requesters do not hold shared requesters back. A handle is good in the process
 * that created it, for all of its tasks. A process that ends while it holds a lock leaves it taken:
 * see docs/ipc.md.
 */
#ifndef ZATOSW_OSW_IPC_SE_LOCK_H
#define ZATOSW_OSW_IPC_SE_LOCK_H

#include "../status.h"

ZATOSW_BEGIN_DECLS

#define ZAT_SE_LOCK_SHARED 0u    /**< the creator of a lock takes it shared */
#define ZAT_SE_LOCK_EXCLUSIVE 1u /**< the creator of a lock takes it exclusively */
#define ZAT_SE_LOCK_FREE 2u      /**< the creator of a lock does not take it */

/**
 * Creates a named lock, or opens the one that has the name.
 *
 * All creates of a name in a process give the same handle, and each needs a delete of its own.
 *
 * @param name          name, NUL-terminated, at most 31 characters; there is no process-local form
 * @param handle        receives the handle; written on success only
 * @param options       ignored
 * @param initialState  ZAT_SE_LOCK_SHARED or ZAT_SE_LOCK_EXCLUSIVE = the caller takes it so,
 * waiting without limit; ZAT_SE_LOCK_FREE = the caller does not take it
 *
 * @return ZAT_OK                  the handle is good
 * @return ZAT_IPC_BAD_PARAMETERS  name is null, or another initialState
 * @return another status of zatOSWIpcCreateMutexSem(), zatOSWIpcRequestSharedLock() or
 *         zatOSWIpcRequestExclusiveLock()
 *
 * A failure leaves nothing behind. May be called from any task; waits for other creates and deletes
 * of the machine.
 */
ZATOSW_API ZatStatus zatOSWIpcCreateSELock(const char* name, ZatIpcHandle* handle, uint32_t options,
                                           uint32_t initialState);

/**
 * Takes a lock exclusively, waiting for it at most a given time.
 *
 * The owner, a thread of a process, may take it again; each take needs its own release.
 *
 * @param handle     handle from zatOSWIpcCreateSELock()
 * @param timeoutMs  milliseconds to wait in all; 0 = do not wait, ZAT_FOREVER = no limit
 *
 * @return ZAT_OK                the caller has the lock alone
 * @return ZAT_TIMED_OUT         not free in time
 * @return ZAT_IPC_DEADLOCK      the caller holds the lock shared
 * @return ZAT_IPC_NO_OBJECT     unknown handle, or deleted by this process meanwhile
 * @return ZAT_IPC_SEM_REMOVED   the semaphores were removed meanwhile; that can be seen by a waiter
 *                               whose handle was the last one on the object
 * @return ZAT_IPC_SEMOP_FAILED  a semaphore call of the system failed
 *
 * Blocks. May be called from any task; a task deleted while it waits gives its place up.
 */
ZATOSW_API ZatStatus zatOSWIpcRequestExclusiveLock(ZatIpcHandle handle, ZatTimeoutMs timeoutMs);

/**
 * Gives one exclusive take back. With the last one, one exclusive requester passes, or, if there is
 * none, all shared ones.
 *
 * @param handle  handle from zatOSWIpcCreateSELock()
 *
 * @return ZAT_OK                given back
 * @return ZAT_IPC_NOT_OWNER     not held exclusively by the calling thread; nothing changes
 * @return ZAT_IPC_NO_OBJECT     unknown handle
 * @return ZAT_IPC_SEMOP_FAILED, ZAT_IPC_SEMCTL_FAILED  a semaphore call of the system failed; if it
 *                               was the wake-up, the take is given back all the same
 *
 * Does not wait. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWIpcReleaseExclusiveLock(ZatIpcHandle handle);

/**
 * Takes a lock shared, waiting for it at most a given time. A thread may take it several times;
 * each take needs its own release.
 *
 * @return ZAT_IPC_DEADLOCK   the caller holds the lock exclusively
 * @return ZAT_IPC_NO_MEMORY  no memory for a record of the holder
 * @return another status of zatOSWIpcRequestExclusiveLock()
 *
 * Otherwise as zatOSWIpcRequestExclusiveLock().
 */
ZATOSW_API ZatStatus zatOSWIpcRequestSharedLock(ZatIpcHandle handle, ZatTimeoutMs timeoutMs);

/**
 * Gives one shared take back. With the last one of all threads, one exclusive requester passes.
 *
 * @return ZAT_IPC_NOT_OWNER  not held shared by the calling thread; nothing changes
 * @return another status of zatOSWIpcReleaseExclusiveLock()
 */
ZATOSW_API ZatStatus zatOSWIpcReleaseSharedLock(ZatIpcHandle handle);

/**
 * Takes one create of this process back. With its last one the handle is gone: what the process
 * holds is given back, and tasks of it that wait return ZAT_IPC_NO_OBJECT or ZAT_IPC_SEM_REMOVED.
 * With the last handle of all processes the lock is removed.
 *
 * A delete that is not this process's last one also gives back all that the calling thread holds.
 *
 * @param handle  handle from zatOSWIpcCreateSELock()
 *
 * @return ZAT_OK                taken back
 * @return ZAT_IPC_DEADLOCK      the last handle, and another task of this process holds the lock
 * @return ZAT_IPC_NO_OBJECT     unknown handle
 * @return ZAT_IPC_NO_REFERENCE  the handle has no references left
 * @return ZAT_IPC_SEMOP_FAILED, ZAT_IPC_SEMCTL_FAILED  a semaphore call of the system failed
 *
 * Does not wait for tasks that wait. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWIpcDeleteSELock(ZatIpcHandle handle);

ZATOSW_END_DECLS

#endif
