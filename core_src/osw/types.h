/**
 * @file
 * The words that all calls of the OS wrapper share: statuses, ids, handles and time-outs.
 */
#ifndef ZATOSW_OSW_TYPES_H
#define ZATOSW_OSW_TYPES_H

#include "../zatosw_export.h"

/** Outcome of a call; see status.h for its values and their texts. */
typedef uint32_t ZatStatus;

/** A task: the thread id (pthread_t) of its thread. */
typedef uint32_t ZatTaskId;

/** Handle of an object: the address of its record, owned by the library from create to delete. */
typedef uint32_t ZatHandle;

typedef ZatHandle ZatMutexSem; /**< A mutex semaphore; see mutex_sem.h. */
typedef ZatHandle ZatEventSem; /**< An event semaphore; see event_sem.h. */
typedef ZatHandle ZatCountSem; /**< A counting semaphore; see count_sem.h. */
typedef ZatHandle ZatMsgQueue; /**< A message queue; see msg_queue.h. */
typedef ZatHandle ZatTimer;    /**< A callback timer; see timer.h. */
typedef ZatHandle ZatTaskPool; /**< A task pool; see task_pool.h. */
typedef ZatHandle
    ZatPartition; /**< A memory partition: the address of its header; see mem_part.h. */

/** An object that processes share by name, or a process-local one that was created without a name;
 *  good in the process that created it. See ipc/. */
typedef ZatHandle ZatIpcHandle;

/** A time-out in milliseconds: 0 does not wait, ZAT_FOREVER waits without limit. */
typedef uint32_t ZatTimeoutMs;

/** Waits without limit. */
#define ZAT_FOREVER 0xFFFFFFFFu

/** Lets a created task inherit its creator's scheduling policy and priority. */
#define ZAT_INHERIT_PRIORITY (-1)

/** Characters of a task's name. */
#define ZAT_TASK_NAME_SIZE 16u
/** Bytes that receive a task's name: one more, for the NUL. */
#define ZAT_TASK_NAME_BUFFER_SIZE (ZAT_TASK_NAME_SIZE + 1u)

/** Entry function of a task; what it returns becomes the exit value of the task's thread. */
typedef uint32_t (*ZatTaskEntry)(uint32_t a1, uint32_t a2, uint32_t a3, uint32_t a4, uint32_t a5,
                                 uint32_t a6, uint32_t a7, uint32_t a8, uint32_t a9, uint32_t a10);

#endif
