/* Region logs of components, from tables. */

#include "gen/trace/trace_log.h"

#include "gen/task_lock_private.h"
#include "gen/trace/log_environment_private.h"
#include "gen/trace/trace_logs_private.h"

template <class Definition>
static ZatStatus add(const Definition* table, uint32_t count) {
    const GenTaskLock lock;
    if (!lock.isHeld()) return ZAT_OK;
    for (uint32_t i = 0; i < count; ++i)
        if (table[i].id != ZAT_GEN_NO_LOG_ID && !genLogExists(table[i].id)) genMakeLog(table[i]);
    return ZAT_OK;
}

ZatStatus zatGENAddTraceLog(const zatGENTrcLogDef* table, uint32_t count) {
    return add(table, count);
}

ZatStatus zatGENAddTraceLogEx(const zatGENTrcLogDefEx* table, uint32_t count) {
    return add(table, count);
}

ZatStatus zatGENAddExtraTraceLog(void) {
    static constexpr zatGENTrcLogDef placeholder = {ZAT_GEN_NO_LOG_ID, 0, 0, 0, 0, 0, ""};
    return genExtraLogs ? zatGENAddTraceLog(&placeholder, 1) : ZatStatus{ZAT_OK};
}
