/*
 * The heap inside a shared segment: a head with the figures, then blocks in address order up to the
 * end of the segment, without an end marker.
 *
 * Positions are byte distances from the segment's start, the same in every process. Nothing here
 * locks: the caller holds the lock semaphore of the partitions. No word of the segment is trusted:
 * whatever is in it, nothing outside of it is touched. A process may be killed between any two
 * stores: at every moment the blocks can be walked from the first to the end.
 */
#ifndef ZATOSW_OSW_IPC_SHM_HEAP_PRIVATE_H
#define ZATOSW_OSW_IPC_SHM_HEAP_PRIVATE_H

#include <stddef.h>
#include <stdint.h>

#include "osw/status.h"

struct ShmHeapHead {
    uint32_t curBytes; /* in allocated blocks, with tags */
    uint32_t peakBytes;
    uint32_t curBlocks; /* allocated ones */
    uint32_t peakBlocks;
};

struct ShmBlockTag {
    uint32_t prevSize;  /* distance back to the previous tag; 0: the first block, or not known */
    uint32_t sizeFlags; /* size with tag; bit 0: allocated */
    int32_t blockId;    /* -1 = none; left over in a free block */
    uint32_t reqSize;   /* what was asked for; left over in a free block */
};

static_assert(sizeof(ShmHeapHead) == 16 && offsetof(ShmHeapHead, peakBytes) == 4 &&
              offsetof(ShmHeapHead, curBlocks) == 8 && offsetof(ShmHeapHead, peakBlocks) == 12);
static_assert(sizeof(ShmBlockTag) == 16 && offsetof(ShmBlockTag, sizeFlags) == 4 &&
              offsetof(ShmBlockTag, blockId) == 8 && offsetof(ShmBlockTag, reqSize) == 12);

constexpr uint32_t shmAllocated = 1;
constexpr uint32_t shmUnit = 8; /* blocks begin at multiples of it */
constexpr uint32_t shmFirstBlock = sizeof(ShmHeapHead);
constexpr uint32_t shmSmallestBlock = sizeof(ShmBlockTag);
constexpr uint32_t shmSmallestSegment = shmFirstBlock + shmSmallestBlock;
constexpr int32_t shmNoId = -1;

/* A segment as this process sees it. */
struct ShmHeap {
    uint8_t* base;
    uint32_t end; /* even, not below shmSmallestSegment */
};

inline ShmHeap shmHeapIn(uint8_t* address, uint32_t sizeBytes) {
    return {address, sizeBytes & ~shmAllocated};
}

inline ShmHeapHead& shmHeadOf(const ShmHeap& heap) {
    return *reinterpret_cast<ShmHeapHead*>(heap.base);
}

inline uint32_t shmBlockSize(const ShmBlockTag* tag) {
    return tag->sizeFlags & ~shmAllocated;
}

inline bool shmIsAllocated(const ShmBlockTag* tag) {
    return (tag->sizeFlags & shmAllocated) != 0;
}

/* Bytes of a block that are the caller's. */
inline uint32_t shmDataSize(uint32_t blockSize) {
    return blockSize > sizeof(ShmBlockTag) ? blockSize - sizeof(ShmBlockTag) : 0;
}

inline uint32_t shmDataOffset(const ShmHeap& heap, const ShmBlockTag* tag) {
    return static_cast<uint32_t>(reinterpret_cast<const uint8_t*>(tag + 1) - heap.base);
}

/*
 * Steps from block to block; ends at the segment's end, or where a size leads nowhere.
 *
 *     ShmBlockWalk walk(heap);
 *     while (walk.next()) ... walk.tag() ...
 */
class ShmBlockWalk {
  public:
    explicit ShmBlockWalk(const ShmHeap& heap)
        : at_(heap.base + shmFirstBlock), room_(heap.end - shmSmallestSegment) {}

    bool next() {
        if (size_ > room_) return false;
        at_ += size_;
        room_ -= size_;
        size_ = 0;
        if (reinterpret_cast<uint32_t>(at_) % shmUnit != 0) return false;
        size_ = shmBlockSize(tag());
        return size_ >= shmSmallestBlock;
    }

    ShmBlockTag* tag() const { return reinterpret_cast<ShmBlockTag*>(at_); }
    uint32_t size() const { return size_; }

    /* Whether the block ends in the segment; the walk ends with one that does not. */
    bool isInside() const { return size_ <= room_ + shmSmallestBlock; }

    /* After the walk: whether it ended before, or beyond, the segment's end. */
    bool isBroken() const { return size_ != room_ + shmSmallestBlock; }

  private:
    uint8_t* at_;
    uint32_t room_; /* bytes behind the tag, up to the segment's end */
    uint32_t size_ = 0;
};

/* Makes one free block of a segment. */
void shmHeapFormat(const ShmHeap& heap);

/* The lowest free block that is large enough: ZAT_OK and where its data begins;
 * ZAT_OSW_PART_BAD_SIZE for size 0; ZAT_OSW_PART_EXHAUSTED. */
ZatStatus shmHeapAllocate(const ShmHeap& heap, uint32_t sizeBytes, uint32_t* offset);

/* ZAT_OK; ZAT_OSW_PART_BAD_ADDRESS or ZAT_OSW_PART_NOT_ALLOCATED; ZAT_OSW_PART_BAD_BLOCK when the
 * size in the tag cannot be: then the block is marked free, and that is all. */
ZatStatus shmHeapFree(const ShmHeap& heap, uint32_t offset);

/* The tag of the allocated block whose data begins at an offset; ZAT_OSW_PART_BAD_ADDRESS when that
 * is outside the blocks, ZAT_OSW_PART_BLOCK_FREE when no allocated block can begin there. */
ZatStatus shmHeapFind(const ShmHeap& heap, uint32_t offset, ShmBlockTag** tag);

/* The first allocated block with an id, or null. */
ShmBlockTag* shmHeapFindId(const ShmHeap& heap, int32_t id);

/* Size of the largest free block, tag included; 0 = there is none. */
uint32_t shmHeapLargestFree(const ShmHeap& heap);

#endif
