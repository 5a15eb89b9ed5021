/* A program as a user of the installed library writes it; consumer.cpp is the same in C++. */
#include <stdio.h>
#include <zatosw/osw/compat/compat.h>
#include <zatosw/zatosw.h>

static uint32_t waitForever(uint32_t event, uint32_t reached, uint32_t a3, uint32_t a4, uint32_t a5,
                            uint32_t a6, uint32_t a7, uint32_t a8, uint32_t a9, uint32_t a10) {
    (void)a3, (void)a4, (void)a5, (void)a6, (void)a7, (void)a8, (void)a9, (void)a10;
    zatOSWPostEventSem(reached);
    return zatOSWWaitEventSem(event, ZAT_FOREVER);
}

/* A deleted task unwinds its stack, for which all of the C++ runtime must be there. */
static int taskCanBeDeleted(void) {
    ZatEventSem event = 0;
    ZatEventSem reached = 0;
    ZatTaskId task = 0;
    uint32_t exitValue = 0;
    return zatOSWCreateEventSem(&event, 0, 0) == ZAT_OK &&
           zatOSWCreateEventSem(&reached, 0, 0) == ZAT_OK &&
           zatOSWCreateJoinTask(&task, "waits", ZAT_INHERIT_PRIORITY, 32768, waitForever, 1, event,
                                reached, 0, 0, 0, 0, 0, 0, 0, 0) == ZAT_OK &&
           zatOSWWaitEventSem(reached, ZAT_FOREVER) == ZAT_OK && zatOSWDeleteTask(task) == ZAT_OK &&
           zatOSWWaitJoinableTask(task, 1, &exitValue) == ZAT_OK && exitValue == UINT32_MAX &&
           zatOSWDeleteEventSem(event) == ZAT_OK && zatOSWDeleteEventSem(reached) == ZAT_OK;
}

int main(void) {
    if (!taskCanBeDeleted() || zatCLBCompStrCase("Installed", "installED") != 0 ||
        taskIdSelf() == 0) {
        puts("the installed library does not work");
        return 1;
    }
    printf("%s\n", zatStatusText(ZAT_OK));
    return 0;
}
