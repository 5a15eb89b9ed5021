/* How tasks are created from within the library, and end by themselves. */
#ifndef ZATOSW_OSW_TASK_PRIVATE_H
#define ZATOSW_OSW_TASK_PRIVATE_H

#include "osw/task.h"
#include "osw/thread_private.h"

struct OswTaskArguments {
    uint32_t word[10];
};

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
};

/* A name for a task; 16 characters count. */
struct OswTaskName {
    char text[40];
};

/* The given name, cut; of null, none. */
OswTaskName oswTaskName(const char* name);

/* The caller's own name, cut, then an address and what marks the name's kind. */
OswTaskName oswOwnNameWith(int characters, const void* address, const char* mark);

ZatStatus oswCreateTask(ZatTaskId* task, const OswTaskPlan& plan);

/* The calling thread's policy and priority. */
ZatStatus oswOwnScheduling(OswScheduling* scheduling);

/*
 * The calling task's last steps with its record: off the registry, unless a joiner is to release
 * it, and the check of its stack.
 */
void oswEndOwnTask();

#endif
