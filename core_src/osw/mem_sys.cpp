/*
 * The Sys front end: explicit partitions as they are, and the library's own system partition, made
 * on first use, whose blocks carry the checked header.
 */

#include <stdlib.h>
#include <string.h>

#include <algorithm>

#include "osw/handle_private.h"
#include "osw/init.h"
#include "osw/ipc/key_private.h"
#include "osw/lock_private.h"
#include "osw/mem_fault_private.h"
#include "osw/mem_header_private.h"
#include "osw/mem_part.h"
#include "osw/mem_part_private.h"
#include "osw/task_registry_private.h"

ZatPartition sysPartId;

static constexpr uint32_t systemPartitionSize = 0x100000;

/* The system partition, made if it is not there yet; 0 when it cannot be made. */
static ZatPartition systemPartition() {
    if (zatOSWInit() != ZAT_OK) return 0;
    if (const ZatPartition made = __atomic_load_n(&sysPartId, __ATOMIC_ACQUIRE)) return made;
    /* Beforehand: under the registry lock the key code must not wait for the critical section. */
    if (oswIpcPrepareKeyDirectory() != ZAT_OK) return 0;
    OswLock lock(oswRegistryLock);
    if (sysPartId != 0) return sysPartId;
    void* memory = malloc(systemPartitionSize);
    if (memory == nullptr) return 0;
    ZatPartition made = 0;
    if (zatOSWSysCreateMemPart(&made, memory, systemPartitionSize) != ZAT_OK) {
        free(memory);
        return 0;
    }
    __atomic_store_n(&sysPartId, made, __ATOMIC_RELEASE);
    return made;
}

static ZatStatus allocateDefault(MemSide side, void** out, uint32_t size, uint32_t caller) {
    *out = nullptr;
    const ZatPartition partition = systemPartition();
    if (partition == 0) return ZAT_FAILED;
    void* memory = nullptr;
    const ZatStatus status =
        oswPartAllocate(oswRecord<MemPartHead>(partition), side, oswSizeWithHeader(size), &memory);
    if (status == ZAT_OK) *out = oswHeaderOpen(memory, size, caller);
    return status;
}

static ZatStatus allocate(MemSide side, ZatPartition partition, void** out, uint32_t size,
                          uint32_t caller) {
    return partition == 0 ? allocateDefault(side, out, size, caller)
                          : oswPartAllocate(oswRecord<MemPartHead>(partition), side, size, out);
}

static bool isFatal(ZatStatus status) {
    return status != ZAT_OK && status != ZAT_OSW_PART_EXHAUSTED;
}

static ZatStatus sysAlloc(ZatPartition partition, void** out, uint32_t size, uint32_t caller) {
    if (out == nullptr) return ZAT_FAILED;
    const ZatStatus status = allocate(MemSide::Low, partition, out, size, caller);
    if (isFatal(status)) oswAllocFault(OSW_SYS_ALLOC, OswCrash::BeforeMessage, __LINE__);
    return status;
}

static ZatStatus freeDefault(ZatPartition partition, void* block, uint32_t caller) {
    auto* part = oswRecord<MemPartHead>(partition);
    if (part == nullptr || block == nullptr) return ZAT_OSW_PART_BAD_ADDRESS;
    MemDbgHead* header = oswHeaderCheck(block);
    if (header == nullptr) {
        oswHeaderFault(OSW_SYS_FREE, block, caller, __LINE__);
        return ZAT_OK;
    }
    const uint32_t size = oswHeaderClose(header, caller);
    const ZatStatus status = oswPartFree(part, header);
    if (status == ZAT_OK) oswCountFreed(size);
    return status;
}

static ZatStatus sysFree(ZatPartition partition, void* block, uint32_t caller) {
    const ZatPartition system = __atomic_load_n(&sysPartId, __ATOMIC_ACQUIRE);
    const bool isDefault = partition == 0 || partition == system;
    const ZatStatus status = isDefault ? freeDefault(system, block, caller)
                                       : oswPartFree(oswRecord<MemPartHead>(partition), block);
    if (status != ZAT_OK) oswFreeFault(OSW_SYS_FREE, partition, block, status, __LINE__);
    return status;
}

ZatStatus zatOSWSysAllocMemPart(ZatPartition partition, void** out, uint32_t sizeBytes) {
    return sysAlloc(partition, out, sizeBytes, oswWord(__builtin_return_address(0)));
}

ZatStatus zatOSWSysAllocBottomMemPart(ZatPartition partition, void** out, uint32_t sizeBytes) {
    if (out == nullptr) return ZAT_FAILED;
    const ZatStatus status =
        allocate(MemSide::High, partition, out, sizeBytes, oswWord(__builtin_return_address(0)));
    if (isFatal(status)) oswAllocFault(OSW_SYS_ALLOC_BOTTOM, OswCrash::AfterMessage, __LINE__);
    return status;
}

static ZatStatus alignAlloc(const char* function, MemSide side, ZatPartition partition, void** out,
                            uint32_t alignment, uint32_t size) {
    if (out == nullptr) return ZAT_FAILED;
    const ZatStatus status =
        oswPartAllocateAligned(oswRecord<MemPartHead>(partition), side, alignment, size, out);
    if (isFatal(status)) oswAllocFault(function, OswCrash::AfterMessage, __LINE__);
    return status;
}

ZatStatus zatOSWSysAlignAllocMemPart(ZatPartition partition, void** out, uint32_t alignment,
                                     uint32_t sizeBytes) {
    return alignAlloc(OSW_SYS_ALIGN_ALLOC, MemSide::Low, partition, out, alignment, sizeBytes);
}

ZatStatus zatOSWSysAlignAllocBottomMemPart(ZatPartition partition, void** out, uint32_t alignment,
                                           uint32_t sizeBytes) {
    return alignAlloc(OSW_SYS_ALIGN_ALLOC_BOTTOM, MemSide::High, partition, out, alignment,
                      sizeBytes);
}

ZatStatus zatOSWSysFreeMemPart(ZatPartition partition, void* block) {
    return sysFree(partition, block, oswWord(__builtin_return_address(0)));
}

ZatStatus zatOSWSysReAllocMemPart(ZatPartition partition, void** out, void* old,
                                  uint32_t sizeBytes) {
    static constexpr OswMemFamily family = {sysAlloc, sysFree};
    return oswReallocate(family, partition, out, old, sizeBytes,
                         oswWord(__builtin_return_address(0)));
}
