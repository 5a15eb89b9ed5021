/*
 * The table of this process's regions, and its lock.
 *
 * The lock is held to look a region up, and never while a region's lock is waited for; it may be
 * taken by whoever holds a region's lock.
 *
 * Records are never freed: zatGENGetRgnLogInfo() hands them out. A deleted region's reads as that
 * of no region until a new region takes it. A region in use is counted in and out, and its deletion
 * waits for the last one.
 */
#ifndef ZATOSW_GEN_RGNLOG_TABLE_PRIVATE_H
#define ZATOSW_GEN_RGNLOG_TABLE_PRIVATE_H

#include <algorithm>
#include <atomic>

#include "gen/rgnlog/ring_private.h"
#include "osw/mutex_sem.h"

constexpr int32_t genNoRegion = -1;

struct GenRegion {
    RgnLogInfo info;
    uint32_t areaSize;
    /* Its users: under the table's lock they come and leave; or they leave under the region's. */
    uint32_t came;
    uint32_t left;
    uint32_t leftLocked;
    GenRegion* nextRetired;
    uint32_t nameBytes; /* room for the name, which lies behind this */

    GenRing ring() const { return {info.header, info.data, areaSize}; }
    bool isShared() const { return info.shm != 0; }
    uint32_t users() const { return came - left - leftLocked; }
};

static_assert(offsetof(GenRegion, info) == 0);

struct GenRegionTable {
    GenRegion** slots; /* sorted by id */
    uint32_t capacity;
    std::atomic<uint32_t> count;
    std::atomic<ZatMutexSem> lock; /* 0 until somebody needs it */
    GenRegion* retired;
};

extern GenRegionTable genRegions;

/* Makes the table's lock, and takes it. */
ZatStatus genMakeTableLock(ZatMutexSem& lock);

class GenTableLock {
  public:
    GenTableLock() = default;
    GenTableLock(const GenTableLock&) = delete;
    GenTableLock& operator=(const GenTableLock&) = delete;
    ~GenTableLock() {
        if (held_ != 0) zatOSWReleaseMutexSem(held_);
    }

    ZatStatus take() {
        ZatMutexSem lock = genRegions.lock.load(std::memory_order_acquire);
        const ZatStatus status =
            lock == 0 ? genMakeTableLock(lock) : zatOSWRequestMutexSem(lock, ZAT_FOREVER);
        if (status == ZAT_OK) held_ = lock;
        return status;
    }

    /* Where there are no regions, finding that out takes no lock. */
    bool takeToFind() {
        return genRegions.count.load(std::memory_order_relaxed) != 0 && take() == ZAT_OK;
    }

  private:
    ZatMutexSem held_ = 0;
};

/* Under the lock: the slot of the first region whose id is not below one. */
inline uint32_t genSlotFrom(int32_t id) {
    GenRegion** slots = genRegions.slots;
    GenRegion** end = slots + genRegions.count.load(std::memory_order_relaxed);
    GenRegion** found = std::partition_point(
        slots, end, [id](const GenRegion* region) { return region->info.id < id; });
    return static_cast<uint32_t>(found - slots);
}

/* Under the lock: the region in a slot, null behind the last one. */
inline GenRegion* genRegionAt(uint32_t slot) {
    return slot < genRegions.count.load(std::memory_order_relaxed) ? genRegions.slots[slot]
                                                                   : nullptr;
}

/* Under the lock: the region of an id, or of a name the first one; null when there is none. */
inline GenRegion* genFindRegion(int32_t id) {
    GenRegion* region = genRegionAt(genSlotFrom(id));
    return region != nullptr && region->info.id == id ? region : nullptr;
}
GenRegion* genFindRegion(const char* name);

/* Calls visit(region) under the lock, if there is the region. */
template <class Key, class Visit>
ZatStatus genAtRegion(Key key, Visit visit) {
    GenTableLock lock;
    GenRegion* region = lock.takeToFind() ? genFindRegion(key) : nullptr;
    if (region == nullptr) return ZAT_GEN_NO_LOG;
    visit(*region);
    return ZAT_OK;
}

/* The first id of a region that is not below one; false when there is none. */
bool genNextRegionId(int32_t& id);
bool genLastRegionId(int32_t& id);

/* A record with room for a name, which it gets, and no id; from the retired ones if one will do. */
ZatStatus genNewRegion(const char* name, GenRegion*& region);

/* Puts a complete record into the table under an id: ZAT_GEN_LOG_EXISTS when that is taken. */
ZatStatus genAddRegion(GenRegion& region, int32_t id);

/* Takes a region out of the table; false when it is not there any more. */
bool genRemoveRegion(GenRegion& region);

/* Keeps a record for the next region. */
void genRetireRegion(GenRegion& region);

/* Ends the table's lock. There are no regions. */
void genEndTableLock();

/* A region that is in use until the end of the scope, so that it is not deleted; or none. */
class GenRegionUse {
  public:
    /* Inline: a write makes no call that it can do without. */
    __attribute__((always_inline)) explicit GenRegionUse(int32_t id) {
        GenTableLock lock;
        if (!lock.takeToFind()) return;
        region_ = genFindRegion(id);
        if (region_ != nullptr) ++region_->came;
    }
    GenRegionUse(const GenRegionUse&) = delete;
    GenRegionUse& operator=(const GenRegionUse&) = delete;
    ~GenRegionUse() {
        if (region_ != nullptr) leave();
    }

    explicit operator bool() const { return region_ != nullptr; }
    GenRegion& operator*() const { return *region_; }
    GenRegion* operator->() const { return region_; }

    /* Ends the use; the region's lock is held, and released next. */
    void leaveLocked() {
        ++region_->leftLocked;
        region_ = nullptr;
    }

  private:
    void leave();

    GenRegion* region_ = nullptr;
};

#endif
