/*
 * The library's life in a process: up on the first call that needs it, down on request.
 *
 * The init lock serialises it; it is recursive because the parts that come up call zatOSWInit()
 * themselves. A half-made initialisation takes itself back, so that the next call starts over.
 */

#include <pthread.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <atomic>

#include "osw/event_sem.h"
#include "osw/init.h"
#include "osw/ipc/ipc_init.h"
#include "osw/lock_private.h"
#include "osw/mem_part_private.h"
#include "osw/objects_private.h"
#include "osw/self_private.h"
#include "osw/stack_limits_private.h"
#include "osw/task_registry_private.h"

OswObjectKind oswEventSems;
OswObjectKind oswMutexSems;
OswObjectKind oswCountSems;
OswObjectKind oswMsgQueues;

/* In the order in which their locks are made; they are unmade the other way round. */
static OswObjectKind* const kinds[] = {&oswEventSems, &oswMutexSems, &oswCountSems, &oswMsgQueues};
static constexpr uint32_t kindCount = sizeof kinds / sizeof kinds[0];

static pthread_mutex_t initLock = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;
static std::atomic<uint32_t> initialised;
static uint32_t initialising;
static ZatTaskId mainThread;
static ZatEventSem internalEvent;

static void destroyKindLocks(uint32_t count) {
    while (count > 0)
        pthread_mutex_destroy(&kinds[--count]->lock);
}

static ZatStatus createKindLocks() {
    for (uint32_t made = 0; made < kindCount; ++made) {
        if (const int error = pthread_mutex_init(&kinds[made]->lock, nullptr); error != 0) {
            destroyKindLocks(made);
            return static_cast<ZatStatus>(error);
        }
    }
    return ZAT_OK;
}

static void emptyLists() {
    oswRegistryReset();
    for (OswObjectKind* kind : kinds)
        zatCLBLstInit(&kind->objects);
}

static OswTaskRecord* registerMainTask() {
    OswTaskRecord* record = oswRegistryPrepare() ? oswNewTaskRecord() : nullptr;
    if (record == nullptr) return nullptr;
    record->kernelTid = gettid();
    record->threadId = mainThread = oswSelf();
    record->permanent = 1;
    strncpy(record->name, "mainThread", sizeof record->name);
    oswRegistryAdd(*record);
    oswRegistryAdopt(*record);
    return record;
}

/* The layers above the core, in the order in which they come up: each joins here when it lands,
 * the inter-process layer first, then the trace. */
static ZatStatus startLayers() {
    return zatOSWIpcInit();
}

/* And the way down: the inter-process layer. */
static void stopLayers() {
    zatOSWIpcTerm();
}

static ZatStatus bringUp() {
    if (const ZatStatus status = createKindLocks(); status != ZAT_OK) return status;
    emptyLists();
    oswResetPartitionLock();
    oswReadStackLimits();
    OswTaskRecord* main = registerMainTask();
    if (main != nullptr && zatOSWCreateEventSem(&internalEvent, 0, 0) == ZAT_OK &&
        startLayers() == ZAT_OK)
        return ZAT_OK;
    /* The list must not keep a record that is freed. */
    emptyLists();
    free(main);
    destroyKindLocks(kindCount);
    return ZAT_FAILED;
}

ZatStatus zatOSWInit(void) {
    if (initialised.load(std::memory_order_acquire) != 0) return ZAT_OK;
    OswLock lock;
    if (const ZatStatus status = lock.take(initLock); status != ZAT_OK) return status;
    if (initialised.load(std::memory_order_relaxed) != 0 || initialising != 0) return ZAT_OK;
    const OswUncancellable uncancellable;
    initialising = 1;
    const ZatStatus status = bringUp();
    if (status == ZAT_OK) initialised.store(1, std::memory_order_release);
    initialising = 0;
    return status;
}

ZatStatus zatOSWTerm(void) {
    if (initialised.load(std::memory_order_acquire) == 0) return ZAT_OK;
    stopLayers();
    OswLock lock(initLock);
    /* A second call finds the event and the record gone already. */
    if (internalEvent != 0) zatOSWDeleteEventSem(internalEvent);
    internalEvent = 0;
    OswLock registry(oswRegistryLock);
    OswTaskRecord* main = oswOldestTask(mainThread);
    if (main == nullptr || !main->permanent) return ZAT_OK;
    oswRegistryRemove(*main);
    free(main);
    return ZAT_OK;
}
