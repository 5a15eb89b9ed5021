/*
 * A partition's memory: a header, then blocks in address order, then an end marker.
 *
 * Every block begins with a tag; the header's semaphore serialises all that touches the blocks, so
 * that processes can share a partition. Positions inside a partition are byte distances from its
 * header, and every step of a walk is checked against the header's end before it is taken.
 */
#ifndef ZATOSW_OSW_MEM_PART_PRIVATE_H
#define ZATOSW_OSW_MEM_PART_PRIVATE_H

#include <stddef.h>
#include <sys/sem.h>

#include "osw/errno_private.h"
#include "osw/ipc/sysv_private.h"
#include "osw/status.h"

struct MemPartHead {
    uint32_t end;  /* distance to the end of the block area */
    int32_t semId; /* guards the partition */
    uint32_t curBytes;
    uint32_t peakBytes;
    uint32_t curBlocks;
    uint32_t peakBlocks;
};

struct MemBlockTag {
    uint32_t prevSize;  /* distance back to the previous tag, 0 for the first block */
    uint32_t sizeFlags; /* size with tag, a multiple of 8; bit 0: allocated; 0: the end marker */
};

static_assert(sizeof(MemPartHead) == 24 && offsetof(MemPartHead, curBlocks) == 16);
static_assert(sizeof(MemBlockTag) == 8 && offsetof(MemBlockTag, sizeFlags) == 4);

constexpr uint32_t memUnit = 8; /* block sizes are multiples of it */
constexpr uint32_t memFirstBlock = sizeof(MemPartHead);
constexpr uint32_t memAllocated = 1;

/* Where a search for a free block begins, and which part of a larger block it hands out. */
enum class MemSide { Low, High };

/* A size rounded up that would wrap becomes a size that no partition has. */
constexpr uint32_t memTooLarge = 0xFFFFFFFFu;

inline MemBlockTag* memTagAt(MemPartHead* part, uint32_t at) {
    return reinterpret_cast<MemBlockTag*>(reinterpret_cast<uint8_t*>(part) + at);
}

inline uint32_t memDistance(const MemPartHead* part, const void* address) {
    return static_cast<uint32_t>(static_cast<const uint8_t*>(address) -
                                 reinterpret_cast<const uint8_t*>(part));
}

inline uint32_t memBlockSize(const MemBlockTag* tag) {
    return tag->sizeFlags & ~memAllocated;
}

inline bool memIsAllocated(const MemBlockTag* tag) {
    return (tag->sizeFlags & memAllocated) != 0;
}

/* The semaphore operations that take and give back a partition. */
struct OswPartitionOperations {
    sembuf take;
    sembuf give;
};

extern OswPartitionOperations oswPartitionOperations;

/* Sets them. */
void oswResetPartitionLock();

/* Holds a partition until the end of the scope, at which errno is what it was; the kernel gives it
 * back if the process dies. */
class OswPartitionLock {
  public:
    OswPartitionLock() = default;
    OswPartitionLock(const OswPartitionLock&) = delete;
    OswPartitionLock& operator=(const OswPartitionLock&) = delete;
    ~OswPartitionLock() {
        if (held_ != nullptr) oswSysvOperate(held_->semId, oswPartitionOperations.give);
    }

    /* 0 or the error number of the semaphore operation. */
    ZatStatus take(const MemPartHead* part) {
        const ZatStatus error = oswSysvOperate(part->semId, oswPartitionOperations.take);
        if (error == 0) held_ = part;
        return error;
    }

  private:
    OswKeepErrno keepErrno_;
    const MemPartHead* held_ = nullptr;
};

/* Take a block of at least so many bytes, null when there is none; and give one back. Both under
 * the partition's lock. */
void* oswTakeBlock(MemPartHead* part, MemSide side, uint32_t size);
void oswFreeBlock(MemPartHead* part, void* block);

/* Whether a block's tag lies in the partition's block area. */
inline bool oswPartContains(const MemPartHead* part, const void* block) {
    const uint32_t at = memDistance(part, block);
    return block >= part && at < part->end && at >= memFirstBlock + sizeof(MemBlockTag);
}

/* The block calls on a partition that is not null; each takes the partition's lock. The short ones
 * are inline: right after a system call every return costs more than it looks. */
inline ZatStatus oswPartAllocate(MemPartHead* part, MemSide side, uint32_t size, void** out) {
    *out = nullptr;
    if (size == 0) return ZAT_OSW_PART_BAD_SIZE;
    OswPartitionLock lock;
    if (const ZatStatus error = lock.take(part); error != ZAT_OK) return error;
    *out = oswTakeBlock(part, side, size);
    return *out != nullptr ? ZatStatus{ZAT_OK} : ZatStatus{ZAT_OSW_PART_EXHAUSTED};
}

inline ZatStatus oswPartFree(MemPartHead* part, void* block) {
    if (!oswPartContains(part, block)) return ZAT_OSW_PART_BAD_ADDRESS;
    OswPartitionLock lock;
    if (lock.take(part) != ZAT_OK) return ZAT_OK;
    oswFreeBlock(part, block);
    return ZAT_OK;
}

ZatStatus oswPartAllocateAligned(MemPartHead* part, MemSide side, uint32_t alignment, uint32_t size,
                                 void** out);

#endif
