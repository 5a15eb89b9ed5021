/**
 * @file
 * Shared-memory partitions: named heaps that several processes allocate from and free into.
 *
 * A block is named by its address, good in the process that computed it, by its offset from the
 * start of the partition's segment, good in every process, or by a number that it was given. Data
 * begin at multiples of 8; each block costs 16 bytes besides its data.
 *
 * A partition id is good in the process that created it, for all of its tasks. Unless said
 * otherwise, a call on a partition waits only while another task or process is inside a call on any
 * partition, may be made from any task, and returns
 *
 * - ZAT_IPC_NO_OBJECT     an id that is not one of this process's partitions
 * - ZAT_IPC_SEMOP_FAILED  the lock of the partitions could not be taken
 * - ZAT_FAILED            a null out pointer
 *
 * Out arguments are written on success only. A process that is killed inside a call leaves the
 * partition usable; at worst a block stays allocated and the figures are wrong, which the reports
 * say. What a process that has ended had allocated stays allocated.
 */
#ifndef ZATOSW_OSW_IPC_MEM_PART_H
#define ZATOSW_OSW_IPC_MEM_PART_H

#include "../status.h"

ZATOSW_BEGIN_DECLS

/**
 * Creates a named partition, or opens the one that has the name, with its blocks as they are.
 *
 * All creates of a name in a process give the same id, and each needs a delete of its own.
 *
 * @param part       receives the partition id; written on success only
 * @param name       name, NUL-terminated, at most 31 characters; there is no process-local form
 * @param sizeBytes  size of the segment, at least 32; an odd size counts as one less. A new
 * partition has one free block, which serves a request of up to sizeBytes - 32 bytes.
 *
 * @return ZAT_OK                  the id is good. It is not written, and no object can be created
 *                                 any more while this process lives, when the lock of the
 *                                 partitions turns out to be gone at the end.
 * @return ZAT_FAILED              part is null
 * @return ZAT_IPC_BAD_PARAMETERS  name is null, sizeBytes is below 32, or the partition of that
 *                                 name has another size
 * @return ZAT_IPC_SHMGET_FAILED   the segment cannot be created, or a stale one has its key; also
 *                                 when the table of objects cannot be extended
 * @return ZAT_IPC_SHMAT_FAILED    the segment, or the table of objects, cannot be attached
 * @return ZAT_IPC_NO_MEMORY       no memory for the handle (but an exhausted heap is fatal, see
 *                                 ../mem_part.h)
 * @return ZAT_IPC_SEMOP_FAILED    the locks of the layer are gone: it was terminated
 * @return a status of zatOSWInit() or zatOSWIpcGetServerIpcKey()
 *
 * A failure leaves nothing behind. May be called from any task; waits for other creates and deletes
 * of the machine.
 */
ZATOSW_API ZatStatus zatOSWIpcCreateMemPart(ZatIpcHandle* part, const char* name,
                                            uint32_t sizeBytes);

/**
 * Takes one create of this process back. With its last one the segment is detached: the id and all
 * addresses in the partition are gone. With the last one of all processes the segment is removed.
 *
 * @return ZAT_OK  taken back; or a status of all calls
 */
ZATOSW_API ZatStatus zatOSWIpcDeleteMemPart(ZatIpcHandle part);

/**
 * Allocates a block: the lowest free one that is large enough. A failure is quiet.
 *
 * A block takes sizeBytes rounded up to 8, and 16 bytes; if fewer than 16 bytes would be left
 * behind it, these too.
 *
 * @param part       partition id
 * @param pointer    receives the block's address in this process
 * @param sizeBytes  size; not 0
 *
 * @return ZAT_OK                  pointer holds the block
 * @return ZAT_OSW_PART_BAD_SIZE   sizeBytes is 0
 * @return ZAT_OSW_PART_EXHAUSTED  no free block is large enough
 * @return a status of all calls
 */
ZATOSW_API ZatStatus zatOSWIpcAllocMemPart(ZatIpcHandle part, void** pointer, uint32_t sizeBytes);

/** Allocates a block and tells its offset, in bytes from the start of the segment, as well;
 *  otherwise as zatOSWIpcAllocMemPart(). */
ZATOSW_API ZatStatus zatOSWIpcAllocOffsetMemPart(ZatIpcHandle part, void** pointer,
                                                 uint32_t* offset, uint32_t sizeBytes);

/**
 * Frees a block, of whichever process. An address inside a block, at a multiple of 8, is taken for
 * a block's if what lies in front of it looks so.
 *
 * A failure is reported by a line on trace component 0x30 and the verbose report of
 * zatOSWIpcShowMemPartInfo(); it is not fatal.
 *
 * @param part     partition id
 * @param pointer  the block's address in this process
 *
 * @return ZAT_OK                      the block is free, and one with its free neighbours
 * @return ZAT_OSW_PART_BAD_ADDRESS    outside the partition; nothing is touched
 * @return ZAT_OSW_PART_NOT_ALLOCATED  no block's address, or the block is free already
 * @return ZAT_OSW_PART_BAD_BLOCK      its size cannot be: the block is marked free, but neither
 *                                     joined with its neighbours nor taken out of the figures
 * @return a status of all calls
 */
