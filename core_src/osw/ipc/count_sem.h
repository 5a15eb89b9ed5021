/**
 * @file
 * Named counting semaphores, which threads of several processes use together.
 *
 * A handle is good in the process that created it, for all of its tasks.
 */
#ifndef ZATOSW_OSW_IPC_COUNT_SEM_H
#define ZATOSW_OSW_IPC_COUNT_SEM_H

#include "../status.h"

ZATOSW_BEGIN_DECLS

/**
 * Creates a named counting semaphore, or opens the one that has the name.
 *
 * All creates of a name in a process give the same handle, and each needs a delete of its own.
 *
 * @param name          name, NUL-terminated, at most 31 characters; null makes a process-local one
 *                      (zatOSWCreateCountSem()) that the calls below serve as well
 * @param handle        receives the handle; written on success only
 * @param options       for a process-local one only
 * @param initialCount  units available; all creates of a name must agree on it
 *
 * @return ZAT_OK                  the handle is good
 * @return ZAT_IPC_BAD_PARAMETERS  the existing one was created with another value
 * @return another status of zatOSWIpcCreateMutexSem(); with a null name, of zatOSWCreateCountSem()
 *
 * A failure leaves nothing behind. May be called from any task; waits for other creates and deletes
 * of the machine.
 */
ZATOSW_API ZatStatus zatOSWIpcCreateCountSem(const char* name, ZatIpcHandle* handle,
                                             uint32_t options, uint32_t initialCount);

/**
 * Takes one unit, waiting for it at most a given time. Fairness is not promised.
 *
 * @param handle     handle from zatOSWIpcCreateCountSem()
 * @param timeoutMs  milliseconds to wait in all; 0 = do not wait, ZAT_FOREVER = no limit
 *
 * @return ZAT_OK                a unit was taken
 * @return ZAT_TIMED_OUT         no unit in time
 * @return ZAT_IPC_NO_OBJECT     unknown handle, or deleted by this process meanwhile
 * @return ZAT_IPC_SEM_REMOVED   the semaphore was removed meanwhile; that can be seen by a waiter
 *                               whose handle was the last one on the object
 * @return ZAT_IPC_SEMOP_FAILED  a semaphore call of the system failed
 * @return a status of zatOSWWaitCountSem() for a process-local one
 *
 * Blocks. May be called from any task; a task deleted while it waits gives its place up.
 */
ZATOSW_API ZatStatus zatOSWIpcWaitCountSem(ZatIpcHandle handle, ZatTimeoutMs timeoutMs);

/**
 * Adds one unit and wakes one waiter. There is no upper bound.
 *
 * @param handle  handle from zatOSWIpcCreateCountSem()
 *
 * @return ZAT_OK                added
 * @return ZAT_IPC_NO_OBJECT     unknown handle
 * @return ZAT_IPC_SEMOP_FAILED  the lock of the type could not be taken; or no waiter could be
 *                               woken, and the unit is added all the same
 * @return a status of zatOSWPostCountSem() for a process-local one
 *
 * Does not wait. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWIpcPostCountSem(ZatIpcHandle handle);

/**
 * Takes one create of this process back. With its last one the handle is gone, and tasks of this
 * process that wait return ZAT_IPC_NO_OBJECT or ZAT_IPC_SEM_REMOVED. With the last handle of all
 * processes the semaphore is removed.
 *
 * @param handle  handle from zatOSWIpcCreateCountSem()
 *
 * @return ZAT_OK                taken back
 * @return ZAT_IPC_NO_OBJECT     unknown handle
 * @return ZAT_IPC_NO_REFERENCE  the handle has no references left
 * @return ZAT_IPC_SEMOP_FAILED  the locks of the layer could not be taken
 * @return a status of zatOSWDeleteCountSem() for a process-local one, which a refusal leaves usable
 *
 * Does not wait for tasks that wait. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWIpcDeleteCountSem(ZatIpcHandle handle);

ZATOSW_END_DECLS

#endif
