/*
 * Region logs from the environment: one entry "lines,width,name" per variable of the standard logs,
 * and any number of "component,lines,width,name", separated by '/', for those of components.
 */

#include "gen/trace/log_environment_private.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>

#include "gen/task_lock_private.h"
#include "gen/trace/component_private.h"
#include "gen/trace/trace_logs_private.h"
#include "osw/errno_private.h"

static constexpr long defaultLines = 100;
static constexpr long defaultWidth = 80;
static constexpr uint32_t standardNameLength = 15;

bool genExtraLogs;

/* An entry in a buffer of its own, cut up. Unlike the pieces of a stack limit, a field cannot be
 * left empty: commas in a row are one separator. */
struct LogEntry {
    static constexpr uint32_t mostFields = 4;
    char text[128];
    char* field[mostFields];
    uint32_t count;
};

static void readEntry(LogEntry& entry, const char* text, size_t length) {
    entry = {};
    memcpy(entry.text, text, std::min(length, sizeof entry.text - 1));
    char* at = entry.text;
    while (entry.count < LogEntry::mostFields) {
        at += strspn(at, ",");
        if (*at == '\0') return;
        entry.field[entry.count++] = at;
        at += strcspn(at, ",");
        if (*at != '\0') *at++ = '\0';
    }
}

/* A number below 0 stays one: it asks for a log of another kind. */
static uint32_t numberOf(const char* field, long smallest) {
    return static_cast<uint32_t>(std::max(strtol(field, nullptr, 10), smallest));
}

struct StandardLog {
    const char* variable;
    uint32_t id;
    long fewestLines;
    long smallestWidth;
};

static constexpr long noMinimum = INT32_MIN;
static constexpr StandardLog standardLogs[] = {
    {"GEN_STDLOG_ENV", GEN_STANDARD_LOG, 400, 120},
    {"GEN_ERRLOG_ENV", GEN_ERROR_LOG, 400, 120},
    {"GEN_PERFLOG_ENV", GEN_PERFORMANCE_LOG, 400, 120},
    {"GEN_MCLOG_ENV", GEN_MAINTENANCE_LOG, noMinimum, noMinimum},
    {"GEN_MCDUMP_ENV", GEN_MAINTENANCE_DUMP, noMinimum, noMinimum},
};

static void makeStandardLog(const StandardLog& log) {
    const char* value = getenv(log.variable);
    if (value == nullptr) return;
    LogEntry entry;
    readEntry(entry, value, strlen(value));
    if (entry.count < 3) return;
    char* name = entry.field[2];
    if (strlen(name) > standardNameLength) name[standardNameLength] = '\0';
    if (log.id == GEN_ERROR_LOG) genExtraLogs = true;
    genMakeLog(zatGENTrcLogDef{log.id, numberOf(entry.field[0], log.fewestLines),
                               numberOf(entry.field[1], log.smallestWidth), 1, 1, genAllLevels,
                               name});
}

void genMakeStandardLogs() {
    const OswKeepErrno keepErrno;
    const GenTaskLock lock;
    if (!lock.isHeld()) return;
    for (const StandardLog& log : standardLogs)
        makeStandardLog(log);
}

static void makeUserLog(const LogEntry& entry) {
    const zatGENTrcComp* component = zatGENGetTrcMaskByName(entry.field[0]);
    if (component == nullptr || component->id == ZAT_GEN_OTHERS || genLogExists(component->id))
        return;
    char name[sizeof entry.text + sizeof "_LOG"];
    snprintf(name, sizeof name, "%s_LOG", entry.field[0]);
    genMakeLog(zatGENTrcLogDef{
        component->id,
        entry.count > 1 ? numberOf(entry.field[1], noMinimum) : uint32_t{defaultLines},
        entry.count > 2 ? numberOf(entry.field[2], noMinimum) : uint32_t{defaultWidth}, 1, 1,
        genAllLevels, entry.count > 3 ? entry.field[3] : name});
}

void genMakeUserLogs() {
    const char* entries = getenv("GEN_USRLOG_ENV");
    if (entries == nullptr) return;
    const OswKeepErrno keepErrno;
    const GenTaskLock lock;
    if (!lock.isHeld()) return;
    while (*entries != '\0') {
        const size_t length = strcspn(entries, "/");
        LogEntry entry;
        readEntry(entry, entries, length);
        if (entry.count > 0) makeUserLog(entry);
        entries += length;
        if (*entries == '/') ++entries;
    }
}
