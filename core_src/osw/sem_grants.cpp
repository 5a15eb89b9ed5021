/* Places and wake-ups; see sem_grants_private.h. */

#include "osw/sem_grants_private.h"

void oswJoinWaiting(OswWaiting& waiting, OswWaitingPlace& place) {
    place = {waiting.newest, nullptr, 0};
    if (place.older != nullptr) place.older->newer = &place;
    waiting.newest = &place;
    ++waiting.places;
}

/*
 * Wake-ups at a place and the older ones may outnumber the waiters there once one of them has left
 * without taking any; those in excess reach on to the newest place, as far as it has room.
 */
static void settle(OswWaiting& waiting) {
    OswWaitingPlace* place = waiting.newest;
    while (place != nullptr && place->older != nullptr)
        place = place->older;
    uint32_t room = 0;
    uint32_t excess = 0;
    for (; place != nullptr; place = place->newer) {
        ++room;
        if (place->grants > room) {
            excess += place->grants - room;
            place->grants = room;
        }
        room -= place->grants;
    }
    const uint32_t kept = excess < room ? excess : room;
    if (waiting.newest != nullptr) waiting.newest->grants += kept;
    waiting.grants -= excess - kept;
}

void oswLeaveWaiting(OswWaiting& waiting, OswWaitingPlace& place) {
    OswWaitingPlace* heir = place.older != nullptr ? place.older : place.newer;
    (place.newer != nullptr ? place.newer->older : waiting.newest) = place.older;
    if (place.older != nullptr) place.older->newer = place.newer;
    --waiting.places;
    if (heir != nullptr)
        heir->grants += place.grants;
    else
        waiting.grants -= place.grants;
    if (waiting.grants > 0) settle(waiting);
}

bool oswGrantOne(OswWaiting& waiting) {
    if (waiting.grants >= waiting.places) return false;
    ++waiting.newest->grants;
    ++waiting.grants;
    return true;
}

void oswGrantAll(OswWaiting& waiting) {
    for (OswWaitingPlace* place = waiting.newest; place != nullptr; place = place->older)
        place->grants = 1;
    waiting.grants = waiting.places;
}

bool oswTakeGrant(OswWaiting& waiting, OswWaitingPlace& place) {
    if (waiting.grants == 0) return false;
    OswWaitingPlace* from = &place;
    while (from != nullptr && from->grants == 0)
        from = from->newer;
    if (from == nullptr) return false;
    --from->grants;
    --waiting.grants;
    return true;
}
