/* System V semaphore calls; see sysv_private.h. */

#include "osw/ipc/sysv_private.h"

/* The C library leaves this type to its callers. */
union semun {
    int val;
    semid_ds* buf;
    unsigned short* array;
};

/* A union, not an int: PowerPC passes a union among variable arguments by reference. */
static int control(int semId, uint16_t semaphore, int command, semun argument) {
    return semctl(semId, semaphore, command, argument);
}

int oswSysvSetValue(int semId, uint16_t semaphore, int value) {
    return control(semId, semaphore, SETVAL, {.val = value});
}

int oswSysvRemove(int semId) {
    return control(semId, 0, IPC_RMID, {.val = 0});
}

int oswSysvValue(int semId, uint16_t semaphore) {
    return control(semId, semaphore, GETVAL, {.val = 0});
}

int oswSysvBlocked(int semId, uint16_t semaphore) {
    return control(semId, semaphore, GETNCNT, {.val = 0});
}

bool oswSysvWasUsed(int semId) {
    semid_ds state = {};
    return control(semId, 0, IPC_STAT, {.buf = &state}) == 0 && state.sem_otime != 0;
}
