/**
 * @file
 * Trace output: the call through which the library and its applications say something.
 *
 * A message has a type and a level. The low byte of the type names the channel, whose masks
 * (component.h) decide where the message goes:
 *
 * | Type                | Goes to                                                              |
 * |---------------------|----------------------------------------------------------------------|
 * | ZAT_GEN_PRINT       | standard error, by the print channel's masks                         |
 * | ZAT_GEN_TRACE       | standard error, by the trace channel's masks                         |
 * | ZAT_GEN_LOG         | region log 0 and the component's, by the log channel's masks         |
 * | ZAT_GEN_OWN_LOG     | the component's region log, whatever the masks                       |
 * | + ZAT_GEN_MONITOR   | also the print hook, or with ZAT_GEN_LOG the user log functions, by  |
 * |                     | the monitor masks of the channel                                     |
 * | + ZAT_GEN_FATAL     | the same; then the calling task ends                                 |
 *
 * Any other type goes nowhere. The level is 0 to 15. Whatever the masks, messages of level 0 also
 * go to the error log (region log 1), except those of type ZAT_GEN_PRINT, ZAT_GEN_LOG with or
 * without monitor, and ZAT_GEN_OWN_LOG; and where zatGENForwardTrcMsgToRgnLog() was called, print
 * and trace messages of levels 0 to 14 also go to region log 0 and that of the component. A print
 * or trace message with ZAT_GEN_PERFORMANCE in its level also goes to the performance log (region
 * log 2). A region log takes only the levels whose bits its own mask has set; the error log takes
 * all.
 *
 * The line on standard error is "OSW:text", with decorations between name and colon that the format
 * of the channel asks for; the one in a region log has those of the log format. The calls run in
 * the caller's task, allocate nothing, and leave errno alone. They take no lock but those of the
 * region logs that they write into, and wait for these. They may be made from any task, also before
 * the library is up, which they do not change.
 */
#ifndef ZATOSW_GEN_TRACE_OUTPUT_H
#define ZATOSW_GEN_TRACE_OUTPUT_H

#include "../../osw/status.h"

ZATOSW_BEGIN_DECLS

#define ZAT_GEN_PRINT 1u       /**< type: the print channel */
#define ZAT_GEN_TRACE 2u       /**< type: the trace channel */
#define ZAT_GEN_LOG 3u         /**< type: the log channel */
#define ZAT_GEN_OWN_LOG 7u     /**< type: the component's region log only */
#define ZAT_GEN_MONITOR 0x100u /**< added to a type: the channel's monitor, too */
#define ZAT_GEN_FATAL 0x200u   /**< added to a type: the task ends after the message */

#define ZAT_GEN_PERFORMANCE 0x100u /**< added to a level: the performance log, too */

#define ZAT_GEN_FORMAT_COMPONENT 1u /**< format: "(%d)", the component's id */
#define ZAT_GEN_FORMAT_LEVEL 2u     /**< format: "-%d", the level */
#define ZAT_GEN_FORMAT_KERNEL_ID 4u /**< format: ":(%d", the kernel's id of the thread, and ")" */
#define ZAT_GEN_FORMAT_THREAD 8u    /**< format: ":%lu", the thread id, in the same brackets */

/**
 * Emits a message where type, level and masks send it.
 *
 * A message that goes nowhere costs a look at the masks. Otherwise the text is formatted, cut to
 * 1279 characters, and given a newline at its end if it has none, in place of the last character
 * where there is no room. It is emitted in this order: standard error, in one piece; the
 * component's region log (ZAT_GEN_OWN_LOG); the print hook; the user log functions; region log 0;
 * the component's region log; region logs 1 and 2.
 *
 * A fatal message is emitted like any other, also nowhere, and then the calling task ends as by
 * zatOSWExitTask() with all ones: the call does not return, the task's stack is unwound.
 *
 * @param component  component id
 * @param type       ZAT_GEN_...
 * @param level      0 to 15, ZAT_GEN_PERFORMANCE perhaps
 * @param format     as for printf
 */
ZATOSW_API void zatGENTrcPrintf(uint32_t component, uint32_t type, uint32_t level,
                                const char* format, ...) __attribute__((format(printf, 4, 5)));

/**
 * Formats a text, cut to 1279 characters, and writes it as zatGENTrcPrintMessage() does.
 *
 * @return as zatGENTrcPrintMessage()
 */
ZATOSW_API int32_t zatGENTrcStdPrintf(uint32_t component, uint32_t type, uint32_t level,
                                      const char* format, ...)
    __attribute__((format(printf, 4, 5)));

/**
 * Writes a line to standard error, whatever the masks.
 *
 * @param component  component id: its name, that of OTHERS when it is not registered, goes before
 *                   the text
 * @param type       its low byte decides which format decorates the name: 1 that of the print
 *                   channel, 2 that of the trace channel, others none
 * @param level      bits 0 to 3; 15 is never decorated
 * @param text       what follows the colon, as it is
 *
 * @return the number of bytes written, below 0 when they could not be
 */
ZATOSW_API int32_t zatGENTrcPrintMessage(uint32_t component, uint32_t type, uint32_t level,
                                         const char* text);

/**
 * Writes a text, without a prefix and with the time, to the component's region log, whatever the
 * masks. Nothing happens when there is no such log, or it is stopped.
 *
 * @param component  component id, which is the log's id
 * @param type       ignored
 * @param level      ignored
 * @param text       the text
 */
ZATOSW_API void zatGENTrcRgnLogMessage(uint32_t component, uint32_t type, uint32_t level,
                                       const char* text);

/**
 * Calls the notify hook, if there is one, with (a, 3, 0, d) and four more words.
 *
 * @param a  first word of the notice
 * @param b  ignored: the hook gets 3
 * @param c  ignored: the hook gets 0
 * @param d  fourth word; further arguments are handed on word by word, four words at most, so pass
 *           integers and pointers only
 */
ZATOSW_API void zatGENTrcNotifyMessage(uint32_t a, uint32_t b, uint32_t c, uint32_t d, ...);

/** Calls the hook of zatGENSetDumpLogFunc(), if there is one, with the same seven words. */
ZATOSW_API void zatGENTransferData(uint32_t a1, uint32_t a2, uint32_t a3, uint32_t a4, uint32_t a5,
                                   uint32_t a6, uint32_t a7);

/** Sets what decorates the name in lines of the print channel: ZAT_GEN_FORMAT_... added up, 0 at
 *  first. ZAT_OK always. */
ZATOSW_API ZatStatus zatGENTrcSetPrnFormat(uint32_t format);
/** The format of the print channel. */
ZATOSW_API uint32_t zatGENTrcGetPrnFormat(void);

/** Sets the format of the trace channel; otherwise as zatGENTrcSetPrnFormat(). */
ZATOSW_API ZatStatus zatGENTrcSetTrcFormat(uint32_t format);
/** The format of the trace channel. */
ZATOSW_API uint32_t zatGENTrcGetTrcFormat(void);

/** Sets the format of region logs; otherwise as zatGENTrcSetPrnFormat(). */
ZATOSW_API ZatStatus zatGENTrcSetLogFormat(uint32_t format);
/** The format of region logs. */
ZATOSW_API uint32_t zatGENTrcGetLogFormat(void);

ZATOSW_END_DECLS

#endif
