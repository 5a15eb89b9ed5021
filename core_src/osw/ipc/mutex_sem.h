/**
 * @file
 * Named mutex semaphores: recursive locks that threads of several processes use together.
 *
 * A handle is good in the process that created it, for all of its tasks. A process that ends while
 * it holds a mutex leaves it taken: see docs/ipc.md.
 */
#ifndef ZATOSW_OSW_IPC_MUTEX_SEM_H
#define ZATOSW_OSW_IPC_MUTEX_SEM_H

#include "../status.h"

ZATOSW_BEGIN_DECLS

/**
 * Creates a named mutex semaphore, or opens the one that has the name.
 *
 * All creates of a name in a process give the same handle, and each needs a delete of its own.
 *
 * @param name          name, NUL-terminated, at most 31 characters; null makes a process-local
 * mutex (zatOSWCreateMutexSem()) that the calls below serve as well
 * @param handle        receives the handle; written on success only
 * @param options       for a process-local mutex only
 * @param initialState  1 = free, 0 = the caller takes it, waiting for it without limit
 *
 * @return ZAT_OK                  the handle is good
 * @return ZAT_FAILED              handle is null
 * @return ZAT_IPC_BAD_PARAMETERS  initialState is neither 0 nor 1
 * @return ZAT_IPC_NO_MEMORY       no memory for the handle (but an exhausted heap is fatal, see
 *                                 mem_part.h)
 * @return ZAT_IPC_SEMGET_FAILED   the semaphore cannot be created, or a stale one has its key
 * @return ZAT_IPC_SEMCTL_FAILED   the semaphore's value cannot be set
 * @return ZAT_IPC_SHMGET_FAILED, ZAT_IPC_SHMAT_FAILED  the table of objects cannot be extended or
 *                                 attached
 * @return ZAT_IPC_SEMOP_FAILED    the locks of the layer are gone: it was terminated
 * @return a status of zatOSWInit(), zatOSWIpcGetServerIpcKey() or zatOSWIpcRequestMutexSem(); with
 * a null name, of zatOSWCreateMutexSem()
 *
 * A failure leaves nothing behind. May be called from any task; waits for other creates and deletes
 * of the machine.
 */
ZATOSW_API ZatStatus zatOSWIpcCreateMutexSem(const char* name, ZatIpcHandle* handle,
                                             uint32_t options, uint32_t initialState);

/**
 * Takes a mutex semaphore, waiting for it at most a given time.
 *
 * The owner, a thread of a process, may take it again; each take needs its own release. Fairness is
 * not promised: a thread that comes between a release and the woken waiter may win.
 *
 * @param handle     handle from zatOSWIpcCreateMutexSem()
 * @param timeoutMs  milliseconds to wait in all; 0 = do not wait, ZAT_FOREVER = no limit
 *
 * @return ZAT_OK                the caller owns the mutex
 * @return ZAT_TIMED_OUT         not free in time
 * @return ZAT_IPC_NO_OBJECT     unknown handle, or deleted by this process meanwhile
 * @return ZAT_IPC_SEM_REMOVED   the semaphore was removed meanwhile; that can be seen by a waiter
 *                               whose handle was the last one on the object
 * @return ZAT_IPC_SEMOP_FAILED  a semaphore call of the system failed
 * @return a status of zatOSWRequestMutexSem() for a process-local mutex
 *
 * Blocks. May be called from any task; a task deleted while it waits gives its place up.
 */
ZATOSW_API ZatStatus zatOSWIpcRequestMutexSem(ZatIpcHandle handle, ZatTimeoutMs timeoutMs);

/**
 * Gives one take of a mutex semaphore back; the last one frees it and wakes one waiter.
 *
 * @param handle  handle from zatOSWIpcCreateMutexSem()
 *
 * @return ZAT_OK                 given back
 * @return ZAT_IPC_NOT_OWNER      not owned by the calling thread of this process; nothing changes
 * @return ZAT_IPC_NO_OBJECT      unknown handle
 * @return ZAT_IPC_SEMCTL_FAILED  given back, but no waiter could be woken
 * @return ZAT_IPC_SEMOP_FAILED   the lock of the type could not be taken
 * @return a status of zatOSWReleaseMutexSem() for a process-local mutex
 *
 * Does not wait. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWIpcReleaseMutexSem(ZatIpcHandle handle);

/**
 * Takes one create of this process back. With its last one the handle is gone: a mutex that the
 * caller holds is given back, and tasks of this process that wait for it return ZAT_IPC_NO_OBJECT
 * or ZAT_IPC_SEM_REMOVED. With the last handle of all processes the mutex is removed.
 *
 * A delete that is not this process's last one also gives back what the calling thread holds.
 *
 * @param handle  handle from zatOSWIpcCreateMutexSem()
 *
 * @return ZAT_OK                taken back
 * @return ZAT_IPC_DEADLOCK      the last handle, and another task of this process holds the mutex
 * @return ZAT_IPC_NO_OBJECT     unknown handle
 * @return ZAT_IPC_NO_REFERENCE  the handle has no references left
 * @return ZAT_IPC_SEMOP_FAILED, ZAT_IPC_SEMCTL_FAILED  a semaphore call of the system failed
 * @return a status of zatOSWDeleteMutexSem() for a process-local mutex, which a refusal leaves
 * usable
 *
 * Does not wait for tasks that wait. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWIpcDeleteMutexSem(ZatIpcHandle handle);

ZATOSW_END_DECLS

#endif
