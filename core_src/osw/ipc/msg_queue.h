/**
 * @file
 * Named bounded message queues between threads of several processes.
 *
 * A handle is good in the process that created it, for all of its tasks. The bytes of all messages
 * that a queue may hold must fit a System V message queue: the system's limit (usually 16384) can
 * be exceeded by privileged processes only, and a message is at most 8192 bytes on most systems.
 */
#ifndef ZATOSW_OSW_IPC_MSG_QUEUE_H
#define ZATOSW_OSW_IPC_MSG_QUEUE_H

#include "../status.h"

ZATOSW_BEGIN_DECLS

/**
 * Creates a named message queue, or opens the one that has the name.
 *
 * All creates of a name in a process give the same handle, and each needs a delete of its own.
 *
 * @param name              name, NUL-terminated, at most 31 characters; null makes a process-local
 *                          queue (zatOSWCreateMsgQueue()) that the calls below serve as well
 * @param handle            receives the handle; written on success only
 * @param maxMessages       how many messages it holds; not 0; all creates of a name must agree on
 * it
 * @param messageSizeBytes  longest message; not 0; all creates of a name must agree on it
 * @param options           for a process-local queue only
 *
 * @return ZAT_OK                      the handle is good
 * @return ZAT_IPC_BAD_PARAMETERS      a 0, or the existing queue was created with other values
 * @return ZAT_IPC_MSGGET_FAILED       the System V queue cannot be created
 * @return ZAT_IPC_QUEUE_LIMIT_FAILED  its limit cannot be raised to maxMessages x messageSizeBytes
 * @return another status of zatOSWIpcCreateMutexSem(); with a null name, of zatOSWCreateMsgQueue()
 *
 * A failure leaves nothing behind. May be called from any task; waits for other creates and deletes
 * of the machine.
 */
ZATOSW_API ZatStatus zatOSWIpcCreateMsgQueue(const char* name, ZatIpcHandle* handle,
                                             uint32_t maxMessages, uint32_t messageSizeBytes,
                                             uint32_t options);

/**
 * Sends a message, waiting for room at most a given time.
 *
 * @param handle       handle from zatOSWIpcCreateMsgQueue()
 * @param message      its bytes; may be null if lengthBytes is 0
 * @param lengthBytes  how many; cut to the queue's message size
 * @param timeoutMs    milliseconds to wait in all; 0 = do not wait, ZAT_FOREVER = no limit
 * @param priority     for a process-local queue only
 *
 * @return ZAT_OK                 sent
 * @return ZAT_TIMED_OUT          no room in time, or the queue was deleted by this process
 * meanwhile
 * @return ZAT_FAILED             message is null
 * @return ZAT_IPC_NO_OBJECT      unknown handle
 * @return ZAT_IPC_MSGSND_FAILED  the system refused the message
 * @return ZAT_IPC_SEM_REMOVED    the queue's semaphores were removed meanwhile; that can be seen by
 * a waiter whose handle was the last one on the queue
 * @return ZAT_IPC_SEMOP_FAILED   a semaphore call of the system failed; the message may be sent
 * @return a status of zatOSWCreateTimer() or zatOSWStartTimer(), which time-outs need; or of
 *         zatOSWSendMsgQueue() for a process-local queue
 *
 * Blocks; all signals but SIGUSR1 are held back meanwhile. May be called from any task; a task
 * deleted while it waits gives its place up.
 */
ZATOSW_API ZatStatus zatOSWIpcSendMsgQueue(ZatIpcHandle handle, const void* message,
                                           uint32_t lengthBytes, ZatTimeoutMs timeoutMs,
                                           uint32_t priority);

/**
 * Receives the oldest message, waiting for one at most a given time.
 *
 * @param handle       handle from zatOSWIpcCreateMsgQueue()
 * @param buffer       receives the bytes of the message; what lies behind them is left as it is
 * @param lengthBytes  size of the buffer
 * @param timeoutMs    milliseconds to wait in all; 0 = do not wait, ZAT_FOREVER = no limit
 *
 * @return ZAT_OK                 received
 * @return ZAT_TIMED_OUT          no message in time, or the queue was deleted by this process
 *                                meanwhile
 * @return ZAT_FAILED             buffer is null and lengthBytes is not 0
 * @return ZAT_IPC_MSGRCV_FAILED  the message is longer than the buffer, and stays in the queue; or
 *                                the system refused
 * @return another status of zatOSWIpcSendMsgQueue(); of zatOSWReceiveMsgQueue() for a process-local
 *         queue
 *
 * Blocks, as zatOSWIpcSendMsgQueue() does.
 */
ZATOSW_API ZatStatus zatOSWIpcReceiveMsgQueue(ZatIpcHandle handle, void* buffer,
                                              uint32_t lengthBytes, ZatTimeoutMs timeoutMs);

/**
 * Tells how many messages a queue holds.
 *
 * @param handle    handle from zatOSWIpcCreateMsgQueue()
 * @param messages  receives the number
 *
 * @return ZAT_OK                messages is written
 * @return ZAT_FAILED            messages is null
 * @return ZAT_IPC_NO_OBJECT     unknown handle
 * @return ZAT_IPC_SEMOP_FAILED  the lock of the type could not be taken
 * @return a status of zatOSWQueryMsgQueue() for a process-local queue
 *
 * Does not wait. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWIpcQueryMsgQueue(ZatIpcHandle handle, uint32_t* messages);

/**
 * Takes one create of this process back. With its last one the handle is gone, and tasks of this
 * process that wait return ZAT_TIMED_OUT or ZAT_IPC_SEM_REMOVED. With the last handle of all
 * processes the queue is removed with its messages.
 *
 * @param handle  handle from zatOSWIpcCreateMsgQueue()
 *
 * @return ZAT_OK                taken back
 * @return ZAT_IPC_NO_OBJECT     unknown handle
 * @return ZAT_IPC_NO_REFERENCE  the handle has no references left
 * @return ZAT_IPC_SEMOP_FAILED  the locks of the layer could not be taken
 * @return a status of zatOSWDeleteMsgQueue() for a process-local queue, which a refusal leaves
 * usable
 *
 * Waits for the task of the handle's time-outs. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWIpcDeleteMsgQueue(ZatIpcHandle handle);

ZATOSW_END_DECLS

#endif
