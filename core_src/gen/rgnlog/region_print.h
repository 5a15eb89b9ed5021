/**
 * @file
 * Region logs in print: their records as lines, and a list of the regions.
 *
 * Everything is printed by zatGENTrcPrintf() as type 0x102 under a component and at a level that
 * the caller gives. What is printed was copied before: no lock is held meanwhile, and what is
 * written into the region while it is printed is not among it.
 *
 * The calls wait while another task or process writes into a region, and for answers of the input
 * hook. May be called from any task.
 */
#ifndef ZATOSW_GEN_RGNLOG_REGION_PRINT_H
#define ZATOSW_GEN_RGNLOG_REGION_PRINT_H

#include "../../osw/status.h"

ZATOSW_BEGIN_DECLS

#define ZAT_GEN_ALL_LOGS (-1) /**< region id: every region */

/**
 * Prints the records of a region between two banners: text as it was written, after its time of
 * day; binary records as a line each, and dumps as lines of 16 bytes. Records that were cut too
 * short to be decoded are dumped. After every zatGENLogLine records the input hook is asked whether
 * to go on.
 *
 * @param id         region id, or ZAT_GEN_ALL_LOGS for one region after the other
 * @param direction  not 0 = oldest record first; 0 = newest first
 * @param component  component to print under
 * @param level      level to print at
 *
 * @return ZAT_OK                  printed, as far as the ring is whole
 * @return ZAT_GEN_NO_LOG          no such region: nothing is printed
 * @return ZAT_OSW_PART_EXHAUSTED  no memory for a copy: nothing is printed of the region
 * @return a status of zatGENGetRgnHeader()
 */
ZATOSW_API ZatStatus zatGENPrnRgnLog(int32_t id, int32_t direction, uint32_t component,
                                     uint32_t level);

/** Prints the records of a region under component 0x2000 at level 15; otherwise as
 *  zatGENPrnRgnLog(). */
ZATOSW_API ZatStatus zatGENPrintRgnLog(int32_t id, int32_t direction);

/**
 * Prints a table of the regions: id, name, mask, address, partition, bytes, limit of a record,
 * format (T or B) and run state. After every 15 regions the input hook is asked whether to go on.
 *
 * @param component  component to print under
 * @param level      level to print at
 */
ZATOSW_API void zatGENShowRgnLog(uint32_t component, uint32_t level);

ZATOSW_END_DECLS

#endif
