/* Region logs that the environment asks for. */
#ifndef ZATOSW_GEN_TRACE_LOG_ENVIRONMENT_PRIVATE_H
#define ZATOSW_GEN_TRACE_LOG_ENVIRONMENT_PRIVATE_H

/* Whether the environment defined the error log, and with it the extra ones. */
extern bool genExtraLogs;

/* Makes the logs of GEN_STDLOG_ENV and its kin. */
void genMakeStandardLogs();

/* Makes the logs of GEN_USRLOG_ENV, for components that are registered. */
void genMakeUserLogs();

#endif
