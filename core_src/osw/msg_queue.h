/**
 * @file
 * Message queues of one process: a ring of slots of one size.
 */
#ifndef ZATOSW_OSW_MSG_QUEUE_H
#define ZATOSW_OSW_MSG_QUEUE_H

#include "status.h"

ZATOSW_BEGIN_DECLS

/** Option of zatOSWCreateMsgQueue(): the queue grows instead of making a sender wait. */
#define ZAT_MSG_QUEUE_GROWABLE 0x10u

/**
 * Creates a message queue.
 *
 * A growable queue that is full grows by its initial capacity and reports
 * "<Warning>:MessageQueueGrown:..." to the trace.
 *
 * @param queue             receives the handle
 * @param capacity          messages that it holds; at most 2147483647, and not 0 if growable
 * @param messageSizeBytes  size of one slot, the longest message
 * @param options           ZAT_MSG_QUEUE_GROWABLE or 0; other bits have no meaning
 *
 * @return ZAT_OK      the queue exists
 * @return ZAT_FAILED  queue is null or capacity is out of range
 * @return a status of zatOSWInit(), zatOSWOrgAllocMemPart() or zatOSWCreateCountSem()
 * @return a POSIX error number of the thread library, unchanged
 *
 * May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWCreateMsgQueue(ZatMsgQueue* queue, uint32_t capacity,
                                          uint32_t messageSizeBytes, uint32_t options);

/**
 * Deletes a message queue with the messages in it. Tasks that wait to send or receive return
 * ZAT_FAILED.
 *
 * @param queue  handle from zatOSWCreateMsgQueue()
 *
 * @return ZAT_OK      the queue is gone; also when it was deleted before
 * @return ZAT_FAILED  queue is 0
 * @return a POSIX error number of the thread library, unchanged
 *
 * Does not wait. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWDeleteMsgQueue(ZatMsgQueue queue);

/**
 * Sends a message, waiting for a free slot at most a given time. A growable queue never waits.
 *
 * @param queue        handle from zatOSWCreateMsgQueue()
 * @param message      the message; may be null when lengthBytes is 0
 * @param lengthBytes  its length; the rest of the slot is zeroed
 * @param timeoutMs    milliseconds to wait; 0 = do not wait, ZAT_FOREVER = no limit
 * @param urgent       not 0: the message goes ahead of all others
 *
 * @return ZAT_OK         sent
 * @return ZAT_TIMED_OUT  no slot in time, or none free and timeoutMs is 0
 * @return ZAT_FAILED     unknown queue, or deleted meanwhile; longer than the message size; message
 *                        is null though lengthBytes is not 0
 * @return a status of zatOSWOrgAllocMemPart() when the queue cannot grow; nothing is sent
 * @return a POSIX error number of the thread library, unchanged
 *
 * Blocks; time-outs are those of zatOSWWaitCountSem(). May be called from any task; a task deleted
 * while it waits sends nothing.
 */
ZATOSW_API ZatStatus zatOSWSendMsgQueue(ZatMsgQueue queue, const void* message,
                                        uint32_t lengthBytes, ZatTimeoutMs timeoutMs,
                                        uint32_t urgent);

/**
 * Receives the next message, waiting for it at most a given time.
 *
 * @param queue        handle from zatOSWCreateMsgQueue()
 * @param buffer       receives the message
 * @param bufferBytes  its size. The smaller of it and the message size is copied: a longer message
 *                     is cut, a shorter one arrives padded with zeros, and the length that was sent
 *                     is not told
 * @param timeoutMs    milliseconds to wait; 0 = do not wait, ZAT_FOREVER = no limit
 *
 * @return ZAT_OK         buffer holds the message
 * @return ZAT_TIMED_OUT  no message in time, or none there and timeoutMs is 0
 * @return ZAT_FAILED     unknown queue, or deleted meanwhile; buffer is null though bufferBytes is
 *                        not 0
 * @return a POSIX error number of the thread library, unchanged
 *
 * Blocks; time-outs are those of zatOSWWaitCountSem(). May be called from any task; a task deleted
 * while it waits takes nothing.
 */
ZATOSW_API ZatStatus zatOSWReceiveMsgQueue(ZatMsgQueue queue, void* buffer, uint32_t bufferBytes,
                                           ZatTimeoutMs timeoutMs);

/**
 * Tells how many messages a queue holds.
 *
 * @param queue     handle from zatOSWCreateMsgQueue()
 * @param messages  receives the number; written on success only
 *
 * @return ZAT_OK      messages is written
 * @return ZAT_FAILED  unknown queue, or messages is null
 * @return a POSIX error number of the thread library, unchanged
 *
 * Does not wait. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWQueryMsgQueue(ZatMsgQueue queue, uint32_t* messages);

ZATOSW_END_DECLS

#endif
