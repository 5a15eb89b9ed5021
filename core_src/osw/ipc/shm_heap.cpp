/* The heap inside a shared segment; see shm_heap_private.h. */

#include "osw/ipc/shm_heap_private.h"

#include <algorithm>

#include "osw/ipc/object_private.h"

/* A size that would wrap becomes one that no segment has. */
static constexpr uint32_t tooLarge = 0xFFFFFFFFu;

/* Bytes of a block that serves a request, tag included. */
static uint32_t blockSizeFor(uint32_t sizeBytes) {
    constexpr uint32_t added = shmUnit - 1 + sizeof(ShmBlockTag);
    if (sizeBytes > tooLarge - added) return tooLarge;
    return (sizeBytes + added) & ~(shmUnit - 1);
}

static ShmBlockTag* tagAt(const ShmHeap& heap, uint32_t at) {
    return reinterpret_cast<ShmBlockTag*>(heap.base + at);
}

static uint32_t positionOf(const ShmHeap& heap, const ShmBlockTag* tag) {
    return static_cast<uint32_t>(reinterpret_cast<const uint8_t*>(tag) - heap.base);
}

/* The tag a distance behind another one, null where none can be. */
static ShmBlockTag* tagBehind(const ShmHeap& heap, const ShmBlockTag* tag, uint32_t distance) {
    const uint32_t at = positionOf(heap, tag);
    const uint32_t room = heap.end - at;
    if (distance > room || room - distance < sizeof(ShmBlockTag)) return nullptr;
    return distance % shmUnit == 0 ? tagAt(heap, at + distance) : nullptr;
}

/* The free block that ends where another one begins, if the tags of both say so. */
static ShmBlockTag* freeBefore(const ShmHeap& heap, const ShmBlockTag* tag) {
    const uint32_t at = positionOf(heap, tag);
    const uint32_t distance = tag->prevSize;
    if (distance < shmSmallestBlock || distance > at - shmFirstBlock || distance % shmUnit != 0)
        return nullptr;
    ShmBlockTag* before = tagAt(heap, at - distance);
    return before->sizeFlags == distance ? before : nullptr;
}

static ShmBlockTag* freeBehind(const ShmHeap& heap, const ShmBlockTag* tag) {
    ShmBlockTag* behind = tagBehind(heap, tag, shmBlockSize(tag));
    if (behind == nullptr || shmIsAllocated(behind)) return nullptr;
    const uint32_t size = behind->sizeFlags;
    const bool isSound = size >= shmSmallestBlock && size <= heap.end - positionOf(heap, behind);
    return isSound ? behind : nullptr;
}

/*
 * Gives a block another size, and the block behind the change its distance. While that is not true
 * it is 0: a block that was killed over does without its predecessor, instead of being merged into
 * what is no block any more.
 */
static void changeSize(ShmBlockTag* tag, uint32_t sizeFlags, ShmBlockTag* behind,
                       uint32_t distance) {
    if (behind != nullptr) oswIpcPublish(behind->prevSize, 0);
    oswIpcPublish(tag->sizeFlags, sizeFlags);
    if (behind != nullptr) oswIpcPublish(behind->prevSize, distance);
}

/* Makes one free block of two that are neighbours. */
static void merge(const ShmHeap& heap, ShmBlockTag* front, const ShmBlockTag* back) {
    const uint32_t size = shmBlockSize(front) + shmBlockSize(back);
    changeSize(front, size, tagBehind(heap, front, size), size);
}

/* Marks the front of a free block allocated; what is left behind it is a free block. */
static void split(const ShmHeap& heap, ShmBlockTag* tag, uint32_t need) {
    const uint32_t size = shmBlockSize(tag);
    ShmBlockTag* rest = tagAt(heap, positionOf(heap, tag) + need);
    rest->prevSize = need;
    rest->sizeFlags = size - need;
    changeSize(tag, need | shmAllocated, tagBehind(heap, tag, size), size - need);
}

static void countAllocated(ShmHeapHead& head, uint32_t bytes) {
    head.curBytes += bytes;
    head.curBlocks += 1;
    head.peakBytes = std::max(head.peakBytes, head.curBytes);
    head.peakBlocks = std::max(head.peakBlocks, head.curBlocks);
}

