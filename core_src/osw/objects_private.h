/*
 * The four kinds of object that zatOSWInit prepares: a lock and the list that it guards.
 *
 * Lock order: a kind's lock before the internal mutex of one of its objects; the lock of the
 * message queues before that of the counting semaphores.
 */
#ifndef ZATOSW_OSW_OBJECTS_PRIVATE_H
#define ZATOSW_OSW_OBJECTS_PRIVATE_H

#include <pthread.h>

#include "clb/list.h"

struct OswObjectKind {
    pthread_mutex_t lock;
    ClbLstHead objects;
};

extern OswObjectKind oswEventSems;
extern OswObjectKind oswMutexSems;
extern OswObjectKind oswCountSems;
extern OswObjectKind oswMsgQueues;

#endif
