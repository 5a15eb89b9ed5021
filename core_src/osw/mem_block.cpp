/*
 * The boundary-tagged heap inside a partition: first fit from either end, splitting, merging.
 *
 * The functions with a part and a tag run under the partition's lock.
 */

#include <algorithm>

#include "osw/mem_part_private.h"

static constexpr OswPartitionOperations operations = {{0, -1, SEM_UNDO}, {0, 1, SEM_UNDO}};

OswPartitionOperations oswPartitionOperations = operations;

void oswResetPartitionLock() {
    oswPartitionOperations = operations;
}

static MemBlockTag* nextTag(MemBlockTag* tag) {
    return reinterpret_cast<MemBlockTag*>(reinterpret_cast<uint8_t*>(tag) + memBlockSize(tag));
}

static bool isEndMarker(const MemBlockTag* tag) {
    return memBlockSize(tag) == 0;
}

static uint32_t roundUp(uint32_t size, uint32_t unit) {
    const uint32_t rounded = (size + unit - 1) & ~(unit - 1);
    return rounded < size ? memTooLarge : rounded;
}

/* Bytes of a block that serves a request, tag included. */
static uint32_t blockSizeFor(uint32_t size) {
    const uint32_t rounded = roundUp(size, memUnit);
    return rounded > memTooLarge - sizeof(MemBlockTag) ? memTooLarge
                                                       : rounded + sizeof(MemBlockTag);
}

static bool fits(const MemBlockTag* tag, uint32_t need) {
    return !memIsAllocated(tag) && memBlockSize(tag) >= need;
}

static MemBlockTag* findFromLow(MemPartHead* part, uint32_t need) {
    uint32_t at = memFirstBlock;
    while (at < part->end && part->end - at >= sizeof(MemBlockTag)) {
        MemBlockTag* tag = memTagAt(part, at);
        const uint32_t size = memBlockSize(tag);
        if (size < memUnit || size > part->end - at) return nullptr;
        if (fits(tag, need)) return tag;
        at += size;
    }
    return nullptr;
}

static MemBlockTag* findFromHigh(MemPartHead* part, uint32_t need) {
    uint32_t at = part->end - sizeof(MemBlockTag);
    while (at > memFirstBlock) {
        const uint32_t step = memTagAt(part, at)->prevSize;
        if (step < memUnit || step > at - memFirstBlock) return nullptr;
        at -= step;
        MemBlockTag* tag = memTagAt(part, at);
        if (fits(tag, need)) return tag;
    }
    return nullptr;
}

/* Makes a free block of the tail of a block, which keeps its flag; returns the tail. */
static MemBlockTag* cutTail(MemBlockTag* tag, uint32_t keep) {
    const uint32_t tail = memBlockSize(tag) - keep;
    tag->sizeFlags = keep | (tag->sizeFlags & memAllocated);
    MemBlockTag* rest = nextTag(tag);
    *rest = {keep, tail};
    return rest;
}

static void countAllocated(MemPartHead* part, uint32_t bytes) {
    part->curBytes += bytes;
    part->curBlocks += 1;
    part->peakBytes = std::max(part->peakBytes, part->curBytes);
    part->peakBlocks = std::max(part->peakBlocks, part->curBlocks);
}

/* Finds a block, splits off what is not needed, and marks the rest allocated. */
static MemBlockTag* takeBlock(MemPartHead* part, MemSide side, uint32_t need) {
    MemBlockTag* tag = side == MemSide::Low ? findFromLow(part, need) : findFromHigh(part, need);
    if (tag == nullptr) return nullptr;
    const uint32_t spare = memBlockSize(tag) - need;
    if (spare >= memUnit) {
        MemBlockTag* rest = cutTail(tag, side == MemSide::Low ? need : spare);
        nextTag(rest)->prevSize = memBlockSize(rest);
        if (side == MemSide::High) tag = rest;
    }
    tag->sizeFlags |= memAllocated;
    countAllocated(part, need);
    return tag;
}

/*
 * Makes a block part of the one in front of it. The end marker may name the block, though others
 * lie between (see cutBack): it must not go on naming a tag that is none any more.
 */
