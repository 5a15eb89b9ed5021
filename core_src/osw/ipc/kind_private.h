/*
 * What differs between the types of object when they are found, made and removed: one table.
 */
#ifndef ZATOSW_OSW_IPC_KIND_PRIVATE_H
#define ZATOSW_OSW_IPC_KIND_PRIVATE_H

#include <sys/ipc.h>
#include <sys/types.h>

#include "osw/ipc/object_private.h"

/* What a handle that goes away has to do with those who wait for the object or hold it. Under the
 * lock of the type. */
struct IpcUse {
    /* Wakes those who could take the object now, if there are any. */
    void (*wake)(IpcHandle& handle);

    /* Null for objects that nobody holds. */
    bool (*mayDelete)(const IpcHandle& handle);
    ZatStatus (*giveBackAll)(IpcHandle& handle); /* what the process holds */
    ZatStatus (*giveBackOwn)(IpcHandle& handle); /* what the calling thread holds */
};

extern const IpcUse oswIpcMutexUse;
extern const IpcUse oswIpcCountUse;
extern const IpcUse oswIpcEventUse;
extern const IpcUse oswIpcQueueUse;
extern const IpcUse oswIpcSELockUse;
extern const IpcUse oswIpcUnheldUse; /* of objects that nobody waits for */

struct IpcKind {
    bool (*matches)(const IpcObjectEntry& entry, const IpcParameters& parameters);

    /*
     * Makes the System V objects of a new entry, all of them or none, and fills the entry's words.
     * keyIsOurs tells whether the key turned out to be free: a failure after that revokes the file.
     */
    ZatStatus (*make)(IpcObjectEntry& entry, const IpcParameters& parameters, key_t key,
                      bool& keyIsOurs);

    /* Removes the System V objects of an entry. */
    void (*remove)(IpcObjectEntry& entry);

    /* The process-local call that deletes an object without a name. */
    ZatStatus (*deleteLocal)(ZatHandle object);

    /* Gives a handle what it needs of memory; removes a new object's System V objects if that
     * fails. */
    ZatStatus (*attach)(IpcHandle& handle, bool isNew);

    const IpcUse* use;
};

extern const IpcKind oswIpcKinds[IPC_TYPES];

/* Rights of everything that is made: all processes of the machine share it. */
inline constexpr int ipcCreateFlags = IPC_CREAT | IPC_EXCL | 0666;

#endif
