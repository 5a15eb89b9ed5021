/*
 * Kernel-style watchdogs: a callback timer whose word is the watchdog's handle, in which the
 * timer's task finds what to call. The handle is freed when that task has ended.
 */

#include <stddef.h>

#include "osw/compat/compat.h"
#include "osw/compat/wait_private.h"
#include "osw/handle_private.h"
#include "osw/init.h"
#include "osw/lock_private.h"
#include "osw/mem_part.h"
#include "osw/timer.h"

struct CompatWdHandle {
    ZatTimer timer;
    ZatKernelRoutine routine;
    uint32_t parameter;
};

static_assert(sizeof(CompatWdHandle) == 12 && offsetof(CompatWdHandle, parameter) == 8);

static constexpr uint32_t stackSize = 4096;

/* The timer's callback. A start may change the words while the timer's task reads them. */
static void expired(ZatTimer, uint32_t watchdog, uint32_t, uint32_t, uint32_t, uint32_t) {
    const auto* handle = oswRecord<const CompatWdHandle>(watchdog);
    const ZatKernelRoutine routine = __atomic_load_n(&handle->routine, __ATOMIC_RELAXED);
    routine(__atomic_load_n(&handle->parameter, __ATOMIC_RELAXED));
}

ZatKernelWatchdog wdCreate() {
    if (zatOSWInit() != ZAT_OK) return 0;
    void* memory = nullptr;
    if (zatOSWOrgAllocMemPart(0, &memory, sizeof(CompatWdHandle)) != ZAT_OK) return 0;
    auto* handle = static_cast<CompatWdHandle*>(memory);
    *handle = {};
    /* Without a timer the handle stays allocated, which callers' accounts of memory expect. */
    if (zatOSWCreateTimer(&handle->timer, stackSize) != ZAT_OK) return 0;
    return oswWord(handle);
}

/* A deletion of the caller waits: the timer's task would go on with a handle that nobody frees. */
ZatStatus wdDelete(ZatKernelWatchdog watchdog) {
    auto* handle = oswRecord<CompatWdHandle>(watchdog);
    if (handle == nullptr) return ZAT_FAILED;
    const OswUncancellable uncancellable;
    const ZatStatus status = zatOSWDeleteTimer(handle->timer);
    if (status == ZAT_OK) zatOSWOrgFreeMemPart(0, handle);
    return status;
}

ZatStatus wdStart(ZatKernelWatchdog watchdog, uint32_t delay, ZatKernelRoutine routine,
                  uint32_t parameter) {
    auto* handle = oswRecord<CompatWdHandle>(watchdog);
    if (handle == nullptr || routine == nullptr) return ZAT_FAILED;
    __atomic_store_n(&handle->routine, routine, __ATOMIC_RELAXED);
    __atomic_store_n(&handle->parameter, parameter, __ATOMIC_RELAXED);
    return zatOSWStartTimer(handle->timer, compatMilliseconds(delay), expired, watchdog);
}

ZatStatus wdCancel(ZatKernelWatchdog watchdog) {
    const auto* handle = oswRecord<const CompatWdHandle>(watchdog);
    return handle == nullptr ? ZatStatus{ZAT_FAILED} : zatOSWStopTimer(handle->timer);
}
