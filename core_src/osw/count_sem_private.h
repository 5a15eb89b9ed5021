/* The record of a counting semaphore; its address is the handle. */
#ifndef ZATOSW_OSW_COUNT_SEM_PRIVATE_H
#define ZATOSW_OSW_COUNT_SEM_PRIVATE_H

#include <pthread.h>
#include <stddef.h>

#include "clb/list.h"
#include "osw/index_private.h"
#include "osw/lock_private.h"
#include "osw/sem_grants_private.h"
#include "osw/types.h"

struct OswCountSem {
    ClbLstNode links;
    uint32_t valid;
    uint32_t handoff;
    int32_t waiters;
    int32_t count; /* available units */
    pthread_cond_t cond;
    pthread_mutex_t mutex;
    /* Not part of the described record: */
    OswWaiting waiting;
    uint32_t standbys;
    OswIndexNode byHandle;
};

static_assert(offsetof(OswCountSem, valid) == 8 && offsetof(OswCountSem, waiters) == 16 &&
              offsetof(OswCountSem, count) == 20);

/* zatOSWWaitCountSem for a semaphore that only the held lock keeps alive: the lock is given up if
 * there is need to wait, and only then. */
ZatStatus oswWaitCountSemHolding(ZatHandle semaphore, ZatTimeoutMs timeoutMs, OswLock& held);

/* zatOSWPostCountSem for such a semaphore. */
ZatStatus oswPostCountSemHolding(ZatHandle semaphore);

#endif
