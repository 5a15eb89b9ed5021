/*
 * Does something every second.
 *
 * Prints:
 *     second 1
 *     second 2
 *     second 3
 */
#include <stdio.h>
#include <zatosw/zatosw.h>

int main(void) {
    ZatEventSem tick = 0;
    ZatEventSem cancel = 0;
    if (zatOSWCreateEventSem(&tick, 0, 0) != ZAT_OK ||
        zatOSWStartEventTimer(&cancel, 1000, tick) != ZAT_OK)
        return 1;
    for (int second = 1; second <= 3; ++second) {
        /* A time-out much longer than the interval tells that the timer is gone. */
        if (zatOSWWaitEventSem(tick, 10000) != ZAT_OK) return 1;
        printf("second %d\n", second);
    }
    zatOSWPostEventSem(cancel); /* ends the timer; the handle is gone then */
    zatOSWDeleteEventSem(tick);
    zatOSWTerm();
    return 0;
}
