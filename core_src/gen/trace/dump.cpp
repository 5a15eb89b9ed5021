/* Dumps of memory; see dump.h. */

#include "gen/trace/dump.h"

#include <stdio.h>

#include "gen/dump_line_private.h"
#include "gen/paging_private.h"
#include "gen/trace/component_private.h"
#include "gen/trace/hook_private.h"
#include "gen/trace/output_private.h"
#include "gen/trace/trace_logs_private.h"
#include "osw/errno_private.h"

struct Dump {
    uint32_t component;
    uint32_t type;
    uint32_t level;
    const uint8_t* data;
    int32_t size;
};

/* How much of it is to be shown. */
static uint32_t countOf(const Dump& dump, int32_t maxSize) {
    int32_t count = maxSize;
    if (count == 0) count = static_cast<int32_t>(genComponent(dump.component).dumpsize);
    if (count < 0 || count > dump.size) count = dump.size;
    return count > 0 ? static_cast<uint32_t>(count) : 0;
}

/* The lines, with a pause after each page unless pageLines is not above 0. */
static void print(uint32_t sinks, const Dump& dump, uint32_t count, int32_t pageLines) {
    int32_t lines = 0;
    genForDumpLines(
        dump.data, count, GenDumpGroup::OfTwo, [&](const GenDumpLine& line, const uint8_t* first) {
            genTrcPrintTo(sinks, dump.component, dump.type, dump.level, "%08lx| %s | %s\n",
                          reinterpret_cast<unsigned long>(first), line.hex, line.characters);
            if (pageLines <= 0 || dump.data + count - first < int32_t{genDumpLineBytes})
                return true;
            if (++lines % pageLines != 0) return true;
            genTrcPrintTo(sinks, dump.component, dump.type, dump.level, "%s", genPagePrompt);
            return genReadPageAnswer();
        });
}

static void forward(const Dump& dump) {
    const uint32_t bareLevel = dump.level & genHighestLevel;
    if (genLogTakes(GEN_STANDARD_LOG, bareLevel))
        zatGENLogDump(dump.component, ZAT_GEN_LOG_DUMP, dump.level, dump.data, dump.size, dump.size,
                      0);
    if (dump.component != GEN_STANDARD_LOG && genLogTakes(dump.component, bareLevel))
        zatGENLogDump(dump.component, ZAT_GEN_OWN_LOG_DUMP, dump.level, dump.data, dump.size,
                      dump.size, 0);
}

ZatStatus zatGENTraceDump(uint32_t component, uint32_t type, uint32_t level, const void* data,
                          int32_t sizeBytes, int32_t maxSizeBytes, uint32_t noPaging) {
    const OswKeepErrno keepErrno;
    const Dump dump = {component, type, level, static_cast<const uint8_t*>(data), sizeBytes};
    const uint32_t sinks =
        genTrcGates(component, type, level) & (GEN_TO_STANDARD_ERROR | GEN_TO_PRINT_HOOK);
    if (genTrcForwards(level)) forward(dump);
    if (sinks == 0) return ZAT_OK;
    if (data == nullptr) {
        genTrcPrintTo(sinks, component, type, level, "No dump for null pointer!\n");
        return ZAT_OK;
    }
    const uint32_t count = countOf(dump, maxSizeBytes);
    print(sinks, dump, count, noPaging != 0 ? 0 : static_cast<int32_t>(zatGENDumpLine));
    if (noPaging != 0 && sizeBytes > static_cast<int32_t>(count))
        genTrcPrintTo(sinks, component, type, level, " ...<no more print>...\n");
    return ZAT_OK;
}

ZatStatus zatGENLogDump(uint32_t component, uint32_t kind, uint32_t level, const void* data,
                        int32_t sizeBytes, int32_t maxSizeBytes, uint32_t) {
    const OswKeepErrno keepErrno;
    const uint32_t log = kind == ZAT_GEN_LOG_DUMP ? uint32_t{GEN_STANDARD_LOG} : component;
    const Dump dump = {component, 0, level, static_cast<const uint8_t*>(data), sizeBytes};
    if (data == nullptr || !genLogExists(log)) return ZAT_OK;
    genForDumpLines(dump.data, countOf(dump, maxSizeBytes), GenDumpGroup::OfTwo,
                    [log](const GenDumpLine& line, const uint8_t*) {
                        char text[sizeof line.hex + sizeof line.characters + sizeof " | "];
                        snprintf(text, sizeof text, "%s | %s", line.hex, line.characters);
                        genWriteLog(log, text);
                        return true;
                    });
    return ZAT_OK;
}

ZatStatus zatGENTrcLogDump(uint32_t component, uint32_t type, uint32_t level, const void* data,
                           int32_t sizeBytes, int32_t maxSizeBytes, uint32_t flag) {
    const uint32_t bareType = type & ~uint32_t{ZAT_GEN_MONITOR};
    if (bareType != ZAT_GEN_LOG_DUMP) return ZAT_OK;
    const uint32_t sinks = genTrcGates(component, ZAT_GEN_LOG | (type & ZAT_GEN_MONITOR), level);
    if ((sinks & GEN_TO_STANDARD_LOG) != 0)
        zatGENLogDump(component, bareType, level, data, sizeBytes, maxSizeBytes, flag);
    if ((sinks & GEN_TO_USER_FUNCTIONS) != 0)
        genCallUsers<ZatGenUserLogDumpFunc>(GenUserKind::LogDump, component, bareType, level, data,
                                            static_cast<uint32_t>(sizeBytes),
                                            static_cast<uint32_t>(maxSizeBytes), flag);
    return ZAT_OK;
}