ZATOSW_API ZatStatus zatOSWIpcFreeMemPart(ZatIpcHandle part, void* pointer);

/** Frees the block whose data begin at an offset; otherwise as zatOSWIpcFreeMemPart(). */
ZATOSW_API ZatStatus zatOSWIpcFreeOffsetMemPart(ZatIpcHandle part, uint32_t offset);

/**
 * Turns an offset into an address in this process, whether it lies in the partition or not.
 *
 * @return ZAT_OK  pointer is written; or a status of all calls
 */
ZATOSW_API ZatStatus zatOSWIpcGetPointerMemPart(ZatIpcHandle part, uint32_t offset, void** pointer);

/**
 * Turns an address in this process into an offset, modulo 2^32, whether it lies in the partition or
 * not.
 *
 * @return ZAT_OK  offset is written; or a status of all calls
 */
ZATOSW_API ZatStatus zatOSWIpcGetOffsetMemPart(ZatIpcHandle part, const void* pointer,
                                               uint32_t* offset);

/**
 * Tells how many bytes of an allocated block its user may use: at least what was asked for.
 *
 * @return ZAT_OK                    sizeBytes is written
 * @return ZAT_OSW_PART_BAD_ADDRESS  pointer is outside the partition
 * @return ZAT_OSW_PART_BLOCK_FREE   pointer is no allocated block's
 * @return a status of all calls
 */
ZATOSW_API ZatStatus zatOSWIpcGetAllocSizeMemPart(ZatIpcHandle part, const void* pointer,
                                                  uint32_t* sizeBytes);

/**
 * Tells how many bytes the largest free block has for data; a request of that size, rounded down to
 * a multiple of 8, succeeds if nobody comes before. 0 when nothing is free.
 *
 * @return ZAT_OK  sizeBytes is written; or a status of all calls
 */
ZATOSW_API ZatStatus zatOSWIpcFindMaxFreeMemPart(ZatIpcHandle part, uint32_t* sizeBytes);

/**
 * Gives an allocated block a number by which all processes can find it, until it is freed.
 *
 * @param part     partition id
 * @param pointer  the block's address in this process
 * @param blockId  number that no allocated block has; not -1, which every block without a number
 * has
 *
 * @return ZAT_OK                        registered; an earlier number of the block is gone
 * @return ZAT_OSW_PART_BLOCK_ID_EXISTS  an allocated block, this one or another, has the number;
 *                                       found before the pointer is looked at
 * @return ZAT_OSW_PART_BAD_ADDRESS      pointer is outside the partition
 * @return ZAT_OSW_PART_BLOCK_FREE       pointer is no allocated block's
 * @return a status of all calls
 */
ZATOSW_API ZatStatus zatOSWIpcRegisterBlockIdMemPart(ZatIpcHandle part, const void* pointer,
                                                     int32_t blockId);

/**
 * Finds the allocated block that has a number; for -1, the lowest one without a number.
 *
 * @return ZAT_OK                    pointer holds the block's address in this process
 * @return ZAT_OSW_PART_NO_BLOCK_ID  no allocated block has the number
 * @return a status of all calls
 */
ZATOSW_API ZatStatus zatOSWIpcGetBlockByIdMemPart(ZatIpcHandle part, int32_t blockId,
                                                  void** pointer);

/**
 * Prints what a partition holds on trace component 0x30, level 15: its size, use, and blocks by
 * size class, tags included. Says so when the figures do not fit the blocks ("!! Memory block count
 * mismatch !!") and when the blocks do not reach the end ("!! Broken memory block chain !!").
 *
 * @param part     partition id
 * @param verbose  not 0: a line for each allocated block, too
 *
 * @return ZAT_OK  printed; on any other status nothing is
 * @return a status of all calls, or of zatOSWOrgAllocMemPart() for a copy of the blocks' figures
 *
 * Prints without a lock, from a copy.
 */
ZATOSW_API ZatStatus zatOSWIpcShowMemPartInfo(ZatIpcHandle part, uint32_t verbose);

/**
 * Prints a line for each partition of this process, under the sizes of all partitions of the
 * machine; or, when that is so, that the figures cannot be had, or that there is no partition.
 *
 * @param component  trace component to print on
 * @param selector   trace level to print at
 */
ZATOSW_API void zatOSWIpcShowMemPartList(uint32_t component, uint32_t selector);

/**
 * Prints the verbose report of zatOSWIpcShowMemPartInfo(), or " <shared memory partition not
 * found>" when that cannot be had.
 *
 * @param component  trace component to print on
 * @param selector   trace level to print at
 * @param name       name of a partition of this process
 */
ZATOSW_API void zatOSWIpcShowMemPartBlock(uint32_t component, uint32_t selector, const char* name);

ZATOSW_END_DECLS

#endif
