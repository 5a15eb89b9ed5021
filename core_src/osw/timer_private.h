/* The record of a callback timer; its address is the handle. */
#ifndef ZATOSW_OSW_TIMER_PRIVATE_H
#define ZATOSW_OSW_TIMER_PRIVATE_H

#include <stddef.h>

#include "clb/list.h"
#include "osw/timer.h"

struct OswTimerWords {
    uint32_t word[5];
};

struct OswTimerRecord {
    ClbLstNode links;
    ZatTaskId threadId;
    ZatEventSem startEvent; /* a post arms the timer */
    ZatEventSem stopEvent;  /* a post ends the countdown */
    ZatEventSem exitEvent;  /* a post ends the task */
    uint32_t interval;      /* milliseconds */
    ZatTimerCallback callback;
    OswTimerWords words;
    uint32_t armed;    /* started, and no countdown has begun since */
    uint32_t counting; /* a countdown runs, or is about to */
    uint32_t stopping; /* it is to end, by a post of the stop event that must not be taken back */
};

static_assert(sizeof(OswTimerRecord) == 64 && offsetof(OswTimerRecord, threadId) == 8 &&
              offsetof(OswTimerRecord, interval) == 24 && offsetof(OswTimerRecord, words) == 32);

#endif
