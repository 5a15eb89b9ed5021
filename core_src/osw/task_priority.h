/**
 * @file
 * Scheduling of tasks: policies, Linux priorities (1 to 99) and kernel-style ones (0 to 255).
 */
#ifndef ZATOSW_OSW_TASK_PRIORITY_H
#define ZATOSW_OSW_TASK_PRIORITY_H

#include "status.h"

ZATOSW_BEGIN_DECLS

/** Linux priority of each kernel-style priority: 99 for 0 (highest) down to 0 for 255. */
extern ZATOSW_API int32_t zatOSWTaskPriorityMap[256];

/**
 * Gives a task a Linux priority under the policy of zatOSWSetTaskScheduler().
 *
 * @param task      thread id
 * @param priority  below the policy's range it becomes policy 0 with priority 0, above it the
 *                  highest
 *
 * @return ZAT_OK  changed, in the task's record too if it is registered
 * @return a POSIX error number: ESRCH for a task that is gone, EPERM when not permitted
 */
ZATOSW_API ZatStatus zatOSWSetTaskPriority(ZatTaskId task, int32_t priority);

/**
 * Gives a task a Linux priority under a policy of its own.
 *
 * @param policy  0 other, 1 FIFO, 2 round robin
 *
 * @return ZAT_FAILED  policy is above 2
 * @return otherwise as zatOSWSetTaskPriority()
 */
ZATOSW_API ZatStatus zatOSWSetTaskPriorityWithScheduler(ZatTaskId task, int32_t priority,
                                                        uint32_t policy);

/**
 * Gives a task's Linux priority.
 *
 * @param priority  receives it; written on success only
 *
 * @return ZAT_OK      priority is written
 * @return ZAT_FAILED  priority is null
 * @return a POSIX error number: ESRCH for a task that is gone
 */
ZATOSW_API ZatStatus zatOSWGetTaskPriority(ZatTaskId task, int32_t* priority);

/** Gives a task a kernel-style priority, 0 to 255: a larger one reads past the map. Returns as
 *  zatOSWSetTaskPriority(). */
ZATOSW_API ZatStatus zatOSWSetTaskPriorityXvx(ZatTaskId task, uint32_t priority);

/**
 * Asks for a task's kernel-style priority.
 *
 * @param priority  left untouched when the task's Linux priority can be read; 255 when it cannot
 *
 * @return as zatOSWGetTaskPriority()
 */
ZATOSW_API ZatStatus zatOSWGetTaskPriorityXvx(ZatTaskId task, int32_t* priority);

/** Sets the policy for priorities given from now on: 0 other, 1 FIFO (the default), 2 round robin;
 *  ZAT_FAILED, and nothing changed, above 2. */
ZATOSW_API ZatStatus zatOSWSetTaskScheduler(uint32_t policy);

/** Gives that policy; ZAT_OK always. A null policy is ignored. */
ZATOSW_API ZatStatus zatOSWGetTaskScheduler(uint32_t* policy);

ZATOSW_END_DECLS

#endif
