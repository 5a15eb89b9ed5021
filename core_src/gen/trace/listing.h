/**
 * @file
 * The component registry as a table, and region logs saved in files.
 */
#ifndef ZATOSW_GEN_TRACE_LISTING_H
#define ZATOSW_GEN_TRACE_LISTING_H

#include <stddef.h>

#include "../../osw/clock.h"
#include "../../osw/status.h"

ZATOSW_BEGIN_DECLS

/**
 * Traces, as type 0x102, two lines for each component: its masks and dump size, and those of the
 * monitor. After every 15 components the input hook is asked whether to go on.
 *
 * @param component  component to trace under
 * @param level      level to trace at
 *
 * Waits for answers of the input hook, which must be set for that.
 */
ZATOSW_API void zatGENShowComp(uint32_t component, uint32_t level);

/** The same under component 0x2000 at level 0, with a narrower header. */
ZATOSW_API void zatGENShowComponent(void);

#define ZAT_GEN_LOG_FILE_BIG_ENDIAN "BB"    /**< mark of a log file */
#define ZAT_GEN_LOG_FILE_LITTLE_ENDIAN "LL" /**< mark of a log file */
#define ZAT_GEN_LOG_FILE_VERSION 1u         /**< version of log files */

/** What a log file begins with; the numbers are in the byte order that the mark says. The records
 *  of the region follow as zatGENReadRgnLog() gives them. */
typedef struct ZatGenLogFileHead {
    char mark[2];         /**< ZAT_GEN_LOG_FILE_BIG_ENDIAN or _LITTLE_ENDIAN, without its NUL */
    uint16_t version;     /**< ZAT_GEN_LOG_FILE_VERSION */
    uint32_t areaSize;    /**< bytes of the region's ring: there are no more of records */
    uint32_t clockOffset; /**< offset of time, 12 */
    ZatClock time;        /**< when the file was written */
} ZatGenLogFileHead;

ZATOSW_STATIC_ASSERT(offsetof(ZatGenLogFileHead, time) == 12 && sizeof(ZatGenLogFileHead) == 20,
                     "other machines read it");

/**
 * Saves the records of a region, as they are at one moment, in a file, which `zatlog` prints. The
 * file is opened, and emptied, first.
 *
 * @param logId  region id
 * @param path   file to write, or to write anew
 *
 * @return 0   saved
 * @return -1  path is null, there is no such region, or it could not be locked, no memory for its
 *             records, or the file could not be written; what was written of it stays
 *
 * Waits while another task or process holds the region's lock, and for the file, without that lock.
 * What a region without a lock holds must not be changed meanwhile. May be called from any task,
 * which is not deleted before the call returns.
 */
ZATOSW_API int32_t zatGENTrcCreateLogFile(int32_t logId, const char* path);

ZATOSW_END_DECLS

#endif
