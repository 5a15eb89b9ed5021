/*
 * The registry's records and their life: added by whoever creates a task, adopted by the task
 * itself when it starts, and removed by exactly one side at its end.
 *
 * The registry lock (recursive, innermost) guards the list, every record, the figures, and the
 * memory accounting. A record that is in the registry names a thread that still exists.
 */
#ifndef ZATOSW_OSW_TASK_REGISTRY_PRIVATE_H
#define ZATOSW_OSW_TASK_REGISTRY_PRIVATE_H

#include <pthread.h>
#include <stddef.h>

#include "clb/list.h"
#include "osw/index_private.h"
#include "osw/status.h"
#include "osw/task_registry.h"

enum : int32_t {
    OSW_JOINED_BY_CALLER = 1, /* joinMode: whoever joins the task releases its record */
};

struct OswTaskRecord {
    ClbLstNode links;
    ZatTaskId threadId;
    int32_t kernelTid;
    uint32_t memSize;
    uint32_t memPeak;
    uint32_t stackSize;
    uint32_t stackRequested;
    uint32_t stackTop;
    uint32_t stackPeak;
    const uint32_t* waitMutex;
    int32_t policy;
    int32_t priority;
    int32_t joinMode;
    char name[ZAT_TASK_NAME_SIZE];
    /* Not part of the described record: */
    OswIndexNode byThread;
    OswTaskRecord** self;  /* the own-record slot of the running thread, null when it has none */
    uint32_t countedStack; /* bytes of this task in the stack total */
    uint32_t ended;        /* the thread is past its last use of the stack, which may be gone */
    uint32_t permanent;    /* the main task's: it outlives its thread, zatOSWTerm releases it */
};

static_assert(offsetof(OswTaskRecord, threadId) == 8 && offsetof(OswTaskRecord, memSize) == 16 &&
              offsetof(OswTaskRecord, stackTop) == 32 && offsetof(OswTaskRecord, waitMutex) == 40 &&
              offsetof(OswTaskRecord, joinMode) == 52 && offsetof(OswTaskRecord, name) == 56 &&
              offsetof(OswTaskRecord, byThread) == 72);

/* Process totals over the registered tasks, guarded by the registry lock. */
struct OswTaskFigures {
    uint32_t taskCount;
    uint32_t taskPeak;
    uint32_t stackTotal; /* bytes of stackSize */
    uint32_t stackTotalPeak;
    uint32_t stackUsage; /* bytes of stackPeak, each rounded up to 4096 */
    uint32_t stackUsagePeak;
};

extern pthread_mutex_t oswRegistryLock;
extern ClbLstHead oswTasks;
extern OswTaskFigures oswTaskFigures;

/* Sees to it that the end of a thread is noticed, however it ends; false when it cannot be. Under
 * the init lock. */
bool oswRegistryPrepare();

/* A zeroed record from the process heap, null when there is no memory. */
OswTaskRecord* oswNewTaskRecord();

/* Forgets every record without releasing any; for an initialisation that starts over. */
void oswRegistryReset();

void oswRegistryAdd(OswTaskRecord& record);

/* Takes a record out of the list and off the figures; its memory stays the caller's. */
void oswRegistryRemove(OswTaskRecord& record);

/* Makes the record that of the calling thread, until the thread ends or the record is removed. */
void oswRegistryAdopt(OswTaskRecord& record);

/* The record of the calling thread, in constant time; null when it has none. */
OswTaskRecord* oswOwnTask();

/* Records by thread id. Thread ids are issued again, so the two ends of the list differ. */
OswTaskRecord* oswOldestTask(ZatTaskId task);
OswTaskRecord* oswNewestTask(ZatTaskId task);

/* The newest record with this thread id whose thread has ended: that of a thread just joined. */
OswTaskRecord* oswEndedTask(ZatTaskId task);

/* Counts the stack of a task that has just started, and all tasks, into the figures. */
void oswCountStartedTask(OswTaskRecord& record);

/* Counts the tasks into the figures. */
void oswCountTasks();

inline void oswRaisePeak(uint32_t& peak, uint32_t value) {
    if (value > peak) peak = value;
}

/* What callers learn of a task. */
void oswFillTaskInfo(zatOSWTaskInfo& info, const OswTaskRecord& record);

/* Refreshes stackPeak of a record whose stack is known and still there. */
void oswMeasureStack(OswTaskRecord& record);

/* With the stack monitor on, measures every task and refreshes the figures. */
void oswMonitorTaskEnd();

/* Whether requests record what they wait for. */
bool oswLockMonitorOn();

/* Notes, or with null forgets, the owner word of the mutex that a task waits on. */
void oswSetWaitMutex(ZatTaskId task, const uint32_t* owner);

/* Copies a record's name, terminated, into ZAT_TASK_NAME_BUFFER_SIZE bytes. */
void oswCopyTaskName(char* name, const OswTaskRecord& record);

#endif
