/*
 * Creating tasks: a plan, a start block that the new task frees, a record, and the start routine
 * that every task runs.
 *
 * The registry lock is held from the creation of the thread until its record is in the registry;
 * the new task takes it first, and so finds its record unless it was deleted meanwhile.
 */

#include <execinfo.h>
#include <pthread.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>

#include "osw/handle_private.h"
#include "osw/init.h"
#include "osw/lock_private.h"
#include "osw/mem_part.h"
#include "osw/self_private.h"
#include "osw/stack_limits_private.h"
#include "osw/stack_private.h"
#include "osw/task_priority.h"
#include "osw/task_private.h"
#include "osw/task_registry.h"
#include "osw/task_registry_private.h"

/* What a task needs to start. */
struct OswTaskStart {
    ZatTaskEntry entry;
    int32_t detachWord;
    OswTaskArguments arguments;
    OswTaskRecord* record;
    OswTaskAbandoned abandoned;
};

static_assert(sizeof(OswTaskStart) == 14 * 4 && offsetof(OswTaskStart, arguments) == 8);

static constexpr int32_t detachesItself = -1;

/* Takes what the record tells about the stack from the stack itself. */
static void noteStack(OswTaskRecord& record, const OswStackMap& map) {
    record.stackTop = map.highest;
    record.stackSize = map.highest - map.lowest;
    record.stackRequested = std::min(record.stackRequested, record.stackSize);
    record.stackPeak = map.highest - map.current;
}

/* Registers the calling thread as running; false when its task was deleted before it started. */
static bool beginTask(const OswTaskStart& start) {
    OswStackMap map;
    const bool stackKnown = oswQueryStack(map);
    if (stackKnown) oswCleanStack(map);
    OswLock lock(oswRegistryLock);
    OswTaskRecord* record = oswNewestTask(oswSelf());
    /* Thread ids are issued again: a record that a lost thread left behind is not this one. */
    if (record == nullptr || record != start.record) return false;
    record->kernelTid = gettid();
    if (stackKnown) noteStack(*record, map);
    oswCountStartedTask(*record);
    oswRegistryAdopt(*record);
    return true;
}

extern "C" {
static void* oswTaskEntry(void* block) {
    const OswTaskStart start = *static_cast<OswTaskStart*>(block);
    const bool begun = beginTask(start);
    zatOSWOrgFreeMemPart(0, block);
    if (!begun && start.abandoned != nullptr) start.abandoned(start.arguments);
    if (!begun) return nullptr;
    const uint32_t* a = start.arguments.word;
    const uint32_t value = start.entry(a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7], a[8], a[9]);
    oswEndOwnTask();
    if (start.detachWord == detachesItself) pthread_detach(pthread_self());
    return reinterpret_cast<void*>(value);
}
}

/* A task that is being made; undone at the end of the scope unless its thread runs. */
struct TaskMaker {
    OswTaskStart* start = nullptr;
    OswTaskRecord* record = nullptr;
    pthread_attr_t attributes;

    TaskMaker() { pthread_attr_init(&attributes); }
    TaskMaker(const TaskMaker&) = delete;
    TaskMaker& operator=(const TaskMaker&) = delete;
    ~TaskMaker() {
        pthread_attr_destroy(&attributes);
        free(record);
        zatOSWOrgFreeMemPart(0, start);
    }
    void finish() {
        start = nullptr;
        record = nullptr;
    }
};

/* The size that the thread library accepts: it has a minimum of its own on some targets. */
static uint32_t setStackSize(pthread_attr_t& attributes, uint32_t requested) {
    const uint64_t wanted =
        std::min<uint64_t>(uint64_t{requested} + oswStackLimits.extra, oswStackLimits.maximum);
    if (pthread_attr_setstacksize(&attributes, static_cast<size_t>(wanted)) != 0)
        pthread_attr_setstacksize(&attributes, static_cast<size_t>(sysconf(_SC_THREAD_STACK_MIN)));
    size_t accepted = 0;
    pthread_attr_getstacksize(&attributes, &accepted);
    return static_cast<uint32_t>(accepted);
}

