/* The checked header and the memory figures; see mem_header_private.h. */

#include "osw/mem_header_private.h"

#include <pthread.h>

#include <algorithm>

#include "osw/freed_private.h"
#include "osw/lock_private.h"
#include "osw/mem_part_private.h"
#include "osw/self_private.h"
#include "osw/task_registry_private.h"

static constexpr uint32_t magicA = 0x55555555;
static constexpr uint32_t magicB = 0xAAAAAAAA;
static constexpr uint32_t checkBase = 0x5A5A5A5B;
static constexpr uint32_t headerSum = 0x5A5A5A5A; /* of all six words */
static constexpr uint32_t freedSize = 0xFFFFFFFF;

OswMemFigures oswMemFigures;

uint32_t oswSizeWithHeader(uint32_t size) {
    return size > memTooLarge - sizeof(MemDbgHead) ? memTooLarge : size + sizeof(MemDbgHead);
}

bool oswHasRoom(uint32_t size) {
    const uint32_t whole = oswSizeWithHeader(size);
    const OswFreed<void> room(whole == memTooLarge ? nullptr : malloc(whole));
    return room != nullptr;
}

uint32_t oswArraySize(uint32_t count, uint32_t elementSize) {
    uint32_t size = 0;
    return __builtin_mul_overflow(count, elementSize, &size) ? memTooLarge : size;
}

static void chargeTask(uint32_t size) {
    OswLock lock(oswRegistryLock);
    OswTaskRecord* task = oswOwnTask();
    if (task == nullptr) return;
    task->memSize += size;
    task->memPeak = std::max(task->memPeak, task->memSize);
}

static void dischargeTask(ZatTaskId id, uint32_t size) {
    OswLock lock(oswRegistryLock);
    OswTaskRecord* task = oswOwnTask();
    if (task == nullptr || task->threadId != id) task = oswNewestTask(id);
    if (task != nullptr) task->memSize -= size;
}

static void countAllocated(uint32_t size) {
    OswLock lock(oswRegistryLock);
    oswMemFigures.curBytes += size;
    oswMemFigures.curBlocks += 1;
    oswMemFigures.peakBytes = std::max(oswMemFigures.peakBytes, oswMemFigures.curBytes);
    oswMemFigures.peakBlocks = std::max(oswMemFigures.peakBlocks, oswMemFigures.curBlocks);
}

void oswCountFreed(uint32_t size) {
    OswLock lock(oswRegistryLock);
    oswMemFigures.curBytes -= size;
    oswMemFigures.curBlocks -= 1;
}

void* oswHeaderOpen(void* memory, uint32_t size, uint32_t caller) {
    auto* header = static_cast<MemDbgHead*>(memory);
    const ZatTaskId task = oswSelf();
    *header = {magicA, caller, magicB, size, task, checkBase - (caller + size + task)};
    chargeTask(size);
    countAllocated(size);
    return header + 1;
}

MemDbgHead* oswHeaderCheck(void* block) {
    MemDbgHead* header = oswHeaderOf(block);
    const uint32_t sum = header->magicA + header->caller + header->magicB + header->size +
                         header->taskId + header->check;
    return sum == headerSum ? header : nullptr;
}

uint32_t oswHeaderClose(MemDbgHead* header, uint32_t caller) {
    const uint32_t size = header->size;
    dischargeTask(header->taskId, size);
    /* Volatile: nobody reads these words before the release but whoever frees the block again. */
    const_cast<volatile uint32_t&>(header->size) = freedSize;
    const_cast<volatile uint32_t&>(header->caller) = caller;
    return size;
}
