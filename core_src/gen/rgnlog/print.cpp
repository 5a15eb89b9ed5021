/* Regions in print; see region_print.h. */

#include "gen/rgnlog/region_print.h"

#include <string.h>

#include <algorithm>

#include "gen/paging_private.h"
#include "gen/rgnlog/record_text_private.h"
#include "gen/rgnlog/region_private.h"
#include "gen/trace/hook.h"
#include "gen/trace/output.h"
#include "osw/errno_private.h"
#include "osw/freed_private.h"
#include "osw/mem_part.h"

static constexpr uint32_t type = ZAT_GEN_TRACE | ZAT_GEN_MONITOR;
static constexpr GenChannel generalServices = {0x2000, 15};

/* A region as it was at one moment. */
struct RegionCopy {
    int32_t id;
    uint32_t fmt;
    RgnLogHeader header;
    uint32_t areaSize;
    OswFreed<uint8_t> memory; /* the area, and the name behind it */

    GenRing ring() { return {&header, memory.get(), areaSize}; }
    const char* name() const { return reinterpret_cast<const char*>(memory.get() + areaSize); }
};

static ZatStatus copyRegion(GenRegionUse& use, RegionCopy& copy) {
    const GenRegion& region = *use;
    const auto nameBytes = static_cast<uint32_t>(strlen(region.info.name) + 1);
    copy.memory.reset(static_cast<uint8_t*>(zatOSWOrgMalloc(region.areaSize + nameBytes)));
    if (copy.memory == nullptr) return ZAT_OSW_PART_EXHAUSTED;
    memcpy(copy.memory.get() + region.areaSize, region.info.name, nameBytes);
    copy.areaSize = region.areaSize;
    copy.fmt = region.info.fmt;
    const GenRegionLock lock(use);
    if (const ZatStatus status = lock.ringStatus(); status != ZAT_OK) return status;
    copy.id = region.info.id;
    copy.header = *region.info.header;
    memcpy(copy.memory.get(), region.info.data, region.areaSize);
    return ZAT_OK;
}

static void printRecords(RegionCopy& copy, GenRingOrder order, const GenChannel& channel) {
    const auto print = copy.fmt == ZAT_GEN_TEXT_LOG ? genPrintTextRecord : genPrintBinaryRecord;
    GenRingWalk walk(copy.ring(), order);
    GenRingEntry entry;
    for (int32_t printed = 0; walk.next(entry); ++printed) {
        const auto page = static_cast<int32_t>(zatGENLogLine);
        if (printed > 0 && page > 0 && printed % page == 0 &&
            !genAskForPage(channel.component, channel.level))
            return;
        print(channel, entry);
    }
}

static void printBanner(const char* end, const RegionCopy& copy, const GenChannel& channel) {
    zatGENTrcPrintf(channel.component, type, channel.level,
                    " ======== %s of log print <id = %d, name = %s> ========\n", end, copy.id,
                    copy.name());
}

static void print(RegionCopy& copy, int32_t direction, const GenChannel& channel) {
    printBanner("start", copy, channel);
    printRecords(copy, direction != 0 ? GenRingOrder::OldestFirst : GenRingOrder::NewestFirst,
                 channel);
    printBanner("end", copy, channel);
}

static ZatStatus printOne(int32_t id, int32_t direction, const GenChannel& channel) {
    RegionCopy copy;
    {
        GenRegionUse region(id);
        if (!region) return ZAT_GEN_NO_LOG;
        if (const ZatStatus status = copyRegion(region, copy); status != ZAT_OK) return status;
    }
    print(copy, direction, channel);
    return ZAT_OK;
}

static ZatStatus printAll(int32_t direction, const GenChannel& channel) {
    ZatStatus first = ZAT_OK;
    for (int32_t id = INT32_MIN; genNextRegionId(id); ++id) {
        const ZatStatus status = printOne(id, direction, channel);
        /* One that was deleted meanwhile is none of them. */
        if (first == ZAT_OK && status != ZAT_GEN_NO_LOG) first = status;
        if (id == INT32_MAX) break;
    }
    return first;
}

ZatStatus zatGENPrnRgnLog(int32_t id, int32_t direction, uint32_t component, uint32_t level) {
    const OswKeepErrno keepErrno;
    const GenChannel channel = {component, level};
    return id == ZAT_GEN_ALL_LOGS ? printAll(direction, channel) : printOne(id, direction, channel);
}

ZatStatus zatGENPrintRgnLog(int32_t id, int32_t direction) {
    return zatGENPrnRgnLog(id, direction, generalServices.component, generalServices.level);
}
