/**
 * @file
 * Objects that processes share by name.
 */
#ifndef ZATOSW_OSW_IPC_IPC_H
#define ZATOSW_OSW_IPC_IPC_H

#include "count_sem.h"
#include "event_sem.h"
#include "ipc_init.h"
#include "ipc_status.h"
#include "key.h"
#include "mem_part.h"
#include "msg_queue.h"
#include "mutex_sem.h"
#include "se_lock.h"
#include "timer.h"

#endif
