/* What the frames need of named queues: the transfer buffer, and time-outs by the handle's timer.
 */
#ifndef ZATOSW_OSW_IPC_MSG_QUEUE_PRIVATE_H
#define ZATOSW_OSW_IPC_MSG_QUEUE_PRIVATE_H

#include "osw/ipc/object_private.h"

/* A message as the kernel takes it: the bytes follow. */
struct IpcMessage {
    long type;
};

static_assert(sizeof(IpcMessage) == 4);

/* Gives a handle room for one message of its queue; false when there is no memory. */
bool oswIpcMakeTransfer(IpcHandle& handle);

/* Under the lock of the type: has a waiter's time run out after a while, or no longer. The statuses
 * are those of the handle's timer. */
ZatStatus oswIpcArmExpiry(IpcHandle& handle, IpcWaiter& waiter);
ZatStatus oswIpcDisarmExpiry(IpcHandle& handle, const IpcWaiter& waiter);

#endif
