/* The table of regions, in print. */

#include <string.h>

#include "gen/paging_private.h"
#include "gen/rgnlog/region_print.h"
#include "gen/rgnlog/region_private.h"
#include "gen/trace/output.h"
#include "osw/errno_private.h"

static constexpr uint32_t type = ZAT_GEN_TRACE | ZAT_GEN_MONITOR;
static constexpr int nameWidth = 16;

/* A region as its row shows it. */
struct Row {
    RgnLogInfo info;
    char name[nameWidth + 1];
    bool hasHeader;
    RgnLogHeader header;
};

static bool readRow(int32_t id, Row& row) {
    GenRegionUse region(id);
    if (!region) return false;
    const GenRegionLock lock(region);
    if (lock.status() == ZAT_GEN_NO_LOG) return false;
    row.info = region->info;
    row.info.id = id;
    strncpy(row.name, region->info.name, nameWidth);
    row.name[nameWidth] = '\0';
    row.hasHeader = lock.status() == ZAT_OK && region->info.header != nullptr;
    if (row.hasHeader) row.header = *region->info.header;
    return true;
}

static void print(uint32_t component, uint32_t level, const Row& row) {
    const RgnLogInfo& info = row.info;
    const auto mask = static_cast<uint16_t>(info.mask);
    const auto data = static_cast<unsigned>(reinterpret_cast<uintptr_t>(info.data));
    if (!row.hasHeader) {
        zatGENTrcPrintf(component, type, level, "%6d %16.*s %04hx %8x %8x\n", info.id, nameWidth,
                        row.name, mask, data, info.partition);
        return;
    }
    zatGENTrcPrintf(component, type, level, "%6d %16.*s %04hx %8x %8x %6d %5d %3c %3d\n", info.id,
                    nameWidth, row.name, mask, data, info.partition,
                    static_cast<int>(row.header.size), row.header.maxEntry,
                    info.fmt == ZAT_GEN_TEXT_LOG ? 'T' : 'B', static_cast<int>(row.header.run));
}

static void printHeader(uint32_t component, uint32_t level) {
    zatGENTrcPrintf(component, type, level,
                    "  Id       Component    mask buf(ptr)  partid   size   len  fmt run\n");
    zatGENTrcPrintf(component, type, level,
                    "------ ---------------- ---- -------- -------- ------ ----- --- ---\n");
}

void zatGENShowRgnLog(uint32_t component, uint32_t level) {
    const OswKeepErrno keepErrno;
    uint32_t rows = 0;
    for (int32_t id = INT32_MIN; genNextRegionId(id); ++id) {
        Row row;
        if (readRow(id, row)) {
            if (rows > 0 && rows % genPageRows == 0 && !genAskForPage(component, level)) return;
            if (rows % genPageRows == 0) printHeader(component, level);
            print(component, level, row);
            ++rows;
        }
        if (id == INT32_MAX) break;
    }
}
