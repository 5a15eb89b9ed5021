/**
 * @file
 * Named timers: any process starts, stops or resets one; its handler runs in one process.
 *
 * That is the process that first started it with a handler, the serving process. There the timer
 * has a control task, "oswipctmr", which carries out what the others ask for, and a process-local
 * timer, in whose task the handler runs. Requests do not queue: a later one replaces one that the
 * control task has not read yet. When the serving process was killed, requests have no effect until
 * a process starts the timer with a handler, and so serves it from then on.
 */
#ifndef ZATOSW_OSW_IPC_TIMER_H
#define ZATOSW_OSW_IPC_TIMER_H

#include "../timer.h"

ZATOSW_BEGIN_DECLS

/**
 * Creates a named timer, or opens the one that has the name.
 *
 * All creates of a name in a process give the same handle, and each needs a delete of its own.
 *
 * @param name            name, NUL-terminated, at most 31 characters; null makes a process-local
 *                        timer (zatOSWCreateTimer()) that the calls below serve as well
 * @param handle          receives the handle; written on success only
 * @param stackSizeBytes  stack of the control task and of the handler's task; all creates of a name
 *                        must agree on it
 *
 * @return ZAT_OK                  the handle is good
 * @return ZAT_IPC_BAD_PARAMETERS  the existing timer was created with another stack size
 * @return another status of zatOSWIpcCreateMutexSem(); with a null name, of zatOSWCreateTimer()
 *
 * A failure leaves nothing behind. May be called from any task; waits for other creates and deletes
 * of the machine.
 */
ZATOSW_API ZatStatus zatOSWIpcCreateTimer(const char* name, ZatIpcHandle* handle,
                                          uint32_t stackSizeBytes);

/**
 * Starts a timer: its handler is called once, after the time.
 *
 * Starting a running timer does not disturb its countdown: see zatOSWStartTimer(). A stop that is
 * followed at once by a start may be lost, as any request that another one replaces.
 *
 * With a handler, the process serves the timer from then on, or goes on doing so with the new
 * handler. Without one, the serving process starts it again with the handler that it has.
 *
 * @param handle    handle from zatOSWIpcCreateTimer(), or what the handler is given as its timer
 * @param timeMs    milliseconds
 * @param handler   called in the serving process, on the timer's task and under no lock; null = the
 *                  one that the timer has. It must not delete the timer.
 * @param argument  its first word; the others are 0
 *
 * @return ZAT_OK                  started, or the control task was told to
 * @return ZAT_IPC_TIMER_ELSEWHERE handler is not null, and another process serves the timer
 * @return ZAT_IPC_TIMER_IDLE      handler is null, and no process serves the timer
 * @return ZAT_IPC_NO_OBJECT       unknown handle
 * @return ZAT_IPC_SEMOP_FAILED, ZAT_IPC_SEMCTL_FAILED  a semaphore call of the system failed
 * @return a status of zatOSWCreateJoinTask(), zatOSWCreateTimer() or zatOSWStartTimer()
 *
 * Does not wait for the timer. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWIpcStartTimer(ZatIpcHandle handle, uint32_t timeMs,
                                         ZatTimerCallback handler, uint32_t argument);

/**
 * Stops a timer: its countdown ends without a call.
 *
 * @param handle  handle from zatOSWIpcCreateTimer(), or what the handler is given as its timer
 *
 * @return ZAT_OK              the control task was told to
 * @return ZAT_IPC_TIMER_IDLE  no process serves the timer
 * @return ZAT_IPC_NO_OBJECT   unknown handle
 * @return ZAT_IPC_SEMOP_FAILED, ZAT_IPC_SEMCTL_FAILED  a semaphore call of the system failed
 * @return a status of zatOSWStopTimer() for a process-local timer
 *
 * Does not wait for the timer. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWIpcStopTimer(ZatIpcHandle handle);

/** Begins a running countdown again from the full time; returns as zatOSWIpcStopTimer(), with the
 *  statuses of zatOSWResetTimer() for a process-local timer. */
ZATOSW_API ZatStatus zatOSWIpcResetTimer(ZatIpcHandle handle);

/**
 * Takes one create of this process back. With its last one the handle is gone; if this process
 * serves the timer, it is not started any more. With the last handle of all processes the timer is
 * removed.
 *
 * @param handle  handle from zatOSWIpcCreateTimer()
 *
 * @return ZAT_OK                taken back
 * @return ZAT_IPC_NO_OBJECT     unknown handle
 * @return ZAT_IPC_NO_REFERENCE  the handle has no references left
 * @return ZAT_IPC_SEMOP_FAILED  the locks of the layer could not be taken
 * @return a status of zatOSWDeleteTimer() for a process-local timer, which a refusal leaves usable
 *
 * Waits for the control task and for a handler that runs: not to be called by the handler.
 */
ZATOSW_API ZatStatus zatOSWIpcDeleteTimer(ZatIpcHandle handle);

ZATOSW_END_DECLS

#endif
