/* There are no region logs yet: none exists, none is made, and what is written goes nowhere. */

#include "gen/trace/trace_logs_private.h"

bool genLogExists(uint32_t) {
    return false;
}

bool genLogTakes(uint32_t, uint32_t) {
    return false;
}

void genMakeLog(const zatGENTrcLogDef&) {}

void genMakeLog(const zatGENTrcLogDefEx&) {}

void genWriteLog(uint32_t, const char*) {}

void genWriteLog(uint32_t, const char*, const char*) {}

void genEndLogs() {}
