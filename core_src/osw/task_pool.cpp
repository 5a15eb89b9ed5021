/* Pools are made, changed and deleted; see task_pool_private.h. */

#include "osw/task_pool.h"

#include <string.h>

#include <initializer_list>

#include "clb/list_walk_private.h"
#include "osw/errno_private.h"
#include "osw/event_sem.h"
#include "osw/handle_private.h"
#include "osw/init.h"
#include "osw/mem_part.h"
#include "osw/mutex_sem.h"
#include "osw/task_pool_private.h"

pthread_mutex_t oswPoolLock = PTHREAD_MUTEX_INITIALIZER;
ClbLstHead oswPools;

struct PoolLimits {
    int32_t initial;
    int32_t min;
    int32_t max;
    int32_t rng;
    int32_t step;
};

static PoolLimits defaults = {0, 0, ZAT_POOL_UNLIMITED, 10, 5};

static PoolLimits currentDefaults() {
    const OswLock lock(oswPoolLock);
    return defaults;
}

static PoolLimits settled(PoolLimits limits) {
    if (limits.min > limits.max && limits.max != ZAT_POOL_UNLIMITED) {
        limits.max = limits.min;
        limits.rng = limits.step = 0;
    }
    if (limits.min == limits.max) limits.rng = limits.step = 0;
    if (limits.step > limits.rng) limits.rng = limits.step;
    return limits;
}

static void apply(OswTaskPool& pool, const PoolLimits& limits) {
    pool.min = limits.min;
    pool.max = limits.max;
    pool.rng = limits.rng;
    pool.step = limits.step;
}

OswTaskPool* oswFindPool(ZatHandle handle) {
    for (OswTaskPool* pool : zatWalk<OswTaskPool>(&oswPools))
        if (oswWord(pool) == handle) return pool;
    return nullptr;
}

/* What callers that wait for a worker need; those that are there stay. */
static ZatStatus makeSemaphores(OswTaskPool& pool) {
    ZatStatus status = ZAT_OK;
    if (pool.idleEvent == 0) status = zatOSWCreateEventSem(&pool.idleEvent, 0, 0);
    if (status == ZAT_OK && pool.queueMutex == 0)
        status = zatOSWCreateMutexSem(&pool.queueMutex, 0, 1);
    if (status != ZAT_OK) return status;
    return pool.queueMutex != 0 ? ZatStatus{ZAT_OK} : ZatStatus{ZAT_FAILED};
}

void oswFreePool(OswTaskPool* pool) {
    if (pool->idleEvent != 0) zatOSWDeleteEventSem(pool->idleEvent);
    if (pool->queueMutex != 0) zatOSWDeleteMutexSem(pool->queueMutex);
    zatOSWOrgFreeMemPart(0, pool);
}

/* Ends all workers; the status of the one that was told last. */
static ZatStatus endWorkers(OswTaskPool& pool) {
    ZatStatus status = ZAT_OK;
    for (ClbLstHead* list : {&pool.idle, &pool.busy})
        for (OswPoolWorker* worker : zatWalk<OswPoolWorker>(list))
            status = oswEndWorker(*worker);
    return status;
}

/* A pool that is being made; undone at the end of the scope unless it was finished. */
class PoolMaker {
  public:
    PoolMaker() = default;
    PoolMaker(const PoolMaker&) = delete;
    PoolMaker& operator=(const PoolMaker&) = delete;
    ~PoolMaker() {
        if (pool_ == nullptr) return;
        {
            const OswLock lock(oswPoolLock);
            endWorkers(*pool_);
        }
        oswFreePool(pool_);
    }

    ZatStatus allocate() {
        void* memory = nullptr;
        const ZatStatus status = zatOSWOrgAllocMemPart(0, &memory, sizeof(OswTaskPool));
        if (status != ZAT_OK) return status;
        pool_ = static_cast<OswTaskPool*>(memory);
        *pool_ = {};
        return ZAT_OK;
    }

    OswTaskPool& pool() { return *pool_; }
    void finish() { pool_ = nullptr; }

  private:
    OswTaskPool* pool_ = nullptr;
};

static ZatStatus fill(OswTaskPool& pool) {
    if (pool.max == 0) return ZAT_OK;
    ZatStatus status = makeSemaphores(pool);
    const OswLock lock(oswPoolLock);
    for (int32_t made = 0; status == ZAT_OK && made < pool.initial; ++made) {
        OswPoolWorker* worker = nullptr;
        status = oswMakeWorker(pool, worker);
    }
    return status;
}

ZatStatus zatOSWCreateTaskPool(ZatTaskPool* pool, const char* name, int32_t priority,
                               uint32_t stackSizeBytes, int32_t initial, int32_t min, int32_t max,
                               int32_t rng, int32_t step) {
    if (const ZatStatus status = zatOSWInit(); status != ZAT_OK) return status;
    const OswKeepErrno keepErrno;
    const PoolLimits limits =
        settled(initial == ZAT_POOL_DEFAULTS ? currentDefaults()
                                             : PoolLimits{initial, min, max, rng, step});
    if (pool == nullptr || limits.max < ZAT_POOL_UNLIMITED) return ZAT_FAILED;
    const OswUncancellable uncancellable;
    PoolMaker maker;
    ZatStatus status = maker.allocate();
    if (status != ZAT_OK) return status;
    OswTaskPool& made = maker.pool();
    made.priority = priority;
    made.stackSize = stackSizeBytes;
    made.initial = limits.initial;
    apply(made, limits);
    memcpy(made.name, oswTaskName(name).text, sizeof made.name);
    status = fill(made);
    if (status != ZAT_OK) return status;
    const OswLock lock(oswPoolLock);
    zatCLBLstAdd(&oswPools, &made);
    *pool = oswWord(&made);
    maker.finish();
    return ZAT_OK;
}

ZatStatus zatOSWDeleteTaskPool(ZatTaskPool pool) {
    const OswKeepErrno keepErrno;
    OswLock lock(oswPoolLock);
    OswTaskPool* record = oswFindPool(pool);
    if (record == nullptr) return ZAT_FAILED;
    const ZatStatus status = endWorkers(*record);
    zatCLBLstDelete(&oswPools, record);
    record->deleted = 1;
    if (record->queuers > 0) {
        oswWakeQueuer(*record);
        return status;
    }
    lock.release();
    oswFreePool(record);
    return status;
}

ZatStatus zatOSWChangeTaskPool(int32_t number, uint32_t applied, int32_t min, int32_t max,
                               int32_t rng, int32_t step) {
    const OswKeepErrno keepErrno;
    const PoolLimits limits = settled({0, min, max, rng, step});
    const OswLock lock(oswPoolLock);
    auto* pool = number < 0 || number >= oswPools.count
                     ? nullptr
                     : static_cast<OswTaskPool*>(zatCLBLstNth(&oswPools, number + 1));
    if (pool == nullptr || (applied != 0 && limits.max < ZAT_POOL_UNLIMITED)) return ZAT_FAILED;
    pool->peak = 0;
    if (applied == 0) return ZAT_OK;
    if (limits.max != 0) {
        if (const ZatStatus status = makeSemaphores(*pool); status != ZAT_OK) return status;
    }
    apply(*pool, limits);
    /* There may be room for a new worker now. */
    oswWakeQueuer(*pool);
    return ZAT_OK;
}

ZatStatus zatOSWSetTaskPoolDefault(int32_t initial, int32_t min, int32_t max, int32_t rng,
                                   int32_t step) {
    const OswLock lock(oswPoolLock);
    defaults = {initial, min, max, rng, step};
    return ZAT_OK;
}
