/* Scheduling of tasks: the kernel-style priorities and the thread library's. */

#include "osw/task_priority.h"

#include <errno.h>
#include <pthread.h>
#include <sched.h>
#include <sys/mman.h>

#include <algorithm>
#include <atomic>

#include "osw/errno_private.h"
#include "osw/lock_private.h"
#include "osw/task_registry_private.h"
#include "osw/thread_private.h"

#define PRIORITY(p) ((p) < 84 ? 99 - (p) / 2 : 57 - ((p)-84) / 3)
#define PRIORITIES_4(p) PRIORITY(p), PRIORITY((p) + 1), PRIORITY((p) + 2), PRIORITY((p) + 3)
#define PRIORITIES_16(p) \
    PRIORITIES_4(p), PRIORITIES_4((p) + 4), PRIORITIES_4((p) + 8), PRIORITIES_4((p) + 12)
#define PRIORITIES_64(p) \
    PRIORITIES_16(p), PRIORITIES_16((p) + 16), PRIORITIES_16((p) + 32), PRIORITIES_16((p) + 48)

int32_t zatOSWTaskPriorityMap[256] = {PRIORITIES_64(0), PRIORITIES_64(64), PRIORITIES_64(128),
                                      PRIORITIES_64(192)};

/* The other way round: the kernel-style priority of a Linux one from 0 to 99. */
static constexpr int32_t kernelStyle(int32_t priority) {
    return priority <= 57 ? 255 - 3 * priority : 198 - 2 * priority;
}

static std::atomic<uint32_t> defaultPolicy{SCHED_FIFO};

int oswDefaultPolicy() {
    return static_cast<int>(defaultPolicy.load(std::memory_order_relaxed));
}

OswScheduling oswSchedulingFor(int policy, int32_t priority) {
    /* The kernel has one range for both real-time policies, which never changes: asked once. */
    static const int lowest = sched_get_priority_min(SCHED_FIFO);
    static const int highest = sched_get_priority_max(SCHED_FIFO);
    if (policy == SCHED_OTHER || priority < lowest) return {SCHED_OTHER, 0};
    return {policy, std::min<int>(priority, highest)};
}

/* Whether an id that the registry does not know leads to memory at all. */
static bool isMapped(ZatTaskId task) {
    static constexpr uint32_t pageSize = 4096;
    const OswKeepErrno keepErrno;
    unsigned char resident = 0;
    auto* page = reinterpret_cast<void*>(task & ~(pageSize - 1));
    return mincore(page, pageSize, &resident) == 0 || errno != ENOMEM;
}

bool oswMayAskThread(ZatTaskId task) {
    OswLock lock(oswRegistryLock);
    const OswTaskRecord* record = oswNewestTask(task);
    return (record != nullptr && !record->ended) || isMapped(task);
}

ZatStatus oswAskThread(ZatTaskId task, OswScheduling* scheduling) {
    OswLock lock(oswRegistryLock);
    if (!oswMayAskThread(task)) return ESRCH;
    sched_param parameters;
    const int error = pthread_getschedparam(task, &scheduling->policy, &parameters);
    if (error == 0) scheduling->priority = parameters.sched_priority;
    return static_cast<ZatStatus>(error);
}

static ZatStatus setScheduling(ZatTaskId task, const OswScheduling& scheduling) {
    OswLock lock(oswRegistryLock);
    OswScheduling before;
    if (const ZatStatus error = oswAskThread(task, &before); error != ZAT_OK) return error;
    sched_param parameters = {};
    parameters.sched_priority = scheduling.priority;
    if (const int error = pthread_setschedparam(task, scheduling.policy, &parameters); error != 0)
        return static_cast<ZatStatus>(error);
    if (OswTaskRecord* record = oswNewestTask(task); record != nullptr) {
        record->policy = scheduling.policy;
        record->priority = scheduling.priority;
    }
    return ZAT_OK;
}

ZatStatus zatOSWSetTaskPriority(ZatTaskId task, int32_t priority) {
    return setScheduling(task, oswSchedulingFor(oswDefaultPolicy(), priority));
}

ZatStatus zatOSWSetTaskPriorityWithScheduler(ZatTaskId task, int32_t priority, uint32_t policy) {
    if (policy > SCHED_RR) return ZAT_FAILED;
    return setScheduling(task, oswSchedulingFor(static_cast<int>(policy), priority));
}

ZatStatus zatOSWGetTaskPriority(ZatTaskId task, int32_t* priority) {
    if (priority == nullptr) return ZAT_FAILED;
    OswScheduling scheduling;
    const ZatStatus error = oswAskThread(task, &scheduling);
    if (error == ZAT_OK) *priority = scheduling.priority;
    return error;
}

ZatStatus zatOSWSetTaskPriorityXvx(ZatTaskId task, uint32_t priority) {
    return zatOSWSetTaskPriority(task, zatOSWTaskPriorityMap[priority]);
}

ZatStatus zatOSWGetTaskPriorityXvx(ZatTaskId task, int32_t* priority) {
    if (priority == nullptr) return ZAT_FAILED;
    int32_t unread = 0;
    const ZatStatus error = zatOSWGetTaskPriority(task, &unread);
    /* The wrong way round, and relied upon: only a failure writes, and what was never read. */
    if (error != ZAT_OK) *priority = kernelStyle(unread);
    return error;
}

ZatStatus zatOSWSetTaskScheduler(uint32_t policy) {
    if (policy > SCHED_RR) return ZAT_FAILED;
    defaultPolicy = policy;
    return ZAT_OK;
}

ZatStatus zatOSWGetTaskScheduler(uint32_t* policy) {
    if (policy != nullptr) *policy = defaultPolicy;
    return ZAT_OK;
}
