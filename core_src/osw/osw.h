/**
 * @file
 * The OS wrapper: every zatOSW call inside one process, and the statuses.
 */
#ifndef ZATOSW_OSW_OSW_H
#define ZATOSW_OSW_OSW_H

#include "clock.h"
#include "count_sem.h"
#include "event_sem.h"
#include "fixed_lock.h"
#include "init.h"
#include "library.h"
#include "mem_info.h"
#include "mem_part.h"
#include "msg_queue.h"
#include "mutex_sem.h"
#include "network.h"
#include "process.h"
#include "status.h"
#include "task.h"
#include "task_pool.h"
#include "task_priority.h"
#include "task_registry.h"
#include "task_var.h"
#include "timer.h"
#include "types.h"

#endif
