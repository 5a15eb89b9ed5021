/* Regions are made, made anew, and deleted. */

#include <string.h>
#include <time.h>

#include "gen/rgnlog/region_private.h"
#include "gen/rgnlog/shared_regions_private.h"
#include "osw/errno_private.h"
#include "osw/freed_private.h"
#include "osw/init.h"
#include "osw/ipc/mem_part.h"
#include "osw/lock_private.h"

static constexpr uint32_t allLevels = 0xFFFF;
static constexpr uint64_t largestArea = INT32_MAX & ~0xFFu;

/* A region that is being made; undone at the end of the scope unless it was finished. */
class RegionMaker {
  public:
    RegionMaker() = default;
    RegionMaker(const RegionMaker&) = delete;
    RegionMaker& operator=(const RegionMaker&) = delete;
    ~RegionMaker() {
        if (region == nullptr) return;
        const OswUncancellable uncancellable;
        genEndRing(*region);
        genRetireRegion(*region);
    }

    void finish() { region = nullptr; }

    GenRegion* region = nullptr;
};

struct RegionWish {
    uint64_t areaSize;
    int32_t maxEntry;
    uint32_t lck;
    uint32_t shm;
    uint32_t fmt;

    bool isPossible() const { return areaSize > 0 && areaSize <= largestArea; }
};

static ZatStatus make(int32_t id, const char* name, uint32_t mask, const RegionWish& wish) {
    if (const ZatStatus status = zatOSWInit(); status != ZAT_OK) return status;
    const OswKeepErrno keepErrno;
    if (genAtRegion(id, [](const GenRegion&) {}) == ZAT_OK) return ZAT_GEN_LOG_EXISTS;
    if (id == genNoRegion || name == nullptr || !wish.isPossible()) return ZAT_FAILED;
    RegionMaker maker;
    ZatStatus status = genNewRegion(name, maker.region);
    if (status != ZAT_OK) return status;
    GenRegion& region = *maker.region;
    region.info.mask = mask & allLevels;
    region.info.fmt = wish.fmt;
    region.areaSize =
        static_cast<uint32_t>((wish.areaSize + genRingGrain - 1) / genRingGrain * genRingGrain);
    status = wish.shm != 0 ? genMakeSharedRing(region, wish.maxEntry)
                           : genMakePrivateRing(region, wish.maxEntry, wish.lck != 0);
    if (status == ZAT_OK) status = genAddRegion(region, id);
    if (status == ZAT_OK) maker.finish();
    return status;
}

/* A negative size is none. */
static uint64_t sizeOf(int32_t areaSizeBytes) {
    return areaSizeBytes < 0 ? 0 : static_cast<uint64_t>(areaSizeBytes);
}

ZatStatus zatGENCreateRgnLog(int32_t id, const char* name, uint32_t mask, int32_t areaSizeBytes,
                             int32_t maxEntry, uint32_t lck, uint32_t shm, uint32_t fmt) {
    return make(id, name, mask, {sizeOf(areaSizeBytes), maxEntry, lck, shm, fmt});
}

ZatStatus zatGENInitRgnLog(int32_t id, const char* name, uint32_t mask, int32_t num, int32_t len,
                           uint32_t lck, uint32_t shm) {
    if (len <= 0)
        return zatGENCreateRgnLog(id, name, mask, num, 0, lck, shm,
                                  len < 0 ? ZAT_GEN_BINARY_LOG : ZAT_GEN_TEXT_LOG);
    const uint64_t record = static_cast<uint64_t>(len) + sizeof(GenRingHead);
    return make(id, name, mask, {sizeOf(num) * record, len, lck, shm, ZAT_GEN_TEXT_LOG});
}

/*
 * Ends a region that the caller uses, so that it is found no more; whoever comes to hold its lock
 * after that sees so. False when somebody else ends it.
 */
