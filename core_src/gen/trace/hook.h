/**
 * @file
 * Where an application joins in the trace: hooks, one function each, and user functions, lists of
 * them.
 *
 * They run in the task that traces, one after the other, and get their arguments as the message's
 * caller gave them unless said otherwise. Hooks are plain words: setting one takes no lock, null
 * takes it away again, and a message under way sees the change or does not.
 */
#ifndef ZATOSW_GEN_TRACE_HOOK_H
#define ZATOSW_GEN_TRACE_HOOK_H

#include <stdio.h>

#include "../../osw/status.h"

ZATOSW_BEGIN_DECLS

/** Reads one line of an answer, like fgets(): called with a buffer, its size (16) and standard
 *  input; null when there is none. */
typedef char* (*ZatGenTypeFunc)(char* buffer, int size, FILE* stream);

/** Receives a message's text: component, low byte of its type, level, and the text, which ends in
 *  a newline. */
typedef void (*ZatGenPrintFunc)(uint32_t component, uint32_t type, uint32_t level,
                                const char* text);

/** Receives the seven words of zatGENTransferData(). */
typedef void (*ZatGenDumpLogFunc)(uint32_t a1, uint32_t a2, uint32_t a3, uint32_t a4, uint32_t a5,
                                  uint32_t a6, uint32_t a7);

/** Receives what zatGENTrcNotifyMessage() was called with: its first word, 3, 0, its fourth word,
 *  and the four words behind it. */
typedef void (*ZatGenNotifyFunc)(uint32_t a, uint32_t b, uint32_t c, uint32_t d, ...);

/** Receives a dump: component, type without 0x100, level, the bytes and their number, the number
 *  that is to be shown, and the caller's flag. */
typedef void (*ZatGenUserLogDumpFunc)(uint32_t component, uint32_t type, uint32_t level,
                                      const void* data, uint32_t sizeBytes, uint32_t maxSizeBytes,
                                      uint32_t flag);

/** The input hook of paged listings; null at first. */
extern ZATOSW_API ZatGenTypeFunc zatGENMonTypeFunc;

/** The notify hook; null at first. */
extern ZATOSW_API ZatGenNotifyFunc zatGENCtlNotifyFunc;

/** Lines of a page of log listings; 0 at first. */
extern ZATOSW_API uint32_t zatGENLogLine;

/** Lines of a page of dumps; 5 at first. */
extern ZATOSW_API uint32_t zatGENDumpLine;

/** Whether print and trace messages are also written into region logs; 0 at first. */
extern ZATOSW_API uint32_t zatGENFwdToRgn;

/** Sets the input hook of paged listings. ZAT_OK always. */
ZATOSW_API ZatStatus zatGENSetTypeFunc(ZatGenTypeFunc hook);
/** The input hook, null when there is none. */
ZATOSW_API ZatGenTypeFunc zatGENGetTypeFunc(void);

/** Sets the print hook, which gets what the monitor masks let through. ZAT_OK always. */
ZATOSW_API ZatStatus zatGENSetPrintFunc(ZatGenPrintFunc hook);
/** The print hook, null when there is none. */
ZATOSW_API ZatGenPrintFunc zatGENGetPrintFunc(void);

/** Sets the hook of zatGENTransferData(). ZAT_OK always. */
ZATOSW_API ZatStatus zatGENSetDumpLogFunc(ZatGenDumpLogFunc hook);
/** The hook of zatGENTransferData(), null when there is none. */
ZATOSW_API ZatGenDumpLogFunc zatGENGetDumpLogFunc(void);

/** Sets the hook of zatGENTrcNotifyMessage(). ZAT_OK always. */
ZATOSW_API ZatStatus zatGENSetNotifyFunc(ZatGenNotifyFunc hook);
/** The hook of zatGENTrcNotifyMessage(), null when there is none. */
ZATOSW_API ZatGenNotifyFunc zatGENGetNotifyFunc(void);

/**
 * Adds a function that gets each log message (type 0x103) that the monitor masks of the log channel
 * let through, after those added before.
 *
 * @param function  the function; there is no call that takes it away again but zatGENTrcTerm()
 *
 * @return ZAT_OK  added; also when the task lock could not be had, and it is not
 * @return a status of zatOSWOrgAllocMemPart()
 *
 * Blocks while another task holds the task lock. May be called from any task.
 */
ZATOSW_API ZatStatus zatGENAddUserLogPrintFunc(ZatGenPrintFunc function);

/** Adds a function that gets each dump that the monitor masks of the log channel let through;
 *  otherwise as zatGENAddUserLogPrintFunc(). */
ZATOSW_API ZatStatus zatGENAddUserLogDumpFunc(ZatGenUserLogDumpFunc function);

/** Sets the number of lines of a page of log listings; 0 = no pages. ZAT_OK always. */
ZATOSW_API ZatStatus zatGENSetLogLines(uint32_t lines);

/** Sets the number of lines of a page of dumps; 0 = no pages. ZAT_OK always. */
ZATOSW_API ZatStatus zatGENSetDumpLines(uint32_t lines);
/** The number of lines of a page of dumps. */
ZATOSW_API uint32_t zatGENGetDumpLines(void);

/** Has print and trace messages of levels 0 to 14 written into region logs, too, from now on:
 *  region log 0 and that of the component. ZAT_OK always. */
ZATOSW_API ZatStatus zatGENForwardTrcMsgToRgnLog(void);

/**
 * Tells whether messages are forwarded into region logs.
 *
 * @param forwarded  receives zatGENFwdToRgn
 *
 * @return ZAT_OK      told
 * @return ZAT_FAILED  forwarded is null
 */
ZATOSW_API ZatStatus zatGENTrcGetFwdToRgn(uint32_t* forwarded);

ZATOSW_END_DECLS

#endif
