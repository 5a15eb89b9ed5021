/* Jobs get their workers. */

#include <execinfo.h>
#include <string.h>

#include "osw/errno_private.h"
#include "osw/event_sem.h"
#include "osw/handle_private.h"
#include "osw/init.h"
#include "osw/mutex_sem.h"
#include "osw/task_pool_private.h"

struct PoolJob {
    OswTaskName name;
    ZatTaskEntry entry;
    OswTaskArguments arguments;
};

/*
 * A caller that waits for a worker: it gives the pool lock up, which workers need to become free,
 * and counts among those who keep the pool from being freed. One at a time has the turn to wait for
 * a worker; the others wait for the turn.
 */
class Queuer {
  public:
    Queuer(OswTaskPool& pool, OswLock& lock) : pool_(pool), lock_(lock) { ++pool_.queuers; }
    Queuer(const Queuer&) = delete;
    Queuer& operator=(const Queuer&) = delete;
    /* Also of a task that is deleted while it waits. */
    ~Queuer() {
        if (!lock_.isHeld()) lock_.take(oswPoolLock);
        if (hasTurn_) zatOSWReleaseMutexSem(pool_.queueMutex);
        if (--pool_.queuers > 0 || pool_.deleted == 0) return;
        lock_.release();
        oswFreePool(&pool_);
    }

    /* Comes back with the turn. */
    ZatStatus takeTurn() {
        ZatStatus status = zatOSWRequestMutexSem(pool_.queueMutex, 0);
        if (status == ZAT_TIMED_OUT)
            status = away([this] { return zatOSWRequestMutexSem(pool_.queueMutex, ZAT_FOREVER); });
        hasTurn_ = status == ZAT_OK;
        return check(status);
    }

    ZatStatus waitForWorker() {
        return check(away([this] { return zatOSWWaitEventSem(pool_.idleEvent, ZAT_FOREVER); }));
    }

  private:
    template <class Wait>
    ZatStatus away(Wait wait) {
        lock_.release();
        const ZatStatus status = wait();
        const ZatStatus error = lock_.take(oswPoolLock);
        return status == ZAT_OK ? error : status;
    }

    /* Whoever is next is to see, too, that the pool is gone. */
    ZatStatus check(ZatStatus status) const {
        if (pool_.deleted == 0) return status;
        oswWakeQueuer(pool_);
        return ZAT_FAILED;
    }

    OswTaskPool& pool_;
    OswLock& lock_;
    bool hasTurn_ = false;
};

static OswPoolWorker* firstIdle(const OswTaskPool& pool) {
    return static_cast<OswPoolWorker*>(static_cast<void*>(pool.idle.first));
}

static ZatStatus queueForWorker(OswTaskPool& pool, OswLock& lock, OswPoolWorker*& worker) {
    Queuer queuer(pool, lock);
    if (const ZatStatus status = queuer.takeTurn(); status != ZAT_OK) return status;
    zatOSWResetEventSem(pool.idleEvent);
    while (firstIdle(pool) == nullptr && pool.cur >= pool.max && pool.max > 0) {
        if (const ZatStatus status = queuer.waitForWorker(); status != ZAT_OK) return status;
    }
    worker = firstIdle(pool);
    if (worker != nullptr) return ZAT_OK;
    /* One may have ended instead of becoming idle. */
    return pool.cur < pool.max || pool.max == ZAT_POOL_UNLIMITED ? oswMakeWorker(pool, worker)
                                                                 : ZatStatus{ZAT_FAILED};
}

static ZatStatus findWorker(OswTaskPool& pool, OswLock& lock, OswPoolWorker*& worker) {
    worker = firstIdle(pool);
    if (pool.max == ZAT_POOL_UNLIMITED && worker != nullptr) return ZAT_OK;
    if (pool.max != ZAT_POOL_UNLIMITED && (worker != nullptr || pool.cur >= pool.max))
        return queueForWorker(pool, lock, worker);
    return oswMakeWorker(pool, worker);
}

static ZatStatus give(OswTaskPool& pool, OswPoolWorker& worker, const PoolJob& job) {
    oswMoveWorker(worker, &pool.busy);
    memcpy(worker.jobName, job.name.text, sizeof worker.jobName);
    worker.entry = job.entry;
    worker.arguments = job.arguments;
    return zatOSWPostEventSem(worker.event);
}

static ZatStatus startAlone(const OswTaskPool& pool, const PoolJob& job) {
    const uint32_t* a = job.arguments.word;
    ZatTaskId task = 0;
    const ZatStatus status =
        zatOSWCreateJoinTask(&task, job.name.text, pool.priority, pool.stackSize, job.entry, -1,
                             a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7], a[8], a[9]);
    /* A job without a task would be lost unnoticed. */
    return oswCreated(status, task);
}

static ZatStatus queue(ZatTaskPool handle, const PoolJob& job) {
    const OswKeepErrno keepErrno;
    OswLock lock(oswPoolLock);
    OswTaskPool* pool = oswFindPool(handle);
    if (pool == nullptr || job.entry == nullptr) return ZAT_FAILED;
    if (pool->max == 0) return startAlone(*pool, job);
    OswPoolWorker* worker = nullptr;
    const ZatStatus status = findWorker(*pool, lock, worker);
    return status == ZAT_OK ? give(*pool, *worker, job) : status;
}

/* Not inlined, and frames taken right here: a generated name tells the caller's return address. */
__attribute__((noinline)) ZatStatus zatOSWQueueTaskPool(ZatTaskPool pool, const char* name,
                                                        ZatTaskEntry entry, uint32_t a1,
                                                        uint32_t a2, uint32_t a3, uint32_t a4,
                                                        uint32_t a5, uint32_t a6, uint32_t a7,
                                                        uint32_t a8, uint32_t a9, uint32_t a10) {
    void* frames[3] = {};
    const bool isGenerated = name != nullptr && strcmp(name, "Controller-P") == 0;
    if (isGenerated) backtrace(frames, 3);
    return queue(pool, {isGenerated ? oswOwnNameWith(6, frames[2], "-P") : oswTaskName(name),
                        entry,
                        {{a1, a2, a3, a4, a5, a6, a7, a8, a9, a10}}});
}
