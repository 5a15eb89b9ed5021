/**
 * @file
 * The clocks and sleeping. All calls may be made from any task.
 */
#ifndef ZATOSW_OSW_CLOCK_H
#define ZATOSW_OSW_CLOCK_H

#include "status.h"

ZATOSW_BEGIN_DECLS

/** A moment on the wall clock. */
typedef struct ZatClock {
    uint32_t seconds;     /**< since 1970-01-01 00:00 UTC */
    uint32_t nanoseconds; /**< 0 to 999999999 */
} ZatClock;

ZATOSW_STATIC_ASSERT(sizeof(ZatClock) == 8, "records are stamped with it");

/** Gives the wall clock, to the microsecond: ZAT_OK, or errno; ZAT_FAILED when clock is null. */
ZATOSW_API ZatStatus zatOSWGetClock(ZatClock* clock);

/** Sets the wall clock, to the microsecond: ZAT_OK, or errno, EPERM when not permitted; ZAT_FAILED
 *  when clock is null. */
ZATOSW_API ZatStatus zatOSWSetClock(const ZatClock* clock);

/** Gives the wall clock in milliseconds, of which 32 bits are kept: it wraps every 49.7 days. */
ZATOSW_API uint32_t zatOSWGetSysTimer(void);

/** Gives the time since boot in hundredths of a second, of which 32 bits are kept: it wraps every
 *  497 days. All ones when the system does not tell. */
ZATOSW_API uint32_t zatOSWGetSysPassTime(void);

/** Sleeps for a number of milliseconds, signals notwithstanding. A task that is deleted wakes. */
ZATOSW_API void zatOSWSleep(uint32_t milliseconds);

ZATOSW_END_DECLS

#endif
