/**
 * @file
 * Counting semaphores: a post adds a unit, a wait takes one.
 *
 * A handle may be used by every task of the process until it is deleted; afterwards it must not be
 * used any more, except by calls that were already waiting.
 */
#ifndef ZATOSW_OSW_COUNT_SEM_H
#define ZATOSW_OSW_COUNT_SEM_H

#include "status.h"

ZATOSW_BEGIN_DECLS

/**
 * Creates a counting semaphore.
 *
 * @param semaphore     receives the handle
 * @param options       ignored
 * @param initialCount  units available; below 0, that many posts bring it to 0
 *
 * @return ZAT_OK      the semaphore exists
 * @return ZAT_FAILED  semaphore is null, or a status of zatOSWInit() or zatOSWOrgAllocMemPart()
 * @return a POSIX error number of the thread library, unchanged
 *
 * May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWCreateCountSem(ZatCountSem* semaphore, uint32_t options,
                                          int32_t initialCount);

/**
 * Deletes a counting semaphore. Tasks that wait on it return ZAT_FAILED.
 *
 * @param semaphore  handle from zatOSWCreateCountSem()
 *
 * @return ZAT_OK      deleted; its memory goes when the last waiter has returned
 * @return ZAT_FAILED  deleted already
 * @return a POSIX error number of the thread library, unchanged
 *
 * Does not wait. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWDeleteCountSem(ZatCountSem semaphore);

/**
 * Adds one unit and wakes one waiter; a negative count only rises. There is no upper bound.
 *
 * @param semaphore  handle from zatOSWCreateCountSem()
 *
 * @return ZAT_OK      added
 * @return ZAT_FAILED  deleted
 * @return a POSIX error number of the thread library, unchanged
 *
 * Does not wait. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWPostCountSem(ZatCountSem semaphore);

/**
 * Takes one unit, waiting for it at most a given time.
 *
 * Takes an available unit at once, unless others wait already: then the caller queues behind them.
 * While a task that a post has woken has not run yet, the caller looks again every millisecond,
 * whatever its time-out.
 *
 * @param semaphore  handle from zatOSWCreateCountSem()
 * @param timeoutMs  milliseconds to wait; 0 = do not wait, ZAT_FOREVER = no limit
 *
 * @return ZAT_OK         the caller has a unit
 * @return ZAT_TIMED_OUT  no unit in time, or none available and timeoutMs is 0
 * @return ZAT_FAILED     the semaphore is, or was meanwhile, deleted
 * @return a POSIX error number of the thread library, unchanged
 *
 * Blocks. May be called from any task; a task deleted while it waits gives its place up.
 */
ZATOSW_API ZatStatus zatOSWWaitCountSem(ZatCountSem semaphore, ZatTimeoutMs timeoutMs);

ZATOSW_END_DECLS

#endif
