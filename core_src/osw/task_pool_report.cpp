/* Task pools in print. */

#include <string.h>

#include "clb/list_walk_private.h"
#include "gen/trace/output.h"
#include "osw/errno_private.h"
#include "osw/records_private.h"
#include "osw/task_pool_private.h"

struct WorkerRow {
    ZatTaskId threadId;
    int32_t st;
    bool isBusy;
    char name[ZAT_TASK_NAME_SIZE];
};

struct PoolReport {
    OswTaskPool pool;
    OswRecords<WorkerRow> workers;
};

struct Output {
    uint32_t component;
    uint32_t level;
};

#define PRINT(to, ...) \
    zatGENTrcPrintf((to).component, ZAT_GEN_TRACE | ZAT_GEN_MONITOR, (to).level, __VA_ARGS__)

static void addWorkers(const ClbLstHead& list, bool isBusy, OswRecords<WorkerRow>& rows) {
    for (const OswPoolWorker* worker : zatWalk<OswPoolWorker>(&list)) {
        WorkerRow row = {worker->threadId, static_cast<int32_t>(worker->st), isBusy, {}};
        memcpy(row.name, worker->jobName, sizeof row.name);
        rows.add(row);
    }
}

/* The pool at a place, from 1. */
static ZatStatus look(int32_t number, PoolReport& report) {
    const OswLock lock(oswPoolLock);
    const auto* pool = static_cast<const OswTaskPool*>(zatCLBLstNth(&oswPools, number));
    if (pool == nullptr) return ZAT_FAILED;
    if (!report.workers.canHold(static_cast<uint32_t>(pool->idle.count + pool->busy.count)))
        return oswNeedsRoom;
    report.pool = *pool;
    addWorkers(pool->idle, false, report.workers);
    addWorkers(pool->busy, true, report.workers);
    return ZAT_OK;
}

static void printWorkers(const Output& to, const PoolReport& report, bool busy, const char* title) {
    if ((busy ? report.pool.busy : report.pool.idle).count == 0) return;
    PRINT(to, "%s", title);
    PRINT(to, "        ---------- --- ---------------- \n");
    for (const WorkerRow& row : report.workers)
        if (row.isBusy == busy)
            PRINT(to, "        %10lu %3d %16.*s\n", static_cast<unsigned long>(row.threadId),
                  row.st, static_cast<int>(sizeof row.name), row.name);
}

static void print(const Output& to, int32_t number, const PoolReport& report) {
    const OswTaskPool& pool = report.pool;
    PRINT(to, "  no  min   max   rng   step  stack    cur   peak    task name\n");
    PRINT(to, " --- ----- ----- ----- ----- -------- ----- ----- ---------------- \n");
    PRINT(to, " %3d %5d %5d %5d %5d %8lu %5d %5d %16.*s\n", number, pool.min, pool.max, pool.rng,
          pool.step, static_cast<unsigned long>(pool.stackSize), pool.cur, pool.peak,
          static_cast<int>(sizeof pool.name), pool.name);
    printWorkers(to, report, false, " <free>   task id   st    task name\n");
    printWorkers(to, report, true, "  <run>   task id   st    task name\n");
}

ZatStatus zatOSWShowTaskPool(uint32_t component, uint32_t level) {
    const OswKeepErrno keepErrno;
    const Output to = {component, level};
    PRINT(to, "task pool information\n");
    for (int32_t number = 1;; ++number) {
        PoolReport report = {};
        const ZatStatus status = oswGather(report.workers, [&] { return look(number, report); });
        if (status != ZAT_OK) {
            if (number == 1) PRINT(to, "< no task pool >\n");
            return ZAT_OK;
        }
        print(to, number, report);
    }
}
