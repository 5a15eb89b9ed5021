/*
 * How tasks end: joined, detached, by themselves, deleted by others.
 *
 * What is done to a thread because its record says that it exists is done in one hold of the
 * registry lock: a thread that is about to end waits for that lock before its record goes.
 */

#include <errno.h>
#include <pthread.h>
#include <stdlib.h>

#include "osw/ipc/block_private.h"
#include "osw/lock_private.h"
#include "osw/report_private.h"
#include "osw/task_private.h"
#include "osw/task_registry_private.h"

static constexpr uint32_t warnAbovePercent = 79;

/* What a warning about a nearly used-up stack says. */
struct StackWarning {
    bool due;
    ZatTaskId task;
    char name[ZAT_TASK_NAME_BUFFER_SIZE];
    uint32_t size;
    uint32_t peak;
    uint32_t percent;
};

/* Measures a task that is about to end; under the registry lock. */
static StackWarning checkStack(OswTaskRecord& record) {
    StackWarning warning = {};
    if (record.stackTop == 0 || record.stackSize == 0) return warning;
    oswMeasureStack(record);
    warning.percent = static_cast<uint32_t>(uint64_t{record.stackPeak} * 100 / record.stackSize);
    if (warning.percent <= warnAbovePercent) return warning;
    warning.due = true;
    warning.task = record.threadId;
    oswCopyTaskName(warning.name, record);
    warning.size = record.stackSize;
    warning.peak = record.stackPeak;
    return warning;
}

/* Without a lock: what takes the report may need one. */
static void report(const StackWarning& warning) {
    if (!warning.due) return;
    oswReport(OSW_REPORT_WARNING,
              "<Warning>:StackOverflow:taskid=%lu(%s) size=%lu peak=%lu(%3d%%)\n",
              static_cast<unsigned long>(warning.task), warning.name,
              static_cast<unsigned long>(warning.size), static_cast<unsigned long>(warning.peak),
              static_cast<int>(warning.percent));
}

static void releaseRecord(OswTaskRecord& record) {
    oswRegistryRemove(record);
    free(&record);
}

/* After a join: its id may be that of a new task by now, whose thread has not ended. */
static void releaseJoined(ZatTaskId task) {
    OswLock lock(oswRegistryLock);
    OswTaskRecord* record = oswEndedTask(task);
    if (record != nullptr && record->joinMode == OSW_JOINED_BY_CALLER) releaseRecord(*record);
}

static ZatStatus join(ZatTaskId task, uint32_t* exitValue) {
    if (!oswMayAskThread(task)) return ESRCH;
    void* value = nullptr;
    if (const int error = pthread_join(task, &value); error != 0)
        return static_cast<ZatStatus>(error);
    releaseJoined(task);
    if (exitValue != nullptr) *exitValue = reinterpret_cast<uint32_t>(value);
    return ZAT_OK;
}

/* The thread library does not tell a thread that ended and waits to be joined from none at all. */
static bool awaitsJoiner(ZatTaskId task) {
    OswLock lock(oswRegistryLock);
    const OswTaskRecord* record = oswEndedTask(task);
    return record != nullptr && record->joinMode == OSW_JOINED_BY_CALLER;
}

ZatStatus zatOSWWaitTask(ZatTaskId task, uint32_t wait) {
    OswScheduling scheduling;
    ZatStatus error = oswAskThread(task, &scheduling);
    if (error == ESRCH) {
        if (wait == 0 || !awaitsJoiner(task)) return ZAT_OK;
    } else if (error != ZAT_OK) {
        return error;
    } else if (wait == 0) {
        return ZAT_FAILED;
    }
    error = join(task, nullptr);
    return error == EINVAL ? ZatStatus{ZAT_OK} : error;
}

ZatStatus zatOSWWaitJoinableTask(ZatTaskId task, uint32_t wait, uint32_t* exitValue) {
    OswScheduling scheduling;
    if (wait == 0 && oswAskThread(task, &scheduling) == ZAT_OK) return ZAT_FAILED;
    return join(task, exitValue);
}

ZatStatus zatOSWSubPthreadJoin(ZatTaskId task, uint32_t* exitValue) {
    return join(task, exitValue);
}

/* Under the registry lock: whether there is a thread that can be detached or cancelled. */
static bool isAlive(const OswTaskRecord* record, ZatTaskId task) {
    OswScheduling scheduling;
    return record != nullptr ? !record->ended : oswAskThread(task, &scheduling) != ESRCH;
}

ZatStatus zatOSWDetachTask(ZatTaskId task) {
    OswLock lock(oswRegistryLock);
    OswTaskRecord* record = oswNewestTask(task);
    if (isAlive(record, task)) {
        pthread_detach(task);
        if (record != nullptr) record->joinMode = 0;
    } else if (record != nullptr && record->joinMode == OSW_JOINED_BY_CALLER) {
        /* It has ended, waits to be joined, and does not come back to release its record. */
        pthread_detach(task);
        releaseRecord(*record);
    }
    return ZAT_OK;
}

ZatStatus zatOSWSubPthreadDetach(ZatTaskId task) {
    return zatOSWDetachTask(task);
}

void oswEndOwnTask() {
    oswMonitorTaskEnd();
    StackWarning warning = {};
    {
        OswLock lock(oswRegistryLock);
        OswTaskRecord* record = oswOwnTask();
        if (record == nullptr) return;
        warning = checkStack(*record);
        if (record->joinMode != OSW_JOINED_BY_CALLER) releaseRecord(*record);
    }
    report(warning);
}

void zatOSWExitTask(uint32_t exitValue) {
    oswEndOwnTask();
    pthread_exit(reinterpret_cast<void*>(exitValue));
}

/* Under the registry lock, which a registered task needs to end. */
static ZatStatus cancel(ZatTaskId task, bool isRegistered) {
    const int error = pthread_cancel(task);
    /* Cancellation alone may come just before the task blocks on an inter-process object. */
    if (error == 0 && isRegistered) oswIpcInterruptWait(task);
    return static_cast<ZatStatus>(error);
}

ZatStatus zatOSWDeleteTask(ZatTaskId task) {
    oswMonitorTaskEnd();
    StackWarning warning = {};
    ZatStatus result = ZAT_OK;
    {
        OswLock lock(oswRegistryLock);
        OswTaskRecord* record = oswNewestTask(task);
        const bool alive = isAlive(record, task);
        const bool isRegistered = record != nullptr;
        if (!isRegistered && !alive) return ESRCH;
        if (record != nullptr) {
            warning = checkStack(*record);
            if (record->joinMode != OSW_JOINED_BY_CALLER) {
                releaseRecord(*record);
                if (alive) pthread_detach(task);
            }
        }
        if (alive) result = cancel(task, isRegistered);
    }
    report(warning);
    return result;
}

ZatStatus zatOSWSubPthreadCancel(ZatTaskId task) {
    return zatOSWDeleteTask(task);
}

ZatStatus zatOSWDeleteTaskJoin(ZatTaskId task, uint32_t join) {
    OswLock lock(oswRegistryLock);
    const OswTaskRecord* record = oswNewestTask(task);
    const bool known = record != nullptr;
    const bool alive = isAlive(record, task);
    if (join == 0) zatOSWDetachTask(task);
    if (alive) return cancel(task, known);
    return known ? ZatStatus{ZAT_OK} : ZatStatus{ESRCH};
}
