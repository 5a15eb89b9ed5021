/* Region logs: made, deleted, started and stopped, printed and saved. */

#include <string.h>

#include "gen/console/commands_private.h"
#include "gen/rgnlog/region_log.h"
#include "gen/rgnlog/region_print.h"
#include "gen/trace/hook.h"
#include "gen/trace/listing.h"
#include "gen/trace/trace_log.h"

static constexpr int32_t errorLog = 1;
static constexpr int32_t everyLog = -1;

static bool findByName(const char* word, int32_t& id) {
    return word != nullptr && zatGENGetRgnIDByName(&id, word) == ZAT_OK;
}

/* A region's decimal id, or its name. */
static bool findRegion(const char* word, int32_t& id) {
    return genReadNumber(word, id) || findByName(word, id);
}

/* A region's hexadecimal id, or its name. */
static bool findRegionByHex(const char* word, int32_t& id) {
    uint32_t number = 0;
    if (!genReadHex(word, number)) return findByName(word, id);
    id = static_cast<int32_t>(number);
    return true;
}

/* What a region is made with, behind its id. */
struct RegionArguments {
    const char* name;
    int32_t number;
    int32_t length;
    bool hasLock;
    bool isShared;
};

static bool readFlag(const char* word, bool& flag) {
    flag = genIsWord(word, "true");
    return word != nullptr;
}

static bool readArguments(GenCommandLine& line, RegionArguments& arguments) {
    arguments.name = line.nextWord();
    return genReadNumber(line.nextWord(), arguments.number) &&
           genReadNumber(line.nextWord(), arguments.length) &&
           readFlag(line.nextWord(), arguments.hasLock) &&
           readFlag(line.nextWord(), arguments.isShared);
}

void genRunMakeRegion(GenCommandLine& line) {
    uint32_t id = 0;
    RegionArguments arguments;
    if (genReadHex(line.nextWord(), id) && readArguments(line, arguments))
        zatGENInitRgnLog(static_cast<int32_t>(id), arguments.name, 0xFFFF, arguments.number,
                         arguments.length, arguments.hasLock, arguments.isShared);
}

void genRunReallocRegion(GenCommandLine& line) {
    RegionArguments arguments;
    if (readArguments(line, arguments))
        zatGENReallocRgnLog(arguments.name, arguments.number, arguments.length, arguments.hasLock,
                            arguments.isShared);
}

void genRunDeleteRegion(GenCommandLine& line) {
    int32_t id = 0;
    if (findRegionByHex(line.nextWord(), id)) zatGENDeleteRgnLog(id);
}

void genRunListRegions(GenCommandLine&) {
    zatGENShowRgnLog(genConsole.component, genConsoleLevel);
}

/* Of LST and LSP: which region, the error log where none is named. */
static bool findRegionOrErrorLog(GenCommandLine& line, int32_t& id) {
    const char* word = line.nextWord();
    id = errorLog;
    return word == nullptr || findRegion(word, id);
}

void genRunStartRegion(GenCommandLine& line) {
    int32_t id = 0;
    if (findRegionOrErrorLog(line, id)) zatGENStartRgnLog(id);
}

void genRunStopRegion(GenCommandLine& line) {
    int32_t id = 0;
    if (findRegionOrErrorLog(line, id)) zatGENStopRgnLog(id);
}

void genRunPrintRegion(GenCommandLine& line) {
    const char* word = line.nextWord();
    int32_t id = errorLog;
    if (genIsWord(word, "*"))
        id = everyLog;
    else if (word != nullptr && !findRegion(word, id))
        return;
    const int32_t direction = genIsWord(line.nextWord(), "F") ? 1 : 0;
    zatGENPrnRgnLog(id, direction, genConsole.component, genConsoleLevel);
}

void genRunSaveRegion(GenCommandLine& line) {
    int32_t id = 0;
    if (!findRegion(line.nextWord(), id)) return;
    if (const char* path = line.nextWord()) zatGENTrcCreateLogFile(id, path);
}

void genRunLogLines(GenCommandLine& line) {
    int32_t lines = 0;
    if (genReadNumber(line.nextWord(), lines)) zatGENSetLogLines(static_cast<uint32_t>(lines));
}

void genRunExtraLogs(GenCommandLine&) {
    zatGENAddExtraTraceLog();
}

/* Sets or clears bits of a region's mask. */
static void changeMask(GenCommandLine& line, ZatStatus (*all)(int32_t id),
                       ZatStatus (*one)(int32_t id, uint32_t bit)) {
    int32_t id = 0;
    int32_t bit = 0;
    if (!findRegionByHex(line.nextWord(), id)) return;
    const char* word = line.nextWord();
    if (genIsWord(word, "*"))
        all(id);
    else if (genReadNumber(word, bit))
        one(id, static_cast<uint32_t>(bit));
}

void genRunSetRegionMask(GenCommandLine& line) {
    changeMask(line, zatGENSetAllRgnLogMask, zatGENSetRgnLogMask);
}

void genRunClearRegionMask(GenCommandLine& line) {
    changeMask(line, zatGENClrZeroRgnLogMask, zatGENClrRgnLogMask);
}
