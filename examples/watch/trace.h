// The program's own trace component: what a person sees goes through it.
#ifndef WATCH_TRACE_H
#define WATCH_TRACE_H

#include <zatosw/zatosw.h>

// Levels of this program's messages; each is a bit of the component's masks.
enum WatchLevel : unsigned {
    levelTrouble = 0,  // the level of the error log
    levelReport = 1,
    levelConsole = 15,
};

// Registers the component and switches its messages on.
void openTrace();

// Writes a message, of one line or several, to standard error.
#define watchSay(level, ...) say(ZAT_GEN_TRACE, level, __VA_ARGS__)
#define say(type, level, ...) zatGENTrcPrintf(watchComponent, type, level, __VA_ARGS__)

static constexpr unsigned watchComponent = 0x5001;

// Whether a call has made what it was to make; says so if not.
bool made(ZatStatus status, const char* what);

#endif
