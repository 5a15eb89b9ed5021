/**
 * @file
 * Programs as child processes, and what this process is called and was given.
 *
 * The calls may be made from any task.
 */
#ifndef ZATOSW_OSW_PROCESS_H
#define ZATOSW_OSW_PROCESS_H

#include "status.h"

ZATOSW_BEGIN_DECLS

#define ZAT_PROCESS_IN_TERMINAL 1u /**< flag: run in a terminal window, and wait for its end */
#define ZAT_PROCESS_NAME_BUFFER_SIZE 256u /**< bytes that receive a process's name */

/**
 * Starts a program, where FRAMEWORKROOT is set in the environment; where it is not, nothing is
 * started.
 *
 * The command line is split at blanks, but for those between double quotes, which stay in the
 * argument; two blanks in a row give an empty argument. The first one is the program's path, which
 * is not searched for. Signals that the library has blocked are let through again in the child.
 *
 * @param process    receives the process id, 0 with ZAT_PROCESS_IN_TERMINAL; may be null
 * @param command    command line
 * @param variables  what the child's environment has besides that of this process: NAME=value, each
 *                   NUL-terminated, up to an empty one; may be null
 * @param directory  the child's working directory; null = that of this process
 * @param flags      ZAT_PROCESS_IN_TERMINAL or 0
 *
 * @return ZAT_OK      started, or FRAMEWORKROOT is not set. A child that cannot change its
 * directory or whose program cannot be run ends with exit status 127.
 * @return ZAT_FAILED  command is null, there is no environment at all, or there can be no more
 *                     processes
 * @return a status of zatOSWOrgAllocMemPart()
 *
 * Waits with ZAT_PROCESS_IN_TERMINAL only. Somebody has to wait for the child, by
 * zatOSWWaitProcess().
 */
ZATOSW_API ZatStatus zatOSWCreateProcess(int32_t* process, const char* command,
                                         const char* variables, const char* directory,
                                         uint32_t flags);

/**
 * Waits for the end of a child.
 *
 * @param process  its process id
 * @param wait     0 = only ask
 * @param status   receives its exit status, 0 to 255; left as it is when a signal ended the child;
 * may be null
 *
 * @return ZAT_OK         the child has ended
 * @return ZAT_TIMED_OUT  wait is 0, and it runs
 * @return ZAT_FAILED     no such child
 *
 * Blocks unless wait is 0.
 */
ZATOSW_API ZatStatus zatOSWWaitProcess(int32_t process, uint32_t wait, int32_t* status);

/**
 * Tells what the program of this process is called: without directory, extension, and what follows
 * a blank.
 *
 * @param name  receives it; ZAT_PROCESS_NAME_BUFFER_SIZE bytes
 *
 * @return ZAT_OK      told
 * @return ZAT_FAILED  name is null, or the command line cannot be read
 */
ZATOSW_API ZatStatus zatOSWGetProcessName(char* name);

/**
 * Tells the arguments of this process, of the first 255 bytes of its command line: separated by
 * blanks, and in double quotes where they hold one.
 *
 * @param parameters  receives them
 * @param sizeBytes   after which length to stop, plus 1; not 0. The argument that reaches it is
 * still written whole, so the buffer needs room for one argument more than that: with sizeBytes +
 * 258 there always is.
 *
 * @return ZAT_OK      told
 * @return ZAT_FAILED  parameters is null, sizeBytes is 0, or the command line cannot be read
 */
ZATOSW_API ZatStatus zatOSWGetProcessParams(char* parameters, uint32_t sizeBytes);

/** Prints the environment by zatGENTrcPrintf(), type 0x102, under a component at a level. ZAT_OK
 *  always. */
ZATOSW_API ZatStatus zatOSWShowEnv(uint32_t component, uint32_t level);

ZATOSW_END_DECLS

#endif