static void take(const ShmHeap& heap, ShmBlockTag* tag, uint32_t need, uint32_t sizeBytes) {
    tag->reqSize = sizeBytes;
    tag->blockId = shmNoId;
    const uint32_t size = shmBlockSize(tag);
    const bool isSplit = size - need >= shmSmallestBlock;
    /* Before the block is allocated, as it is uncounted after it is free: the figures may be too
     * high when a process was killed, but never wrap. */
    countAllocated(shmHeadOf(heap), isSplit ? need : size);
    if (isSplit)
        split(heap, tag, need);
    else
        oswIpcPublish(tag->sizeFlags, size | shmAllocated);
}

void shmHeapFormat(const ShmHeap& heap) {
    shmHeadOf(heap) = {};
    *tagAt(heap, shmFirstBlock) = {0, heap.end - shmFirstBlock, shmNoId, 0};
}

ZatStatus shmHeapAllocate(const ShmHeap& heap, uint32_t sizeBytes, uint32_t* offset) {
    if (sizeBytes == 0) return ZAT_OSW_PART_BAD_SIZE;
    const uint32_t need = blockSizeFor(sizeBytes);
    ShmBlockWalk walk(heap);
    while (walk.next()) {
        if (shmIsAllocated(walk.tag()) || walk.size() < need) continue;
        if (!walk.isInside()) break;
        take(heap, walk.tag(), need, sizeBytes);
        *offset = shmDataOffset(heap, walk.tag());
        return ZAT_OK;
    }
    return ZAT_OSW_PART_EXHAUSTED;
}

ZatStatus shmHeapFind(const ShmHeap& heap, uint32_t offset, ShmBlockTag** tag) {
    if (offset < sizeof(ShmBlockTag) || offset >= heap.end) return ZAT_OSW_PART_BAD_ADDRESS;
    const uint32_t at = offset - static_cast<uint32_t>(sizeof(ShmBlockTag));
    if (at < shmFirstBlock || at % shmUnit != 0) return ZAT_OSW_PART_BLOCK_FREE;
    *tag = tagAt(heap, at);
    return shmIsAllocated(*tag) ? ZatStatus{ZAT_OK} : ZatStatus{ZAT_OSW_PART_BLOCK_FREE};
}

ZatStatus shmHeapFree(const ShmHeap& heap, uint32_t offset) {
    ShmBlockTag* tag = nullptr;
    const ZatStatus status = shmHeapFind(heap, offset, &tag);
    if (status == ZAT_OSW_PART_BLOCK_FREE) return ZAT_OSW_PART_NOT_ALLOCATED;
    if (status != ZAT_OK) return status;
    const uint32_t size = shmBlockSize(tag);
    oswIpcPublish(tag->sizeFlags, size);
    if (blockSizeFor(tag->reqSize) > size || size > heap.end - positionOf(heap, tag))
        return ZAT_OSW_PART_BAD_BLOCK;
    /* More than one, where a process was killed before it had merged them. */
    while (ShmBlockTag* before = freeBefore(heap, tag)) {
        merge(heap, before, tag);
        tag = before;
    }
    while (const ShmBlockTag* behind = freeBehind(heap, tag))
        merge(heap, tag, behind);
    ShmHeapHead& head = shmHeadOf(heap);
    oswIpcPublish(head.curBytes, head.curBytes - size);
    oswIpcPublish(head.curBlocks, head.curBlocks - 1);
    return ZAT_OK;
}

ShmBlockTag* shmHeapFindId(const ShmHeap& heap, int32_t id) {
    ShmBlockWalk walk(heap);
    while (walk.next())
        if (walk.tag()->blockId == id && shmIsAllocated(walk.tag())) return walk.tag();
    return nullptr;
}

uint32_t shmHeapLargestFree(const ShmHeap& heap) {
    uint32_t largest = 0;
    ShmBlockWalk walk(heap);
    while (walk.next())
        if (!shmIsAllocated(walk.tag()) && walk.isInside())
            largest = std::max(largest, walk.size());
    return largest;
}
