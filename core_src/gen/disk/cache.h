/**
 * @file
 * The kernel's buffers for the removable disk: writing them out, and when the kernel does so by
 * itself.
 *
 * As for tasks, see drive.h. Two tasks that set the parameters at the same time may undo each
 * other's change.
 */
#ifndef ZATOSW_GEN_DISK_CACHE_H
#define ZATOSW_GEN_DISK_CACHE_H

#include <stddef.h>

#include "../../osw/status.h"

ZATOSW_BEGIN_DECLS

/** Four of the eight numbers in "/proc/sys/vm/bdflush". */
typedef struct GenCacheParam {
    uint32_t value1; /**< the first number of the file */
    uint32_t value2; /**< the second */
    uint32_t value7; /**< the seventh */
    uint32_t value8; /**< the eighth */
} GenCacheParam;

ZATOSW_STATIC_ASSERT(sizeof(GenCacheParam) == 16 && offsetof(GenCacheParam, value7) == 8,
                     "applications hold it");

/**
 * Has the kernel write a block device's buffers out and drop them.
 *
 * @param device  path of the device
 *
 * @return ZAT_OK                 done
 * @return ZAT_DISK_NO_DEVICE     the device cannot be opened for writing
 * @return ZAT_DISK_FLUSH_FAILED  the kernel refused: no block device, or no permission
 * @return ZAT_DISK_BAD_ARGUMENT  device is null
 */
ZATOSW_API ZatStatus zatGENFlushDiskCache(const char* device);

/**
 * Reads the kernel's parameters of flushing buffers.
 *
 * @param parameters  receives them; untouched on failure
 *
 * @return ZAT_OK                  read
 * @return ZAT_DISK_NO_CACHE_FILE  "/proc/sys/vm/bdflush" cannot be opened
 * @return ZAT_DISK_BAD_ARGUMENT   parameters is null, or the file does not hold eight numbers
 */
ZATOSW_API ZatStatus zatGENGetSysCacheParam(GenCacheParam* parameters);

/**
 * Changes the kernel's parameters of flushing buffers. The third to the sixth number are written
 * back as they were read.
 *
 * @param parameters  the new ones
 *
 * @return ZAT_OK                  the kernel took them
 * @return ZAT_DISK_NO_CACHE_FILE  "/proc/sys/vm/bdflush" cannot be opened for reading and writing
 * @return ZAT_DISK_BAD_ARGUMENT   parameters is null, the file does not hold eight numbers, or the
 *                                 kernel refused the new ones
 */
ZATOSW_API ZatStatus zatGENSetSysCacheParam(const GenCacheParam* parameters);

ZATOSW_END_DECLS

#endif
