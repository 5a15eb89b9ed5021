/*
 * The checked header in front of every block from a default partition, and the memory figures.
 *
 * The registry lock guards the figures; it is never taken while a partition is held.
 */
#ifndef ZATOSW_OSW_MEM_HEADER_PRIVATE_H
#define ZATOSW_OSW_MEM_HEADER_PRIVATE_H

#include <stddef.h>

#include "osw/status.h"

struct MemDbgHead {
    uint32_t magicA;
    uint32_t caller; /* code that allocated, later that freed */
    uint32_t magicB;
    uint32_t size; /* as asked for; all ones once freed */
    ZatTaskId taskId;
    uint32_t check;
};

static_assert(sizeof(MemDbgHead) == 24 && offsetof(MemDbgHead, check) == 20);

/* Totals over the default partitions. */
struct OswMemFigures {
    uint32_t curBytes;
    uint32_t peakBytes;
    uint32_t curBlocks;
    uint32_t peakBlocks;
};

extern OswMemFigures oswMemFigures;

/* Bytes to allocate for a request with its header; a size that cannot be had when that wraps. */
uint32_t oswSizeWithHeader(uint32_t size);

/* Whether there is memory for a request from partition 0 now: one that there is none for would be a
 * fatal fault. */
bool oswHasRoom(uint32_t size);

/* Bytes of count elements; a size that cannot be had when that wraps. */
uint32_t oswArraySize(uint32_t count, uint32_t elementSize);

/* Writes the header, charges the caller's task, and returns the caller's pointer. */
void* oswHeaderOpen(void* memory, uint32_t size, uint32_t caller);

/* The header of a block, null when it is damaged or the block was freed before. */
MemDbgHead* oswHeaderCheck(void* block);

/* Takes the charge off the task and marks the header freed; returns the size that was asked for. */
uint32_t oswHeaderClose(MemDbgHead* header, uint32_t caller);

/* Takes a freed block off the totals, once its memory has been released. */
void oswCountFreed(uint32_t size);

/* The header of a block that was allocated from a default partition. */
inline MemDbgHead* oswHeaderOf(void* block) {
    return static_cast<MemDbgHead*>(block) - 1;
}

/* The two front ends differ in where their default partition lies. */
struct OswMemFamily {
    ZatStatus (*allocate)(ZatPartition partition, void** out, uint32_t size, uint32_t caller);
    ZatStatus (*release)(ZatPartition partition, void* block, uint32_t caller);
};

/* Moves a block of a front end's default partition into one of another size. */
ZatStatus oswReallocate(const OswMemFamily& family, ZatPartition partition, void** out, void* old,
                        uint32_t size, uint32_t caller);

#endif
