/**
 * @file
 * Memory partitions: blocks out of a piece of memory that the caller supplies, or out of the
 * process heap.
 *
 * Two families share one set of rules. "Sys" calls default (partition 0) to the library's system
 * partition, 1 MiB that is made on first use; "Org" calls default to the process heap. Blocks from
 * a default carry a 24-byte checked header and are charged to the allocating task; blocks from an
 * explicit partition carry an 8-byte tag only. Both kinds are aligned to 8 bytes.
 *
 * Faults are fatal. Every allocation that fails otherwise than by exhaustion of a partition, and
 * every free that fails, writes a "<Fatal>:" message to the trace (component 0x2002, which is
 * silent until its masks are set) and stores to address 0, and so ends the process. In a process
 * that survives the store, because it has mapped that address, the calling task ends as by
 * zatOSWExitTask() with all ones. The calls say what is fatal; they do not return from it. A null
 * out pointer is no fault: the call answers ZAT_FAILED.
 *
 * All calls may be made from any task. An explicit partition is guarded by a System V semaphore of
 * its own: a call waits while another task or process works on the same partition, and the kernel
 * gives the semaphore back when its holder dies.
 */
#ifndef ZATOSW_OSW_MEM_PART_H
#define ZATOSW_OSW_MEM_PART_H

#include <stdio.h>

#include "status.h"

ZATOSW_BEGIN_DECLS

/** The library's system partition; 0 until the first Sys allocation with partition 0. */
extern ZATOSW_API ZatPartition sysPartId;

/**
 * Makes a partition of a piece of memory. The memory stays the caller's and must outlive it.
 *
 * The usable size U is (length - pad - 17) rounded down to a multiple of 8, pad being what rounds
 * base up to 8. The block area is laid out as if length - pad were a multiple of 8: for another
 * length it reaches up to 7 bytes past the end of the memory, so pass a multiple of 8.
 *
 * @param partition    receives the partition id, the address of its header
 * @param base         start of the memory; must not be null
 * @param lengthBytes  its size; more than pad + 40
 *
 * @return ZAT_OK      the partition holds one free block of U - 8 bytes, tag included
 * @return ZAT_FAILED  too small, a null argument, no semaphore or key file, or no initialisation
 */
ZATOSW_API ZatStatus zatOSWSysCreateMemPart(ZatPartition* partition, void* base,
                                            uint32_t lengthBytes);

/**
 * Removes a partition's semaphore; its memory is the caller's to release.
 *
 * @return ZAT_OK      the semaphore is removed
 * @return ZAT_FAILED  partition is 0, or the semaphore could not be removed
 */
ZATOSW_API ZatStatus zatOSWDeleteMemPart(ZatPartition partition);

/**
 * Allocates a block: the lowest free one that is large enough.
 *
 * @param partition  partition id; 0 = the system partition, whose blocks carry the checked header.
 *                   The system partition named by sysPartId gives blocks without the header, which
 *                   zatOSWSysFreeMemPart() cannot free.
 * @param out        receives the block, null on failure
 * @param sizeBytes  size; not 0 in an explicit partition
 *
 * @return ZAT_OK                  out holds the block
 * @return ZAT_OSW_PART_EXHAUSTED  no free block is large enough
 * @return ZAT_FAILED              out is null
 *
 * Fatal: size 0 in an explicit partition; the system partition cannot be made; the partition's
 * semaphore cannot be taken.
 */
ZATOSW_API ZatStatus zatOSWSysAllocMemPart(ZatPartition partition, void** out, uint32_t sizeBytes);

/** Allocates from the high end: the highest free block that is large enough; otherwise as
 *  zatOSWSysAllocMemPart(). */
ZATOSW_API ZatStatus zatOSWSysAllocBottomMemPart(ZatPartition partition, void** out,
                                                 uint32_t sizeBytes);

/**
 * Allocates an aligned block from an explicit partition, without a checked header.
 *
 * When the block ends the partition, the end marker keeps its distance to the block's old front:
 * until the block is freed, searches from the high end do not see the free piece behind it.
 *
 * @param partition  partition id; there is no default
 * @param out        receives the block, null on failure
 * @param alignment  power of two, in bytes
 * @param sizeBytes  size; not 0; rounded up to a multiple of the alignment
 *
 * @return ZAT_OK                  out holds the block
 * @return ZAT_OSW_PART_EXHAUSTED  no free block is large enough
 * @return ZAT_FAILED              out is null
 *
 * Fatal: an alignment that is 0 or no power of two; partition 0; size 0; the partition's semaphore
 * cannot be taken.
 */
ZATOSW_API ZatStatus zatOSWSysAlignAllocMemPart(ZatPartition partition, void** out,
                                                uint32_t alignment, uint32_t sizeBytes);

/** Allocates an aligned block from the high end; otherwise as zatOSWSysAlignAllocMemPart(). */
ZATOSW_API ZatStatus zatOSWSysAlignAllocBottomMemPart(ZatPartition partition, void** out,
                                                      uint32_t alignment, uint32_t sizeBytes);

/**
 * Frees a block of the Sys family.
 *
 * @param partition  the block's partition; 0 or sysPartId for a block with the checked header
 * @param block      the block; freeing one twice in an explicit partition is not noticed and
 *                   corrupts it
 *
 * @return ZAT_OK  the block is free; also when the partition's semaphore could not be taken
 *
 * Fatal: a block outside the partition; a damaged header, which is dumped.
 */
