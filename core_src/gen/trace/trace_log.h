/**
 * @file
 * Region logs of components: made from tables, each with the id of the component whose messages it
 * takes.
 *
 * The calls bring the library up and block while another task holds the task lock.
 */
#ifndef ZATOSW_GEN_TRACE_TRACE_LOG_H
#define ZATOSW_GEN_TRACE_TRACE_LOG_H

#include <stddef.h>

#include "../../osw/status.h"

ZATOSW_BEGIN_DECLS

#define ZAT_GEN_NO_LOG_ID 0xFFFFFFFFu /**< id of an element that is a placeholder */

/** A region log to make; see zatGENAddTraceLog(). */
typedef struct zatGENTrcLogDef {
    uint32_t id;      /**< region log id = component id, or ZAT_GEN_NO_LOG_ID */
    uint32_t lines;   /**< records that it holds */
    uint32_t width;   /**< characters of a record */
    uint32_t opt1;    /**< 1 = a lock of its own */
    uint32_t opt2;    /**< 1 = in shared memory */
    uint16_t mask;    /**< bit n lets it take messages of level n */
    const char* name; /**< name of the log, copied */
} zatGENTrcLogDef;

ZATOSW_STATIC_ASSERT(offsetof(zatGENTrcLogDef, opt1) == 12 &&
                         offsetof(zatGENTrcLogDef, mask) == 20 &&
                         offsetof(zatGENTrcLogDef, name) == 24 && sizeof(zatGENTrcLogDef) == 28,
                     "applications bring tables of their own");

/** A region log to make; see zatGENAddTraceLogEx(). */
typedef struct zatGENTrcLogDefEx {
    uint32_t id;      /**< region log id = component id, or ZAT_GEN_NO_LOG_ID */
    uint32_t arg1;    /**< bytes of its ring */
    uint32_t arg2;    /**< bytes of a record at most; 0 = no limit */
    uint32_t arg3;    /**< 1 = a lock of its own */
    uint32_t arg4;    /**< 1 = in shared memory */
    uint32_t arg5;    /**< 0 = text, 1 = binary records */
    uint16_t mask;    /**< bit n lets it take messages of level n */
    const char* name; /**< name of the log, copied */
} zatGENTrcLogDefEx;

ZATOSW_STATIC_ASSERT(offsetof(zatGENTrcLogDefEx, arg5) == 20 &&
                         offsetof(zatGENTrcLogDefEx, mask) == 24 &&
                         offsetof(zatGENTrcLogDefEx, name) == 28 && sizeof(zatGENTrcLogDefEx) == 32,
                     "applications bring tables of their own");

/**
 * Makes and starts region logs. Logs that exist are not changed, placeholders are skipped, and a
 * log that cannot be made is left out.
 *
 * @param table  what to make; the names are copied
 * @param count  number of elements
 *
 * @return ZAT_OK  always, also when the task lock could not be had, and nothing is made
 */
ZATOSW_API ZatStatus zatGENAddTraceLog(const zatGENTrcLogDef* table, uint32_t count);

/** Makes and starts region logs, given in bytes instead of lines; otherwise as
 *  zatGENAddTraceLog(). */
ZATOSW_API ZatStatus zatGENAddTraceLogEx(const zatGENTrcLogDefEx* table, uint32_t count);

/** Makes the extra region logs if GEN_ERRLOG_ENV defined the error log. Their table holds nothing
 *  but a placeholder so far. ZAT_OK always. */
ZATOSW_API ZatStatus zatGENAddExtraTraceLog(void);

ZATOSW_END_DECLS

#endif