static bool retract(GenRegionUse& region) {
    /* Whoever waits for this may still be deleted. */
    const GenRegionLock lock(region, GenUseAfter::GoesOn);
    const OswUncancellable uncancellable;
    /* A lock that cannot be had must not keep a region that cannot be used. */
    if (lock.status() == ZAT_GEN_NO_LOG || !genRemoveRegion(*region)) return false;
    if (lock.ringStatus() == ZAT_OK) region->info.header->run = 0;
    return true;
}

/* Gives back what the caller held of a region's lock before: others wait for it, and see then that
 * the region is gone. */
static void letOthersPass(const GenRegion& region) {
    while (region.info.lock != 0 && genUnlockRegion(region) == ZAT_OK) {
    }
}

/* Waits until the caller is the only one who uses a region. */
static void awaitOthers(const GenRegion& region) {
    for (;;) {
        {
            const ZatStatus status = genLockRegion(region);
            GenTableLock lock;
            const bool isAlone = lock.take() != ZAT_OK || region.users() == 1;
            if (status == ZAT_OK) genUnlockRegion(region);
            if (isAlone) return;
        }
        static constexpr timespec moment = {0, 1000000};
        nanosleep(&moment, nullptr);
    }
}

ZatStatus zatGENDeleteRgnLog(int32_t id) {
    const OswKeepErrno keepErrno;
    GenRegionUse region(id);
    if (!region || !retract(region)) return ZAT_GEN_NO_LOG;
    const OswUncancellable uncancellable;
    letOthersPass(*region);
    awaitOthers(*region);
    genEndRing(*region);
    genRetireRegion(*region);
    return ZAT_OK;
}

/* Tries for a second at most; whether it succeeded. */
template <class Try>
static bool tryForASecond(Try attempt) {
    for (int tries = 0; tries < 1000; ++tries) {
        if (attempt()) return true;
        static constexpr timespec moment = {0, 1000000};
        nanosleep(&moment, nullptr);
    }
    return false;
}

static void forget(int32_t id) {
    const GenRegionUse region(id);
    if (!region || !region->isShared() || !genRemoveRegion(*region)) return;
    /* Without its lock there is nobody in the ring but those who are in it now. */
    tryForASecond([&] { return zatOSWIpcDeleteMutexSem(region->info.lock) != ZAT_IPC_DEADLOCK; });
    const bool isAlone = tryForASecond([&] {
        GenTableLock lock;
        return lock.take() != ZAT_OK || region->users() == 1;
    });
    if (!isAlone) return;
    zatOSWIpcDeleteMemPart(region->info.partition);
    genRetireRegion(*region);
}

void genForgetSharedRegions() {
    const OswKeepErrno keepErrno;
    const OswUncancellable uncancellable;
    for (int32_t id = INT32_MIN; genNextRegionId(id); ++id) {
        forget(id);
        if (id == INT32_MAX) break;
    }
}

ZatStatus zatGENTermRgnLog(void) {
    int32_t last = genNoRegion;
    while (genLastRegionId(last))
        zatGENDeleteRgnLog(last);
    genEndTableLock();
    return ZAT_OK;
}

ZatStatus zatGENReallocRgnLog(const char* name, int32_t areaSizeBytes, int32_t maxEntry,
                              uint32_t lck, uint32_t shm) {
    RegionWish wish = {sizeOf(areaSizeBytes), maxEntry, lck, shm, 0};
    if (name == nullptr || !wish.isPossible()) return ZAT_FAILED;
    /* It may be the region's own, which goes. */
    const OswFreed<char> own(strdup(name));
    if (own == nullptr) return ZAT_OSW_PART_EXHAUSTED;
    int32_t id = genNoRegion;
    uint32_t mask = 0;
    const ZatStatus found = genAtRegion(own.get(), [&](const GenRegion& region) {
        id = region.info.id;
        mask = region.info.mask;
        wish.fmt = region.info.fmt;
    });
    if (found != ZAT_OK) return found;
    zatGENStopRgnLog(id);
    if (const ZatStatus status = zatGENDeleteRgnLog(id); status != ZAT_OK) return status;
    return make(id, own.get(), mask, wish);
}
