/**
 * @file
 * The six fixed locks: process-wide recursive locks that need no creation.
 *
 * They are the critical section, the lock, the global lock, the task lock and two global task
 * locks, each independent of the others. A holder may take its lock again; each take needs its own
 * release. Unlike the other waits of the library, waiting for one is no point at which a task is
 * deleted: that happens later, and a task that is deleted while it holds one leaves it taken for
 * ever.
 */
#ifndef ZATOSW_OSW_FIXED_LOCK_H
#define ZATOSW_OSW_FIXED_LOCK_H

#include "status.h"

ZATOSW_BEGIN_DECLS

/**
 * Takes the critical section, waiting for it without limit.
 *
 * @return ZAT_OK  the caller holds it
 * @return a status of zatOSWInit(), or a POSIX error number of the thread library
 *
 * Blocks. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWEnterCriticalSection(void);

/**
 * Gives one hold of the critical section back.
 *
 * @return ZAT_OK  given back; also when the caller does not hold it, which changes nothing
 * @return a POSIX error number of the thread library
 */
ZATOSW_API ZatStatus zatOSWLeaveCriticalSection(void);

/** Takes the lock; as zatOSWEnterCriticalSection(). */
ZATOSW_API ZatStatus zatOSWLock(void);
/** Gives one hold of the lock back; as zatOSWLeaveCriticalSection(). */
ZATOSW_API ZatStatus zatOSWUnlock(void);

/** Takes the global lock; as zatOSWEnterCriticalSection(). */
ZATOSW_API ZatStatus zatOSWGlobalLock(void);
/** Gives one hold of the global lock back; as zatOSWLeaveCriticalSection(). */
ZATOSW_API ZatStatus zatOSWGlobalUnlock(void);

/** Takes the task lock; as zatOSWEnterCriticalSection(). */
ZATOSW_API ZatStatus zatOSWLockTask(void);
/** Gives one hold of the task lock back; as zatOSWLeaveCriticalSection(). */
ZATOSW_API ZatStatus zatOSWUnlockTask(void);

/**
 * Takes a global task lock, waiting for it without limit. Does not initialise the library.
 *
 * @param selector  1 = global task lock 1, any other value = global task lock 2
 *
 * @return ZAT_OK  the caller holds it
 * @return a POSIX error number of the thread library
 *
 * Blocks. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWGlobalLockTask(uint32_t selector);
/** Gives one hold of a global task lock back; as zatOSWLeaveCriticalSection(). */
ZATOSW_API ZatStatus zatOSWGlobalUnlockTask(uint32_t selector);

ZATOSW_END_DECLS

#endif
