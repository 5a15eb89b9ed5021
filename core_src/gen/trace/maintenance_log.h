/**
 * @file
 * Maintenance logs: small binary records of events and errors (region log 3) and of memory (region
 * log 4) for analysis later, or the same as text.
 *
 * File names are kept by their last 32 characters. A call hands its arguments also to the user
 * functions of its kind, in the order in which they were added, whether there is the region log or
 * not. The calls run in the caller's task and wait only while another task or process writes into
 * the region log or holds it by zatGENLockRgnLog().
 */
#ifndef ZATOSW_GEN_TRACE_MAINTENANCE_LOG_H
#define ZATOSW_GEN_TRACE_MAINTENANCE_LOG_H

#include "../../osw/status.h"

ZATOSW_BEGIN_DECLS

#define ZAT_GEN_MC_EVENT 0u /**< kind of a record: an event */
#define ZAT_GEN_MC_ERROR                                                                         \
    1u                     /**< kind of a record: an error; any other that is given is a warning \
                            */
#define ZAT_GEN_MC_DUMP 2u /**< kind of a record: a dump of memory */
#define ZAT_GEN_MC_WARNING 3u /**< kind of a record: a warning */

/** Receives an event; its status may become the call's. */
typedef ZatStatus (*ZatGenMcLogFunc)(uint32_t component, const char* file, int32_t line, int32_t a1,
                                     int32_t a2, int32_t a3, int32_t a4, int32_t a5, int32_t a6);

/** Receives an error or a warning. */
typedef ZatStatus (*ZatGenMcLogErrorFunc)(uint32_t component, const char* file, int32_t line,
                                          uint32_t value1, uint32_t value2);

/** Receives a dump as the caller gave it: data may be null, and sizeBytes, the smaller of the two
 * that the caller gave, below 0; nothing is dumped then. */
typedef ZatStatus (*ZatGenMcDumpFunc)(uint32_t component, const char* file, int32_t line,
                                      const void* data, int32_t sizeBytes, int32_t maxSizeBytes);

/**
 * Records an event.
 *
 * @param component  component id
 * @param file       name of the source file; null leaves the field empty
 * @param line       line in it
 * @param a1         first of six words about the event
 *
 * @return the status of the last user function; if there is none, of zatGENWriteRgnLogs(): ZAT_OK
 *         also without the region log
 */
ZATOSW_API ZatStatus zatGENTrcMcLog(uint32_t component, const char* file, int32_t line, int32_t a1,
                                    int32_t a2, int32_t a3, int32_t a4, int32_t a5, int32_t a6);

/**
 * Records an error or a warning; otherwise as zatGENTrcMcLog().
 *
 * @param kind    ZAT_GEN_MC_ERROR or ZAT_GEN_MC_WARNING. Anything else counts as a warning, too,
 * but is recorded as it is and shown as what it looks like. User functions do not learn it.
 * @param value1  first of two words about the error
 */
ZATOSW_API ZatStatus zatGENTrcMcLogError(uint32_t component, uint32_t kind, const char* file,
                                         int32_t line, uint32_t value1, uint32_t value2);

/**
 * Records memory; otherwise as zatGENTrcMcLog().
 *
 * @param data          what to record; null counts as nothing. It must be readable: it is copied
 *                      under the region's lock.
 * @param sizeBytes     its size
 * @param maxSizeBytes  how much of it at most
 *
 * @return the component, when the filter is on and does not name it: nothing is recorded then
 * @return a status as of zatGENTrcMcLog()
 */
ZATOSW_API ZatStatus zatGENTrcMcDump(uint32_t component, const char* file, int32_t line,
                                     const void* data, int32_t sizeBytes, int32_t maxSizeBytes);

/** Traces an event as text, type 0x102, level 1; otherwise as zatGENTrcMcLog(). ZAT_OK always. */
ZATOSW_API ZatStatus zatGENTrcMcLogToTrc(uint32_t component, const char* file, int32_t line,
                                         int32_t a1, int32_t a2, int32_t a3, int32_t a4, int32_t a5,
                                         int32_t a6);

/** Traces an error or a warning as text, type 0x102, level 0; otherwise as zatGENTrcMcLogError().
 *  ZAT_OK always. */
ZATOSW_API ZatStatus zatGENTrcMcLogErrorToTrc(uint32_t component, uint32_t kind, const char* file,
                                              int32_t line, uint32_t value1, uint32_t value2);

/** Traces memory as text by zatGENTraceDump(), type 0x102, level 1, whose status it returns;
 *  otherwise as zatGENTrcMcDump(), without the filter. */
ZATOSW_API ZatStatus zatGENTrcMcDumpToTrc(uint32_t component, const char* file, int32_t line,
                                          const void* data, int32_t sizeBytes,
                                          int32_t maxSizeBytes);

/**
 * Names a component to the filter of zatGENTrcMcDump().
 *
 * @param component  component id; 0 cannot be named, which changes nothing
 *
 * @return ZAT_OK  named, by this call or an earlier one; also when the task lock could not be had,
 *                 and it is not
 * @return a status of zatOSWOrgAllocMemPart()
 *
 * Blocks while another task holds the task lock.
 */
ZATOSW_API ZatStatus zatGENTrcMcDumpMaskSet(uint32_t component);

/** Takes a component off the filter; ZAT_OK always. */
ZATOSW_API ZatStatus zatGENTrcMcDumpMaskClr(uint32_t component);

/** Has zatGENTrcMcDump() record only the components named to the filter; ZAT_OK always. */
ZATOSW_API ZatStatus zatGENTrcMcDumpMaskEnable(void);

/** Has zatGENTrcMcDump() record all components, as at first; ZAT_OK always. */
ZATOSW_API ZatStatus zatGENTrcMcDumpMaskDisable(void);

/** Adds a function that gets each event; otherwise as zatGENAddUserLogPrintFunc(). */
ZATOSW_API ZatStatus zatGENAddUserMcLog(ZatGenMcLogFunc function);
/** Adds a function that gets each error and warning; otherwise as zatGENAddUserLogPrintFunc(). */
ZATOSW_API ZatStatus zatGENAddUserMcLogError(ZatGenMcLogErrorFunc function);
/** Adds a function that gets each dump; otherwise as zatGENAddUserLogPrintFunc(). */
ZATOSW_API ZatStatus zatGENAddUserMcDump(ZatGenMcDumpFunc function);

ZATOSW_END_DECLS

#endif
