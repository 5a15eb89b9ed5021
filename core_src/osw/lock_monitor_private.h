/* Notes, while the lock monitor is on, which owner a task waits for: for the scope of the wait. */
#ifndef ZATOSW_OSW_LOCK_MONITOR_PRIVATE_H
#define ZATOSW_OSW_LOCK_MONITOR_PRIVATE_H

#include <pthread.h>

#include "osw/self_private.h"
#include "osw/task_registry_private.h"

class OswLockMonitorMark {
  public:
    explicit OswLockMonitorMark(const uint32_t* owner) : marked_(oswLockMonitorOn()) {
        if (marked_) oswSetWaitMutex(oswSelf(), owner);
    }
    OswLockMonitorMark(const OswLockMonitorMark&) = delete;
    OswLockMonitorMark& operator=(const OswLockMonitorMark&) = delete;
    /* Whatever the switch says by now: a mark left behind would outlive the mutex it points to. */
    ~OswLockMonitorMark() {
        if (marked_) oswSetWaitMutex(oswSelf(), nullptr);
    }

  private:
    const bool marked_;
};

#endif
