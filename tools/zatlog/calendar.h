// Between seconds and what calendars and clocks show.
#ifndef ZATLOG_CALENDAR_H
#define ZATLOG_CALENDAR_H

#include <stdint.h>
#include <time.h>

tm calendarTime(uint32_t seconds, bool utc);

// Reads a limit: YYYY-MM-DD HH:MM:SS, YYYY-MM-DD, HH:MM:SS on the day of `written` or @SECONDS,
// where seconds may have a fraction. The result is in microseconds since 1970; for a day alone its
// first one or, of an upper limit, its last one. False when the text is none of these.
bool readLimit(const char* text, uint32_t written, bool utc, bool upper, int64_t& limit);

#endif
