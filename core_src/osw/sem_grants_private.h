/*
 * Whom a wake-up is for: a count of wake-ups alone would let a task that came later take the one
 * meant for those who waited when it was sent.
 *
 * Waiters stand in the order of their arrival, each with a place on its own stack. A wake-up is
 * kept at the place that was the newest when it was sent: it is for that waiter or an older one,
 * whichever the condition variable wakes. A waiter takes the one that reaches least far beyond it,
 * so that those left over still have takers. The inner mutex of the semaphore guards all of it.
 */
#ifndef ZATOSW_OSW_SEM_GRANTS_PRIVATE_H
#define ZATOSW_OSW_SEM_GRANTS_PRIVATE_H

#include <stdint.h>

struct OswWaitingPlace {
    OswWaitingPlace* older;
    OswWaitingPlace* newer;
    uint32_t grants; /* wake-ups for this waiter or an older one */
};

struct OswWaiting {
    OswWaitingPlace* newest;
    uint32_t places;
    uint32_t grants; /* of all places; never more than there are places up to any of them */
};

void oswJoinWaiting(OswWaiting& waiting, OswWaitingPlace& place);

/* Takes a waiter's place away. Wake-ups that have lost their takers go to whoever waits now, and
 * end when all others have one. */
void oswLeaveWaiting(OswWaiting& waiting, OswWaitingPlace& place);

/* Sends a wake-up to one of those who wait now; false when each of them has one already. */
bool oswGrantOne(OswWaiting& waiting);

/* Sends one to each of those who wait now. */
void oswGrantAll(OswWaiting& waiting);

/* Takes a wake-up that is for a waiter; false when there is none. */
bool oswTakeGrant(OswWaiting& waiting, OswWaitingPlace& place);

#endif
