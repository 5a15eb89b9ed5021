/*
 * A ring of records: what lies in the area, and how it is written and walked. Knows neither locks
 * nor names.
 *
 * Records follow one another around the area; each starts at a multiple of 8 with the size of the
 * one before it and its own, which lie together, while what follows may go on at the area's start.
 * The record at header.cur is free, or in a full ring the oldest one.
 *
 * Another process may be killed at any instruction of a write, or spoil the area, so the size that
 * counts is the one that this process knows, nothing is followed out of the area, and the words are
 * written in an order that genRingMend() can complete. A ring that is beyond that begins anew.
 */
#ifndef ZATOSW_GEN_RGNLOG_RING_PRIVATE_H
#define ZATOSW_GEN_RGNLOG_RING_PRIVATE_H

#include "gen/rgnlog/region_log.h"

struct GenRingHead {
    uint32_t prev; /* size of the record before */
    uint32_t size; /* distance to the next one */
    ZatClock time;
    uint32_t length; /* of the payload, which follows */
};

static_assert(offsetof(GenRingHead, time) == 8 && offsetof(GenRingHead, length) == 16 &&
              sizeof(GenRingHead) == 20);

constexpr uint32_t genRingGrain = 8;

struct GenRing {
    RgnLogHeader* header;
    uint8_t* area;
    uint32_t size; /* a multiple of 8, not 0 */
};

/* What is to be written: pieces, of which the first length bytes count. */
struct GenRecord {
    const ZatClock* time;
    const RgnLogPiece* pieces;
    uint32_t count;
    uint64_t length;
};

/* Makes the ring empty and stopped. */
void genRingInit(const GenRing& ring, int32_t maxEntry);

/* Writes a record over the free space and the oldest ones. */
void genRingWrite(const GenRing& ring, const GenRecord& record);

/* Completes what a writer that was killed has left. */
void genRingMend(const GenRing& ring);

/* Reads the ring as it is; the number of bytes, or ZAT_GEN_LOG_END. */
uint32_t genRingRead(const GenRing& ring, uint8_t* buffer, uint32_t bufferBytes,
                     uint32_t& position);

/* A record as it lies in the area: its payload may come in two pieces. */
struct GenRingEntry {
    ZatClock time;
    const uint8_t* first;
    uint32_t firstLength;
    const uint8_t* second;
    uint32_t secondLength;

    uint32_t length() const { return firstLength + secondLength; }
};

enum class GenRingOrder { NewestFirst, OldestFirst };

/* Goes over the records of a ring that nobody changes meanwhile; ends where the ring is damaged. */
class GenRingWalk {
  public:
    GenRingWalk(const GenRing& ring, GenRingOrder order);

    /* Whether there is one more. */
    bool next(GenRingEntry& entry);

  private:
    void view(uint32_t size, GenRingEntry& entry) const;

    GenRing ring_;
    GenRingOrder order_;
    uint32_t at_ = 0;
    uint32_t left_ = 0;     /* bytes of the area that have not been gone over */
    uint32_t expected_ = 0; /* on the way back: the size of the record at at_ */
};

#endif
