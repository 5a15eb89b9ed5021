/**
 * @file
 * What an inter-process object's shared state is, for diagnosis tools.
 */
#ifndef ZATOSW_OSW_IPC_IPC_STATUS_H
#define ZATOSW_OSW_IPC_IPC_STATUS_H

#include <stddef.h>

#include "../status.h"

ZATOSW_BEGIN_DECLS

#define ZAT_IPC_TYPE_MUTEX 0u   /**< type for zatOSWIpcQueryStatus(): a mutex semaphore */
#define ZAT_IPC_TYPE_COUNT 1u   /**< a counting semaphore */
#define ZAT_IPC_TYPE_EVENT 2u   /**< an event semaphore */
#define ZAT_IPC_TYPE_QUEUE 3u   /**< a message queue */
#define ZAT_IPC_TYPE_TIMER 4u   /**< a timer */
#define ZAT_IPC_TYPE_SE_LOCK 5u /**< a shared/exclusive lock */

#define ZAT_IPC_TIMER_RUNNING 0u     /**< state of a timer: what was asked last is a start */
#define ZAT_IPC_TIMER_STOPPED 1u     /**< a stop */
#define ZAT_IPC_TIMER_WAS_RESET 2u   /**< a reset */
#define ZAT_IPC_TIMER_NOT_STARTED 3u /**< none that counts: no process serves it */

/** The state of an object; words that its type does not use are 0. */
typedef struct IpcStatus {
    uint32_t process;       /**< mutex, lock: exclusive owner; others: last taker or sender; timer:
                                 serving process */
    uint32_t thread;        /**< thread of that process; 0 for a timer */
    uint32_t otherProcess;  /**< last releaser, poster, receiver, controller or acquirer */
    uint32_t otherThread;   /**< thread of that process */
    uint32_t waiters;       /**< waiting threads; blocked senders; waiting exclusive requesters */
    uint32_t secondWaiters; /**< blocked receivers; waiting shared requesters */
    uint32_t state;         /**< mutex: recursion depth (0 = free); count; event: 1 = not signalled;
                                 messages in the queue; ZAT_IPC_TIMER_...; lock: minus the exclusive
                                 depth, or the number of shared holds (0 = free) */
    uint32_t maxMessages;   /**< queue only */
    uint32_t messageSize;   /**< queue only */
} IpcStatus;

ZATOSW_STATIC_ASSERT(sizeof(IpcStatus) == 36, "nine words");
ZATOSW_STATIC_ASSERT(offsetof(IpcStatus, waiters) == 16 && offsetof(IpcStatus, state) == 24,
                     "in this order");

/**
 * Reads the shared state of a named object.
 *
 * @param handle  handle of an object created with a name
 * @param type    its type, ZAT_IPC_TYPE_...
 * @param status  receives the state
 *
 * @return ZAT_OK                status is written
 * @return ZAT_FAILED            type is above 5, or status is null
 * @return ZAT_IPC_NO_OBJECT     no handle of that type; also of an object without a name
 * @return ZAT_IPC_SEMOP_FAILED  the lock of the type could not be taken
 *
 * Does not wait. May be called from any task.
 */
ZATOSW_API ZatStatus zatOSWIpcQueryStatus(ZatIpcHandle handle, uint32_t type, IpcStatus* status);

/** Bytes of all shared partitions of the machine; read without a lock. 0 while the layer is down.
 */
ZATOSW_API uint32_t get_curr(void);

/** The most that get_curr() has been; read without a lock. 0 while the layer is down. */
ZATOSW_API uint32_t get_max(void);

ZATOSW_END_DECLS

#endif
