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

uint32_t oswSysvLastProcess(int semId) {
    const int process = control(semId, 0, GETPID, {.val = 0});
    return process > 0 ? static_cast<uint32_t>(process) : 0;
}

/* The process is 0 also where it cannot be seen from here, the time where an emulator has no idea
 * of it. */
bool oswSysvWasUsed(int semId) {
    if (oswSysvLastProcess(semId) != 0) return true;
    semid_ds state = {};
    return control(semId, 0, IPC_STAT, {.buf = &state}) == 0 && state.sem_otime != 0;
}
