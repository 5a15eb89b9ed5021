/*
 * The trace's life, which is that of the library: the two initialisers call each other.
 *
 * Whichever is called first, the trace comes up inside zatOSWInit(), under its lock; the other call
 * finds that done. It stays initialised after its end, as the library does.
 */

#include "gen/trace/settings.h"

#include <stdlib.h>
#include <string.h>

#include <atomic>

#include "gen/trace/component_private.h"
#include "gen/trace/dump_filter_private.h"
#include "gen/trace/hook_private.h"
#include "gen/trace/log_environment_private.h"
#include "gen/trace/mask.h"
#include "gen/trace/trace_logs_private.h"
#include "osw/init.h"

static std::atomic<uint32_t> initialised;

#define BUILT_IN(id, name) \
    { id, 0, 0, 0, 0, 0, 0, ZAT_GEN_DUMP_SIZE, name }
static zatGENTrcComp builtIn[] = {
    BUILT_IN(0x2000, "GEN"), BUILT_IN(0x0030, "IPC"), BUILT_IN(0x2004, "EVT"),
    BUILT_IN(0x2007, "TOL"), BUILT_IN(0x2003, "TTR"), BUILT_IN(0x2002, "OSW"),
    BUILT_IN(0x2001, "CLB"),
};
#undef BUILT_IN

ZatStatus zatGENTrcInit(void) {
    if (initialised.load(std::memory_order_acquire) != 0) return ZAT_OK;
    if (const ZatStatus status = zatOSWInit(); status != ZAT_OK) return status;
    /* By the call that this one made. */
    if (initialised.load(std::memory_order_acquire) != 0) return ZAT_OK;
    genMakeStandardLogs();
    if (getenv("GEN_LOG_ENV") != nullptr) zatGENForwardTrcMsgToRgnLog();
    const ZatStatus status = zatGENAddTraceId(builtIn, sizeof builtIn / sizeof builtIn[0]);
    if (status != ZAT_OK) {
        zatOSWTerm();
        return status;
    }
    zatGENAddExtraTraceLog();
    initialised.store(1, std::memory_order_release);
    return ZAT_OK;
}

ZatStatus zatGENTrcTerm(void) {
    genEndLogs();
    genFreeDumpFilter();
    genFreeUserFunctions();
    genRegistryReset();
    zatOSWTerm();
    return ZAT_OK;
}

/* What a keyword does: a call, or a value for a mask of SYSTEM, or nothing at all. */
struct Keyword {
    const char* text;
    void (*call)();
    uint16_t zatGENTrcComp::*mask;
    uint16_t value;
};

#define ENABLE(text, mask) \
    { text, nullptr, &zatGENTrcComp::mask, genAllLevels }
#define DISABLE(text, mask) \
    { text, nullptr, &zatGENTrcComp::mask, 0 }
#define CALL(text, call) \
    { text, call, nullptr, 0 }
static constexpr Keyword keywords[] = {
    CALL("PRNCLEAN", nullptr),
    CALL("PRNFULL", nullptr),
    CALL("TRCCLEAN", zatGENTrcClean),
    CALL("TRCFULL", zatGENTrcFull),
    CALL("LOGCLEAN", nullptr),
    CALL("LOGFULL", nullptr),
    DISABLE("PRNDISABLE", prnmask),
    ENABLE("PRNENABLE", prnmask),
    DISABLE("TRCDISABLE", trcmask),
    ENABLE("TRCENABLE", trcmask),
    DISABLE("LOGDISABLE", logmask),
    ENABLE("LOGENABLE", logmask),
    CALL("MONPRNCLEAN", nullptr),
    CALL("MONPRNFULL", nullptr),
    CALL("MONTRCCLEAN", zatGENMonTrcClean),
    CALL("MONTRCFULL", zatGENMonTrcFull),
    CALL("MONLOGCLEAN", nullptr),
    CALL("MONLOGFULL", nullptr),
    ENABLE("MONPRNENABLE", monprnmask),
    DISABLE("MONPRNDISABLE", monprnmask),
    ENABLE("MONTRCENABLE", montrcmask),
    DISABLE("MONTRCDISABLE", montrcmask),
    ENABLE("MONLOGENABLE", monlogmask),
    DISABLE("MONLOGDISABLE", monlogmask),
};
#undef ENABLE
#undef DISABLE
#undef CALL

/* None of the keywords begins with another one: the first match is the only one. */
static void applyKeyword(const char* entry) {
    for (const Keyword& keyword : keywords) {
        if (strncmp(entry, keyword.text, strlen(keyword.text)) != 0) continue;
        if (keyword.call != nullptr) keyword.call();
        if (keyword.mask != nullptr) genRegistry.system->*keyword.mask = keyword.value;
        return;
    }
}

ZatStatus zatGENChangeTraceSetting(void) {
    const char* entry = getenv("GEN_TRACESET_ENV");
    while (entry != nullptr) {
        applyKeyword(entry);
        entry = strchr(entry, '/');
        if (entry != nullptr) ++entry;
    }
    return ZAT_OK;
}
