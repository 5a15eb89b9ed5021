/**
 * @file
 * Event semaphores: a post wakes one waiter or stays pending for the next; a flush wakes all.
 *
 * A handle may be used by every task of the process until it is deleted; afterwards it must not be
 * used any more, except by calls that were already waiting.
 */
#ifndef ZATOSW_OSW_EVENT_SEM_H
#define ZATOSW_OSW_EVENT_SEM_H

#include "status.h"

ZATOSW_BEGIN_DECLS

/**
 * Creates an event semaphore.
 *
 * @param event         receives the handle
 * @param options       ignored
 * @param initialState  1 = a post is pending, any other value = none
 *
 * @return ZAT_OK      the event exists
 * @return ZAT_FAILED  event is null, or a status of zatOSWInit() or zatOSWOrgAllocMemPart()
 * @return a POSIX error number of the thread library, unchanged
 *
 * May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWCreateEventSem(ZatEventSem* event, uint32_t options,
                                          uint32_t initialState);

/**
 * Deletes an event semaphore. Tasks that wait on it return ZAT_FAILED.
 *
 * @param event  handle from zatOSWCreateEventSem()
 *
 * @return ZAT_OK      deleted; its memory goes when the last waiter has returned
 * @return ZAT_FAILED  deleted already
 * @return a POSIX error number of the thread library, unchanged
 *
 * Does not wait. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWDeleteEventSem(ZatEventSem event);

/**
 * Posts an event: wakes one waiter, or stays pending for the next wait. Posts do not add up.
 *
 * @param event  handle from zatOSWCreateEventSem()
 *
 * @return ZAT_OK      posted
 * @return ZAT_FAILED  deleted
 * @return a POSIX error number of the thread library, unchanged
 *
 * Does not wait. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWPostEventSem(ZatEventSem event);

/** Takes a pending post back: ZAT_OK, or ZAT_FAILED when the event is deleted; or a POSIX error
 *  number. Does not wait. */
ZATOSW_API ZatStatus zatOSWResetEventSem(ZatEventSem event);

/**
 * Wakes every task that waits now, and leaves nothing pending.
 *
 * @param event  handle from zatOSWCreateEventSem()
 *
 * @return ZAT_OK      all waiters are woken; there may have been none
 * @return ZAT_FAILED  deleted
 * @return a POSIX error number of the thread library, unchanged
 *
 * Does not wait. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWFlushEventSem(ZatEventSem event);

/**
 * Waits for a post, or a flush, and consumes the post.
 *
 * Takes a pending post at once, unless others wait already: then the caller queues behind them.
 * While a task that a post has woken has not run yet, the caller looks again every millisecond,
 * whatever its time-out.
 *
 * @param event      handle from zatOSWCreateEventSem()
 * @param timeoutMs  milliseconds to wait; 0 = do not wait, ZAT_FOREVER = no limit
 *
 * @return ZAT_OK         posted or flushed
 * @return ZAT_TIMED_OUT  not posted in time, or nothing pending and timeoutMs is 0
 * @return ZAT_FAILED     the event is, or was meanwhile, deleted
 * @return a POSIX error number of the thread library, unchanged
 *
 * Blocks. May be called from any task; a task deleted while it waits gives its place up.
 */
ZATOSW_API ZatStatus zatOSWWaitEventSem(ZatEventSem event, ZatTimeoutMs timeoutMs);

/** Waits for the next post or flush, whatever is pending; otherwise as zatOSWWaitEventSem(). With
 *  timeoutMs 0 it never waits, and so is never posted in time. */
ZATOSW_API ZatStatus zatOSWWaitAllEventSem(ZatEventSem event, ZatTimeoutMs timeoutMs);

ZATOSW_END_DECLS

#endif
