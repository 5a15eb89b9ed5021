/*
 * The registry list, its index by thread id, and the calling thread's own record.
 *
 * A thread reaches its own record through a thread-local slot; the record points back at the slot,
 * so that whoever removes the record clears the slot of a thread that is still running. When a
 * thread ends, its slot's record is marked ended, or released when no joiner is to release it.
 */

#include "osw/task_registry.h"

#include <pthread.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <atomic>

#include "clb/list_walk_private.h"
#include "osw/lock_private.h"
#include "osw/mem_info.h"
#include "osw/self_private.h"
#include "osw/stack_private.h"
#include "osw/task_registry_private.h"

pthread_mutex_t oswRegistryLock = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;
ClbLstHead oswTasks;
OswTaskFigures oswTaskFigures;

static OswIndex byThread;
static std::atomic<uint32_t> stackMonitor;
static std::atomic<uint32_t> lockMonitor;

static OSW_THREAD_LOCAL OswTaskRecord* ownRecord;

/* Its destructor runs on a thread however the thread ends: return, exit or cancellation. */
static pthread_key_t threadEnd;
static bool threadEndWatched;

OswTaskRecord* oswNewTaskRecord() {
    return static_cast<OswTaskRecord*>(calloc(1, sizeof(OswTaskRecord)));
}

void oswRegistryReset() {
    OswLock lock(oswRegistryLock);
    for (auto* record : zatWalk<OswTaskRecord>(&oswTasks))
        if (record->self != nullptr) *record->self = nullptr;
    zatCLBLstInit(&oswTasks);
    byThread = {};
}

void oswRegistryAdd(OswTaskRecord& record) {
    OswLock lock(oswRegistryLock);
    zatCLBLstAdd(&oswTasks, &record);
    oswIndexAdd(byThread, record.byThread, record.threadId, &record);
}

void oswRegistryRemove(OswTaskRecord& record) {
    OswLock lock(oswRegistryLock);
    zatCLBLstDelete(&oswTasks, &record);
    oswIndexRemove(byThread, record.byThread);
    oswTaskFigures.stackTotal -= record.countedStack;
    record.countedStack = 0;
    if (record.self != nullptr) *record.self = nullptr;
    record.self = nullptr;
}

/*
 * A record that still belongs to the thread here was not removed by a normal end: the thread was
 * cancelled, or ended itself with pthread_exit. A joiner releases its own kind; the main task's
 * record lives until the library is terminated.
 */
static void onThreadEnd(void*) {
    OswLock lock(oswRegistryLock);
    OswTaskRecord* record = ownRecord;
    if (record == nullptr) return;
    ownRecord = nullptr;
    record->self = nullptr;
    record->ended = 1;
    if (record->permanent || record->joinMode == OSW_JOINED_BY_CALLER) return;
    oswRegistryRemove(*record);
    free(record);
}

bool oswRegistryPrepare() {
    if (!threadEndWatched) threadEndWatched = pthread_key_create(&threadEnd, onThreadEnd) == 0;
    return threadEndWatched;
}

void oswRegistryAdopt(OswTaskRecord& record) {
    OswLock lock(oswRegistryLock);
    ownRecord = &record;
    record.self = &ownRecord;
    pthread_setspecific(threadEnd, &ownRecord);
}

OswTaskRecord* oswOwnTask() {
    return ownRecord;
}

OswTaskRecord* oswNewestTask(ZatTaskId task) {
    OswIndexNode* node = oswIndexFind(byThread, task);
    return node == nullptr ? nullptr : static_cast<OswTaskRecord*>(node->record);
}

OswTaskRecord* oswOldestTask(ZatTaskId task) {
    OswTaskRecord* oldest = nullptr;
    for (auto* node = oswIndexFind(byThread, task); node != nullptr;
         node = oswIndexMatch(node->next, task))
        oldest = static_cast<OswTaskRecord*>(node->record);
    return oldest;
}

OswTaskRecord* oswEndedTask(ZatTaskId task) {
    for (auto* node = oswIndexFind(byThread, task); node != nullptr;
         node = oswIndexMatch(node->next, task)) {
        auto* record = static_cast<OswTaskRecord*>(node->record);
        if (record->ended) return record;
    }
    return nullptr;
}

void oswCountTasks() {
    oswTaskFigures.taskCount = static_cast<uint32_t>(oswTasks.count);
    oswRaisePeak(oswTaskFigures.taskPeak, oswTaskFigures.taskCount);
}

void oswCountStartedTask(OswTaskRecord& record) {
    oswTaskFigures.stackTotal += record.stackSize - record.countedStack;
    record.countedStack = record.stackSize;
    oswRaisePeak(oswTaskFigures.stackTotalPeak, oswTaskFigures.stackTotal);
    oswCountTasks();
}

