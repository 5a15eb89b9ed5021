/*
 * The Org front end: partition 0 is the process heap with the checked header; and the wrappers over
 * it that look like malloc.
 */

#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>

#include "osw/handle_private.h"
#include "osw/mem_fault_private.h"
#include "osw/mem_header_private.h"
#include "osw/mem_part.h"
#include "osw/mem_part_private.h"

static ZatStatus allocateHeap(void** out, uint32_t size, uint32_t caller) {
    *out = nullptr;
    void* memory = malloc(oswSizeWithHeader(size));
    if (memory == nullptr) return ZAT_FAILED;
    *out = oswHeaderOpen(memory, size, caller);
    return ZAT_OK;
}

/* Both are inlined into their few callers: an explicit partition's lock is a system call, and after
 * one every return costs more than it looks. */
__attribute__((always_inline)) static inline ZatStatus orgAlloc(ZatPartition partition, void** out,
                                                                uint32_t size, uint32_t caller) {
    if (out == nullptr) return ZAT_FAILED;
    const ZatStatus status = partition == 0 ? allocateHeap(out, size, caller)
                                            : oswPartAllocate(oswRecord<MemPartHead>(partition),
                                                              MemSide::Low, size, out);
    if (status != ZAT_OK && status != ZAT_OSW_PART_EXHAUSTED)
        oswAllocFault(OSW_ORG_ALLOC, OswCrash::BeforeMessage, __LINE__);
    return status;
}

static ZatStatus freeHeap(void* block, uint32_t caller) {
    MemDbgHead* header = oswHeaderCheck(block);
    if (header == nullptr) {
        oswHeaderFault(OSW_ORG_FREE, block, caller, __LINE__);
        return ZAT_OK;
    }
    const uint32_t size = oswHeaderClose(header, caller);
    free(header);
    oswCountFreed(size);
    return ZAT_OK;
}

__attribute__((always_inline)) static inline ZatStatus orgFree(ZatPartition partition, void* block,
                                                               uint32_t caller) {
    if (block == nullptr) return ZAT_OK;
    if (partition == 0) return freeHeap(block, caller);
    const ZatStatus status = oswPartFree(oswRecord<MemPartHead>(partition), block);
    if (status != ZAT_OK) oswFreeFault(OSW_ORG_FREE, partition, block, status, __LINE__);
    return status;
}

ZatStatus oswReallocate(const OswMemFamily& family, ZatPartition partition, void** out, void* old,
                        uint32_t size, uint32_t caller) {
    if (size == 0) return family.release(partition, old, caller);
    if (partition != 0) return ZAT_FAILED;
    const ZatStatus status = family.allocate(0, out, size, caller);
    if (status != ZAT_OK || old == nullptr) return status;
    memcpy(*out, old, std::min(oswHeaderOf(old)->size, size));
    return family.release(0, old, caller);
}

static constexpr OswMemFamily family = {orgAlloc, orgFree};

ZatStatus zatOSWOrgAllocMemPart(ZatPartition partition, void** out, uint32_t sizeBytes) {
    return orgAlloc(partition, out, sizeBytes, oswWord(__builtin_return_address(0)));
}

ZatStatus zatOSWOrgFreeMemPart(ZatPartition partition, void* block) {
    return orgFree(partition, block, oswWord(__builtin_return_address(0)));
}

ZatStatus zatOSWOrgReAllocMemPart(ZatPartition partition, void** out, void* old,
                                  uint32_t sizeBytes) {
    return oswReallocate(family, partition, out, old, sizeBytes,
                         oswWord(__builtin_return_address(0)));
}

void* zatOSWSubAllocMem(uint32_t sizeBytes) {
    void* block = nullptr;
    orgAlloc(0, &block, sizeBytes, oswWord(__builtin_return_address(0)));
    return block;
}

void* zatOSWSubCallocMem(uint32_t count, uint32_t elementSizeBytes) {
    const uint32_t size = oswArraySize(count, elementSizeBytes);
    void* block = nullptr;
    orgAlloc(0, &block, size, oswWord(__builtin_return_address(0)));
    if (block != nullptr) memset(block, 0, size);
    return block;
}

void* zatOSWSubReAllocMem(void* old, uint32_t sizeBytes) {
    void* block = nullptr;
    oswReallocate(family, 0, &block, old, sizeBytes, oswWord(__builtin_return_address(0)));
    return block;
}

void* zatOSWOrgMalloc(uint32_t sizeBytes) {
    return malloc(sizeBytes);
}

void zatOSWOrgFree(void* block) {
    free(block);
}

int zatOSWSubFprintf(FILE* stream, const char* format, ...) {
    static constexpr int longestResult = 1279;
    char text[320];
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    if (length < 0 || length > longestResult) return -1;
    fputs(text, stream);
    return static_cast<int>(strlen(text));
}
