/* What a mutex's users inside the library may do besides. */
#ifndef ZATOSW_OSW_IPC_MUTEX_SEM_PRIVATE_H
#define ZATOSW_OSW_IPC_MUTEX_SEM_PRIVATE_H

#include "osw/types.h"

/*
 * Takes a mutex whose owner's process is dead. It is for those whose data stand a change that broke
 * off anywhere.
 *
 * ZAT_TIMED_OUT when the owner lives or the mutex is free; otherwise a status of
 * zatOSWIpcReleaseMutexSem().
 */
ZatStatus oswIpcInheritMutexSem(ZatIpcHandle handle);

#endif
