/*
 * Waits for an event, but not for ever.
 *
 * Prints:
 *     not yet: timed out, interrupted, or busy with time-out 0
 *     the valve is open
 */
#include <stdio.h>
#include <zatosw/zatosw.h>

static uint32_t openValve(uint32_t opened, uint32_t a2, uint32_t a3, uint32_t a4, uint32_t a5,
                          uint32_t a6, uint32_t a7, uint32_t a8, uint32_t a9, uint32_t a10) {
    zatOSWSleep(20);
    zatOSWPostEventSem(opened);
    return 0;
}

int main(void) {
    ZatEventSem opened = 0;
    if (zatOSWCreateEventSem(&opened, 0, 0) != ZAT_OK) return 1;

    ZatStatus status = zatOSWWaitEventSem(opened, 100);
    printf("not yet: %s\n", zatStatusText(status));

    ZatTaskId task = 0;
    if (zatOSWCreateJoinTask(&task, "valve", ZAT_INHERIT_PRIORITY, 16384, openValve, 1, opened, 0,
                             0, 0, 0, 0, 0, 0, 0, 0) != ZAT_OK)
        return 1;
    if (zatOSWWaitEventSem(opened, 10000) == ZAT_OK) printf("the valve is open\n");

    zatOSWWaitTask(task, 1);
    zatOSWDeleteEventSem(opened);
    zatOSWTerm(); /* the last process of the machine to do so leaves nothing behind */
    return 0;
}
