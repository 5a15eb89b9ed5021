/* How tasks are created from within the library, and end by themselves. */
#ifndef ZATOSW_OSW_TASK_PRIVATE_H
#define ZATOSW_OSW_TASK_PRIVATE_H

#include "osw/task.h"
#include "osw/thread_private.h"

struct OswTaskArguments {
    uint32_t word[10];
};

/* A name for a task; 16 characters count. */
struct OswTaskName {
    char text[40];
};

/* The given name, cut; of null, none. */
OswTaskName oswTaskName(const char* name);

/* The caller's own name, cut, then an address and what marks the name's kind. */
OswTaskName oswOwnNameWith(int characters, const void* address, const char* mark);

/* Called in the new thread, instead of the entry function, when the task was deleted before it
 * began. */
using OswTaskAbandoned = void (*)(const OswTaskArguments& arguments);

/* Everything that a new task is made from. */
struct OswTaskPlan {
    ZatTaskEntry entry;
    OswTaskArguments arguments;
    const char* name; /* 16 characters count */
    OswScheduling scheduling;
    uint32_t stackRequested; /* clamped to the limits */
    uint32_t stackCap;       /* what the record says at most about the stack's size */
    int32_t joinMode;
    int32_t detachWord; /* -1: the task detaches itself when its entry function returns */
    int detachState;
    OswTaskAbandoned abandoned; /* null where nobody minds */
};

ZatStatus oswCreateTask(ZatTaskId* task, const OswTaskPlan& plan);

/* zatOSWCreateJoinTask() with a name that was chosen. */
ZatStatus oswCreateJoinTask(ZatTaskId* task, const OswTaskName& name, int32_t priority,
                            uint32_t stackSize, ZatTaskEntry entry, int32_t joinMode,
                            const OswTaskArguments& arguments, OswTaskAbandoned abandoned);

/* What a creation came to for those who need the task: no memory for its record is success without
 * one. */
inline ZatStatus oswCreated(ZatStatus status, ZatTaskId task) {
    return status == ZAT_OK && task == 0 ? ZatStatus{ZAT_FAILED} : status;
}

/* The calling thread's policy and priority. */
ZatStatus oswOwnScheduling(OswScheduling* scheduling);

/*
 * The calling task's last steps with its record: off the registry, unless a joiner is to release
 * it, and the check of its stack.
 */
void oswEndOwnTask();

#endif
