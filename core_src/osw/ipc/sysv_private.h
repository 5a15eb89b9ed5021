/*
 * The one place for System V semaphore calls: setting, removing and operating on them.
 */
#ifndef ZATOSW_OSW_IPC_SYSV_PRIVATE_H
#define ZATOSW_OSW_IPC_SYSV_PRIVATE_H

#include <stdint.h>
#include <sys/sem.h>
#include <sys/types.h>

/* Sets semaphore 0 of a set; returns 0 or -1 with errno set. */
int oswSysvSetValue(int semId, int value);

/* Removes a set; returns 0 or -1 with errno set. */
int oswSysvRemove(int semId);

/* Runs one operation, again while a signal interrupts it; returns 0 or the error number. */
uint32_t oswSysvOperate(int semId, const sembuf& operation);

/* Runs one operation once; returns 0 or the error number. */
uint32_t oswSysvOperateOnce(int semId, const sembuf& operation);

#endif
