/*
 * Tells who holds the lock that a task waits for.
 *
 * Prints:
 *     pump waits for mainThread
 *     pump has the lock
 */
#include <stdio.h>
#include <zatosw/zatosw.h>

static uint32_t pump(uint32_t lock, uint32_t a2, uint32_t a3, uint32_t a4, uint32_t a5, uint32_t a6,
                     uint32_t a7, uint32_t a8, uint32_t a9, uint32_t a10) {
    ZatStatus status = zatOSWRequestMutexSem(lock, 10000);
    if (status == ZAT_OK) zatOSWReleaseMutexSem(lock);
    return status;
}

/* What a supervisor would do with every task that seems to hang. */
static int showOwner(ZatTaskId task) {
    zatOSWTaskInfo info;
    char owner[ZAT_TASK_NAME_BUFFER_SIZE];
    if (zatOSWGetTaskInfo(task, &info) != ZAT_OK || info.lockOwner == 0) return 0;
    if (zatOSWGetTaskName(info.lockOwner, owner) != ZAT_OK) return 0;
    printf("%.16s waits for %s\n", info.name, owner);
    return 1;
}

int main(void) {
    ZatMutexSem lock = 0;
    ZatTaskId task = 0;
    uint32_t result = ZAT_FAILED;
    zatOSWSetLockMonitor(1); /* off at first; LKON and LKOFF of the console switch it, too */
    if (zatOSWCreateMutexSem(&lock, 0, 0) != ZAT_OK || lock == 0) return 1;
    if (zatOSWCreateJoinTask(&task, "pump", ZAT_INHERIT_PRIORITY, 16384, pump, 1, lock, 0, 0, 0, 0,
                             0, 0, 0, 0, 0) != ZAT_OK)
        return 1;

    while (!showOwner(task))
        zatOSWSleep(10);

    zatOSWReleaseMutexSem(lock);
    zatOSWWaitJoinableTask(task, 1, &result);
    if (result == ZAT_OK) printf("pump has the lock\n");
    zatOSWDeleteMutexSem(lock);
    zatOSWTerm();
    return 0;
}
