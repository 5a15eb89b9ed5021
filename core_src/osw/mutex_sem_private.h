/* The record of a mutex semaphore; its address is the handle. */
#ifndef ZATOSW_OSW_MUTEX_SEM_PRIVATE_H
#define ZATOSW_OSW_MUTEX_SEM_PRIVATE_H

#include <pthread.h>
#include <stddef.h>

#include "clb/list.h"
#include "osw/index_private.h"
#include "osw/sem_grants_private.h"
#include "osw/types.h"

struct OswMutexSem {
    ClbLstNode links;
    uint32_t valid;
    uint32_t handoff;
    int32_t waiters;
    uint32_t owner; /* thread id, all ones when free */
    int32_t count;  /* 1 free, 0 taken, -n taken n more times by the owner */
    pthread_cond_t cond;
    pthread_mutex_t mutex; /* guards valid to count, and the words below */
    /* Not part of the described record: */
    OswWaiting waiting;
    uint32_t standbys;
    OswIndexNode byHandle;
};

static_assert(offsetof(OswMutexSem, valid) == 8 && offsetof(OswMutexSem, waiters) == 16 &&
              offsetof(OswMutexSem, owner) == 20 && offsetof(OswMutexSem, count) == 24);

#endif
