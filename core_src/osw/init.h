/**
 * @file
 * Bringing the library up and down in a process.
 */
#ifndef ZATOSW_OSW_INIT_H
#define ZATOSW_OSW_INIT_H

#include "status.h"

ZATOSW_BEGIN_DECLS

/**
 * Brings the library up, once per process. Every creating call does this first, so that programs
 * need not; the caller becomes the task "mainThread".
 *
 * Reads the stack limits for new tasks from the environment variable OSW_TASK_STACK_ENV:
 * "minimum,maximum,extra" in bytes, each piece optional (16384, 131072 and 65536 when not given). A
 * minimum below 16384 becomes 16384, a maximum below the minimum becomes the minimum. A piece that
 * is no number or has 48 characters or more leaves its value as it is; further pieces are ignored.
 *
 * @return ZAT_OK      the library is up, by this call or an earlier one
 * @return ZAT_FAILED  no memory, or a part of the library did not come up; nothing stays behind and
 *                     the next call tries again
 * @return a POSIX error number of the thread library when a lock cannot be made, unchanged
 *
 * Waits while another task is initialising. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWInit(void);

/**
 * Ends the library's inter-process side and removes the record of the main task.
 *
 * Everything else stays as it is, and the library stays initialised: a later zatOSWInit() does
 * nothing, and does not register the main task again.
 *
 * @return ZAT_OK  always, also when the library was never up or was terminated before
 */
ZATOSW_API ZatStatus zatOSWTerm(void);

ZATOSW_END_DECLS

#endif
