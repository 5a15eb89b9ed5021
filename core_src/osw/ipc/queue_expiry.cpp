/*
 * Time-outs of blocked senders and receivers: one process-local timer per handle, which runs for
 * the earliest deadline. Its task marks the waiters whose time has run out, and signals them.
 */

#include <pthread.h>
#include <signal.h>
#include <time.h>

#include <algorithm>

#include "clb/list_walk_private.h"
#include "osw/handle_private.h"
#include "osw/ipc/block_private.h"
#include "osw/ipc/msg_queue_private.h"
#include "osw/lock_private.h"

static constexpr int64_t noDeadline = INT64_MAX;
static constexpr uint32_t timerStackSize = 8192;

static constexpr int64_t nsPerMs = 1000000;

/* The longest time for which the timer is started at once. */
static constexpr int64_t farAwayMs = 10000000;

/* The clock that /proc/uptime shows, without opening a file under a lock. */
static int64_t uptimeNs() {
    return oswIpcClockNs(CLOCK_BOOTTIME);
}

static ZatStatus startTimer(ZatTimer timer, int64_t timeNs, uint32_t handle);

/* The earliest deadline of the waiters that have not been told that theirs has passed. */
static int64_t earliestDeadline(const IpcHandle& handle) {
    int64_t earliestNs = noDeadline;
    for (const IpcWaiter* waiter : zatWalk<IpcWaiter>(&handle.waiters))
        if (waiter->expired == 0) earliestNs = std::min(earliestNs, waiter->deadlineNs);
    return earliestNs;
}

static void expire(IpcHandle& handle, int64_t nowNs) {
    for (IpcWaiter* waiter : zatWalk<IpcWaiter>(&handle.waiters)) {
        if (waiter->expired != 0 || waiter->deadlineNs > nowNs) continue;
        waiter->expired = 1;
        pthread_kill(waiter->thread, SIGUSR1);
    }
}

static void onExpiry(ZatTimer timer, uint32_t handle, uint32_t, uint32_t, uint32_t, uint32_t) {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, nullptr);
    const OswUncancellable uncancellable;
    IpcLock lock;
    if (oswIpcLockType(lock, IPC_QUEUE) != ZAT_OK) return;
    IpcHandle* queue = oswIpcFind(IPC_QUEUE, handle);
    if (queue == nullptr) return;
    const int64_t nowNs = uptimeNs();
    expire(*queue, nowNs);
    const int64_t nextNs = earliestDeadline(*queue);
    if (nextNs != noDeadline) startTimer(timer, nextNs - nowNs, handle);
}

/* Rounded up: nobody's time is cut short. */
static ZatStatus startTimer(ZatTimer timer, int64_t timeNs, uint32_t handle) {
    const int64_t timeMs = (timeNs + nsPerMs - 1) / nsPerMs;
    return zatOSWStartTimer(timer, static_cast<uint32_t>(std::clamp<int64_t>(timeMs, 0, farAwayMs)),
                            onExpiry, handle);
}

/* Has the timer run for another deadline than before. */
static ZatStatus restartTimer(const IpcHandle& handle, int64_t timeNs) {
    const ZatStatus status = zatOSWStopTimer(handle.timer);
    return status == ZAT_OK ? startTimer(handle.timer, timeNs, oswWord(&handle)) : status;
}

ZatStatus oswIpcArmExpiry(IpcHandle& handle, IpcWaiter& waiter) {
    const OswUncancellable uncancellable;
    if (waiter.timeMs == ZAT_FOREVER) {
        waiter.deadlineNs = noDeadline;
        return ZAT_OK;
    }
    if (handle.timer == 0) {
        const ZatStatus status = zatOSWCreateTimer(&handle.timer, timerStackSize);
        if (status != ZAT_OK) return status;
    }
    const int64_t othersNs = earliestDeadline(handle);
    const int64_t timeNs = waiter.timeMs * nsPerMs;
    const int64_t nowNs = uptimeNs();
    /* A waiter that comes back keeps its deadline. */
    if (waiter.deadlineNs == 0) waiter.deadlineNs = nowNs + timeNs;
    if (othersNs <= waiter.deadlineNs) return ZAT_OK;
    const int64_t leftNs = std::max<int64_t>(waiter.deadlineNs - nowNs, 0);
    return othersNs == noDeadline ? startTimer(handle.timer, leftNs, oswWord(&handle))
                                  : restartTimer(handle, leftNs);
}

ZatStatus oswIpcDisarmExpiry(IpcHandle& handle, const IpcWaiter& waiter) {
    const OswUncancellable uncancellable;
    if (waiter.deadlineNs == noDeadline) return ZAT_OK;
    const int64_t othersNs = earliestDeadline(handle);
    if (othersNs == noDeadline) return zatOSWStopTimer(handle.timer);
    /* The timer runs, or is about to call, for another that is due first. */
    if (othersNs <= waiter.deadlineNs || othersNs <= uptimeNs()) return ZAT_OK;
    return restartTimer(handle, othersNs - uptimeNs());
}
