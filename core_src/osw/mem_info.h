/**
 * @file
 * What tasks use of memory and stacks, as figures and in print.
 */
#ifndef ZATOSW_OSW_MEM_INFO_H
#define ZATOSW_OSW_MEM_INFO_H

#include <stddef.h>

#include "status.h"
#include "task_registry.h"

ZATOSW_BEGIN_DECLS

/** The figures of one moment. A zatOSWTaskInfo for each of the tasks follows. */
typedef struct OswMemInfo {
    uint32_t memCurBytes;  /**< bytes in blocks of the default partitions, as they were asked for */
    uint32_t memPeakBytes; /**< the most that there were */
    uint32_t memCurBlocks; /**< those blocks */
    uint32_t memPeakBlocks;  /**< the most that there were */
    uint32_t taskEntries;    /**< number of tasks that follow */
    uint32_t taskPeak;       /**< the most tasks that there were */
    uint32_t stackTotal;     /**< bytes of all stacks */
    uint32_t stackTotalPeak; /**< the most that there were */
    uint32_t stackUsage;     /**< bytes of what was used of them, each rounded up to 4096 */
    uint32_t stackUsagePeak; /**< the most that there were */
} OswMemInfo;

ZATOSW_STATIC_ASSERT(offsetof(OswMemInfo, taskEntries) == 16 && sizeof(OswMemInfo) == 40,
                     "the tasks follow right behind");

/**
 * Measures all tasks, refreshes the totals, and gives the figures.
 *
 * @param info  receives the figures, to be given back to zatOSWDeleteMemInfo(); null = only measure
 *
 * @return ZAT_OK                  measured
 * @return ZAT_OSW_PART_EXHAUSTED  no memory for the figures: info is null, and nothing is measured
 * @return the error number of the registry's lock
 *
 * Holds the registry while it measures: tasks start and end meanwhile not.
 */
ZATOSW_API ZatStatus zatOSWCreateMemInfo(OswMemInfo** info);

/** Frees what zatOSWCreateMemInfo() gave; null is ignored. */
ZATOSW_API void zatOSWDeleteMemInfo(OswMemInfo* info);

/**
 * Prints the figures by zatGENTrcPrintf(): the totals, and a line for each task.
 *
 * @param component  component to print under
 * @param type       type to print as
 * @param level      level to print at
 *
 * Nothing is printed when there is no memory for the figures.
 */
ZATOSW_API void zatOSWShowMemInfo(uint32_t component, uint32_t type, uint32_t level);

/** Prints the figures of the default partitions on standard output. */
ZATOSW_API void zatOSWSysShowMem(void);

/** Prints a line for each task on standard output, measuring its stack. */
ZATOSW_API void zatOSWSysShowStack(void);

/**
 * Tells about the calling task's stack.
 *
 * @param local      address of a local variable of the caller
 * @param current    receives that address
 * @param lowest     receives the lowest address that may be used
 * @param highest    receives the end of the stack
 * @param sizeBytes  receives the stack's size less 1
 *
 * @return ZAT_OK      all are written
 * @return ZAT_FAILED  the thread library does not tell, or a null pointer
 */
ZATOSW_API ZatStatus zatOSWGetMemBlockMap(const void* local, uint32_t* current, uint32_t* lowest,
                                          uint32_t* highest, uint32_t* sizeBytes);

/**
 * Prints what a partition holds, as type 0x102: its size and use, and its blocks by size class,
 * tags included. Says so when the figures do not fit the blocks, or the blocks do not reach the
 * end.
 *
 * @param component  component to print under
 * @param level      level to print at
 * @param partition  partition id; 0 = the system partition
 * @param verbose    not 0: a line for each allocated block first
 *
 * @return ZAT_OK      printed
 * @return ZAT_FAILED  partition is 0, and there is no system partition
 * @return the error number of the partition's lock, or a status of zatOSWOrgAllocMemPart(): nothing
 *         is printed
 *
 * Waits while another task or process works on the partition; prints without its lock.
 */
ZATOSW_API ZatStatus zatOSWShowMemPartBlockInfo(uint32_t component, uint32_t level,
                                                ZatPartition partition, uint32_t verbose);

/** The same under component 0x2002 at level 15. */
ZATOSW_API ZatStatus zatOSWShowMemPartInfo(ZatPartition partition, uint32_t verbose);

ZATOSW_END_DECLS

#endif
