/**
 * @file
 * Kernel-style calls: tasks, semaphores, message queues, watchdogs and memory under the names and
 * in the manner of a classic real-time kernel, so that code written that way runs on this library.
 *
 * <zatosw/zatosw.h> does not include this header, since its names are plain words that a program
 * may want for itself: ported code includes <zatosw/osw/compat/compat.h>. The library does not use
 * these calls itself, so a program may also define functions of the same names.
 *
 * Time-outs are in ticks, ZAT_KERNEL_TICKS_PER_SECOND of them in a second; 0 does not wait and
 * ZAT_FOREVER waits without limit, and t other ticks are t * 1000 / 60 milliseconds, rounded down.
 * That is computed in signed 32 bits: more than 2147483 ticks (9.9 hours) come out as another time,
 * which may be anything.
 *
 * The calls lock nothing themselves; the objects behind them do. Each is a step away from a call of
 * the OS wrapper, which may be used on the same tasks, queues and partitions: where there is no
 * kernel-style call, as for deleting a queue or a task or freeing a block, that is what to use.
 * Calls that create something bring the library up first; the caller then becomes "mainThread". A
 * program that ends calls zatOSWTerm() (osw/init.h), or leaves what processes share to the next
 * one.
 */
#ifndef ZATOSW_OSW_COMPAT_H
#define ZATOSW_OSW_COMPAT_H

#include "../mem_part.h"
#include "../status.h"

ZATOSW_BEGIN_DECLS

/** Ticks in a second, in which these calls count time-outs. */
#define ZAT_KERNEL_TICKS_PER_SECOND 60u

/** A time-out in ticks: 0 does not wait, ZAT_FOREVER waits without limit. */
typedef uint32_t ZatTicks;

typedef ZatHandle ZatKernelSem;      /**< A semaphore of any of the three kinds. */
typedef ZatHandle ZatKernelWatchdog; /**< A watchdog; see wdCreate(). */

/** What a watchdog calls, on a task of the library's with a stack for short work (see wdCreate()).
 *  What it returns is not looked at. */
typedef uint32_t (*ZatKernelRoutine)(uint32_t parameter);

/* ---- Tasks ---- */

/**
 * Creates a task; as zatOSWCreateTaskVxv().
 *
 * @param name            name, of which 16 characters count. null and "Thread" generate one, as in
 *                        zatOSWCreateTaskVxv(), with an address of the library in it.
 * @param priority        0 (highest) to 255; above 255 it inherits the caller's policy and priority
 * @param options         ignored
 * @param stackSizeBytes  stack to ask for
 * @param entry           function to run
 * @param a1..a10         its arguments
 *
 * @return the thread id; 0 when the task could not be created: entry is null, no memory, no thread,
 *         or the priority is not permitted
 *
 * Does not wait for the task. May be called from any task.
 */
ZATOSW_API ZatTaskId taskSpawn(const char* name, uint32_t priority, uint32_t options,
                               uint32_t stackSizeBytes, ZatTaskEntry entry, uint32_t a1,
                               uint32_t a2, uint32_t a3, uint32_t a4, uint32_t a5, uint32_t a6,
                               uint32_t a7, uint32_t a8, uint32_t a9, uint32_t a10);

/** Gives the caller's thread id, also of a thread that is no task of the library. */
ZATOSW_API ZatTaskId taskIdSelf(void);

/**
 * Gives a task's name.
 *
 * @param task  thread id; 0 stands for no task
 *
 * @return one buffer of the library for all callers, terminated. The next call of any task
 *         overwrites it; for a task that is not registered it keeps its text. Never null, never to
 *         be freed.
 *
 * zatOSWGetTaskName() has no such buffer.
 */
ZATOSW_API char* taskName(ZatTaskId task);

/** Finds a task by its name, of which 16 characters count; of several, the oldest. 0 when there is
 *  none, or name is null. */
ZATOSW_API ZatTaskId taskNameToId(const char* name);

/**
 * Gives the value of a task variable; zatOSWAddTaskVar() and zatOSWSetTaskVar() make and set it.
 *
 * @param task  thread id; 0 stands for the caller
 * @param key   the variable's key
 *
 * @return the value; 0 also when the task has no variable with this key
 */
ZATOSW_API uint32_t taskVarGet(ZatTaskId task, uint32_t key);

/* ---- Semaphores ---- */

/**
 * Creates a binary semaphore: an event semaphore (osw/event_sem.h), 1 at most.
 *
 * @param options       as for zatOSWCreateEventSem(): ignored
 * @param initialState  1 = it can be taken once, any other value = it cannot
 *
 * @return the handle; 0 when the library did not come up, or it could not be created
 *
 * May be called from any task.
 */