ZATOSW_API ZatStatus zatOSWSysFreeMemPart(ZatPartition partition, void* block);

/**
 * Moves a block of the system partition into one of another size.
 *
 * @param partition  0; another partition is served only with size 0
 * @param out        receives the new block; untouched when sizeBytes is 0
 * @param old        block of the system partition, or null
 * @param sizeBytes  new size; 0 frees the old block with the given partition
 *
 * @return ZAT_OK      out holds the block with the old content as far as it fits; old is freed
 * @return ZAT_FAILED  partition is not 0 and sizeBytes is not 0; nothing is done
 * @return another status of zatOSWSysAllocMemPart(), the old block then staying as it is, or of
 *         zatOSWSysFreeMemPart()
 */
ZATOSW_API ZatStatus zatOSWSysReAllocMemPart(ZatPartition partition, void** out, void* old,
                                             uint32_t sizeBytes);

/**
 * Finds the size that the largest free block of a partition can serve.
 *
 * @param partition  partition id
 * @param sizeBytes  receives the size in bytes, 0 when there is no free block
 *
 * @return ZAT_OK                    sizeBytes is written; or the partition's semaphore could not be
 *                                   taken, and it is not
 * @return ZAT_OSW_PART_BAD_ADDRESS  partition is 0
 * @return ZAT_FAILED                sizeBytes is null
 */
ZATOSW_API ZatStatus zatOSWSysFindMaxFreeMemPart(ZatPartition partition, uint32_t* sizeBytes);

/**
 * Gives the usable size of an allocated block of an explicit partition.
 *
 * @param partition  partition id
 * @param block      the block
 * @param sizeBytes  receives the size in bytes; untouched when the block is not allocated
 *
 * @return ZAT_OK                    the block was looked at
 * @return ZAT_OSW_PART_BAD_ADDRESS  partition is 0, or block lies outside it
 * @return ZAT_FAILED                sizeBytes is null
 * @return the error number of taking the partition's semaphore
 */
ZATOSW_API ZatStatus zatOSWSysGetAllocSizeMemPart(ZatPartition partition, const void* block,
                                                  uint32_t* sizeBytes);

/**
 * Allocates a block of the Org family.
 *
 * @param partition  partition id; 0 = the process heap, with the checked header
 * @param out        receives the block, null on failure
 * @param sizeBytes  size; not 0 in an explicit partition
 *
 * @return ZAT_OK                  out holds the block
 * @return ZAT_OSW_PART_EXHAUSTED  no free block is large enough
 * @return ZAT_FAILED              out is null
 *
 * Fatal: size 0 in an explicit partition; the process heap is exhausted; the partition's semaphore
 * cannot be taken.
 *
 * From partition 0 it waits only for the registry lock.
 */
ZATOSW_API ZatStatus zatOSWOrgAllocMemPart(ZatPartition partition, void** out, uint32_t sizeBytes);

/**
 * Frees a block of the Org family.
 *
 * @param partition  the block's partition; 0 = the process heap
 * @param block      the block; null is ignored
 *
 * @return ZAT_OK  the block is free; also when the partition's semaphore could not be taken
 *
 * Fatal: a block outside the partition; a damaged header, which is dumped.
 */
ZATOSW_API ZatStatus zatOSWOrgFreeMemPart(ZatPartition partition, void* block);

/** Moves a block of the process heap into one of another size; otherwise as
 *  zatOSWSysReAllocMemPart(), with the statuses of the Org family. */
ZATOSW_API ZatStatus zatOSWOrgReAllocMemPart(ZatPartition partition, void** out, void* old,
                                             uint32_t sizeBytes);

/** Allocates sizeBytes from the process heap with the checked header. An exhausted heap is
 *  fatal. Free it with zatOSWOrgFreeMemPart() and partition 0. */
ZATOSW_API void* zatOSWSubAllocMem(uint32_t sizeBytes);

/** Allocates count x elementSizeBytes zeroed bytes; otherwise as zatOSWSubAllocMem(). A product
 *  that does not fit 32 bits is an exhausted heap. */
ZATOSW_API void* zatOSWSubCallocMem(uint32_t count, uint32_t elementSizeBytes);

/** Moves a block of zatOSWSubAllocMem() into one of another size; null when sizeBytes is 0, which
 *  frees it. An exhausted heap is fatal. */
ZATOSW_API void* zatOSWSubReAllocMem(void* old, uint32_t sizeBytes);

/** malloc(): no header, charged to nobody, quietly null when the heap is exhausted. */
ZATOSW_API void* zatOSWOrgMalloc(uint32_t sizeBytes);

/** free(): for blocks of zatOSWOrgMalloc() only. */
ZATOSW_API void zatOSWOrgFree(void* block);

/**
 * Writes formatted text of moderate length to a stream.
 *
 * @param stream  stream to write to
 * @param format  as for printf
 *
 * @return the number of characters written: the text, cut to 319 characters
 * @return -1 when the whole text is longer than 1279 characters or cannot be formatted; nothing is
 *         written
 */
ZATOSW_API int zatOSWSubFprintf(FILE* stream, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

ZATOSW_END_DECLS

#endif
