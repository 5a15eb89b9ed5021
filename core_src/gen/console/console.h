/**
 * @file
 * The console: a loop inside the process that reads command lines and runs them, to change trace
 * masks, look at tasks, memory and logs, and call what the application adds.
 *
 * Lines come through one queue: from the start-up option "--c", from standard input, which a task
 * of the library reads, and from zatGENSendControlMessage(). What the console says is traced under
 * the component that it was started with, at level 15: type 0x101 for its banners and the menus of
 * the application, 0x102 for everything else. Open those masks, or nothing is seen of it.
 *
 * The program's options that it knows, wherever they stand among its arguments:
 *
 *     --c "ps osw 1,ts * *"   commands to begin with, separated by commas
 *     --stdin, --no-stdin     whether standard input is read; the last one counts
 *
 * "?" lists the commands. At the end of standard input the console goes on with what other tasks
 * send.
 */
#ifndef ZATOSW_GEN_CONSOLE_CONSOLE_H
#define ZATOSW_GEN_CONSOLE_CONSOLE_H

#include "../../osw/status.h"

ZATOSW_BEGIN_DECLS

/** Longest command line with its NUL; longer lines of standard input become several. */
#define ZAT_GEN_COMMAND_LINE_SIZE 128u

/** Prints lines of a menu. Gets the console's buffer, to use as it likes, and its size, 128. What
 *  is not 0 ends the console if the menu is a user menu, or the listing if it is a control menu. */
typedef uint32_t (*ZatGenMenuFunc)(char* buffer, uint32_t sizeBytes);

/** Gets each line that is no command of the console, the empty ones too, stripped of blanks at both
 *  ends. It may change it, up to its NUL. */
typedef void (*ZatGenCommandFunc)(char* line);

/**
 * Makes what a console needs: its queue, filled with the commands of "--c", and, if standard input
 * is to be read, the task "inputStdin", which reads a line whenever one is wanted. From now on
 * paged listings of every task read their answers through the console.
 *
 * @param stdinDefault  not 0 = read standard input, unless the options say otherwise
 *
 * @return ZAT_OK  there is a console now, or there was one already
 * @return a status of zatOSWCreateMsgQueue(), zatOSWCreateEventSem() or zatOSWCreateJoinTask();
 *         nothing stays behind
 *
 * May be called from any task.
 */
ZATOSW_API ZatStatus zatGENInitTaskControl(uint32_t stdinDefault);

/**
 * Runs a console from beginning to end: zatGENInitTaskControl(), zatGENTaskControlLoop() without a
 * control menu, zatGENTermTaskControl().
 *
 * @return ZAT_OK  always; at once when there can be no console
 *
 * Blocks until the console ends. A task deleted meanwhile leaves what zatGENInitTaskControl() made.
 */
ZATOSW_API ZatStatus zatGENStartTaskControl(uint32_t stdinDefault, uint32_t component,
                                            const char* name, ZatGenMenuFunc userMenu,
                                            ZatGenCommandFunc command);

/**
 * Reads command lines and runs them, until EXIT, a user menu, or the end of input ends it; then all
 * registered menus and command functions are forgotten.
 *
 * @param stdinDefault  ignored: whether standard input is read was settled by
 *                      zatGENInitTaskControl()
 * @param component     component to trace under
 * @param name          name for the prompt; null = no prompt
 * @param userMenu      as for zatGENAddUserCommandMenu()
 * @param controlMenu   as for zatGENAddCtrlCommandMenu()
 * @param command       as for zatGENAddCommandProcess()
 *
 * @return ZAT_OK  always
 *
 * Blocks. The commands run in the calling task, one console at a time.
 */
ZATOSW_API ZatStatus zatGENTaskControlLoop(uint32_t stdinDefault, uint32_t component,
                                           const char* name, ZatGenMenuFunc userMenu,
                                           ZatGenMenuFunc controlMenu, ZatGenCommandFunc command);

/**
 * Takes the console away, if there is one: a loop that waits for a line ends, and lines in the
 * queue are dropped. The task that reads standard input ends with its next line, unless there is a
 * console again that wants it.
 *
 * @return ZAT_OK  always
 *
 * May be called from any task.
 */
ZATOSW_API ZatStatus zatGENTermTaskControl(void);

/**
 * Gives the console a command line.
 *
 * @param line         the line; need not end in a NUL
 * @param lengthBytes  its length, at most ZAT_GEN_COMMAND_LINE_SIZE
 *
 * @return ZAT_OK      queued
 * @return ZAT_FAILED  there is no console, the line is too long, or line is null
 * @return a status of zatOSWSendMsgQueue()
 *
 * Does not wait: the queue grows. May be called from any task.
 */
ZATOSW_API ZatStatus zatGENSendControlMessage(const char* line, uint32_t lengthBytes);

/**
 * Reads the next line of input: of the file that is played, or from the queue. Menus and command
 * functions may use it for questions of their own.
 *
 * @param buffer     receives the line without blanks at its ends, cut to the buffer; the bytes
 * behind it become 0
 * @param sizeBytes  its size; a line has at most ZAT_GEN_COMMAND_LINE_SIZE bytes with its NUL
 *
 * @return buffer; null when there is no console, it ended while the caller waited, the played file
 *         has no more lines, buffer is null or sizeBytes is 0
 *
 * Blocks without limit. May be called from any task; a line goes to one of those that wait.
 */
ZATOSW_API char* zatGENGetInput(char* buffer, uint32_t sizeBytes);

/**
 * Adds a menu that "?" calls after the console's own commands.
 *
 * @param menu  the function; null is ignored
 *
 * @return ZAT_OK  added
 * @return a status of zatOSWLockTask() or zatOSWOrgAllocMemPart(); it is not added
 *
 * Blocks while another task holds the task lock. May be called from any task.
 */
ZATOSW_API ZatStatus zatGENAddCtrlCommandMenu(ZatGenMenuFunc menu);
/** Adds a menu that is shown at the console's start and by "M"; otherwise as
 *  zatGENAddCtrlCommandMenu(). */
ZATOSW_API ZatStatus zatGENAddUserCommandMenu(ZatGenMenuFunc menu);
/** Adds a function that gets the lines that are no commands; otherwise as
 *  zatGENAddCtrlCommandMenu(). */
ZATOSW_API ZatStatus zatGENAddCommandProcess(ZatGenCommandFunc command);

/** Forgets a control menu, of several the one added first; one that is not there is ignored. ZAT_OK
 *  or a status of zatOSWLockTask(). A console may be inside it. */
ZATOSW_API ZatStatus zatGENRemoveCtrlCommandMenu(ZatGenMenuFunc menu);
/** Forgets a user menu; otherwise as zatGENRemoveCtrlCommandMenu(). */
ZATOSW_API ZatStatus zatGENRemoveUserCommandMenu(ZatGenMenuFunc menu);
/** Forgets a command function; otherwise as zatGENRemoveCtrlCommandMenu(). */
ZATOSW_API ZatStatus zatGENRemoveCommandProcess(ZatGenCommandFunc command);

ZATOSW_END_DECLS

#endif
