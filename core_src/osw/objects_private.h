/*
 * The four kinds of object that zatOSWInit prepares: a lock, and the list and the index of handles
 * that it guards. A handle is the address of a record: only the index tells whether there is one.
 *
 * Lock order: a kind's lock before the internal mutex of one of its objects; the lock of the
 * message queues before that of the counting semaphores.
 */
#ifndef ZATOSW_OSW_OBJECTS_PRIVATE_H
#define ZATOSW_OSW_OBJECTS_PRIVATE_H

#include <pthread.h>
#include <stddef.h>

#include "clb/list.h"
#include "osw/handle_private.h"
#include "osw/index_private.h"

struct OswObjectKind {
    pthread_mutex_t lock;
    ClbLstHead objects;
    OswIndex byHandle;
};

/* Under the kind's lock. Records begin with links and have a node, byHandle. */
template <class Record>
void oswAddObject(OswObjectKind& kind, Record& record) {
    zatCLBLstAdd(&kind.objects, &record);
    oswIndexAdd(kind.byHandle, record.byHandle, oswWord(&record), &record);
}

template <class Record>
void oswRemoveObject(OswObjectKind& kind, Record& record) {
    zatCLBLstDelete(&kind.objects, &record);
    oswIndexRemove(kind.byHandle, record.byHandle);
}

/* The record of a handle, null when there is none. A handle tells where its node would be: mostly
 * the bucket alone is looked at. */
template <class Record>
Record* oswFindObject(OswObjectKind& kind, ZatHandle handle) {
    const auto* own = oswRecord<OswIndexNode>(handle + offsetof(Record, byHandle));
    const OswIndexNode* node = oswIndexBucket(kind.byHandle, handle);
    while (node != nullptr && node != own)
        node = node->next;
    return node == nullptr ? nullptr : oswRecord<Record>(handle);
}

extern OswObjectKind oswEventSems;
extern OswObjectKind oswMutexSems;
extern OswObjectKind oswCountSems;
extern OswObjectKind oswMsgQueues;

#endif