static void setScheduling(pthread_attr_t& attributes, const OswScheduling& scheduling) {
    sched_param parameters = {};
    parameters.sched_priority = scheduling.priority;
    pthread_attr_setinheritsched(&attributes, PTHREAD_EXPLICIT_SCHED);
    pthread_attr_setschedpolicy(&attributes, scheduling.policy);
    pthread_attr_setschedparam(&attributes, &parameters);
}

static void fillRecord(OswTaskRecord& record, const OswTaskPlan& plan, uint32_t stackSize) {
    record.stackSize = std::min(stackSize, plan.stackCap);
    record.stackRequested = std::min(plan.stackRequested, plan.stackCap);
    record.policy = plan.scheduling.policy;
    record.priority = plan.scheduling.priority;
    record.joinMode = plan.joinMode;
    memcpy(record.name, plan.name, strnlen(plan.name, sizeof record.name));
}

/* Runs the thread; its record is in the registry before it looks. */
static ZatStatus launch(TaskMaker& maker, ZatTaskId* task) {
    OswLock lock(oswRegistryLock);
    pthread_t thread = 0;
    const int error = pthread_create(&thread, &maker.attributes, oswTaskEntry, maker.start);
    if (error != 0) return static_cast<ZatStatus>(error);
    maker.record->threadId = thread;
    oswRegistryAdd(*maker.record);
    if (task != nullptr) *task = thread;
    maker.finish();
    return ZAT_OK;
}

ZatStatus oswCreateTask(ZatTaskId* task, const OswTaskPlan& plan) {
    TaskMaker maker;
    void* memory = nullptr;
    if (const ZatStatus status = zatOSWOrgAllocMemPart(0, &memory, sizeof(OswTaskStart));
        status != ZAT_OK)
        return status;
    maker.start = static_cast<OswTaskStart*>(memory);
    maker.record = oswNewTaskRecord();
    /* Success without a task: the result of the allocation, which callers know. */
    if (maker.record == nullptr) return ZAT_OK;
    *maker.start = {plan.entry, plan.detachWord, plan.arguments, maker.record, plan.abandoned};
    pthread_attr_setdetachstate(&maker.attributes, plan.detachState);
    setScheduling(maker.attributes, plan.scheduling);
    fillRecord(*maker.record, plan, setStackSize(maker.attributes, plan.stackRequested));
    return launch(maker, task);
}

ZatStatus oswOwnScheduling(OswScheduling* scheduling) {
    return oswAskThread(oswSelf(), scheduling);
}

static uint32_t clampStack(uint32_t requested) {
    return std::clamp(requested, oswStackLimits.minimum, oswStackLimits.maximum);
}

OswTaskName oswTaskName(const char* name) {
    OswTaskName result = {};
    if (name != nullptr) memcpy(result.text, name, strnlen(name, ZAT_TASK_NAME_SIZE));
    return result;
}

OswTaskName oswOwnNameWith(int characters, const void* address, const char* mark) {
    char own[ZAT_TASK_NAME_BUFFER_SIZE] = "";
    zatOSWGetTaskNameSelf(own);
    OswTaskName name = {};
    snprintf(name.text, sizeof name.text, "%.*s%08lx%s", characters, own,
             reinterpret_cast<unsigned long>(address), mark);
    return name;
}

/* frames: return addresses from the creating call outwards. */
static OswTaskName chooseName(const char* name, void* const* frames) {
    if (name == nullptr) return oswOwnNameWith(8, frames[1], "");
    if (strcmp(name, "Thread") == 0) return oswOwnNameWith(6, frames[2], "-T");
    return oswTaskName(name);
}

ZatStatus oswCreateJoinTask(ZatTaskId* task, const OswTaskName& name, int32_t priority,
                            uint32_t stackSize, ZatTaskEntry entry, int32_t joinMode,
                            const OswTaskArguments& arguments, OswTaskAbandoned abandoned) {
    if (entry == nullptr) return ZAT_FAILED;
    OswTaskPlan plan = {};
    plan.entry = entry;
    plan.arguments = arguments;
    plan.name = name.text;
    plan.stackRequested = clampStack(stackSize);
    plan.stackCap = 0xFFFFFFFF;
    plan.joinMode = plan.detachWord = joinMode;
    plan.abandoned = abandoned;
    plan.detachState = joinMode == 0 ? PTHREAD_CREATE_DETACHED : PTHREAD_CREATE_JOINABLE;
    if (priority != ZAT_INHERIT_PRIORITY)
        plan.scheduling = oswSchedulingFor(oswDefaultPolicy(), priority);
    else if (const ZatStatus error = oswOwnScheduling(&plan.scheduling); error != ZAT_OK)
        return error;
    return oswCreateTask(task, plan);
}

