/**
 * @file
 * Local time that follows changes of the system's time zone without a restart.
 *
 * The system names its zone by the symbolic link /etc/localtime. Each call reads that link first;
 * when it leads below /usr/share/zoneinfo/ to another zone than at the last call, the call sets
 * the environment variable TZ to the zone's name, replacing what it held, and calls tzset(). A
 * link that leads elsewhere, that cannot be read or whose target is 64 characters or longer leaves
 * TZ as it is.
 *
 * Nothing guards the remembered zone and the environment: calls must not run at the same time as
 * each other or as other users of TZ.
 */
#ifndef ZATOSW_CLB_LOCAL_TIME_H
#define ZATOSW_CLB_LOCAL_TIME_H

#include <time.h>

#include "../zatosw_export.h"

ZATOSW_BEGIN_DECLS

ZATOSW_STATIC_ASSERT(sizeof(time_t) == 4, "the calls take a time of 32 bits");

/**
 * Converts a time to local time.
 *
 * @param time  seconds since 1970-01-01 00:00 UTC
 * @return the local time, in the system library's shared record of localtime(), which the next
 *         call overwrites; null when the year cannot be represented
 */
ZATOSW_API struct tm* zatCLBLocalTime(const time_t* time);

/**
 * Converts a time to local time in the caller's record.
 *
 * @param time    seconds since 1970-01-01 00:00 UTC
 * @param result  receives the local time
 * @return result; null when the year cannot be represented
 */
ZATOSW_API struct tm* zatCLBLocalTime_r(const time_t* time, struct tm* result);

ZATOSW_END_DECLS

#endif
