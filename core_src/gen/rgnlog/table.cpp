/* The table of regions; see region_private.h. */

#include <string.h>
#include <time.h>

#include <algorithm>

#include "gen/rgnlog/region_private.h"
#include "gen/task_lock_private.h"
#include "osw/lock_private.h"
#include "osw/mem_part.h"
#include "osw/mutex_sem.h"

/* Sorted by id. */
static GenRegion** slots;
static uint32_t capacity;
static std::atomic<uint32_t> regionCount;
static GenRegion* retired;

/* Made by whoever needs it first. */
static std::atomic<ZatMutexSem> tableLock;

/* Those who may be about to take it: it goes when they have. */
static std::atomic<uint32_t> visitors;

struct TableVisit {
    TableVisit() { visitors.fetch_add(1); }
    TableVisit(const TableVisit&) = delete;
    TableVisit& operator=(const TableVisit&) = delete;
    ~TableVisit() { visitors.fetch_sub(1); }
};

class TableLock {
  public:
    TableLock() = default;
    TableLock(const TableLock&) = delete;
    TableLock& operator=(const TableLock&) = delete;
    ~TableLock() { release(); }

    /* A lock that was ended while it was waited for guards nothing any more. */
    ZatStatus take() {
        for (;;) {
            const ZatMutexSem lock = tableLock.load();
            const ZatStatus status = lock == 0 ? make() : request(lock);
            if (status != ZAT_OK || tableLock.load() == held_) return status;
            release();
        }
    }

    void release() {
        if (held_ != 0) zatOSWReleaseMutexSem(held_);
        held_ = 0;
    }

  private:
    ZatStatus request(ZatMutexSem lock) {
        const ZatStatus status = zatOSWRequestMutexSem(lock, ZAT_FOREVER);
        if (status == ZAT_OK) held_ = lock;
        return status;
    }

    ZatStatus make() {
        ZatMutexSem lock = 0;
        {
            const GenTaskLock task;
            if (!task.isHeld()) return ZAT_FAILED;
            lock = tableLock.load();
            if (lock == 0) {
                const ZatStatus status = zatOSWCreateMutexSem(&lock, 0, 0);
                if (status != ZAT_OK) return status;
                if (lock == 0) return ZAT_OSW_PART_EXHAUSTED;
                tableLock.store(lock);
                held_ = lock;
                return ZAT_OK;
            }
        }
        return request(lock);
    }

    TableVisit visit_;
    ZatMutexSem held_ = 0;
};

/* Under the lock: the first slot whose region's id is not below, or with isStrict is above, one. */
static uint32_t find(int32_t id, bool isStrict) {
    GenRegion** end = slots + regionCount.load();
    GenRegion** found = std::partition_point(slots, end, [=](const GenRegion* region) {
        return isStrict ? region->info.id <= id : region->info.id < id;
    });
    return static_cast<uint32_t>(found - slots);
}

static bool isAt(uint32_t slot, int32_t id) {
    return slot < regionCount.load() && slots[slot]->info.id == id;
}

/* Where there are no regions, finding that out takes no lock. */
static bool takeForUse(TableLock& lock) {
    return regionCount.load() != 0 && lock.take() == ZAT_OK;
}

/* Under the lock. */
void GenRegionUse::enter(uint32_t slot) {
    if (slot >= regionCount.load()) return;
    region_ = slots[slot];
    id_ = region_->info.id;
    region_->users.fetch_add(1);
}

GenRegionUse::GenRegionUse(int32_t id) {
    TableLock lock;
    if (!takeForUse(lock)) return;
    const uint32_t slot = find(id, false);
    if (isAt(slot, id)) enter(slot);
}

GenRegionUse::GenRegionUse(const char* name) {
    TableLock lock;
    if (!takeForUse(lock)) return;
    uint32_t slot = 0;
    while (slot < regionCount.load() && strcmp(slots[slot]->info.name, name) != 0)
        ++slot;
    enter(slot);
}

