/* The table of regions; see table_private.h. */

#include "gen/rgnlog/table_private.h"

#include <string.h>

#include "gen/task_lock_private.h"
#include "osw/lock_private.h"
#include "osw/mem_part.h"

GenRegionTable genRegions;

/* One that was ended is kept for the next table: a task that found it may be about to take it. */
static ZatMutexSem endedLock;

ZatStatus genMakeTableLock(ZatMutexSem& lock) {
    {
        const GenTaskLock task;
        if (!task.isHeld()) return ZAT_FAILED;
        lock = genRegions.lock.load();
        if (lock == 0 && endedLock == 0) {
            const ZatStatus status = zatOSWCreateMutexSem(&lock, 0, 0);
            if (status != ZAT_OK) return status;
            if (lock == 0) return ZAT_OSW_PART_EXHAUSTED;
            genRegions.lock.store(lock);
            return ZAT_OK;
        }
        if (lock == 0) {
            lock = endedLock;
            endedLock = 0;
            genRegions.lock.store(lock);
        }
    }
    return zatOSWRequestMutexSem(lock, ZAT_FOREVER);
}

void genEndTableLock() {
    /* Taking the task lock would bring the library up. */
    if (genRegions.lock.load() == 0) return;
    const GenTaskLock task;
    if (!task.isHeld()) return;
    const ZatMutexSem lock = genRegions.lock.exchange(0);
    if (lock != 0) endedLock = lock;
}

GenRegion* genFindRegion(const char* name) {
    uint32_t slot = 0;
    GenRegion* region = genRegionAt(slot);
    while (region != nullptr && strcmp(region->info.name, name) != 0)
        region = genRegionAt(++slot);
    return region;
}

bool genNextRegionId(int32_t& id) {
    GenTableLock lock;
    const GenRegion* region = lock.takeToFind() ? genRegionAt(genSlotFrom(id)) : nullptr;
    if (region != nullptr) id = region->info.id;
    return region != nullptr;
}

bool genLastRegionId(int32_t& id) {
    GenTableLock lock;
    const GenRegion* region =
        lock.takeToFind() ? genRegionAt(genRegions.count.load() - 1) : nullptr;
    if (region != nullptr) id = region->info.id;
    return region != nullptr;
}

/* Under the lock: a table with other room; the old one stays when there is no memory. */
static ZatStatus resize(uint32_t room) {
    void* memory = nullptr;
    const ZatStatus status = zatOSWSysAllocMemPart(0, &memory, room * uint32_t{sizeof(void*)});
    if (status != ZAT_OK) return status;
    auto** slots = static_cast<GenRegion**>(memory);
    std::copy_n(genRegions.slots, genRegions.count.load(), slots);
    if (genRegions.slots != nullptr) zatOSWSysFreeMemPart(0, genRegions.slots);
    genRegions.slots = slots;
    genRegions.capacity = room;
    return ZAT_OK;
}

ZatStatus genAddRegion(GenRegion& region, int32_t id) {
    GenTableLock lock;
    if (const ZatStatus status = lock.take(); status != ZAT_OK) return status;
    const uint32_t count = genRegions.count.load();
    if (genFindRegion(id) != nullptr) return ZAT_GEN_LOG_EXISTS;
    if (count == genRegions.capacity) {
        if (const ZatStatus status = resize(count + 1); status != ZAT_OK) return status;
    }
    GenRegion** slots = genRegions.slots;
    const uint32_t slot = genSlotFrom(id);
    std::copy_backward(slots + slot, slots + count, slots + count + 1);
    region.info.id = id;
    slots[slot] = &region;
    genRegions.count.store(count + 1);
    return ZAT_OK;
}

bool genRemoveRegion(GenRegion& region) {
    GenTableLock lock;
    if (lock.take() != ZAT_OK) return false;
    const uint32_t slot = genSlotFrom(region.info.id);
    if (genRegionAt(slot) != &region) return false;
    const uint32_t count = genRegions.count.load();
    GenRegion** slots = genRegions.slots;
    std::copy(slots + slot + 1, slots + count, slots + slot);
    genRegions.count.store(count - 1);
    region.info.id = genNoRegion;
    /* Two slots stay for the next ones. */
    if (count > 2) resize(count - 1);
    return true;
}

static GenRegion* takeRetired(uint32_t nameBytes) {
    GenRegion** link = &genRegions.retired;
    while (*link != nullptr && (*link)->nameBytes < nameBytes)
        link = &(*link)->nextRetired;
    GenRegion* region = *link;
    if (region != nullptr) *link = region->nextRetired;
    return region;
}

ZatStatus genNewRegion(const char* name, GenRegion*& region) {
    const auto nameBytes = static_cast<uint32_t>(strlen(name) + 1);
    {
        GenTableLock lock;
        if (const ZatStatus status = lock.take(); status != ZAT_OK) return status;
        region = takeRetired(nameBytes);
    }
    if (region == nullptr) {
        void* memory = nullptr;
        const ZatStatus status = zatOSWSysAllocMemPart(0, &memory, sizeof(GenRegion) + nameBytes);
        if (status != ZAT_OK) return status;
        region = static_cast<GenRegion*>(memory);
        *region = {};
        region->info.id = genNoRegion;
        region->nameBytes = nameBytes;
    }
    char* own = reinterpret_cast<char*>(region + 1);
    memcpy(own, name, nameBytes);
    region->info.name = own;
    return ZAT_OK;
}

void genRetireRegion(GenRegion& region) {
    GenTableLock lock;
    if (lock.take() != ZAT_OK) return;
    region.info = {genNoRegion, 0, 0, nullptr, nullptr, 0, 0, 0, region.info.name};
    region.nextRetired = genRegions.retired;
    genRegions.retired = &region;
}

void GenRegionUse::leave() {
    const OswUncancellable uncancellable;
    GenTableLock lock;
    if (lock.take() == ZAT_OK) ++region_->left;
}
