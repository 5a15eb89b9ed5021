/*
 * Figures for a report: copied under a lock, printed without it.
 */
#ifndef ZATOSW_OSW_RECORDS_PRIVATE_H
#define ZATOSW_OSW_RECORDS_PRIVATE_H

#include <stdlib.h>

#include "osw/errno_private.h"
#include "osw/mem_part.h"

/* Where the room for records is from. Reports of this process's own memory are not to be among what
 * they tell of. */
enum class OswRoomFrom { Heap, Partition0 };

/*
 * Records for the life of a scope, which may end with the printing task. Room is made without a
 * lock: want of memory in partition 0 is fatal, and no message may be written under a lock
 * semaphore.
 */
template <class Record, OswRoomFrom from = OswRoomFrom::Heap>
class OswRecords {
  public:
    OswRecords() = default;
    OswRecords(const OswRecords&) = delete;
    OswRecords& operator=(const OswRecords&) = delete;
    ~OswRecords() { release(); }

    /* Under the lock: whether there is room for so many. */
    bool canHold(uint32_t count) {
        wanted_ = count;
        return count <= capacity_;
    }

    /* Makes the room that was missing: ZAT_OK, ZAT_OSW_PART_EXHAUSTED or another status of
     * zatOSWOrgAllocMemPart(). */
    ZatStatus grow() {
        /* Other processes may allocate blocks meanwhile. */
        const uint32_t capacity = wanted_ + 16;
        if (capacity > UINT32_MAX / sizeof(Record)) return ZAT_OSW_PART_EXHAUSTED;
        release();
        const ZatStatus status = allocate(capacity * static_cast<uint32_t>(sizeof(Record)));
        capacity_ = status == ZAT_OK ? capacity : 0;
        return status;
    }

    /* Adds a record if it is among those that there is to be room for. */
    void add(const Record& record) {
        if (count_ < wanted_) data()[count_++] = record;
    }

    bool isEmpty() const { return count_ == 0; }
    const Record* begin() const { return data(); }
    const Record* end() const { return data() + count_; }

  private:
    ZatStatus allocate(uint32_t size) {
        if constexpr (from == OswRoomFrom::Partition0)
            return zatOSWOrgAllocMemPart(0, &room_, size);
        const OswKeepErrno keepErrno;
        room_ = malloc(size);
        return room_ == nullptr ? ZatStatus{ZAT_OSW_PART_EXHAUSTED} : ZatStatus{ZAT_OK};
    }

    void release() {
        if constexpr (from == OswRoomFrom::Partition0)
            zatOSWOrgFreeMemPart(0, room_);
        else
            free(room_);
        room_ = nullptr;
    }

    Record* data() const { return static_cast<Record*>(room_); }

    void* room_ = nullptr;
    uint32_t capacity_ = 0;
    uint32_t wanted_ = 0;
    uint32_t count_ = 0;
};

/* What a look under the lock says when there is more than room for it; never returned. */
constexpr ZatStatus oswNeedsRoom = 0xFFFF0004;

/* Looks, under the lock, until there is room for what is seen. */
template <class Records, class Look>
ZatStatus oswGather(Records& records, Look look) {
    for (;;) {
        ZatStatus status = look();
        if (status != oswNeedsRoom) return status;
        status = records.grow();
        if (status != ZAT_OK) return status;
    }
}

#endif
