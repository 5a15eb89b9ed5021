/**
 * @file
 * Named event semaphores, which threads of several processes use together.
 *
 * A handle is good in the process that created it, for all of its tasks.
 */
#ifndef ZATOSW_OSW_IPC_EVENT_SEM_H
#define ZATOSW_OSW_IPC_EVENT_SEM_H

#include "../status.h"

ZATOSW_BEGIN_DECLS

/**
 * Creates a named event semaphore, or opens the one that has the name.
 *
 * All creates of a name in a process give the same handle, and each needs a delete of its own.
 *
 * @param name          name, NUL-terminated, at most 31 characters; null makes a process-local one
 *                      (zatOSWCreateEventSem()) that the calls below serve as well
 * @param handle        receives the handle; written on success only
 * @param options       for a process-local one only
 * @param initialState  0 = not signalled, 1 = signalled; all creates of a name must agree on it
 *
 * @return ZAT_OK                  the handle is good
 * @return ZAT_IPC_BAD_PARAMETERS  the existing one was created with another value
 * @return another status of zatOSWIpcCreateMutexSem(); with a null name, of zatOSWCreateEventSem()
 *
 * A failure leaves nothing behind. May be called from any task; waits for other creates and deletes
 * of the machine.
 */
ZATOSW_API ZatStatus zatOSWIpcCreateEventSem(const char* name, ZatIpcHandle* handle,
                                             uint32_t options, uint32_t initialState);

/**
 * Waits for a post or a flush. A post is consumed by one waiter: the event resets itself.
 *
 * While the waiters of an earlier post or flush are being released, the caller looks again every
 * microsecond, whatever its time-out; it goes on when they have run, or after a moment if none of
 * them is left.
 *
 * @param handle     handle from zatOSWIpcCreateEventSem()
 * @param timeoutMs  milliseconds to wait in all; 0 = do not wait, ZAT_FOREVER = no limit
 *
 * @return ZAT_OK                posted or flushed
 * @return ZAT_TIMED_OUT         nothing in time
 * @return ZAT_IPC_NO_OBJECT     unknown handle, or deleted by this process meanwhile
 * @return ZAT_IPC_SEM_REMOVED   the semaphore was removed meanwhile; that can be seen by a waiter
 *                               whose handle was the last one on the object
 * @return ZAT_IPC_SEMOP_FAILED  a semaphore call of the system failed
 * @return a status of zatOSWWaitEventSem() for a process-local one
 *
 * Blocks. May be called from any task; a task deleted while it waits gives its place up.
 */
ZATOSW_API ZatStatus zatOSWIpcWaitEventSem(ZatIpcHandle handle, ZatTimeoutMs timeoutMs);

/**
 * Signals an event: one waiter is released, or the next one to come. Posts do not add up.
 *
 * @param handle  handle from zatOSWIpcCreateEventSem()
 *
 * @return ZAT_OK                signalled
 * @return ZAT_IPC_NO_OBJECT     unknown handle
 * @return ZAT_IPC_SEMOP_FAILED  a semaphore call of the system failed
 * @return a status of zatOSWPostEventSem() for a process-local one
 *
 * Does not wait, except for the waiters that an earlier post or flush is releasing. May be called
 * from any task.
 */
ZATOSW_API ZatStatus zatOSWIpcPostEventSem(ZatIpcHandle handle);

/**
 * Takes a pending post back.
 *
 * @param handle  handle from zatOSWIpcCreateEventSem()
 *
 * @return ZAT_OK                not signalled
 * @return ZAT_IPC_NO_OBJECT     unknown handle
 * @return ZAT_IPC_SEMOP_FAILED  a semaphore call of the system failed
 * @return a status of zatOSWResetEventSem() for a process-local one
 *
 * Does not wait. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWIpcResetEventSem(ZatIpcHandle handle);

/**
 * Releases every thread, of any process, that waits now, and leaves nothing pending.
 *
 * @param handle  handle from zatOSWIpcCreateEventSem()
 *
 * @return ZAT_OK                released; there may have been none
 * @return ZAT_IPC_NO_OBJECT     unknown handle
 * @return ZAT_IPC_SEMOP_FAILED  a semaphore call of the system failed
 * @return a status of zatOSWFlushEventSem() for a process-local one
 *
 * Does not wait, except for the waiters that an earlier post or flush is releasing. May be called
 * from any task.
 */
ZATOSW_API ZatStatus zatOSWIpcFlushEventSem(ZatIpcHandle handle);

/**
 * Takes one create of this process back. With its last one the handle is gone, and tasks of this
 * process that wait return ZAT_IPC_NO_OBJECT or ZAT_IPC_SEM_REMOVED. With the last handle of all
 * processes the semaphore is removed.
 *
 * @param handle  handle from zatOSWIpcCreateEventSem()
 *
 * @return ZAT_OK                taken back
 * @return ZAT_IPC_NO_OBJECT     unknown handle
 * @return ZAT_IPC_NO_REFERENCE  the handle has no references left
 * @return ZAT_IPC_SEMOP_FAILED  the locks of the layer could not be taken
 * @return a status of zatOSWDeleteEventSem() for a process-local one, which a refusal leaves usable
 *
 * Does not wait for tasks that wait. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWIpcDeleteEventSem(ZatIpcHandle handle);

ZATOSW_END_DECLS

#endif
