#include "calendar.h"

#include <ctype.h>
#include <stdio.h>

static constexpr int64_t microsecondsPerSecond = 1000000;

tm calendarTime(uint32_t seconds, bool utc) {
    const auto time = static_cast<time_t>(seconds);
    tm calendar = {};
    if (utc)
        gmtime_r(&time, &calendar);
    else
        localtime_r(&time, &calendar);
    return calendar;
}

// Three numbers with separators, if they are there; otherwise the text stays where it is.
static bool readThree(const char*& text, char separator, int& a, int& b, int& c) {
    char first = '\0';
    char second = '\0';
    int used = 0;
    if (sscanf(text, "%4d%c%2d%c%2d%n", &a, &first, &b, &second, &c, &used) != 5) return false;
    if (first != separator || second != separator) return false;
    text += used;
    return true;
}

// A fraction of a second; what is below a microsecond is not printed, and does not count.
static int64_t readFraction(const char*& text) {
    int64_t microseconds = 0;
    if (text[0] != '.' || !isdigit(static_cast<unsigned char>(text[1]))) return 0;
    int64_t unit = microsecondsPerSecond / 10;
    for (++text; isdigit(static_cast<unsigned char>(*text)); ++text, unit /= 10)
        microseconds += (*text - '0') * unit;
    return microseconds;
}

// Whether a calendar has that day and a clock that time: what they lack becomes another.
static bool exists(const tm& calendar) {
    tm real = calendar;
    timegm(&real);
    return real.tm_mon == calendar.tm_mon && real.tm_mday == calendar.tm_mday &&
           real.tm_hour == calendar.tm_hour && real.tm_min == calendar.tm_min &&
           real.tm_sec == calendar.tm_sec;
}

bool readLimit(const char* text, uint32_t written, bool utc, bool upper, int64_t& limit) {
    long long seconds = 0;
    int used = 0;
    if (sscanf(text, "@%12lld%n", &seconds, &used) == 1) {
        text += used;
        limit = seconds * microsecondsPerSecond + readFraction(text);
        return *text == '\0' && seconds >= 0;
    }
    const tm today = calendarTime(written, utc);
    tm calendar = {};
    const bool hasDay = readThree(text, '-', calendar.tm_year, calendar.tm_mon, calendar.tm_mday);
    calendar.tm_year = hasDay ? calendar.tm_year - 1900 : today.tm_year;
    calendar.tm_mon = hasDay ? calendar.tm_mon - 1 : today.tm_mon;
    if (!hasDay) calendar.tm_mday = today.tm_mday;
    const bool dayAlone = hasDay && *text == '\0';
    if (!dayAlone) {
        if (hasDay && *text++ != ' ') return false;
        if (!readThree(text, ':', calendar.tm_hour, calendar.tm_min, calendar.tm_sec)) return false;
    }
    const int64_t fraction = readFraction(text);
    if (*text != '\0' || !exists(calendar)) return false;
    const bool wholeDay = dayAlone && upper;
    if (wholeDay) ++calendar.tm_mday;
    calendar.tm_isdst = -1;
    seconds = utc ? timegm(&calendar) : mktime(&calendar);
    limit = seconds * microsecondsPerSecond + fraction - (wholeDay ? 1 : 0);
    return true;
}
