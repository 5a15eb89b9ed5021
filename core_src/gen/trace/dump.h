/**
 * @file
 * Dumps of memory: through the channels of messages, and into region logs.
 *
 * A line shows 16 bytes: their address ("%08lx| "), two hexadecimal digits a byte in pairs of
 * bytes, and the characters that they are, with points for what cannot be printed. In region logs
 * it has no address.
 *
 * The calls run in the caller's task and wait for no other unless a hook or a region log does.
 */
#ifndef ZATOSW_GEN_TRACE_DUMP_H
#define ZATOSW_GEN_TRACE_DUMP_H

#include "../../osw/status.h"

ZATOSW_BEGIN_DECLS

#define ZAT_GEN_LOG_DUMP \
    6u /**< type of a dump on the log channel; may be added to by ZAT_GEN_MONITOR */
#define ZAT_GEN_OWN_LOG_DUMP 8u /**< kind of a dump into the component's region log */

/**
 * Dumps memory on a channel: to standard error and to the print hook, as the masks let a message of
 * the same type and level through. With forwarding on, levels 0 to 14 are dumped into region log 0
 * and that of the component, too, in full, as their masks let the level through.
 *
 * @param component     component id
 * @param type          ZAT_GEN_PRINT or ZAT_GEN_TRACE, and ZAT_GEN_MONITOR
 * @param level         0 to 15
 * @param data          what to dump; of null a line says so
 * @param sizeBytes     its size; below 0 is 0
 * @param maxSizeBytes  how much of it to dump; 0 = the component's dumpsize. More than there is,
 * and less than 0, is all
 * @param noPaging      0 = after each zatGENDumpLine lines ask through the input hook whether to go
 *                      on, unless that is 0; else do not ask, and say so when not all was dumped
 *
 * @return ZAT_OK  always
 */
ZATOSW_API ZatStatus zatGENTraceDump(uint32_t component, uint32_t type, uint32_t level,
                                     const void* data, int32_t sizeBytes, int32_t maxSizeBytes,
                                     uint32_t noPaging);

/**
 * Dumps memory into a region log, a record a line, if there is that log; its mask is not asked.
 *
 * @param component     component id
 * @param kind          ZAT_GEN_LOG_DUMP = into region log 0, else into that of the component
 * @param level         ignored
 * @param data          what to dump; of null nothing is
 * @param sizeBytes     its size; below 0 is 0
 * @param maxSizeBytes  how much of it, as for zatGENTraceDump()
 * @param unused        ignored
 *
 * @return ZAT_OK  always
 */
ZATOSW_API ZatStatus zatGENLogDump(uint32_t component, uint32_t kind, uint32_t level,
                                   const void* data, int32_t sizeBytes, int32_t maxSizeBytes,
                                   uint32_t unused);

/**
 * Dumps memory on the log channel: into region log 0, if the log masks let the level through, and
 * with ZAT_GEN_MONITOR to the functions of zatGENAddUserLogDumpFunc(), if the monitor's do.
 *
 * @param component     component id
 * @param type          ZAT_GEN_LOG_DUMP, and ZAT_GEN_MONITOR; any other goes nowhere
 * @param level         0 to 15
 * @param data          what to dump
 * @param sizeBytes     its size
 * @param maxSizeBytes  how much of it, as for zatGENTraceDump()
 * @param flag          handed on to the functions
 *
 * @return ZAT_OK  always
 */
ZATOSW_API ZatStatus zatGENTrcLogDump(uint32_t component, uint32_t type, uint32_t level,
                                      const void* data, int32_t sizeBytes, int32_t maxSizeBytes,
                                      uint32_t flag);

ZATOSW_END_DECLS

#endif
