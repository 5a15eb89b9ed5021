/* Explicit partitions as their users see them: making, deleting and asking. */

#include "osw/mem_part.h"

#include <errno.h>
#include <stdio.h>
#include <sys/ipc.h>

#include <algorithm>
#include <atomic>

#include "osw/errno_private.h"
#include "osw/handle_private.h"
#include "osw/init.h"
#include "osw/ipc/key.h"
#include "osw/ipc/sysv_private.h"
#include "osw/mem_part_private.h"

/* Header, one block with room for a word, end marker: less than this holds nothing. */
static constexpr uint32_t smallestLength = 40;

static std::atomic<int32_t> semaphoreCounter;

/* A partition's semaphore, set free; -1 when there is none to be had. */
static int createSemaphore() {
    char name[32];
    snprintf(name, sizeof name, "%s_%d", "oswsysvsem", semaphoreCounter.fetch_add(1));
    uint32_t key = 0;
    if (zatOSWIpcGetServerIpcKey(name, 1, &key) != ZAT_OK) return -1;
    const auto systemKey = static_cast<key_t>(key);
    int semId = semget(systemKey, 1, IPC_CREAT | IPC_EXCL | 0666);
    const bool created = semId >= 0;
    if (!created) semId = semget(systemKey, 1, IPC_EXCL);
    if (semId < 0) return -1;
    if (oswSysvSetValue(semId, 1) == 0) return semId;
    if (created) oswSysvRemove(semId);
    return -1;
}

ZatStatus zatOSWSysCreateMemPart(ZatPartition* partition, void* base, uint32_t lengthBytes) {
    const OswKeepErrno keepErrno;
    if (zatOSWInit() != ZAT_OK || partition == nullptr || base == nullptr) return ZAT_FAILED;
    const uint32_t pad = -oswWord(base) & (memUnit - 1);
    if (lengthBytes <= pad + smallestLength) return ZAT_FAILED;
    const uint32_t usable = (lengthBytes - pad - 17) & ~(memUnit - 1);
    const int semId = createSemaphore();
    if (semId < 0) return ZAT_FAILED;
    auto* part = oswRecord<MemPartHead>(oswWord(base) + pad);
    *part = {.end = usable + memFirstBlock,
             .semId = semId,
             .curBytes = 0,
             .peakBytes = 0,
             .curBlocks = 0,
             .peakBlocks = 0};
    const uint32_t firstSize = usable - sizeof(MemBlockTag);
    *memTagAt(part, memFirstBlock) = {0, firstSize};
    *memTagAt(part, memFirstBlock + firstSize) = {firstSize, 0};
    *partition = oswWord(part);
    return ZAT_OK;
}

ZatStatus zatOSWDeleteMemPart(ZatPartition partition) {
    if (partition == 0) return ZAT_FAILED;
    const OswKeepErrno keepErrno;
    return static_cast<ZatStatus>(oswSysvRemove(oswRecord<MemPartHead>(partition)->semId));
}

ZatStatus zatOSWSysFindMaxFreeMemPart(ZatPartition partition, uint32_t* sizeBytes) {
    if (partition == 0) return ZAT_OSW_PART_BAD_ADDRESS;
    if (sizeBytes == nullptr) return ZAT_FAILED;
    auto* part = oswRecord<MemPartHead>(partition);
    OswPartitionLock lock;
    if (lock.take(part) != ZAT_OK) return ZAT_OK;
    uint32_t largest = sizeof(MemBlockTag);
    for (uint32_t at = memFirstBlock; at < part->end;) {
        const MemBlockTag* tag = memTagAt(part, at);
        const uint32_t size = memBlockSize(tag);
        if (size < memUnit || size > part->end - at) break;
        if (!memIsAllocated(tag)) largest = std::max(largest, size);
        at += size;
    }
    *sizeBytes = largest - static_cast<uint32_t>(sizeof(MemBlockTag));
    return ZAT_OK;
}

ZatStatus zatOSWSysGetAllocSizeMemPart(ZatPartition partition, const void* block,
                                       uint32_t* sizeBytes) {
    if (partition == 0) return ZAT_OSW_PART_BAD_ADDRESS;
    if (sizeBytes == nullptr) return ZAT_FAILED;
    auto* part = oswRecord<MemPartHead>(partition);
    if (!oswPartContains(part, block)) return ZAT_OSW_PART_BAD_ADDRESS;
    OswPartitionLock lock;
    if (const ZatStatus error = lock.take(part); error != ZAT_OK) return error;
    const auto* tag = static_cast<const MemBlockTag*>(block) - 1;
    if (memIsAllocated(tag))
        *sizeBytes = memBlockSize(tag) - static_cast<uint32_t>(sizeof(MemBlockTag));
    return ZAT_OK;
}
