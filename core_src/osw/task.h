/**
 * @file
 * Tasks: threads that the library creates, names, schedules, joins, ends and gives variables.
 *
 * A task id is the thread id of the task's thread. Who releases a task's record is decided by its
 * join mode: 1 = whoever joins it (zatOSWWaitTask(), zatOSWWaitJoinableTask(),
 * zatOSWSubPthreadJoin()), any other value = the task itself when it ends.
 *
 * A task is deleted by cancelling its thread, which acts at the task's next cancellation point:
 * every wait of this library is one, but for the fixed locks. Deleting unwinds the task's stack, so
 * that the destructors of C++ objects run; what the task held (mutexes, memory) stays held.
 */
#ifndef ZATOSW_OSW_TASK_H
#define ZATOSW_OSW_TASK_H

#include <pthread.h>

#include "status.h"

ZATOSW_BEGIN_DECLS

/**
 * Creates a task.
 *
 * The stack that it asks for is clamped to the limits of OSW_TASK_STACK_ENV (see zatOSWInit());
 * its thread gets that and the extra size, at most the maximum, and at least what the thread
 * library demands.
 *
 * @param task            receives the thread id; may be null
 * @param name            name, of which 16 characters count; null = the first 8 characters of the
 *                        caller's name and its return address, "Thread" = the first 6 characters,
 *                        the return address of the caller's caller, and "-T"
 * @param priority        Linux priority under the policy of zatOSWSetTaskScheduler(): below the
 *                        policy's range it becomes policy 0, above it the highest;
 *                        ZAT_INHERIT_PRIORITY = the caller's policy and priority
 * @param stackSizeBytes  stack to ask for
 * @param entry           function to run
 * @param joinMode        1 = joinable, and the joiner releases the record; 0 = detached; -1 =
 *                        joinable until the entry function returns, then it detaches itself
 * @param a1..a10         arguments of the entry function
 *
 * @return ZAT_OK      the task exists; or there was no memory for its record, and task is left as
 *                     it was
 * @return ZAT_FAILED  entry is null
 * @return a status of zatOSWInit() or zatOSWOrgAllocMemPart(), or the error number of
 *         pthread_create(), EPERM when the priority is not permitted
 *
 * Does not wait for the task. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWCreateJoinTask(ZatTaskId* task, const char* name, int32_t priority,
                                          uint32_t stackSizeBytes, ZatTaskEntry entry,
                                          int32_t joinMode, uint32_t a1, uint32_t a2, uint32_t a3,
                                          uint32_t a4, uint32_t a5, uint32_t a6, uint32_t a7,
                                          uint32_t a8, uint32_t a9, uint32_t a10);

/**
 * Creates a task with a kernel-style priority and join mode -1; otherwise as
 * zatOSWCreateJoinTask().
 *
 * @param priority  0 (highest) to 255, mapped by zatOSWTaskPriorityMap; above 255 it inherits the
 *                  caller's policy and priority
 *
 * A generated name tells the caller's return address for "Thread", and for null an address of this
 * call, which calls zatOSWCreateJoinTask().
 *
 * The task detaches itself when its entry function returns. One that ends by zatOSWExitTask() does
 * not: join it with zatOSWSubPthreadJoin() or zatOSWWaitJoinableTask(), or detach it before it
 * ends, or its thread's stack stays behind.
 */
ZATOSW_API ZatStatus zatOSWCreateTaskVxv(ZatTaskId* task, const char* name, uint32_t priority,
                                         uint32_t stackSizeBytes, ZatTaskEntry entry, uint32_t a1,
                                         uint32_t a2, uint32_t a3, uint32_t a4, uint32_t a5,
                                         uint32_t a6, uint32_t a7, uint32_t a8, uint32_t a9,
                                         uint32_t a10);

/**
 * Creates a task from POSIX thread attributes. Its name is "pthread" and the caller's return
 * address; a joinable one has join mode -1, a detached one 0.
 *
 * @param task        receives the thread id; may be null
 * @param attributes  stack size, detach state and, with explicit scheduling, policy and priority;
 *                    null = 32768 bytes, joinable, the caller's policy and priority
 * @param entry       function to run, with one argument and nine zeros
 * @param argument    its first argument
 *
 * @return as zatOSWCreateJoinTask()
 */
ZATOSW_API ZatStatus zatOSWSubPthreadCreate(ZatTaskId* task, const pthread_attr_t* attributes,
                                            ZatTaskEntry entry, uint32_t argument);

/**
 * Waits for the end of a task.
 *
 * @param task  thread id
 * @param wait  0 = only ask whether the task lives
 *
 * @return ZAT_OK      the task has ended, or is gone, or cannot be joined. One with join mode -1
 * that has ended before the call is not joined by it.
 * @return ZAT_FAILED  the task lives and wait is 0
 * @return a POSIX error number: EDEADLK when a task waits for itself
 *
 * Blocks. A task that is deleted while it waits leaves the other one joinable.
 */
ZATOSW_API ZatStatus zatOSWWaitTask(ZatTaskId task, uint32_t wait);

/**
 * Waits for the end of a joinable task and receives its exit value.
 *
 * @param task       thread id
 * @param wait       0 = only ask whether the task lives
 * @param exitValue  receives what the entry function returned, or the value given to
 *                   zatOSWExitTask(), or all ones for a deleted task; may be null
 *
 * @return ZAT_OK      joined
 * @return ZAT_FAILED  the task lives and wait is 0
 * @return a POSIX error number: ESRCH for a task that is gone, EINVAL for a detached one, EDEADLK
 *         when a task waits for itself
 *
 * Blocks. A task that is deleted while it waits leaves the other one joinable.
 */
ZATOSW_API ZatStatus zatOSWWaitJoinableTask(ZatTaskId task, uint32_t wait, uint32_t* exitValue);

/** Joins a task; as zatOSWWaitJoinableTask() with wait 1. */
ZATOSW_API ZatStatus zatOSWSubPthreadJoin(ZatTaskId task, uint32_t* exitValue);

/** Detaches a task: it releases its own record, and nobody joins it. ZAT_OK always. */
ZATOSW_API ZatStatus zatOSWDetachTask(ZatTaskId task);

/** As zatOSWDetachTask(). */
ZATOSW_API ZatStatus zatOSWSubPthreadDetach(ZatTaskId task);

/** Ends the calling task with an exit value. Does not return; unwinds the task's stack. */
ZATOSW_API ZATOSW_NORETURN void zatOSWExitTask(uint32_t exitValue);

/**
 * Deletes a task: takes it off the registry, unless a joiner is to release its record, and cancels
 * its thread.
 *
 * @param task  thread id; the caller's own ends at its next cancellation point
 *
 * @return ZAT_OK  the thread will end at its next cancellation point
 * @return a POSIX error number of pthread_cancel(); ESRCH when the task is gone
 *
 * Does not wait for the end. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWDeleteTask(ZatTaskId task);

/** As zatOSWDeleteTask(). */
ZATOSW_API ZatStatus zatOSWSubPthreadCancel(ZatTaskId task);

/**
 * Cancels a task and leaves its record to the task or its joiner; detaching it makes the record the
 * task's own affair.
 *
 * @param task  thread id
 * @param join  0 = detach it first; otherwise the caller joins it, with zatOSWSubPthreadJoin() or
 *              zatOSWWaitJoinableTask()
 *
 * @return as zatOSWDeleteTask()
 */
ZATOSW_API ZatStatus zatOSWDeleteTaskJoin(ZatTaskId task, uint32_t join);

ZATOSW_END_DECLS

#endif
