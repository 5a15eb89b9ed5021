/* Regions are started, stopped, locked, written, read and asked. */

#include <string.h>

#include "gen/rgnlog/region_private.h"
#include "osw/errno_private.h"
#include "osw/ipc/mem_part.h"

static constexpr uint32_t maskBits = 16;
static constexpr uint32_t allLevels = 0xFFFF;

static ZatStatus setRun(int32_t id, uint32_t run) {
    const OswKeepErrno keepErrno;
    GenRegionUse region(id);
    if (!region) return ZAT_GEN_NO_LOG;
    const GenRegionLock lock(region);
    const ZatStatus status = lock.ringStatus();
    if (status == ZAT_OK) region->info.header->run = run;
    return status;
}

ZatStatus zatGENStartRgnLog(int32_t id) {
    return setRun(id, 1);
}

ZatStatus zatGENStopRgnLog(int32_t id) {
    return setRun(id, 0);
}

ZatStatus zatGENLockRgnLog(int32_t id) {
    const OswKeepErrno keepErrno;
    GenRegionUse region(id);
    if (!region) return ZAT_GEN_NO_LOG;
    GenRegionLock lock(region);
    lock.keep();
    return lock.status();
}

ZatStatus zatGENUnlockRgnLog(int32_t id) {
    const OswKeepErrno keepErrno;
    const GenRegionUse region(id);
    return region ? genUnlockRegion(*region) : ZatStatus{ZAT_GEN_NO_LOG};
}

/* The bytes of all pieces; false when one of them leads nowhere. */
static bool sum(const RgnLogPiece* pieces, uint32_t count, uint64_t& length) {
    length = 0;
    for (uint32_t i = 0; i < count; ++i) {
        if (pieces[i].address == nullptr && pieces[i].length > 0) return false;
        length += pieces[i].length;
    }
    return true;
}

/* Inline in both calls: neither makes a call that it can do without. */
__attribute__((always_inline)) static inline ZatStatus write(int32_t id, const GenRecord& record) {
    if (record.length == 0) return ZAT_OK;
    GenRegionUse region(id);
    if (!region) return ZAT_OK;
    const GenRegionLock lock(region);
    const ZatStatus status = lock.ringStatus();
    if (status != ZAT_OK) return status == ZAT_GEN_NO_LOG ? ZatStatus{ZAT_OK} : status;
    if (region->info.header->run != 0) genRingWrite(region->ring(), record);
    return ZAT_OK;
}

ZatStatus zatGENWriteRgnLogs(int32_t id, const ZatClock* time, const RgnLogPiece* pieces,
                             uint32_t count) {
    uint64_t length = 0;
    if (time == nullptr || (pieces == nullptr && count > 0) || !sum(pieces, count, length))
        return ZAT_FAILED;
    return write(id, {time, pieces, count, length});
}

ZatStatus zatGENWriteRgnLog(int32_t id, const ZatClock* time, const void* data,
                            uint32_t lengthBytes) {
    if (time == nullptr || (data == nullptr && lengthBytes > 0)) return ZAT_FAILED;
    const RgnLogPiece piece = {data, lengthBytes};
    return write(id, {time, &piece, 1, lengthBytes});
}

/* A shared ring is gone when the library was terminated; whoever takes no lock must ask. */
static bool isThere(const GenRegion& region) {
    void* start = nullptr;
    return region.info.header != nullptr &&
           (!region.isShared() ||
            zatOSWIpcGetPointerMemPart(region.info.partition, 0, &start) == ZAT_OK);
}

int32_t zatGENReadRgnLog(int32_t id, void* buffer, uint32_t bufferBytes, uint32_t* length,
                         uint32_t* position) {
    if (buffer == nullptr || length == nullptr || position == nullptr) return -1;
    const GenRegionUse region(id);
    if (!region || !isThere(*region)) return -1;
    *length = genRingRead(region->ring(), static_cast<uint8_t*>(buffer), bufferBytes, *position);
    return 0;
}

ZatStatus zatGENGetRgnHeader(int32_t id, RgnLogHeader* header) {
    const OswKeepErrno keepErrno;
    if (header == nullptr) return ZAT_FAILED;
    GenRegionUse region(id);
    if (!region) return ZAT_GEN_NO_LOG;
    const GenRegionLock lock(region);
    const ZatStatus status = lock.ringStatus();
    if (status == ZAT_OK) *header = *region->info.header;
    return status;
}

ZatStatus zatGENGetRgnIDByName(int32_t* id, const char* name) {
    if (id == nullptr || name == nullptr) return ZAT_FAILED;
    return genAtRegion(name, [id](const GenRegion& region) { *id = region.info.id; });
}

RgnLogInfo* zatGENGetRgnLogInfo(int32_t id) {
    static RgnLogInfo none = {genNoRegion, 0, 0, nullptr, nullptr, 0, 0, 0, ""};
    RgnLogInfo* info = &none;
    genAtRegion(id, [&info](GenRegion& region) { info = &region.info; });
    return info;
}

/* Keeps the bits of a mask that keep has, and sets those of set. */
static ZatStatus changeMask(int32_t id, uint32_t keep, uint32_t set) {
    return genAtRegion(
        id, [keep, set](GenRegion& region) { region.info.mask = (region.info.mask & keep) | set; });
}

static uint32_t maskBit(uint32_t bit) {
    return bit < maskBits ? 1u << bit : 0;
}

ZatStatus zatGENSetRgnLogMask(int32_t id, uint32_t bit) {
    return changeMask(id, allLevels, maskBit(bit));
}

ZatStatus zatGENClrRgnLogMask(int32_t id, uint32_t bit) {
    return changeMask(id, ~maskBit(bit), 0);
}

ZatStatus zatGENSetAllRgnLogMask(int32_t id) {
    return changeMask(id, allLevels, allLevels);
}

ZatStatus zatGENClrZeroRgnLogMask(int32_t id) {
    return changeMask(id, 0, 0);
}
