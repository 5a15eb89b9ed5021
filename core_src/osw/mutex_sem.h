/**
 * @file
 * Mutex semaphores: recursive locks of one process, with time-outs and orderly deletion.
 *
 * A handle may be used by every task of the process until it is deleted; afterwards it must not be
 * used any more, except by calls that were already waiting.
 */
#ifndef ZATOSW_OSW_MUTEX_SEM_H
#define ZATOSW_OSW_MUTEX_SEM_H

#include "status.h"

ZATOSW_BEGIN_DECLS

/**
 * Creates a mutex semaphore.
 *
 * @param mutex         receives the handle
 * @param options       ignored
 * @param initialState  1 = free, 0 = taken once by the caller
 *
 * @return ZAT_OK      the mutex exists; or there was no memory, and the handle is left as it was:
 *                     set it to 0 before and check it afterwards
 * @return ZAT_FAILED  mutex is null, or a status of zatOSWInit()
 * @return a POSIX error number of the thread library, unchanged
 *
 * May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWCreateMutexSem(ZatMutexSem* mutex, uint32_t options,
                                          uint32_t initialState);

/**
 * Deletes a mutex semaphore that is free or held by the caller. Tasks that wait for it return
 * ZAT_FAILED.
 *
 * @param mutex  handle from zatOSWCreateMutexSem()
 *
 * @return ZAT_OK      deleted; its memory goes when the last waiter has returned
 * @return ZAT_FAILED  deleted already, or held by another task, which changes nothing
 * @return a POSIX error number of the thread library, unchanged
 *
 * Does not wait. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWDeleteMutexSem(ZatMutexSem mutex);

/**
 * Takes a mutex semaphore, waiting for it at most a given time.
 *
 * The owner may take it again; each take needs its own release. A task that is woken by a release
 * is served before tasks that arrive meanwhile; those look again every millisecond, whatever their
 * time-out, until the woken task has run.
 *
 * @param mutex      handle from zatOSWCreateMutexSem()
 * @param timeoutMs  milliseconds to wait; 0 = do not wait, ZAT_FOREVER = no limit
 *
 * @return ZAT_OK         the caller owns the mutex
 * @return ZAT_TIMED_OUT  not free in time; with timeoutMs 0, taken or others wait for it already
 * @return ZAT_FAILED     the mutex is, or was meanwhile, deleted
 * @return a POSIX error number of the thread library, unchanged
 *
 * Blocks. May be called from any task; a task deleted while it waits gives its place up.
 */
ZATOSW_API ZatStatus zatOSWRequestMutexSem(ZatMutexSem mutex, ZatTimeoutMs timeoutMs);

/**
 * Gives one take of a mutex semaphore back; the last one frees it and wakes one waiter.
 *
 * @param mutex  handle from zatOSWCreateMutexSem()
 *
 * @return ZAT_OK      given back
 * @return ZAT_FAILED  not owned by the caller, or deleted; nothing changes
 * @return a POSIX error number of the thread library, unchanged
 *
 * Does not wait. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWReleaseMutexSem(ZatMutexSem mutex);

/**
 * Notes which owner word a task waits on, for zatOSWGetTaskInfo(). The library does this itself
 * for its mutex semaphores and fixed locks; other locks may use it too.
 *
 * @param task   thread id; an unknown one is ignored
 * @param owner  word that holds the thread id of the lock's owner, valid until it is cleared again;
 *               null clears
 *
 * @return ZAT_OK  always; nothing is noted, nor cleared, while the lock monitor is off
 */
ZATOSW_API ZatStatus zatOSWSetWaitMutexOwner(ZatTaskId task, const uint32_t* owner);

ZATOSW_END_DECLS

#endif
