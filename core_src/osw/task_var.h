/**
 * @file
 * Task variables: words that a program attaches to tasks under keys of its own.
 *
 * A variable lives until it is removed; the end of its task does not remove it. Any id may be
 * given, that of a task that is not registered too. All calls may be made from any task; each may
 * also return a POSIX error number of the thread library, unchanged.
 */
#ifndef ZATOSW_OSW_TASK_VAR_H
#define ZATOSW_OSW_TASK_VAR_H

#include "status.h"

ZATOSW_BEGIN_DECLS

/**
 * Adds a variable with the value 0.
 *
 * @return ZAT_OK      added
 * @return ZAT_FAILED  the task has a variable with this key already
 * @return a status of zatOSWInit() or zatOSWOrgAllocMemPart(), or a POSIX error number
 */
ZATOSW_API ZatStatus zatOSWAddTaskVar(ZatTaskId task, uint32_t key);

/** Sets a variable; ZAT_FAILED when the task has none with this key. */
ZATOSW_API ZatStatus zatOSWSetTaskVar(ZatTaskId task, uint32_t key, uint32_t value);

/** Gives a variable's value; ZAT_FAILED, and value untouched, when the task has none with this key
 *  or value is null. */
ZATOSW_API ZatStatus zatOSWGetTaskVar(ZatTaskId task, uint32_t key, uint32_t* value);

/** Removes a variable; ZAT_FAILED when the task has none with this key. */
ZATOSW_API ZatStatus zatOSWRemoveTaskVar(ZatTaskId task, uint32_t key);

ZATOSW_END_DECLS

#endif
