/* What the life of a named timer has to do with that of its handle. */
#ifndef ZATOSW_OSW_IPC_TIMER_PRIVATE_H
#define ZATOSW_OSW_IPC_TIMER_PRIVATE_H

#include "osw/ipc/object_private.h"

/*
 * Ends the control task of a timer that this process serves through the handle, which has left its
 * list, and marks the timer as not started. Holds the global semaphore, so that the entry stays,
 * and not the lock of the type.
 */
void oswIpcStopServing(IpcHandle& handle);

#endif
