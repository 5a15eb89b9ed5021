/*
 * All that the trace asks of region logs, which take text under the id of a component.
 */
#ifndef ZATOSW_GEN_TRACE_TRACE_LOGS_PRIVATE_H
#define ZATOSW_GEN_TRACE_TRACE_LOGS_PRIVATE_H

#include "gen/trace/trace_log.h"

enum : uint32_t {
    GEN_STANDARD_LOG = 0,
    GEN_ERROR_LOG = 1,
    GEN_PERFORMANCE_LOG = 2,
    GEN_MAINTENANCE_LOG = 3,
    GEN_MAINTENANCE_DUMP = 4,
};

/* Whether there is a log with the id. */
bool genLogExists(uint32_t id);

/* Whether there is one, and its mask has the bit of the level set. */
bool genLogTakes(uint32_t id, uint32_t level);

/* Makes and starts a log, given in lines, or in bytes. */
void genMakeLog(const zatGENTrcLogDef& log);
void genMakeLog(const zatGENTrcLogDefEx& log);

/* Writes a text, a prefix and a text as one record, or a binary record with what belongs to it,
 * stamped with the time. Nothing happens when there is no such log. */
void genWriteLog(uint32_t id, const char* text);
void genWriteLog(uint32_t id, const char* prefix, const char* text);
ZatStatus genWriteLog(uint32_t id, const void* head, uint32_t headSize, const void* data,
                      uint32_t size);

/* Ends all logs. */
void genEndLogs();

#endif
