/*
 * Regions as the calls use them: the table that they are found in, and their locks.
 *
 * The table's lock is held to look a region up, and never while a region's lock is waited for; it
 * may be taken by whoever holds a region's lock. A region that is in use is counted, and its
 * deletion waits until it is not. Records are never freed: they are handed out by
 * zatGENGetRgnLogInfo(), so a deleted region's becomes that of no region until a new region takes
 * it.
 */
#ifndef ZATOSW_GEN_RGNLOG_REGION_PRIVATE_H
#define ZATOSW_GEN_RGNLOG_REGION_PRIVATE_H

#include <atomic>

#include "gen/rgnlog/ring_private.h"
#include "osw/types.h"

constexpr int32_t genNoRegion = -1;

struct GenRegion {
    RgnLogInfo info;
    uint32_t areaSize;
    std::atomic<uint32_t> users;
    GenRegion* nextRetired;
    uint32_t nameBytes; /* room for the name, which lies behind this */

    GenRing ring() const { return {info.header, info.data, areaSize}; }
    bool isShared() const { return info.shm != 0; }
};

static_assert(offsetof(GenRegion, info) == 0);

/* A region that is in use until the end of the scope, so that it is not deleted; or none. */
class GenRegionUse {
  public:
    /* The region of an id, of a name (with the lowest id), at either end of the table, or the first
     * one whose id is above another's. */
    explicit GenRegionUse(int32_t id);
    explicit GenRegionUse(const char* name);
    static GenRegionUse first() { return GenRegionUse(INT32_MIN, false); }
    static GenRegionUse last() { return GenRegionUse(Last{}); }
    static GenRegionUse after(int32_t id) { return GenRegionUse(id, true); }
    GenRegionUse(const GenRegionUse&) = delete;
    GenRegionUse& operator=(const GenRegionUse&) = delete;
    ~GenRegionUse() {
        if (region_ != nullptr) region_->users.fetch_sub(1);
    }

    explicit operator bool() const { return region_ != nullptr; }
    /* As it was found; a deletion may take it off the region meanwhile. */
    int32_t id() const { return id_; }
    GenRegion& operator*() const { return *region_; }
    GenRegion* operator->() const { return region_; }

  private:
    struct Last {};
    explicit GenRegionUse(Last);
    GenRegionUse(int32_t id, bool isStrict);

    void enter(uint32_t slot);

    GenRegion* region_ = nullptr;
    int32_t id_ = genNoRegion;
};

/* Calls visit(id) for every region there is, by ascending id, until that is false. No lock is held
 * meanwhile, so the region may be gone. */
template <class Visit>
void genForRegions(Visit visit) {
    int32_t id = genNoRegion;
    for (bool isFirst = true;; isFirst = false) {
        {
            const GenRegionUse region = isFirst ? GenRegionUse::first() : GenRegionUse::after(id);
            if (!region) return;
            id = region.id();
        }
        if (!visit(id)) return;
    }
}

/* A region's lock, if it has one, until the end of the scope. */
class GenRegionLock {
  public:
    explicit GenRegionLock(const GenRegion& region);
    GenRegionLock(const GenRegionLock&) = delete;
    GenRegionLock& operator=(const GenRegionLock&) = delete;
    ~GenRegionLock() { release(); }

    /* ZAT_OK when it is held; ZAT_GEN_NO_LOG when the region was deleted meanwhile. */
    ZatStatus status() const { return status_; }

    ZatStatus release();

    /* Leaves it taken. */
    void keep() { region_ = nullptr; }

  private:
    const GenRegion* region_;
    ZatStatus status_;
};

/* Gives a region's lock back. */
ZatStatus genUnlockRegion(const GenRegion& region);

/* A record with room for a name, which it gets, and no id; from the retired ones if one will do. */
ZatStatus genNewRegion(const char* name, GenRegion*& region);

/* Puts a complete record into the table under an id: ZAT_GEN_LOG_EXISTS when that is taken. */
ZatStatus genAddRegion(GenRegion& region, int32_t id);

/* Takes a region out of the table; false when it is not there any more. */
bool genRemoveRegion(GenRegion& region);

/* Keeps a record for the next region. */
void genRetireRegion(GenRegion& region);

/* Deletes the table's lock. There are no regions. */
void genEndTable();

/* Makes the ring, and with it the lock, of a region; zeroed and stopped, or as others left it. */
ZatStatus genMakePrivateRing(GenRegion& region, int32_t maxEntry, bool isLocked);
ZatStatus genMakeSharedRing(GenRegion& region, int32_t maxEntry);

/* Ends it. Nobody else uses the region. */
void genEndRing(GenRegion& region);

/* Takes the lock of a shared region, from a dead process if need be. */
ZatStatus genLockShared(const GenRegion& region);

#endif
