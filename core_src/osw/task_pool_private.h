/*
 * Pools and their workers. The pool lock guards the list of pools, every pool, and each worker that
 * is on a list of its pool; jobs run without it. It is held while a worker's task is made, so that
 * the worker finds itself on its list.
 *
 * A worker frees its own record, however its task ends. One that was told to end is on no list: its
 * pool may be gone.
 */
#ifndef ZATOSW_OSW_TASK_POOL_PRIVATE_H
#define ZATOSW_OSW_TASK_POOL_PRIVATE_H

#include <pthread.h>
#include <stddef.h>

#include "clb/list.h"
#include "osw/lock_private.h"
#include "osw/task_pool.h"
#include "osw/task_private.h"

struct OswTaskPool {
    ClbLstNode links;
    int32_t priority;
    uint32_t stackSize;
    int32_t initial;
    int32_t min;
    int32_t max;
    int32_t rng;
    int32_t step;
    int32_t cur;
    int32_t peak;
    ClbLstHead idle;
    ClbLstHead busy;
    ZatEventSem idleEvent;  /* a worker became free, or the waiting caller is to look again */
    ZatMutexSem queueMutex; /* one caller at a time waits for that */
    char name[ZAT_TASK_NAME_SIZE];
    /* Not part of the described record: */
    uint32_t queuers; /* callers that gave the lock up to wait; the last one frees a deleted pool */
    uint32_t deleted;
};

static_assert(offsetof(OswTaskPool, priority) == 8 && offsetof(OswTaskPool, max) == 24 &&
              offsetof(OswTaskPool, idle) == 44 && offsetof(OswTaskPool, busy) == 56 &&
              offsetof(OswTaskPool, idleEvent) == 68 && offsetof(OswTaskPool, name) == 76);

struct OswPoolWorker {
    ClbLstNode links;
    uint32_t st; /* 1 = the worker is to end */
    ZatEventSem event;
    ZatTaskId threadId;
    ZatTaskEntry entry;
    OswTaskArguments arguments;
    char jobName[ZAT_TASK_NAME_SIZE];
    /* Not part of the described record: */
    ClbLstHead* list; /* that it is on, null for none */
};

static_assert(offsetof(OswPoolWorker, st) == 8 && offsetof(OswPoolWorker, entry) == 20 &&
              offsetof(OswPoolWorker, arguments) == 24 && offsetof(OswPoolWorker, jobName) == 64);

extern pthread_mutex_t oswPoolLock;
extern ClbLstHead oswPools;

/* All of what follows runs under the pool lock. */

/* The pool of a handle, null when there is none. */
OswTaskPool* oswFindPool(ZatHandle handle);

/* Makes a worker with its task, on the idle list. */
ZatStatus oswMakeWorker(OswTaskPool& pool, OswPoolWorker*& worker);

/* Takes a worker off its list, and puts it on another unless that is null. */
void oswMoveWorker(OswPoolWorker& worker, ClbLstHead* list);

/* Takes a worker off its list and tells it to end. */
ZatStatus oswEndWorker(OswPoolWorker& worker);

/* Has the caller that waits for a worker look again. */
void oswWakeQueuer(const OswTaskPool& pool);

/* Frees a pool that is on no list, with its semaphores. */
void oswFreePool(OswTaskPool* pool);

#endif
