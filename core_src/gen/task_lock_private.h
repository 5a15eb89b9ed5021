/* Holds the task lock for its scope: what the general services add, they add under it. */
#ifndef ZATOSW_GEN_TASK_LOCK_PRIVATE_H
#define ZATOSW_GEN_TASK_LOCK_PRIVATE_H

#include "osw/fixed_lock.h"

class GenTaskLock {
  public:
    GenTaskLock() = default;
    GenTaskLock(const GenTaskLock&) = delete;
    GenTaskLock& operator=(const GenTaskLock&) = delete;
    ~GenTaskLock() {
        if (isHeld()) zatOSWUnlockTask();
    }

    bool isHeld() const { return status_ == ZAT_OK; }

    /* That of zatOSWLockTask(). */
    ZatStatus status() const { return status_; }

  private:
    const ZatStatus status_ = zatOSWLockTask();
};

#endif
