/**
 * @file
 * The trace comes up with the library, reads its settings from the environment, and goes down.
 */
#ifndef ZATOSW_GEN_TRACE_SETTINGS_H
#define ZATOSW_GEN_TRACE_SETTINGS_H

#include "../../osw/status.h"

ZATOSW_BEGIN_DECLS

/**
 * Brings the trace up, once per process, and the rest of the library with it. zatOSWInit() does
 * this, so that programs need not.
 *
 * Reads from the environment:
 *
 * - GEN_STDLOG_ENV, GEN_ERRLOG_ENV, GEN_PERFLOG_ENV, GEN_MCLOG_ENV and GEN_MCDUMP_ENV: region logs
 * 0 (standard), 1 (error), 2 (performance), 3 (maintenance log) and 4 (maintenance dump), each as
 *   "lines,width,name". All three are needed. Logs 0 to 2 get at least 400 lines of 120 characters.
 *   A value is cut to 127 characters, a name to 15. Logs 3 and 4 take binary records: give a width
 *   below 0 ("20000,-1,MC"), lines is then the number of bytes of the ring.
 * - GEN_LOG_ENV: when it is set, messages are forwarded into region logs; see
 *   zatGENForwardTrcMsgToRgnLog().
 * - GEN_USRLOG_ENV: see zatGENAddTraceId().
 *
 * @return ZAT_OK  the trace is up, by this call or an earlier one, also after zatGENTrcTerm()
 * @return a status of zatOSWInit()
 *
 * Waits while another task initialises the library or holds the task lock. May be called from any
 * task.
 */
ZATOSW_API ZatStatus zatGENTrcInit(void);

/**
 * Takes the trace down, and the library with it by zatOSWTerm().
 *
 * Ends the region logs, takes all components but the built-in SYSTEM and OTHERS off the registry,
 * and all user functions but the first of each list off their lists. The trace stays initialised:
 * zatGENTrcInit() does nothing any more, while components and functions can be added again.
 *
 * @return ZAT_OK  always
 *
 * No other task may trace, register or add meanwhile, and no hook or user function may call this.
 */
ZATOSW_API ZatStatus zatGENTrcTerm(void);

/**
 * Applies the keywords of GEN_TRACESET_ENV, which are separated by '/'. A keyword counts by its
 * beginning ("TRCFULLX" is TRCFULL), and its case matters; what is no keyword is skipped.
 *
 * | Keyword                    | What it does                               |
 * |----------------------------|--------------------------------------------|
 * | TRCCLEAN, TRCFULL          | zatGENTrcClean(), zatGENTrcFull()          |
 * | MONTRCCLEAN, MONTRCFULL    | zatGENMonTrcClean(), zatGENMonTrcFull()    |
 * | PRNENABLE, PRNDISABLE      | mask of SYSTEM's print channel all 1, 0    |
 * | TRCENABLE, TRCDISABLE      | the same for the trace channel             |
 * | LOGENABLE, LOGDISABLE      | the same for the log channel               |
 * | MON and one of these six   | the same for the channel's monitor         |
 *
 * PRNCLEAN, PRNFULL, LOGCLEAN, LOGFULL, MONPRNCLEAN, MONPRNFULL, MONLOGCLEAN and MONLOGFULL are
 * keywords that do nothing.
 *
 * @return ZAT_OK  always, also when the variable is not set
 *
 * Takes no lock. May be called from any task, as often as wanted.
 */
ZATOSW_API ZatStatus zatGENChangeTraceSetting(void);

ZATOSW_END_DECLS

#endif