/* Not inlined, and frames taken right here: generated names tell the caller's return address. */
__attribute__((noinline)) ZatStatus zatOSWCreateJoinTask(
    ZatTaskId* task, const char* name, int32_t priority, uint32_t stackSizeBytes,
    ZatTaskEntry entry, int32_t joinMode, uint32_t a1, uint32_t a2, uint32_t a3, uint32_t a4,
    uint32_t a5, uint32_t a6, uint32_t a7, uint32_t a8, uint32_t a9, uint32_t a10) {
    void* frames[3] = {};
    if (name == nullptr || strcmp(name, "Thread") == 0) backtrace(frames, 3);
    if (const ZatStatus status = zatOSWInit(); status != ZAT_OK) return status;
    return oswCreateJoinTask(task, chooseName(name, frames), priority, stackSizeBytes, entry,
                             joinMode, {{a1, a2, a3, a4, a5, a6, a7, a8, a9, a10}}, nullptr);
}

ZatStatus zatOSWCreateTaskVxv(ZatTaskId* task, const char* name, uint32_t priority,
                              uint32_t stackSizeBytes, ZatTaskEntry entry, uint32_t a1, uint32_t a2,
                              uint32_t a3, uint32_t a4, uint32_t a5, uint32_t a6, uint32_t a7,
                              uint32_t a8, uint32_t a9, uint32_t a10) {
    const int32_t linuxPriority =
        priority > 255 ? ZAT_INHERIT_PRIORITY : zatOSWTaskPriorityMap[priority];
    const ZatStatus status =
        zatOSWCreateJoinTask(task, name, linuxPriority, stackSizeBytes, entry, detachesItself, a1,
                             a2, a3, a4, a5, a6, a7, a8, a9, a10);
    /* Not the last act of this call: generated names count its frame. */
    asm volatile("" : : : "memory");
    return status;
}

/* Policy and priority of attributes that ask for some, otherwise the caller's. */
static ZatStatus schedulingFrom(const pthread_attr_t* attributes, OswScheduling* scheduling) {
    int inherit = PTHREAD_INHERIT_SCHED;
    if (attributes != nullptr) pthread_attr_getinheritsched(attributes, &inherit);
    if (inherit != PTHREAD_EXPLICIT_SCHED) return oswOwnScheduling(scheduling);
    sched_param parameters = {};
    pthread_attr_getschedpolicy(attributes, &scheduling->policy);
    pthread_attr_getschedparam(attributes, &parameters);
    scheduling->priority = parameters.sched_priority;
    return ZAT_OK;
}

ZatStatus zatOSWSubPthreadCreate(ZatTaskId* task, const pthread_attr_t* attributes,
                                 ZatTaskEntry entry, uint32_t argument) {
    static constexpr size_t defaultStack = 32768;
    static constexpr uint32_t stackCap = 131072;
    const void* caller = __builtin_return_address(0);
    if (const ZatStatus status = zatOSWInit(); status != ZAT_OK) return status;
    if (entry == nullptr) return ZAT_FAILED;
    size_t stackSize = defaultStack;
    OswTaskPlan plan = {};
    plan.detachState = PTHREAD_CREATE_JOINABLE;
    if (attributes != nullptr) {
        pthread_attr_getstacksize(attributes, &stackSize);
        pthread_attr_getdetachstate(attributes, &plan.detachState);
    }
    if (const ZatStatus error = schedulingFrom(attributes, &plan.scheduling); error != ZAT_OK)
        return error;
    char name[16 + 1];
    snprintf(name, sizeof name, "pthread%08lx", reinterpret_cast<unsigned long>(caller));
    plan.entry = entry;
    plan.arguments = {{argument}};
    plan.name = name;
    plan.stackRequested = clampStack(static_cast<uint32_t>(stackSize));
    plan.stackCap = stackCap;
    plan.joinMode = plan.detachState == PTHREAD_CREATE_JOINABLE ? detachesItself : 0;
    plan.detachWord = plan.joinMode;
    return oswCreateTask(task, plan);
}
