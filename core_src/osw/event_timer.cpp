/* Event timers: a detached task that waits on its cancel handle and posts when the time is up. */

#include "osw/event_sem.h"
#include "osw/init.h"
#include "osw/task.h"
#include "osw/task_private.h"
#include "osw/timer.h"

static constexpr uint32_t stackSize = 2048;

/* The cancel handle, which ends with the timer's task however that ends. */
class CancelHandle {
  public:
    explicit CancelHandle(ZatEventSem event) : event_(event) {}
    CancelHandle(const CancelHandle&) = delete;
    CancelHandle& operator=(const CancelHandle&) = delete;
    ~CancelHandle() { zatOSWDeleteEventSem(event_); }

    bool isDue(uint32_t intervalMs) const {
        return zatOSWWaitEventSem(event_, intervalMs) == ZAT_TIMED_OUT;
    }

  private:
    const ZatEventSem event_;
};

static uint32_t periodicTask(uint32_t cancel, uint32_t intervalMs, uint32_t event, uint32_t,
                             uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t) {
    {
        const CancelHandle handle(cancel);
        while (handle.isDue(intervalMs) && zatOSWPostEventSem(event) == ZAT_OK) {
        }
    }
    zatOSWExitTask(0);
}

static uint32_t onceTask(uint32_t cancel, uint32_t delayMs, uint32_t event, uint32_t, uint32_t,
                         uint32_t, uint32_t, uint32_t, uint32_t, uint32_t) {
    {
        const CancelHandle handle(cancel);
        if (handle.isDue(delayMs)) zatOSWPostEventSem(event);
    }
    zatOSWExitTask(0);
}

static ZatStatus startTimer(ZatEventSem* cancel, const char* name, ZatTaskEntry entry,
                            uint32_t intervalMs, ZatEventSem event) {
    if (const ZatStatus status = zatOSWInit(); status != ZAT_OK) return status;
    if (cancel == nullptr) return ZAT_FAILED;
    ZatEventSem handle = 0;
    ZatStatus status = zatOSWCreateEventSem(&handle, 0, 0);
    if (status != ZAT_OK) return status;
    ZatTaskId task = 0;
    status = zatOSWCreateJoinTask(&task, name, ZAT_INHERIT_PRIORITY, stackSize, entry, 0, handle,
                                  intervalMs, event, 0, 0, 0, 0, 0, 0, 0);
    status = oswCreated(status, task);
    if (status != ZAT_OK) {
        zatOSWDeleteEventSem(handle);
        return status;
    }
    *cancel = handle;
    return ZAT_OK;
}

ZatStatus zatOSWStartEventTimer(ZatEventSem* cancel, uint32_t intervalMs, ZatEventSem event) {
    return startTimer(cancel, "eventTimer", periodicTask, intervalMs, event);
}

ZatStatus zatOSWAsyncEventTimer(ZatEventSem* cancel, uint32_t delayMs, ZatEventSem event) {
    return startTimer(cancel, "asyncTimer", onceTask, delayMs, event);
}
