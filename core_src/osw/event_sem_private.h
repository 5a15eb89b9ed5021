/* The record of an event semaphore; its address is the handle. */
#ifndef ZATOSW_OSW_EVENT_SEM_PRIVATE_H
#define ZATOSW_OSW_EVENT_SEM_PRIVATE_H

#include <pthread.h>
#include <stddef.h>

#include "clb/list.h"
#include "osw/index_private.h"
#include "osw/lock_private.h"
#include "osw/sem_grants_private.h"
#include "osw/types.h"

struct OswEventSem {
    ClbLstNode links;
    uint32_t valid;
    uint32_t handoff;
    int32_t waiters;
    uint32_t signalled; /* a post is pending */
    pthread_cond_t cond;
    pthread_mutex_t mutex;
    /* Not part of the described record: */
    OswWaiting waiting;
    uint32_t standbys;
    OswIndexNode byHandle;
};

static_assert(offsetof(OswEventSem, valid) == 8 && offsetof(OswEventSem, waiters) == 16 &&
              offsetof(OswEventSem, signalled) == 20);

/* zatOSWWaitEventSem for an event that only the held lock keeps alive: the lock is given up if
 * there is need to wait, and only then. */
ZatStatus oswWaitEventSemHolding(ZatHandle event, ZatTimeoutMs timeoutMs, OswLock& held);

#endif
