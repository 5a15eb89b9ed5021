/* System V semaphore calls; see sysv_private.h. */

#include "osw/ipc/sysv_private.h"

/* The C library leaves this type to its callers. */
union semun {
    int val;
    semid_ds* buf;
    unsigned short* array;
};

int oswSysvSetValue(int semId, int value) {
    /* A union, not an int: PowerPC passes a union among variable arguments by reference. */
    semun argument = {.val = value};
    return semctl(semId, 0, SETVAL, argument);
}

int oswSysvRemove(int semId) {
    semun argument = {.val = 0};
    return semctl(semId, 0, IPC_RMID, argument);
}