static void absorb(MemPartHead* part, MemBlockTag* into, const MemBlockTag* block) {
    into->sizeFlags += memBlockSize(block);
    nextTag(into)->prevSize = memBlockSize(into);
    const uint32_t markerAt = part->end - sizeof(MemBlockTag);
    MemBlockTag* marker = memTagAt(part, markerAt);
    if (markerAt - marker->prevSize == memDistance(part, block))
        marker->prevSize = markerAt - memDistance(part, into);
}

/* Merges a free block with a free one behind it. */
static void mergeWithNext(MemPartHead* part, MemBlockTag* tag) {
    const MemBlockTag* next = nextTag(tag);
    if (!isEndMarker(next) && !memIsAllocated(next)) absorb(part, tag, next);
}

/* Merges a free block with a free one in front of it; returns what the block is part of now. */
static MemBlockTag* mergeWithPrevious(MemPartHead* part, MemBlockTag* tag) {
    if (tag->prevSize == 0) return tag;
    auto* previous =
        reinterpret_cast<MemBlockTag*>(reinterpret_cast<uint8_t*>(tag) - tag->prevSize);
    if (memIsAllocated(previous)) return tag;
    absorb(part, previous, tag);
    return previous;
}

static void freeBlock(MemPartHead* part, MemBlockTag* tag) {
    part->curBytes -= memBlockSize(tag);
    part->curBlocks -= 1;
    tag->sizeFlags &= ~memAllocated;
    mergeWithNext(part, mergeWithPrevious(part, tag));
}

/* Gives the first bytes of an allocated block back; returns the block that remains. */
static MemBlockTag* cutFront(MemPartHead* part, MemBlockTag* tag, uint32_t front) {
    MemBlockTag* rest = cutTail(tag, front);
    rest->sizeFlags |= memAllocated;
    nextTag(rest)->prevSize = memBlockSize(rest);
    part->curBytes -= front;
    tag->sizeFlags &= ~memAllocated;
    mergeWithPrevious(part, tag);
    return rest;
}

/*
 * Gives the last bytes of an allocated block back. The end marker keeps its distance to the block's
 * old front: callers that search from the high end have always met it so.
 */
static void cutBack(MemPartHead* part, MemBlockTag* tag, uint32_t keep) {
    if (memBlockSize(tag) <= keep) return;
    MemBlockTag* tail = cutTail(tag, keep);
    const uint32_t tailSize = memBlockSize(tail);
    part->curBytes -= tailSize;
    MemBlockTag* next = nextTag(tail);
    if (isEndMarker(next)) return;
    next->prevSize = tailSize;
    mergeWithNext(part, tail);
}

void* oswTakeBlock(MemPartHead* part, MemSide side, uint32_t size) {
    MemBlockTag* tag = takeBlock(part, side, blockSizeFor(size));
    return tag != nullptr ? tag + 1 : nullptr;
}

ZatStatus oswPartAllocateAligned(MemPartHead* part, MemSide side, uint32_t alignment, uint32_t size,
                                 void** out) {
    *out = nullptr;
    if (alignment == 0 || (alignment & (alignment - 1)) != 0) return ZAT_OSW_PART_BAD_ALIGNMENT;
    if (part == nullptr) return ZAT_OSW_PART_BAD_ADDRESS;
    if (size == 0) return ZAT_OSW_PART_BAD_SIZE;
    const uint32_t rounded = roundUp(size, alignment);
    if (rounded > memTooLarge - (alignment - 1)) return ZAT_OSW_PART_EXHAUSTED;
    OswPartitionLock lock;
    if (const ZatStatus error = lock.take(part); error != ZAT_OK) return error;
    MemBlockTag* tag = takeBlock(part, side, blockSizeFor(rounded + alignment - 1));
    if (tag == nullptr) return ZAT_OSW_PART_EXHAUSTED;
    /* The part that is cut off is itself a block: blocks lie at multiples of 8, so it is one too.
     */
    const uint32_t front = -reinterpret_cast<uint32_t>(tag + 1) & (alignment - 1);
    if (front % memUnit != 0) {
        freeBlock(part, tag);
        return ZAT_OSW_PART_BAD_SIZE;
    }
    if (front != 0) tag = cutFront(part, tag, front);
    cutBack(part, tag, blockSizeFor(rounded));
    *out = tag + 1;
    return ZAT_OK;
}

void oswFreeBlock(MemPartHead* part, void* block) {
    freeBlock(part, static_cast<MemBlockTag*>(block) - 1);
}
