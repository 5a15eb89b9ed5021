/*
 * Figures for a report: copied under a lock, printed without it.
 */
#ifndef ZATOSW_OSW_RECORDS_PRIVATE_H
#define ZATOSW_OSW_RECORDS_PRIVATE_H

#include "osw/mem_part.h"

/*
 * Records of the process heap, for the life of a scope, which may end with the printing task. Room
 * is made without a lock: want of memory is fatal, and no message may be written under a lock
 * semaphore.
 */
template <class Record>
class OswRecords {
  public:
    OswRecords() = default;
    OswRecords(const OswRecords&) = delete;
    OswRecords& operator=(const OswRecords&) = delete;
    ~OswRecords() { zatOSWOrgFreeMemPart(0, room_); }

    /* Under the lock: whether there is room for so many. */
    bool canHold(uint32_t count) {
        wanted_ = count;
        return count <= capacity_;
    }

    /* Makes the room that was missing: ZAT_OK or a status of zatOSWOrgAllocMemPart(). */
    ZatStatus grow() {
        /* Other processes may allocate blocks meanwhile. */
        const uint32_t capacity = wanted_ + 16;
        if (capacity > UINT32_MAX / sizeof(Record)) return ZAT_OSW_PART_EXHAUSTED;
        zatOSWOrgFreeMemPart(0, room_);
        room_ = nullptr;
        capacity_ = 0;
        const ZatStatus status =
            zatOSWOrgAllocMemPart(0, &room_, capacity * static_cast<uint32_t>(sizeof(Record)));
        if (status == ZAT_OK) capacity_ = capacity;
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
    Record* data() const { return static_cast<Record*>(room_); }

    void* room_ = nullptr;
    uint32_t capacity_ = 0;
    uint32_t wanted_ = 0;
    uint32_t count_ = 0;
};

/* What a look under the lock says when there is more than room for it; never returned. */
constexpr ZatStatus oswNeedsRoom = 0xFFFF0004;

/* Looks, under the lock, until there is room for what is seen. */
template <class Record, class Look>
ZatStatus oswGather(OswRecords<Record>& records, Look look) {
    for (;;) {
        ZatStatus status = look();
        if (status != oswNeedsRoom) return status;
        status = records.grow();
        if (status != ZAT_OK) return status;
    }
}

#endif
