/**
 * @file
 * The task registry: every thread that the library knows, by id and by name.
 *
 * A task id is the thread id (pthread_t) of the task's thread. Registered are the main thread and
 * every task that the library created; other threads may use the library, but have no record.
 */
#ifndef ZATOSW_OSW_TASK_REGISTRY_H
#define ZATOSW_OSW_TASK_REGISTRY_H

#include "status.h"

ZATOSW_BEGIN_DECLS

/** What zatOSWGetTaskInfo() tells about a task; all zero for a task that is not registered. */
typedef struct zatOSWTaskInfo {
    ZatTaskId threadId;      /**< thread id */
    int32_t kernelTid;       /**< kernel thread id, 0 until the task has started */
    uint32_t memSize;        /**< bytes of default-partition memory that the task holds */
    uint32_t memPeak;        /**< highest memSize seen */
    uint32_t stackRequested; /**< stack size that the creator asked for, in bytes, after clamping */
    uint32_t stackTop;       /**< highest address of the stack, 0 when unknown */
    uint32_t stackPeak;      /**< deepest stack use in bytes, freshly measured */
    ZatTaskId lockOwner;     /**< owner of the mutex that the task waits on, 0 when none; kept only
                                  while the lock monitor is on */
    int32_t policy;          /**< scheduling policy: 0 other, 1 FIFO, 2 round robin */
    int32_t priority;        /**< Linux priority */
    char name[ZAT_TASK_NAME_SIZE]; /**< name, NUL-padded; no terminator when all 16 are used */
} zatOSWTaskInfo;

ZATOSW_STATIC_ASSERT(sizeof(zatOSWTaskInfo) == 56, "callers and reports share this layout");

/**
 * Tells about a task, measuring its deepest stack use anew.
 *
 * @param task  thread id; 0 stands for the caller
 * @param info  receives the record, zero-filled first; must not be null
 *
 * @return ZAT_OK      info holds the task's figures
 * @return ZAT_FAILED  the task is not registered (info is zero-filled), or info is null
 *
 * Waits only for the registry lock. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWGetTaskInfo(ZatTaskId task, zatOSWTaskInfo* info);

/**
 * Gives a task's name.
 *
 * @param task  thread id; 0 stands for no task
 * @param name  buffer of at least ZAT_TASK_NAME_BUFFER_SIZE (17) bytes; receives at most 16
 *              characters and is always terminated; untouched on failure
 *
 * @return ZAT_OK           name holds the task's name
 * @return ZAT_OSW_NO_TASK  the task is not registered
 * @return ZAT_FAILED       name is null
 *
 * Waits only for the registry lock. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWGetTaskName(ZatTaskId task, char* name);

/** Gives the caller's own name; otherwise as zatOSWGetTaskName(). */
ZATOSW_API ZatStatus zatOSWGetTaskNameSelf(char* name);

/**
 * Renames a task.
 *
 * @param task  thread id
 * @param name  NUL-terminated; its first 16 characters are kept
 *
 * @return ZAT_OK           the task is renamed
 * @return ZAT_OSW_NO_TASK  the task is not registered
 * @return ZAT_FAILED       name is null
 *
 * Waits only for the registry lock. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWSetTaskName(ZatTaskId task, const char* name);

/** Renames the caller; otherwise as zatOSWSetTaskName(). */
ZATOSW_API ZatStatus zatOSWSetTaskNameSelf(const char* name);

/**
 * Finds a task by its name; of several with that name, the oldest.
 *
 * @param task  receives the thread id; written on success only
 * @param name  name to look for; its first 16 characters count
 *
 * @return ZAT_OK      task holds the thread id
 * @return ZAT_FAILED  no task has the name, or an argument is null
 *
 * Waits only for the registry lock. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWGetTaskIdByName(ZatTaskId* task, const char* name);

/**
 * Switches the stack monitor: while it is on, the end of every task refreshes the memory and stack
 * totals first.
 *
 * @param on  0 = off, any other value = on; stored as given
 *
 * @return ZAT_OK  always
 */
ZATOSW_API ZatStatus zatOSWSetStackMonitor(uint32_t on);

/** Gives the stack monitor's switch as it was stored; ZAT_OK always. A null on is ignored. */
ZATOSW_API ZatStatus zatOSWGetStackMonitor(uint32_t* on);

/**
 * Switches the lock monitor: while it is on, a task that waits for a mutex semaphore or a fixed
 * lock is recorded with the owner that it waits for, which zatOSWGetTaskInfo() then tells.
 *
 * @param on  0 = off, any other value = on; stored as given
 *
 * @return ZAT_OK  always
 */
ZATOSW_API ZatStatus zatOSWSetLockMonitor(uint32_t on);

/** Gives the lock monitor's switch as it was stored; ZAT_OK always. A null on is ignored. */
ZATOSW_API ZatStatus zatOSWGetLockMonitor(uint32_t* on);

ZATOSW_END_DECLS

#endif
