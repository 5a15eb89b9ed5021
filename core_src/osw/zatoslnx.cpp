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

#include "gen/rgnlog/shared_regions_private.h"
#include "gen/trace/settings.h"
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

static bool registerMainTask() {
    OswTaskRecord* record = oswRegistryPrepare() ? oswNewTaskRecord() : nullptr;
    if (record == nullptr) return false;
    record->kernelTid = gettid();
    record->threadId = mainThread = oswSelf();
    record->permanent = 1;
    strncpy(record->name, "mainThread", sizeof record->name);
    oswRegistryAdd(*record);
    oswRegistryAdopt(*record);
    return true;
}

/* The layers above the core, in the order in which they come up: each joins here when it lands,
 * the inter-process layer first, then the trace. */
static ZatStatus startLayers() {
    ZatStatus status = zatOSWIpcInit();
    if (status != ZAT_OK) return status;
    status = zatGENTrcInit();
    if (status != ZAT_OK) zatOSWIpcTerm();
    return status;
}

/* And the way down: the inter-process layer, and first those who use its memory. */
static void stopLayers() {
    genForgetSharedRegions();
    zatOSWIpcTerm();
}

/* A second call finds it gone already. */
static void releaseMainTask() {
    OswLock lock(oswRegistryLock);
    OswTaskRecord* main = oswOldestTask(mainThread);
    if (main == nullptr || !main->permanent) return;
    oswRegistryRemove(*main);
    free(main);
}

/* An initialisation under way; undone at the end of the scope unless it was finished, also when a
 * fatal message ends the task. The internal event stays: the next attempt makes its own. */
class BringUp {
  public:
    BringUp() { initialising = 1; }
    BringUp(const BringUp&) = delete;
    BringUp& operator=(const BringUp&) = delete;
    ~BringUp() {
        initialising = 0;
        if (!hasLocks_) return;
        releaseMainTask();
        emptyLists();
        destroyKindLocks(kindCount);
    }

    ZatStatus createLocks() {
        const ZatStatus status = createKindLocks();
        hasLocks_ = status == ZAT_OK;
        return status;
    }

    void finish() { hasLocks_ = false; }

  private:
    bool hasLocks_ = false;
};

static ZatStatus bringUp() {
    BringUp attempt;
    if (const ZatStatus status = attempt.createLocks(); status != ZAT_OK) return status;
    emptyLists();
    oswResetPartitionLock();
    oswReadStackLimits();
    if (!registerMainTask() || zatOSWCreateEventSem(&internalEvent, 0, 0) != ZAT_OK ||
        startLayers() != ZAT_OK)
        return ZAT_FAILED;
    initialised.store(1, std::memory_order_release);
    attempt.finish();
    return ZAT_OK;
}

ZatStatus zatOSWInit(void) {
    if (initialised.load(std::memory_order_acquire) != 0) return ZAT_OK;
    OswLock lock;
    if (const ZatStatus status = lock.take(initLock); status != ZAT_OK) return status;
    if (initialised.load(std::memory_order_relaxed) != 0 || initialising != 0) return ZAT_OK;
    const OswUncancellable uncancellable;
    return bringUp();
}

ZatStatus zatOSWTerm(void) {
    if (initialised.load(std::memory_order_acquire) == 0) return ZAT_OK;
    stopLayers();
    OswLock lock(initLock);
    if (internalEvent != 0) zatOSWDeleteEventSem(internalEvent);
    internalEvent = 0;
    releaseMainTask();
    return ZAT_OK;
}
