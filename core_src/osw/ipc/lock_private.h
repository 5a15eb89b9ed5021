/*
 * The lock semaphores: the global one and one for each type, shared by all processes.
 *
 * The order is the global one, then a type's. The kernel gives a lock semaphore back when its
 * holder dies, but not when only the holding task is deleted: whoever calls anything under a lock
 * semaphore at which a task may be deleted puts that off (OswUncancellable). Semaphore calls are no
 * such point. Nobody blocks on an object, makes a trace call or waits for a task that takes a lock
 * semaphore while holding one.
 */
#ifndef ZATOSW_OSW_IPC_LOCK_PRIVATE_H
#define ZATOSW_OSW_IPC_LOCK_PRIVATE_H

#include "osw/ipc/sysv_private.h"
#include "osw/status.h"

/* The one-operation descriptions of everything that is done to a semaphore. */
inline constexpr sembuf ipcTake = {0, -1, SEM_UNDO};
inline constexpr sembuf ipcGive = {0, 1, SEM_UNDO};
inline constexpr sembuf ipcPost = {0, 1, 0};
inline constexpr sembuf ipcPostSecond = {1, 1, 0};
inline constexpr sembuf ipcWait = {0, -1, 0};
inline constexpr sembuf ipcWaitSecond = {1, -1, 0};

/* Runs an operation, again while a signal interrupts it: ZAT_OK or ZAT_IPC_SEMOP_FAILED. */
inline ZatStatus oswIpcSemop(int semId, sembuf operation) {
    return oswSysvOperate(semId, operation) == 0 ? ZatStatus{ZAT_OK}
                                                 : ZatStatus{ZAT_IPC_SEMOP_FAILED};
}

/* Holds one lock semaphore until released or until the end of the scope. */
class IpcLock {
  public:
    IpcLock() = default;
    IpcLock(const IpcLock&) = delete;
    IpcLock& operator=(const IpcLock&) = delete;
    ~IpcLock() { release(); }

    ZatStatus take(int semId) {
        const ZatStatus status = oswIpcSemop(semId, ipcTake);
        if (status == ZAT_OK) semId_ = semId;
        return status;
    }

    bool isHeld() const { return semId_ != none; }

    ZatStatus release() {
        if (semId_ == none) return ZAT_OK;
        const int semId = semId_;
        semId_ = none;
        return oswIpcSemop(semId, ipcGive);
    }

    /* For a lock semaphore that its holder has removed. */
    void forget() { semId_ = none; }

  private:
    static constexpr int none = -1;

    int semId_ = none;
};

#endif
