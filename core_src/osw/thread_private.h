/*
 * Threads by id, as far as the thread library can be asked without harm.
 *
 * A thread id is an address that the thread library reads: one whose thread is gone may lead to
 * memory that is gone too. Only ids in the registry are known to be good.
 */
#ifndef ZATOSW_OSW_THREAD_PRIVATE_H
#define ZATOSW_OSW_THREAD_PRIVATE_H

#include "osw/status.h"

struct OswScheduling {
    int policy;
    int priority;
};

/* A thread's policy and priority: 0, ESRCH when there is no such thread, or another error. Under
 * the registry lock the answer holds for a task until the lock is given up. */
ZatStatus oswAskThread(ZatTaskId task, OswScheduling* scheduling);

/* Whether the thread library may be asked about an id at all. */
bool oswMayAskThread(ZatTaskId task);

/* What a requested Linux priority comes to under a policy. */
OswScheduling oswSchedulingFor(int policy, int32_t priority);

/* The policy for priorities given from now on. */
int oswDefaultPolicy();

#endif