ZATOSW_API ZatKernelSem semBCreate(uint32_t options, uint32_t initialState);

/** Creates a mutual exclusion semaphore: a mutex semaphore (osw/mutex_sem.h), which its owner may
 *  take again, created free. Otherwise as semBCreate(). */
ZATOSW_API ZatKernelSem semMCreate(uint32_t options);

/** Creates a counting semaphore (osw/count_sem.h) with a number of units; otherwise as
 *  semBCreate(). */
ZATOSW_API ZatKernelSem semCCreate(uint32_t options, int32_t initialCount);

/**
 * Deletes a semaphore. Tasks that wait for it return ZAT_FAILED.
 *
 * @param semaphore  handle from semBCreate(), semMCreate() or semCCreate()
 *
 * @return ZAT_OK      deleted; the handle must not be used any more, except by calls that were
 *                     already waiting
 * @return ZAT_FAILED  a mutual exclusion semaphore that another task holds, which stays as it is;
 *                     or the handle is 0
 * @return a POSIX error number of the thread library; the semaphore stays
 *
 * Does not wait. May be called from any task.
 */
ZATOSW_API ZatStatus semDelete(ZatKernelSem semaphore);

/**
 * Gives a semaphore: posts a binary one, adds a unit to a counting one, releases a mutual exclusion
 * one.
 *
 * @return ZAT_OK      given
 * @return ZAT_FAILED  the caller does not own the mutual exclusion semaphore; or the handle is 0
 * @return a POSIX error number of the thread library, unchanged
 *
 * Does not wait. May be called from any task.
 */
ZATOSW_API ZatStatus semGive(ZatKernelSem semaphore);

/**
 * Takes a semaphore, waiting for it at most a given time.
 *
 * @param semaphore  handle from semBCreate(), semMCreate() or semCCreate()
 * @param timeout    ticks to wait; 0 = do not wait, ZAT_FOREVER = no limit
 *
 * @return ZAT_OK         taken; or a binary semaphore was flushed
 * @return ZAT_TIMED_OUT  not in time, or not at once and timeout is 0; errno is ETIMEDOUT, too
 * @return ZAT_FAILED     the semaphore was meanwhile deleted; or the handle is 0
 * @return a POSIX error number of the thread library, unchanged
 *
 * Blocks. May be called from any task; a task deleted while it waits gives its place up.
 */
ZATOSW_API ZatStatus semTake(ZatKernelSem semaphore, ZatTicks timeout);

/** Wakes every task that waits for a binary semaphore, and leaves it as it was: as
 *  zatOSWFlushEventSem(). ZAT_FAILED for the other kinds and for handle 0. */
ZATOSW_API ZatStatus semFlush(ZatKernelSem semaphore);

/* ---- Message queues ---- */

/**
 * Creates a message queue; as zatOSWCreateMsgQueue().
 *
 * @param maxMessages      messages that it holds
 * @param maxMessageBytes  the longest message
 * @param options          ZAT_MSG_QUEUE_GROWABLE (0x10, see osw/msg_queue.h): it grows instead of
 *                         making a sender wait; other bits have no meaning
 *
 * @return the handle, good for the calls of osw/msg_queue.h as well: zatOSWDeleteMsgQueue() deletes
 *         the queue; 0 when it could not be created
 *
 * May be called from any task.
 */
ZATOSW_API ZatMsgQueue msgQCreate(uint32_t maxMessages, uint32_t maxMessageBytes, uint32_t options);

/**
 * Sends a message, waiting for a free slot at most a given time; as zatOSWSendMsgQueue().
 *
 * @param queue        handle from msgQCreate()
 * @param message      the message; may be null when lengthBytes is 0
 * @param lengthBytes  its length; the rest of the slot is zeroed
 * @param timeout      ticks to wait; 0 = do not wait, ZAT_FOREVER = no limit
 * @param priority     not 0: the message goes ahead of all others
 *
 * @return ZAT_OK         sent
 * @return ZAT_TIMED_OUT  no slot in time; errno is ETIMEDOUT, too
 * @return another status of zatOSWSendMsgQueue(), unchanged
 *
 * Blocks. May be called from any task; a task deleted while it waits sends nothing.
 */
ZATOSW_API ZatStatus msgQSend(ZatMsgQueue queue, const void* message, uint32_t lengthBytes,
                              ZatTicks timeout, uint32_t priority);

/**
 * Receives the next message, waiting for it at most a given time; as zatOSWReceiveMsgQueue().
 *
 * @param queue        handle from msgQCreate()
 * @param buffer       receives the message, cut to bufferBytes; a shorter one than the queue's
 *                     longest arrives padded with zeros, and the length that was sent is not told
 * @param bufferBytes  its size
 * @param timeout      ticks to wait; 0 = do not wait, ZAT_FOREVER = no limit
 *
 * @return ZAT_OK         buffer holds the message: not its length, as in some kernels
 * @return ZAT_TIMED_OUT  no message in time; errno is ETIMEDOUT, too
 * @return another status of zatOSWReceiveMsgQueue(), unchanged
 *
 * Blocks. May be called from any task; a task deleted while it waits takes nothing.
 */
