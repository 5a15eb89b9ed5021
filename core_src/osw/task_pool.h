/**
 * @file
 * Task pools: jobs on tasks that are used again, instead of a task per job.
 *
 * A pool keeps between a minimum and a maximum of worker tasks: it makes workers when there is
 * work, lets a job wait when all of the maximum are busy, and ends those that are too many when
 * jobs end. A job runs under its own name; afterwards the worker has its priority back.
 *
 * All calls may be made from any task, jobs included.
 */
#ifndef ZATOSW_OSW_TASK_POOL_H
#define ZATOSW_OSW_TASK_POOL_H

#include "status.h"

ZATOSW_BEGIN_DECLS

/** As initial: all five limits are those of zatOSWSetTaskPoolDefault(). */
#define ZAT_POOL_DEFAULTS (-1)
/** As max: no limit. */
#define ZAT_POOL_UNLIMITED (-1)

/**
 * Makes a task pool.
 *
 * Where min is above max, max becomes min; where they are equal then, rng and step become 0; where
 * step is above rng, rng becomes step.
 *
 * @param pool            receives the handle
 * @param name            name of the workers, of which 16 characters count; null = none
 * @param priority        priority of workers and of tasks of their own, as for
 *                        zatOSWCreateJoinTask()
 * @param stackSizeBytes  their stack
 * @param initial         workers to begin with; ZAT_POOL_DEFAULTS
 * @param min             workers that stay
 * @param max             workers at most; ZAT_POOL_UNLIMITED; 0 = none, each job gets a task of its
 *                        own
 * @param rng             when a job ends and there are more than min workers: how many must be
 * idle, the one that ends it included, for that many to be ended; 0 = the worker itself ends
 * @param step            0 = none is ended so
 *
 * @return ZAT_OK      the pool exists
 * @return ZAT_FAILED  pool is null, or max is below ZAT_POOL_UNLIMITED
 * @return a status of zatOSWInit(), zatOSWOrgAllocMemPart(), zatOSWCreateEventSem(),
 *         zatOSWCreateMutexSem() or zatOSWCreateJoinTask(); nothing is left then
 */
ZATOSW_API ZatStatus zatOSWCreateTaskPool(ZatTaskPool* pool, const char* name, int32_t priority,
                                          uint32_t stackSizeBytes, int32_t initial, int32_t min,
                                          int32_t max, int32_t rng, int32_t step);

/**
 * Deletes a task pool. Jobs that run are finished first, each by its worker, which then ends; jobs
 * that have a worker but were not begun are dropped; callers that wait for a worker return
 * ZAT_FAILED.
 *
 * @return ZAT_OK      deleted
 * @return ZAT_FAILED  there is no such pool
 * @return a status of zatOSWPostEventSem() for the worker that was told last
 *
 * Does not wait for jobs.
 */
ZATOSW_API ZatStatus zatOSWDeleteTaskPool(ZatTaskPool pool);

/**
 * Runs a job on a worker of a pool.
 *
 * @param pool   handle from zatOSWCreateTaskPool()
 * @param name   name of the task while the job runs, of which 16 characters count; null = none;
 *               "Controller-P" = the first 6 characters of the caller's name, the return address of
 *               the caller's caller, and "-P"
 * @param entry  function to run; a job that ends its task takes the worker with it
 * @param a1     first of its ten arguments
 *
 * @return ZAT_OK      the job has a worker
 * @return ZAT_FAILED  there is no such pool, entry is null, the pool was deleted meanwhile, no
 *                     worker became free, or there is no memory for a task's record
 * @return a status of zatOSWOrgAllocMemPart(), zatOSWCreateEventSem(), zatOSWCreateJoinTask() or
 *         zatOSWPostEventSem(); the job does not run then
 *
 * Blocks while all of the maximum of workers are busy, one caller after the other. A task deleted
 * while it waits gives its place up.
 */
ZATOSW_API ZatStatus zatOSWQueueTaskPool(ZatTaskPool pool, const char* name, ZatTaskEntry entry,
                                         uint32_t a1, uint32_t a2, uint32_t a3, uint32_t a4,
                                         uint32_t a5, uint32_t a6, uint32_t a7, uint32_t a8,
                                         uint32_t a9, uint32_t a10);

/**
 * Begins to measure the peak of a pool anew, and may change its limits, by the rules of
 * zatOSWCreateTaskPool(). Workers that are there are not changed.
 *
 * @param number  which pool: its place among all, from 0, in the order in which they were made
 * @param apply   0 = the limits stay as they are
 *
 * @return ZAT_OK      done
 * @return ZAT_FAILED  there are not so many pools, or max is below ZAT_POOL_UNLIMITED
 * @return a status of zatOSWCreateEventSem() or zatOSWCreateMutexSem(); the limits stay
 */
ZATOSW_API ZatStatus zatOSWChangeTaskPool(int32_t number, uint32_t apply, int32_t min, int32_t max,
                                          int32_t rng, int32_t step);

/** Sets the limits of pools that are made with ZAT_POOL_DEFAULTS; at first 0, 0,
 *  ZAT_POOL_UNLIMITED, 10 and 5. ZAT_OK always. */
ZATOSW_API ZatStatus zatOSWSetTaskPoolDefault(int32_t initial, int32_t min, int32_t max,
                                              int32_t rng, int32_t step);

/**
 * Prints all pools with their workers by zatGENTrcPrintf(), type 0x102.
 *
 * @param component  component to print under
 * @param level      level to print at
 *
 * @return ZAT_OK  always
 *
 * Each pool is printed as it was at one moment, without a lock.
 */
ZATOSW_API ZatStatus zatOSWShowTaskPool(uint32_t component, uint32_t level);

ZATOSW_END_DECLS

#endif
