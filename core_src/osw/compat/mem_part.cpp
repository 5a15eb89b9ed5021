/* Kernel-style calls on partitions of memory. */

#include "osw/mem_part.h"

#include "osw/compat/compat.h"

ZatPartition memPartCreate(void* pool, uint32_t sizeBytes) {
    ZatPartition partition = 0;
    return zatOSWSysCreateMemPart(&partition, pool, sizeBytes) == ZAT_OK ? partition : 0;
}

void* memPartAlloc(ZatPartition partition, uint32_t sizeBytes) {
    void* block = nullptr;
    return zatOSWOrgAllocMemPart(partition, &block, sizeBytes) == ZAT_OK ? block : nullptr;
}