ZATOSW_API ZatStatus msgQReceive(ZatMsgQueue queue, void* buffer, uint32_t bufferBytes,
                                 ZatTicks timeout);

/** Tells how many messages a queue holds; -1 for an unknown queue, or when the thread library
 *  fails. */
ZATOSW_API int32_t msgQNumMsgs(ZatMsgQueue queue);

/* ---- Watchdogs ---- */

/**
 * Creates a watchdog: a callback timer (osw/timer.h) with a task of its own, which asks for a stack
 * of 4096 bytes and gets what the limits of OSW_TASK_STACK_ENV make of that (see zatOSWInit()).
 *
 * @return the handle; 0 when the library did not come up, or the timer could not be created: then
 *         12 bytes stay allocated
 *
 * May be called from any task.
 */
ZATOSW_API ZatKernelWatchdog wdCreate(void);

/**
 * Deletes a watchdog and waits for the end of its task, a running routine included.
 *
 * @param watchdog  handle from wdCreate()
 *
 * @return ZAT_OK      deleted; the handle must not be used any more
 * @return ZAT_FAILED  the handle is 0, or the timer behind it is gone
 * @return a POSIX error number of the thread library; the watchdog stays
 *
 * Blocks. Must not be called from the watchdog's own routine. A task deleted while it waits is
 * deleted when the watchdog is.
 */
ZATOSW_API ZatStatus wdDelete(ZatKernelWatchdog watchdog);

/**
 * Starts a watchdog: it calls the routine once, after the delay, and is idle again.
 *
 * Starting a running one does not begin its delay anew: that ends when it would have, calls the new
 * routine, and then the new delay begins and calls it once more. Call wdCancel() before to have
 * one call, after the new delay. Routine and parameter are two words: do not start a watchdog with
 * another routine while its delay may be ending.
 *
 * @param watchdog   handle from wdCreate()
 * @param delay      ticks, converted as time-outs are, but without exceptions: 0 calls at once, and
 *                   ZAT_FOREVER is a number like others that are too large
 * @param routine    function to call; must not be null. It may start or cancel its own watchdog,
 * but not delete it.
 * @param parameter  its argument
 *
 * @return ZAT_OK      started
 * @return ZAT_FAILED  routine is null, and nothing changes; the handle is 0, or the timer behind it
 *                     is gone
 * @return a POSIX error number of the thread library, unchanged
 *
 * Does not wait for the routine. May be called from any task.
 */
ZATOSW_API ZatStatus wdStart(ZatKernelWatchdog watchdog, uint32_t delay, ZatKernelRoutine routine,
                             uint32_t parameter);

/**
 * Stops a watchdog: its delay ends without a call, and pending starts are forgotten.
 *
 * @return ZAT_OK      stopped
 * @return ZAT_FAILED  the handle is 0, or the timer behind it is gone
 * @return a POSIX error number of the thread library, unchanged
 *
 * Does not wait for a routine that runs. May be called from any task.
 */
ZATOSW_API ZatStatus wdCancel(ZatKernelWatchdog watchdog);

/* ---- Memory; sysPartId is in osw/mem_part.h ---- */

/**
 * Makes a partition of a piece of memory; as zatOSWSysCreateMemPart().
 *
 * @param pool       start of the memory; must not be null. It stays the caller's.
 * @param sizeBytes  its size. Unless both pool and it are multiples of 8, the partition reaches up
 *                   to 7 bytes past the end of the memory and writes there
 *
 * @return the partition id, good for the calls of osw/mem_part.h as well: zatOSWDeleteMemPart()
 *         removes the System V semaphore that the partition has; 0 when it could not be made
 *
 * May be called from any task.
 */
ZATOSW_API ZatPartition memPartCreate(void* pool, uint32_t sizeBytes);

/**
 * Allocates a block; as zatOSWOrgAllocMemPart(), with its fatal faults. zatOSWOrgFreeMemPart()
 * frees it.
 *
 * @param partition  partition id; 0 = the process heap, with the checked header, and so is
 * sysPartId until it has a value
 * @param sizeBytes  size; not 0 in a partition
 *
 * @return the block; null when no free block of the partition is large enough
 *
 * Waits while another task or process works on the same partition. May be called from any task.
 */
ZATOSW_API void* memPartAlloc(ZatPartition partition, uint32_t sizeBytes);

ZATOSW_END_DECLS

#endif