void oswMeasureStack(OswTaskRecord& record) {
    if (record.stackTop == 0 || record.ended) return;
    record.stackPeak = oswStackPeak(record.stackTop, record.stackSize);
}

void oswMonitorTaskEnd() {
    if (stackMonitor.load(std::memory_order_relaxed) != 0) zatOSWCreateMemInfo(nullptr);
}

bool oswLockMonitorOn() {
    return lockMonitor.load(std::memory_order_relaxed) != 0;
}

void oswSetWaitMutex(ZatTaskId task, const uint32_t* owner) {
    OswLock lock(oswRegistryLock);
    if (OswTaskRecord* record = oswNewestTask(task); record != nullptr) record->waitMutex = owner;
}

void oswCopyTaskName(char* name, const OswTaskRecord& record) {
    memset(name, 0, ZAT_TASK_NAME_BUFFER_SIZE);
    strncpy(name, record.name, ZAT_TASK_NAME_SIZE);
}

static void setName(OswTaskRecord& record, const char* name) {
    /* Sixteen characters are stored without a terminator; the record is made that way. */
    memset(record.name, 0, sizeof record.name);
    memcpy(record.name, name, strnlen(name, sizeof record.name));
}

static bool isNamed(const OswTaskRecord& record, const char* name) {
    return strncmp(record.name, name, sizeof record.name) == 0;
}

void oswFillTaskInfo(zatOSWTaskInfo& info, const OswTaskRecord& record) {
    info.threadId = record.threadId;
    info.kernelTid = record.kernelTid;
    info.memSize = record.memSize;
    info.memPeak = record.memPeak;
    info.stackRequested = record.stackRequested;
    info.stackTop = record.stackTop;
    info.stackPeak = record.stackPeak;
    /* The owner word belongs to a mutex: it changes under that mutex's lock, not under this one. */
    if (record.waitMutex != nullptr)
        info.lockOwner = __atomic_load_n(record.waitMutex, __ATOMIC_RELAXED);
    info.policy = record.policy;
    info.priority = record.priority;
    memcpy(info.name, record.name, sizeof info.name);
}

ZatStatus zatOSWGetTaskInfo(ZatTaskId task, zatOSWTaskInfo* info) {
    if (info == nullptr) return ZAT_FAILED;
    *info = {};
    OswLock lock(oswRegistryLock);
    OswTaskRecord* record = oswOldestTask(task == 0 ? oswSelf() : task);
    if (record == nullptr) return ZAT_FAILED;
    oswMeasureStack(*record);
    oswFillTaskInfo(*info, *record);
    return ZAT_OK;
}

ZatStatus zatOSWGetTaskName(ZatTaskId task, char* name) {
    if (name == nullptr) return ZAT_FAILED;
    OswLock lock(oswRegistryLock);
    const OswTaskRecord* record = oswOldestTask(task);
    if (record == nullptr) return ZAT_OSW_NO_TASK;
    oswCopyTaskName(name, *record);
    return ZAT_OK;
}

ZatStatus zatOSWGetTaskNameSelf(char* name) {
    return zatOSWGetTaskName(oswSelf(), name);
}

ZatStatus zatOSWSetTaskName(ZatTaskId task, const char* name) {
    if (name == nullptr) return ZAT_FAILED;
    OswLock lock(oswRegistryLock);
    OswTaskRecord* record = oswOldestTask(task);
    if (record == nullptr) return ZAT_OSW_NO_TASK;
    setName(*record, name);
    return ZAT_OK;
}

ZatStatus zatOSWSetTaskNameSelf(const char* name) {
    return zatOSWSetTaskName(oswSelf(), name);
}

ZatStatus zatOSWGetTaskIdByName(ZatTaskId* task, const char* name) {
    if (task == nullptr || name == nullptr) return ZAT_FAILED;
    OswLock lock(oswRegistryLock);
    for (const auto* record : zatWalk<OswTaskRecord>(&oswTasks)) {
        if (isNamed(*record, name)) {
            *task = record->threadId;
            return ZAT_OK;
        }
    }
    return ZAT_FAILED;
}

ZatStatus zatOSWSetStackMonitor(uint32_t on) {
    stackMonitor = on;
    return ZAT_OK;
}

ZatStatus zatOSWGetStackMonitor(uint32_t* on) {
    if (on != nullptr) *on = stackMonitor;
    return ZAT_OK;
}

ZatStatus zatOSWSetLockMonitor(uint32_t on) {
    lockMonitor = on;
    return ZAT_OK;
}

ZatStatus zatOSWGetLockMonitor(uint32_t* on) {
    if (on != nullptr) *on = lockMonitor;
    return ZAT_OK;
}
