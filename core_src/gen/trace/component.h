/**
 * @file
 * Trace components: who a message is from, and which levels of it pass which channel.
 *
 * A message names a component and a level from 0 to 15. It passes a channel when the bit of its
 * level is set in the channel's mask of SYSTEM and also in that of its component; a component that
 * is not registered is governed by OTHERS. Masks are read and written without a lock: a message
 * under way sees a change or does not.
 *
 * SYSTEM and OTHERS are there from the start, and the library registers its own when it comes up:
 * 0x2000 "GEN", 0x2001 "CLB", 0x2002 "OSW", 0x2003 "TTR", 0x2004 "EVT", 0x2007 "TOL" and 0x0030
 * "IPC". All masks are 0 at first: nothing is printed until somebody sets them.
 */
#ifndef ZATOSW_GEN_TRACE_COMPONENT_H
#define ZATOSW_GEN_TRACE_COMPONENT_H

#include <stddef.h>

#include "../../osw/status.h"

ZATOSW_BEGIN_DECLS

#define ZAT_GEN_SYSTEM 0u /**< id of SYSTEM, the gate that every message passes first */
#define ZAT_GEN_OTHERS                                                         \
    0xFFFFFFFFu /**< id of OTHERS, which stands in for unregistered components \
                 */

#define ZAT_GEN_DUMP_SIZE 64u /**< bytes that a dump of a built-in component shows */

/** A component. Bit n of a mask lets messages of level n pass the channel. */
typedef struct zatGENTrcComp {
    uint32_t id;         /**< what messages name it by */
    uint16_t prnmask;    /**< print channel */
    uint16_t trcmask;    /**< trace channel */
    uint16_t logmask;    /**< log channel */
    uint16_t monprnmask; /**< monitor of the print channel: the print hook */
    uint16_t montrcmask; /**< monitor of the trace channel: the print hook */
    uint16_t monlogmask; /**< monitor of the log channel: the user log functions */
    uint32_t dumpsize;   /**< bytes that a dump shows */
    const char* name;    /**< found without regard to case */
} zatGENTrcComp;

ZATOSW_STATIC_ASSERT(offsetof(zatGENTrcComp, prnmask) == 4 &&
                         offsetof(zatGENTrcComp, trcmask) == 6 &&
                         offsetof(zatGENTrcComp, logmask) == 8 &&
                         offsetof(zatGENTrcComp, monprnmask) == 10 &&
                         offsetof(zatGENTrcComp, montrcmask) == 12 &&
                         offsetof(zatGENTrcComp, monlogmask) == 14 &&
                         offsetof(zatGENTrcComp, dumpsize) == 16 &&
                         offsetof(zatGENTrcComp, name) == 20 && sizeof(zatGENTrcComp) == 24,
                     "applications bring records of their own");

/**
 * Registers components; then makes the region logs that GEN_USRLOG_ENV asks for.
 *
 * A component whose id is registered already takes the place of the earlier record, SYSTEM and
 * OTHERS included. Registration is meant for start-up: it takes no lock, so no other task may
 * register meanwhile. Others may trace.
 *
 * GEN_USRLOG_ENV is a list of entries "component,lines,width,name" separated by '/'; what is
 * missing is 100 lines, 80 characters, and the component's name as typed with "_LOG" behind it.
 * An entry is cut to 127 characters. Unknown components are ignored, as are OTHERS and components
 * that have a log. Unless the variable is set, the call does not bring the library up.
 *
 * @param table  the records: kept, not copied, so they must live as long as the library
 * @param count  number of records
 *
 * @return ZAT_OK  always; when there is no memory, nothing of the table is registered
 *
 * Blocks, with GEN_USRLOG_ENV set, while another task holds the task lock.
 */
ZATOSW_API ZatStatus zatGENAddTraceId(zatGENTrcComp* table, uint32_t count);

/** The record of a component, that of OTHERS when it is not registered. Never null. */
ZATOSW_API zatGENTrcComp* zatGENGetTrcMask(uint32_t component);

/** The record of a component, null when it is not registered. */
ZATOSW_API zatGENTrcComp* zatGENGetTrcMaskById(uint32_t component);

/** The first record, by ascending signed id, with a name that equals the given one without regard
 *  to case (see zatCLBCompStrCase()); null when there is none or name is null. */
ZATOSW_API zatGENTrcComp* zatGENGetTrcMaskByName(const char* name);

/**
 * Counts the registered components.
 *
 * @param count  receives their number, SYSTEM and OTHERS included
 *
 * @return ZAT_OK      counted
 * @return ZAT_FAILED  count is null
 */
ZATOSW_API ZatStatus zatGENGetTrcCompNum(int32_t* count);

/**
 * Sets how many bytes a dump of a component shows.
 *
 * @param component  component id; the size of OTHERS changes when it is not registered
 * @param sizeBytes  bytes
 *
 * @return ZAT_OK  always
 */
ZATOSW_API ZatStatus zatGENSetDumpSize(uint32_t component, uint32_t sizeBytes);

ZATOSW_END_DECLS

#endif
