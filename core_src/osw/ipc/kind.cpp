/* The table of types, and how the System V objects of each are made and removed. */

#include "osw/ipc/kind_private.h"

#include <sys/msg.h>
#include <sys/shm.h>

#include "osw/count_sem.h"
#include "osw/event_sem.h"
#include "osw/ipc/msg_queue_private.h"
#include "osw/ipc/shm_heap_private.h"
#include "osw/msg_queue.h"
#include "osw/mutex_sem.h"

/* A new set, every semaphore 0: nobody is woken yet. */
static ZatStatus makeSemaphores(key_t key, uint16_t count, int32_t& semId, bool& keyIsOurs) {
    const int made = semget(key, count, ipcCreateFlags);
    if (made < 0) return ZAT_IPC_SEMGET_FAILED;
    keyIsOurs = true;
    for (uint16_t i = 0; i < count; ++i) {
        if (oswSysvSetValue(made, i, 0) == 0) continue;
        oswSysvRemove(made);
        return ZAT_IPC_SEMCTL_FAILED;
    }
    semId = made;
    return ZAT_OK;
}

static bool matchesAlways(const IpcObjectEntry&, const IpcParameters&) {
    return true;
}

static bool matchesCreated(const IpcObjectEntry& entry, const IpcParameters& parameters) {
    return entry.sem.created == parameters.first;
}

static ZatStatus makeSem(IpcObjectEntry& entry, const IpcParameters& parameters, key_t key,
                         bool& keyIsOurs) {
    entry.sem.value = entry.sem.created = parameters.first;
    return makeSemaphores(key, 1, entry.sem.semId, keyIsOurs);
}

static void removeSem(IpcObjectEntry& entry) {
    oswSysvRemove(entry.sem.semId);
}

static bool matchesQueue(const IpcObjectEntry& entry, const IpcParameters& parameters) {
    return entry.queue.capacity == parameters.first && entry.queue.messageSize == parameters.second;
}

/* Lets the System V queue take as many bytes as the queue is to hold. */
static bool widenQueue(int queueId, const IpcParameters& parameters) {
    msqid_ds state = {};
    if (msgctl(queueId, IPC_STAT, &state) != 0) return false;
    const uint64_t bytes = uint64_t{parameters.first} * parameters.second;
    if (bytes <= state.msg_qbytes) return true;
    state.msg_qbytes = static_cast<msglen_t>(bytes);
    return state.msg_qbytes == bytes && msgctl(queueId, IPC_SET, &state) == 0;
}

static ZatStatus makeMessages(key_t key, const IpcParameters& parameters, int32_t& queueId) {
    const int made = msgget(key, ipcCreateFlags);
    if (made < 0) return ZAT_IPC_MSGGET_FAILED;
    if (!widenQueue(made, parameters)) {
        msgctl(made, IPC_RMID, nullptr);
        return ZAT_IPC_QUEUE_LIMIT_FAILED;
    }
    queueId = made;
    return ZAT_OK;
}

static ZatStatus makeQueue(IpcObjectEntry& entry, const IpcParameters& parameters, key_t key,
                           bool& keyIsOurs) {
    entry.queue.capacity = parameters.first;
    entry.queue.messageSize = parameters.second;
    ZatStatus status = makeSemaphores(key, 2, entry.queue.semId, keyIsOurs);
    if (status != ZAT_OK) return status;
    status = makeMessages(key, parameters, entry.queue.queueId);
    if (status != ZAT_OK) oswSysvRemove(entry.queue.semId);
    return status;
}

static void removeQueue(IpcObjectEntry& entry) {
    oswSysvRemove(entry.queue.semId);
    msgctl(entry.queue.queueId, IPC_RMID, nullptr);
}

static ZatStatus attachQueue(IpcHandle& handle, bool isNew) {
    if (oswIpcMakeTransfer(handle)) return ZAT_OK;
    if (isNew) removeQueue(*handle.entry);
    return ZAT_IPC_NO_MEMORY;
}

static bool matchesTimer(const IpcObjectEntry& entry, const IpcParameters& parameters) {
    return entry.timer.created == parameters.first;
}

static ZatStatus makeTimer(IpcObjectEntry& entry, const IpcParameters& parameters, key_t key,
                           bool& keyIsOurs) {
    entry.timer.created = parameters.first;
    return makeSemaphores(key, 1, entry.timer.semId, keyIsOurs);
}

static void removeTimer(IpcObjectEntry& entry) {
    oswSysvRemove(entry.timer.semId);
}

static ZatStatus makeSELock(IpcObjectEntry& entry, const IpcParameters&, key_t key,
                            bool& keyIsOurs) {
    return makeSemaphores(key, 2, entry.lock.semId, keyIsOurs);
}

static void removeSELock(IpcObjectEntry& entry) {
    oswSysvRemove(entry.lock.semId);
}

static bool matchesPart(const IpcObjectEntry& entry, const IpcParameters& parameters) {
    return entry.part.size == parameters.first;
}

static ZatStatus makePart(IpcObjectEntry& entry, const IpcParameters& parameters, key_t key,
                          bool& keyIsOurs) {
    const int made = shmget(key, parameters.first, ipcCreateFlags);
    if (made < 0) return ZAT_IPC_SHMGET_FAILED;
    keyIsOurs = true;
    entry.part = {made, parameters.first};
    return ZAT_OK;
}

static ZatStatus attachPart(IpcHandle& handle, bool isNew) {
    const IpcPartBody& part = handle.entry->part;
    handle.part.address = static_cast<uint8_t*>(oswIpcAttach(part.segmentId));
    if (handle.part.address == nullptr) {
        if (isNew) shmctl(part.segmentId, IPC_RMID, nullptr);
        return ZAT_IPC_SHMAT_FAILED;
    }
    handle.part.size = part.size;
    if (!isNew) return ZAT_OK;
    /* Before others can find it. */
    shmHeapFormat(shmHeapIn(handle.part.address, part.size));
    IpcGlobalPage& first = *oswIpcFirstPage();
    first.shmBytes += part.size;
    if (first.shmBytes > first.shmPeak) first.shmPeak = first.shmBytes;
    return ZAT_OK;
}

static void removePart(IpcObjectEntry& entry) {
    oswIpcFirstPage()->shmBytes -= entry.part.size;
    shmctl(entry.part.segmentId, IPC_RMID, nullptr);
}

static void wakeNobody(IpcHandle&) {}

const IpcUse oswIpcUnheldUse = {wakeNobody, nullptr, nullptr, nullptr};

const IpcKind oswIpcKinds[IPC_TYPES] = {
    {matchesAlways, makeSem, removeSem, zatOSWDeleteMutexSem, nullptr, &oswIpcMutexUse},
    {matchesCreated, makeSem, removeSem, zatOSWDeleteCountSem, nullptr, &oswIpcCountUse},
    {matchesCreated, makeSem, removeSem, zatOSWDeleteEventSem, nullptr, &oswIpcEventUse},
    {matchesQueue, makeQueue, removeQueue, zatOSWDeleteMsgQueue, attachQueue, &oswIpcQueueUse},
    {matchesTimer, makeTimer, removeTimer, zatOSWDeleteTimer, nullptr, &oswIpcUnheldUse},
    {matchesAlways, makeSELock, removeSELock, nullptr, nullptr, &oswIpcSELockUse},
    {matchesPart, makePart, removePart, nullptr, attachPart, &oswIpcUnheldUse},
};
