/* Where a region's ring lies: in memory of the process, or in a shared partition. */

#include <string.h>

#include "gen/rgnlog/region_private.h"
#include "osw/ipc/create_private.h"
#include "osw/ipc/mem_part.h"
#include "osw/ipc/mutex_sem.h"
#include "osw/lock_private.h"
#include "osw/mem_part.h"
#include "osw/mutex_sem.h"

/* The head, and what rounds it up. */
static constexpr uint32_t privateOverhead = 24;
static constexpr uint32_t sharedOverhead = 128;

enum : int32_t { headerBlock = 0, areaBlock = 1, anyBlock = -1 };

ZatStatus genMakePrivateRing(GenRegion& region, int32_t maxEntry, bool isLocked) {
    /* Quietly refused where it does not fit, however large; an Org block would end the process. */
    auto* memory = static_cast<uint8_t*>(zatOSWOrgMalloc(region.areaSize + privateOverhead));
    if (memory == nullptr) return ZAT_OSW_PART_EXHAUSTED;
    memset(memory, 0, region.areaSize + privateOverhead);
    region.info.header = reinterpret_cast<RgnLogHeader*>(memory);
    region.info.data = memory + privateOverhead;
    genRingInit(region.ring(), maxEntry);
    if (!isLocked) return ZAT_OK;
    const ZatStatus status = zatOSWCreateMutexSem(&region.info.lock, 0, 1);
    if (status != ZAT_OK) return status;
    return region.info.lock != 0 ? ZatStatus{ZAT_OK} : ZatStatus{ZAT_OSW_PART_EXHAUSTED};
}

static ZatStatus find(const GenRegion& region, int32_t blockId, void** block) {
    return zatOSWIpcGetBlockByIdMemPart(region.info.partition, blockId, block);
}

static ZatStatus allocate(const GenRegion& region, uint32_t size, void** block) {
    return zatOSWIpcAllocMemPart(region.info.partition, block, size);
}

static ZatStatus number(const GenRegion& region, const void* block, int32_t blockId) {
    return zatOSWIpcRegisterBlockIdMemPart(region.info.partition, block, blockId);
}

static bool holds(const GenRegion& region, const void* block, uint32_t size) {
    uint32_t room = 0;
    return zatOSWIpcGetAllocSizeMemPart(region.info.partition, block, &room) == ZAT_OK &&
           room >= size;
}

/* Frees what a process that was killed while it made the region had allocated. */
static void freeLeftovers(const GenRegion& region) {
    void* block = nullptr;
    while (find(region, anyBlock, &block) == ZAT_OK &&
           zatOSWIpcFreeMemPart(region.info.partition, block) == ZAT_OK) {
    }
}

static void place(GenRegion& region, void* header, void* area) {
    region.info.header = static_cast<RgnLogHeader*>(header);
    region.info.data = static_cast<uint8_t*>(area);
}

/* The ring is complete when its area has its number, which comes last. */
static ZatStatus makeBlocks(GenRegion& region, int32_t maxEntry) {
    freeLeftovers(region);
    void* header = nullptr;
    void* area = nullptr;
    ZatStatus status = find(region, headerBlock, &header);
    if (status == ZAT_OSW_PART_NO_BLOCK_ID) {
        status = allocate(region, sizeof(RgnLogHeader), &header);
        if (status == ZAT_OK) status = number(region, header, headerBlock);
    } else if (status == ZAT_OK && !holds(region, header, sizeof(RgnLogHeader))) {
        status = ZAT_IPC_BAD_PARAMETERS;
    }
    if (status == ZAT_OK) status = allocate(region, region.areaSize, &area);
    if (status != ZAT_OK) return status;
    place(region, header, area);
    genRingInit(region.ring(), maxEntry);
    return number(region, area, areaBlock);
}

static ZatStatus openBlocks(GenRegion& region, int32_t maxEntry) {
    void* area = nullptr;
    ZatStatus status = find(region, areaBlock, &area);
    if (status == ZAT_OSW_PART_NO_BLOCK_ID) return makeBlocks(region, maxEntry);
    void* header = nullptr;
    if (status == ZAT_OK) status = find(region, headerBlock, &header);
    if (status == ZAT_OSW_PART_NO_BLOCK_ID) {
        status = zatOSWIpcFreeMemPart(region.info.partition, area);
        return status == ZAT_OK ? makeBlocks(region, maxEntry) : status;
    }
    if (status != ZAT_OK) return status;
    /* A partition of that name may be somebody else's, or spoilt. */
    if (!holds(region, header, sizeof(RgnLogHeader)) || !holds(region, area, region.areaSize))
        return ZAT_IPC_BAD_PARAMETERS;
    place(region, header, area);
    /* Its last writer may have been killed. */
    genRingMend(region.ring());
    return ZAT_OK;
}

ZatStatus genMakeSharedRing(GenRegion& region, int32_t maxEntry) {
    RgnLogInfo& info = region.info;
    info.shm = 1;
    ZatStatus status = zatOSWIpcCreateMutexSem(info.name, &info.lock, 0, 1);
    if (status != ZAT_OK) return status;
    status = genLockRegion(region);
    if (status != ZAT_OK) return status;
    /* Whoever waits for the lock may be deleted; what others see under way is completed. */
    const OswUncancellable uncancellable;
    status = zatOSWIpcCreateMemPart(&info.partition, info.name, region.areaSize + sharedOverhead);
    if (status == ZAT_OK) status = openBlocks(region, maxEntry);
    const ZatStatus released = genUnlockRegion(region);
    return status == ZAT_OK ? released : status;
}

void genEndRing(GenRegion& region) {
    RgnLogInfo& info = region.info;
    if (info.shm != 0) {
        if (info.partition != 0) zatOSWIpcDeleteMemPart(info.partition);
        /* Another region of the name may have it, too, and the caller hold it for that. */
        if (info.lock != 0) oswIpcTakeBack(info.lock, IPC_MUTEX);
        return;
    }
    if (info.lock != 0) zatOSWDeleteMutexSem(info.lock);
    zatOSWOrgFree(info.header);
}
