/*
 * The one place for System V semaphore calls: setting, removing and operating on them.
 */
#ifndef ZATOSW_OSW_IPC_SYSV_PRIVATE_H
#define ZATOSW_OSW_IPC_SYSV_PRIVATE_H

#include <errno.h>
#include <stdint.h>
#include <sys/sem.h>
#include <sys/types.h>

/* Sets one semaphore of a set; returns 0 or -1 with errno set. */
int oswSysvSetValue(int semId, uint16_t semaphore, int value);

inline int oswSysvSetValue(int semId, int value) {
    return oswSysvSetValue(semId, 0, value);
}

/* Removes a set; returns 0 or -1 with errno set. */
int oswSysvRemove(int semId);

/* The value of one semaphore of a set, and how many threads are blocked in the kernel until it
 * grows; -1 with errno set. */
int oswSysvValue(int semId, uint16_t semaphore);
int oswSysvBlocked(int semId, uint16_t semaphore);

/* The process that operated on semaphore 0 of a set last; 0 when nobody did, or there is no set. */
uint32_t oswSysvLastProcess(int semId);

/* Whether a set's semaphore 0 was ever set or operated on. */
bool oswSysvWasUsed(int semId);

/*
 * Runs one operation, again while a signal interrupts it; returns 0 or the error number, which is
 * in errno, too. Inline: right after a system call every return costs more than it looks.
 */
inline uint32_t oswSysvOperate(int semId, sembuf& operation) {
    while (semop(semId, &operation, 1) != 0)
        if (errno != EINTR) return static_cast<uint32_t>(errno);
    return 0;
}

#endif
