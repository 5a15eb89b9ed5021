/**
 * @file
 * Bringing the inter-process layer up and down in a process.
 *
 * zatOSWInit() and zatOSWTerm() do both; programs need these calls only to have the layer back
 * after zatOSWTerm(). The layer uses SIGUSR1: its handler is installed, and the signal blocked in
 * the initialising thread and thereby in every thread that this one creates.
 *
 * A child made by fork() has a copy of the layer that was never counted: it may use the objects
 * that its parent had created, must not create, delete or terminate, and loses what it holds when
 * its parent removes an object. zatOSWInit() in a program of its own is the way.
 */
#ifndef ZATOSW_OSW_IPC_IPC_INIT_H
#define ZATOSW_OSW_IPC_IPC_INIT_H

#include "../status.h"

ZATOSW_BEGIN_DECLS

/**
 * Joins the table of shared objects, making it if this is the first process of the machine.
 *
 * @return ZAT_OK                 the layer is up; an earlier call may have done it
 * @return ZAT_IPC_SEMGET_FAILED  a lock semaphore cannot be created or opened
 * @return ZAT_IPC_SEMCTL_FAILED  a lock semaphore's value cannot be set
 * @return ZAT_IPC_SEMOP_FAILED   the global semaphore cannot be taken
 * @return ZAT_IPC_SHMGET_FAILED, ZAT_IPC_SHMAT_FAILED  the table cannot be created or attached
 * @return ZAT_IPC_NO_MEMORY      no memory (but an exhausted heap is fatal, see mem_part.h)
 * @return a status of zatOSWIpcGetServerIpcKey()
 *
 * A failure leaves nothing behind that this call has made. Waits for creates and deletes of other
 * processes. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWIpcInit(void);

/**
 * Leaves the table. Handles of this process are gone, and tasks that wait on them return; what the
 * process still held or used stays so for the others. The last process of the machine removes all
 * objects, the locks, the table and their key files, except the key files of the table's second and
 * further pages.
 *
 * Waits for the tasks of the process's timers, and so must not be called by one. May be called from
 * any other task.
 */
ZATOSW_API void zatOSWIpcTerm(void);

ZATOSW_END_DECLS

#endif
