/**
 * @file
 * Sockets: the host's address, a wait on several of them, a connect with a time-out.
 *
 * All calls may be made from any task; a task may be deleted while it waits in them.
 */
#ifndef ZATOSW_OSW_NETWORK_H
#define ZATOSW_OSW_NETWORK_H

#include <sys/socket.h>

#include "status.h"

ZATOSW_BEGIN_DECLS

/** The host's IPv4 address, as it lies in memory (network byte order): the first one of its
 * interfaces that is neither 0 nor 127.0.0.1; else that of the last interface; 0 when there is
 * none. */
ZATOSW_API uint32_t zatOSWGetHostId(void);

/**
 * Writes an IPv4 address with dots.
 *
 * @param address  address of the word, in network byte order
 * @param text     receives the text; 16 bytes
 *
 * @return ZAT_OK      written
 * @return ZAT_FAILED  a null pointer
 * @return a status of zatOSWUnlockTask()
 *
 * Waits while another task holds the task lock.
 */
ZATOSW_API ZatStatus inet_ntoa_r(const void* address, char* text);

/**
 * Waits until one of several sockets is ready. Those that are not are overwritten with -1.
 *
 * @param sockets     those to be read, then those to be written, then those with exceptions;
 * negative ones are never ready
 * @param reads       number of the first
 * @param writes      number of the second
 * @param exceptions  number of the third. They are ready when they can be written, and only where
 *                    there are some to be written: hand those over, too.
 * @param timeoutMs   milliseconds to wait; -1 = no limit
 *
 * @return the number of sockets that are ready; 0 when the time has run out; -1 on an error: there
 *         are no sockets, or one that select() cannot take, or select() fails
 *
 * Blocks.
 */
ZATOSW_API int32_t zatOSWOS2Select(int32_t* sockets, int32_t reads, int32_t writes,
                                   int32_t exceptions, int32_t timeoutMs);

/**
 * Connects a socket, waiting for that at most a given time.
 *
 * @param socket       the socket; blocking again afterwards
 * @param address      as for connect()
 * @param lengthBytes  its length
 * @param timeoutMs    milliseconds to wait, begun anew after each signal; -1 = as long as the
 * system does
 *
 * @return 0              connected
 * @return ZAT_TIMED_OUT  not in time
 * @return an error number of connect(), ioctl() or poll(), or that of the socket
 *
 * Blocks.
 */
ZATOSW_API ZatStatus zatOSWConnectWithTimeout(int32_t socket, const struct sockaddr* address,
                                              socklen_t lengthBytes, int32_t timeoutMs);

/** The same; a socket that is not connected is closed, and set to -1. ZAT_FAILED when socket is
 *  null. */
ZATOSW_API ZatStatus zatOSWConnectTimedWait(int32_t* socket, const struct sockaddr* address,
                                            socklen_t lengthBytes, int32_t timeoutMs);

ZATOSW_END_DECLS

#endif
