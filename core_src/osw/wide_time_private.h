/*
 * The wall clock with room for more seconds than 32 bits hold: the C library's calls with a narrow
 * time fail from 20 January 2038 on. Only the file behind this header is compiled for the others.
 */
#ifndef ZATOSW_OSW_WIDE_TIME_PRIVATE_H
#define ZATOSW_OSW_WIDE_TIME_PRIVATE_H

#include <pthread.h>
#include <stdint.h>
#include <time.h>

/* A moment of the wall clock. */
struct OswMoment {
    int64_t seconds;
    int32_t nanoseconds;
};

/* The wall clock, in whole microseconds. They return 0, or -1 with errno set. */
int oswGetWallClock(OswMoment& now);
int oswSetWallClock(const OswMoment& now);

/* The local time of a moment, in the zone that the C library has at present. */
void oswLocalTime(int64_t seconds, tm& result);

/* Waits on a condition until a moment; returns what the thread library does. */
int oswCondWaitUntil(pthread_cond_t& condition, pthread_mutex_t& mutex, const OswMoment& deadline);

#endif
