/* Workers of task pools: their tasks, and what becomes of them after a job. */

#include <string.h>

#include "osw/event_sem.h"
#include "osw/handle_private.h"
#include "osw/mem_part.h"
#include "osw/self_private.h"
#include "osw/task_pool_private.h"
#include "osw/task_priority.h"
#include "osw/task_private.h"
#include "osw/task_registry.h"

void oswMoveWorker(OswPoolWorker& worker, ClbLstHead* list) {
    if (worker.list != nullptr) zatCLBLstDelete(worker.list, &worker);
    worker.list = list;
    if (list != nullptr) zatCLBLstAdd(list, &worker);
}

ZatStatus oswEndWorker(OswPoolWorker& worker) {
    oswMoveWorker(worker, nullptr);
    __atomic_store_n(&worker.st, 1, __ATOMIC_RELEASE);
    return zatOSWPostEventSem(worker.event);
}

void oswWakeQueuer(const OswTaskPool& pool) {
    if (pool.idleEvent != 0) zatOSWPostEventSem(pool.idleEvent);
}

static void freeWorker(OswPoolWorker* worker) {
    if (worker->event != 0) zatOSWDeleteEventSem(worker->event);
    zatOSWOrgFreeMemPart(0, worker);
}

/* The last that a worker's task does, however it ends. */
class WorkerEnd {
  public:
    WorkerEnd(OswTaskPool& pool, OswPoolWorker& worker) : pool_(pool), worker_(worker) {}
    WorkerEnd(const WorkerEnd&) = delete;
    WorkerEnd& operator=(const WorkerEnd&) = delete;
    ~WorkerEnd() {
        {
            const OswLock lock(oswPoolLock);
            if (worker_.list != nullptr) {
                /* Nobody told it to end: the job did, or whoever deleted the task. */
                oswMoveWorker(worker_, nullptr);
                --pool_.cur;
                oswWakeQueuer(pool_);
            }
        }
        freeWorker(&worker_);
        /* Nobody joins a worker, and only a task that returns detaches itself. */
        if (!returns_) zatOSWDetachTask(oswSelf());
    }

    void finish() { returns_ = true; }

  private:
    OswTaskPool& pool_; /* is there as long as the worker is on one of its lists */
    OswPoolWorker& worker_;
    bool returns_ = false;
};

/* The worker's priority after a job, by the policy of now. Most jobs leave it as it is: there is
 * nothing to ask of the kernel then. */
static void putBackPriority(int32_t priority) {
    const OswScheduling own = oswSchedulingFor(oswDefaultPolicy(), priority);
    OswScheduling now;
    if (oswOwnScheduling(&now) != ZAT_OK || now.policy != own.policy ||
        now.priority != own.priority)
        zatOSWSetTaskPriority(oswSelf(), priority);
}

static void runJob(const OswPoolWorker& worker, int32_t priority) {
    char name[ZAT_TASK_NAME_BUFFER_SIZE] = "";
    memcpy(name, worker.jobName, sizeof worker.jobName);
    zatOSWSetTaskNameSelf(name);
    const uint32_t* a = worker.arguments.word;
    worker.entry(a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7], a[8], a[9]);
    putBackPriority(priority);
}

/* Ends idle workers until so many are ended in all, this one included. */
static void endBatch(OswTaskPool& pool) {
    for (int32_t ended = 1; ended < pool.rng && pool.cur > pool.min && pool.idle.count > 0;
         ++ended) {
        oswEndWorker(*static_cast<OswPoolWorker*>(static_cast<void*>(pool.idle.first)));
        --pool.cur;
    }
}

/* Under the lock: whether a worker that has done its job is one too many. */
static bool isSurplus(const OswTaskPool& pool) {
    if (pool.cur <= pool.min) return false;
    return pool.rng == 0 || (pool.step != 0 && pool.rng <= pool.idle.count + 1);
}

/* Whether the worker goes on. */
static bool finishJob(OswTaskPool& pool, OswPoolWorker& worker) {
    /* One that was deleted during the job gets no other. */
    pthread_testcancel();
    OswLock lock;
    if (lock.take(oswPoolLock) != ZAT_OK || worker.st == 1) return false;
    const bool stays = !isSurplus(pool);
    oswMoveWorker(worker, stays ? &pool.idle : nullptr);
    if (!stays) {
        --pool.cur;
        if (pool.rng > 0) endBatch(pool);
    }
    /* Where one has ended there is room for a new one. */
    if (pool.max > 0) oswWakeQueuer(pool);
    return stays;
}

/* Runs jobs until the worker is to end. */
static void work(OswTaskPool& pool, OswPoolWorker& worker) {
    int32_t priority = 0;
    if (zatOSWGetTaskPriority(oswSelf(), &priority) != ZAT_OK) return;
    while (zatOSWWaitEventSem(worker.event, ZAT_FOREVER) == ZAT_OK) {
        if (__atomic_load_n(&worker.st, __ATOMIC_ACQUIRE) == 1) return;
        runJob(worker, priority);
        if (!finishJob(pool, worker)) return;
    }
}

static uint32_t workerTask(uint32_t poolWord, uint32_t workerWord, uint32_t, uint32_t, uint32_t,
                           uint32_t, uint32_t, uint32_t, uint32_t, uint32_t) {
    OswTaskPool& pool = *oswRecord<OswTaskPool>(poolWord);
    OswPoolWorker& worker = *oswRecord<OswPoolWorker>(workerWord);
    WorkerEnd end(pool, worker);
    work(pool, worker);
    end.finish();
    return 0;
}

/* For one whose task was deleted before it began. */
static void abandonWorker(const OswTaskArguments& arguments) {
    WorkerEnd end(*oswRecord<OswTaskPool>(arguments.word[0]),
                  *oswRecord<OswPoolWorker>(arguments.word[1]));
    end.finish();
}

/* A worker that is being made; undone at the end of the scope unless its task runs. */
struct WorkerMaker {
    OswPoolWorker* worker = nullptr;

    WorkerMaker() = default;
    WorkerMaker(const WorkerMaker&) = delete;
    WorkerMaker& operator=(const WorkerMaker&) = delete;
    ~WorkerMaker() {
        if (worker != nullptr) freeWorker(worker);
    }
};

ZatStatus oswMakeWorker(OswTaskPool& pool, OswPoolWorker*& worker) {
    const OswUncancellable uncancellable;
    void* memory = nullptr;
    ZatStatus status = zatOSWOrgAllocMemPart(0, &memory, sizeof(OswPoolWorker));
    if (status != ZAT_OK) return status;
    WorkerMaker maker;
    maker.worker = static_cast<OswPoolWorker*>(memory);
    *maker.worker = {};
    status = zatOSWCreateEventSem(&maker.worker->event, 0, 0);
    if (status != ZAT_OK) return status;
    char name[ZAT_TASK_NAME_BUFFER_SIZE] = "";
    memcpy(name, pool.name, sizeof pool.name);
    status =
        oswCreateJoinTask(&maker.worker->threadId, oswTaskName(name), pool.priority, pool.stackSize,
                          workerTask, -1, {{oswWord(&pool), oswWord(maker.worker)}}, abandonWorker);
    status = oswCreated(status, maker.worker->threadId);
    if (status != ZAT_OK) return status;
    worker = maker.worker;
    maker.worker = nullptr;
    oswMoveWorker(*worker, &pool.idle);
    ++pool.cur;
    if (pool.cur > pool.peak) pool.peak = pool.cur;
    return ZAT_OK;
}
