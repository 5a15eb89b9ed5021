/**
 * @file
 * Timers: a callback timer with a task of its own, and two kinds that post an event.
 */
#ifndef ZATOSW_OSW_TIMER_H
#define ZATOSW_OSW_TIMER_H

#include "status.h"

ZATOSW_BEGIN_DECLS

/** What a callback timer calls, on the timer's task and under no lock. It may start, stop or reset
 *  its own timer, but must not delete it: the deletion would wait for itself. */
typedef void (*ZatTimerCallback)(ZatTimer timer, uint32_t a1, uint32_t a2, uint32_t a3, uint32_t a4,
                                 uint32_t a5);

/**
 * Creates an idle callback timer and its task.
 *
 * @param timer           receives the handle
 * @param name            name of the timer's task; null = the first 8 characters of the caller's
 *                        name and "OswTimer"
 * @param priority        priority of the task, as for zatOSWCreateJoinTask()
 * @param stackSizeBytes  stack of the task, as for zatOSWCreateJoinTask()
 *
 * @return ZAT_OK      the timer exists
 * @return ZAT_FAILED  timer is null, or the task could not be made for want of memory
 * @return a status of zatOSWInit(), zatOSWOrgAllocMemPart(), zatOSWCreateEventSem() or
 *         zatOSWCreateJoinTask(), or a POSIX error number
 *
 * May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWCreateTimerEx(ZatTimer* timer, const char* name, int32_t priority,
                                         uint32_t stackSizeBytes);

/** Creates a callback timer whose task has a generated name and the caller's priority; otherwise as
 *  zatOSWCreateTimerEx(). */
ZATOSW_API ZatStatus zatOSWCreateTimer(ZatTimer* timer, uint32_t stackSizeBytes);

/**
 * Starts a timer: it calls the callback once, after the interval, and is idle again. For a periodic
 * timer the callback starts it anew.
 *
 * Starting a running timer does not disturb the countdown, which ends as it was started; the new
 * interval and callback hold for a countdown that begins when it has ended.
 *
 * @param timer       handle from zatOSWCreateTimerEx()
 * @param intervalMs  milliseconds
 * @param callback    function to call
 * @param a1..a5      words that it is given
 *
 * @return ZAT_OK      started
 * @return ZAT_FAILED  callback is null or the handle is unknown; nothing changes
 * @return a POSIX error number of the thread library, unchanged
 *
 * Does not wait for the timer. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWStartTimerEx(ZatTimer timer, uint32_t intervalMs,
                                        ZatTimerCallback callback, uint32_t a1, uint32_t a2,
                                        uint32_t a3, uint32_t a4, uint32_t a5);

/** Starts a timer with one word for its callback, the others 0; as zatOSWStartTimerEx(). */
ZATOSW_API ZatStatus zatOSWStartTimer(ZatTimer timer, uint32_t intervalMs,
                                      ZatTimerCallback callback, uint32_t a1);

/**
 * Stops a timer: a countdown ends without a call, and pending starts are forgotten.
 *
 * @return ZAT_OK      stopped
 * @return ZAT_FAILED  the handle is unknown
 * @return a POSIX error number of the thread library, unchanged
 *
 * Does not wait for a callback that runs. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWStopTimer(ZatTimer timer);

/** Begins a running countdown again from the full interval; an idle timer stays idle. Returns as
 *  zatOSWStopTimer(). */
ZATOSW_API ZatStatus zatOSWResetTimer(ZatTimer timer);

/**
 * Deletes a timer and waits for the end of its task, a running callback included.
 *
 * @return ZAT_OK      the timer is gone
 * @return ZAT_FAILED  the handle is unknown
 * @return a POSIX error number of the thread library, unchanged
 *
 * Blocks. Must not be called from the timer's own callback.
 */
ZATOSW_API ZatStatus zatOSWDeleteTimer(ZatTimer timer);

/**
 * Starts a periodic timer that posts an event at every interval.
 *
 * It ends when its cancel handle is posted, or when the event cannot be posted any more because it
 * is deleted; the cancel handle is gone then. Cancel it before the event is deleted.
 *
 * @param cancel      receives the cancel handle, an event: post it once to end the timer
 * @param intervalMs  milliseconds
 * @param event       event to post
 *
 * @return ZAT_OK      the timer runs
 * @return ZAT_FAILED  cancel is null, or the task could not be made for want of memory
 * @return a status of zatOSWInit(), zatOSWCreateEventSem() or zatOSWCreateJoinTask()
 *
 * May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWStartEventTimer(ZatEventSem* cancel, uint32_t intervalMs,
                                           ZatEventSem event);

/** Starts a timer that posts an event once, after a delay, unless it is cancelled before; the
 *  cancel handle is gone then. Otherwise as zatOSWStartEventTimer(). */
ZATOSW_API ZatStatus zatOSWAsyncEventTimer(ZatEventSem* cancel, uint32_t delayMs,
                                           ZatEventSem event);

ZATOSW_END_DECLS

#endif