GenRegionUse::GenRegionUse(int32_t id, bool isStrict) {
    TableLock lock;
    if (takeForUse(lock)) enter(find(id, isStrict));
}

GenRegionUse::GenRegionUse(Last) {
    TableLock lock;
    if (takeForUse(lock) && regionCount.load() > 0) enter(regionCount.load() - 1);
}

/* Under the lock: a table with other room; the old one stays when there is no memory. */
static ZatStatus resize(uint32_t room) {
    void* memory = nullptr;
    const ZatStatus status = zatOSWSysAllocMemPart(0, &memory, room * sizeof *slots);
    if (status != ZAT_OK) return status;
    auto** grown = static_cast<GenRegion**>(memory);
    std::copy_n(slots, regionCount.load(), grown);
    if (slots != nullptr) zatOSWSysFreeMemPart(0, slots);
    slots = grown;
    capacity = room;
    return ZAT_OK;
}

ZatStatus genAddRegion(GenRegion& region, int32_t id) {
    TableLock lock;
    if (const ZatStatus status = lock.take(); status != ZAT_OK) return status;
    const uint32_t count = regionCount.load();
    const uint32_t slot = find(id, false);
    if (isAt(slot, id)) return ZAT_GEN_LOG_EXISTS;
    if (count == capacity) {
        if (const ZatStatus status = resize(count + 1); status != ZAT_OK) return status;
    }
    std::copy_backward(slots + slot, slots + count, slots + count + 1);
    region.info.id = id;
    slots[slot] = &region;
    regionCount.store(count + 1);
    return ZAT_OK;
}

bool genRemoveRegion(GenRegion& region) {
    TableLock lock;
    if (lock.take() != ZAT_OK) return false;
    const uint32_t count = regionCount.load();
    const uint32_t slot = find(region.info.id, false);
    if (slot == count || slots[slot] != &region) return false;
    std::copy(slots + slot + 1, slots + count, slots + slot);
    regionCount.store(count - 1);
    region.info.id = genNoRegion;
    /* Two slots stay for the next ones. */
    if (count > 2) resize(count - 1);
    return true;
}

ZatStatus genNewRegion(const char* name, GenRegion*& region) {
    const auto nameBytes = static_cast<uint32_t>(strlen(name) + 1);
    {
        TableLock lock;
        if (const ZatStatus status = lock.take(); status != ZAT_OK) return status;
        GenRegion** link = &retired;
        while (*link != nullptr && (*link)->nameBytes < nameBytes)
            link = &(*link)->nextRetired;
        region = *link;
        if (region != nullptr) *link = region->nextRetired;
    }
    if (region == nullptr) {
        void* memory = nullptr;
        const ZatStatus status = zatOSWSysAllocMemPart(0, &memory, sizeof(GenRegion) + nameBytes);
        if (status != ZAT_OK) return status;
        region = new (memory) GenRegion{};
        region->info.id = genNoRegion;
        region->nameBytes = nameBytes;
    }
    char* own = reinterpret_cast<char*>(region + 1);
    memcpy(own, name, nameBytes);
    region->info.name = own;
    return ZAT_OK;
}

void genRetireRegion(GenRegion& region) {
    region.info = {genNoRegion, 0, 0, nullptr, nullptr, 0, 0, 0, region.info.name};
    TableLock lock;
    if (lock.take() != ZAT_OK) return;
    region.nextRetired = retired;
    retired = &region;
}

void genEndTable() {
    const OswUncancellable uncancellable;
    ZatMutexSem ended = 0;
    {
        TableLock lock;
        if (tableLock.load() == 0 || lock.take() != ZAT_OK) return;
        ended = tableLock.exchange(0);
    }
    while (visitors.load() != 0) {
        static constexpr timespec moment = {0, 1000000};
        nanosleep(&moment, nullptr);
    }
    zatOSWDeleteMutexSem(ended);
}
