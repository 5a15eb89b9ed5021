/* The frames of all waits and changes; see wait_private.h. */

#include "osw/ipc/wait_private.h"

#include <errno.h>
#include <pthread.h>
#include <stdio.h>
#include <time.h>

#include <algorithm>

#include "osw/handle_private.h"
#include "osw/ipc/kind_private.h"
#include "osw/self_private.h"

/* A look's answer for the frame alone: the handle names a process-local object. */
static constexpr ZatStatus isLocal = 0xFFFF0003;

/*
 * Finds the object and runs a step on it, again and again while the step says that the object's
 * waiters are being released. The lock of the type is held before, and afterwards unless it could
 * not be taken again.
 */
template <class Step>
static ZatStatus enter(uint32_t type, ZatHandle handle, IpcLock& lock, IpcHandle*& object,
                       Step step) {
    IpcStall stall = {};
    for (;;) {
        object = oswIpcFind(type, handle);
        if (object == nullptr) return oswIpcIsLocal(type, handle) ? isLocal : ZAT_IPC_NO_OBJECT;
        ZatStatus status = step(*object);
        if (status == IPC_LATER && oswIpcEndStalledBroadcast(*object, stall))
            status = step(*object);
        if (status != IPC_LATER) return status;
        lock.release();
        static constexpr timespec moment = {0, 1000};
        nanosleep(&moment, nullptr);
        status = oswIpcLockType(lock, type);
        if (status != ZAT_OK) return status;
    }
}

/* The time of a queue's waiter runs out by the handle's timer, unless the timer's task is gone. */
static ZatTimeoutMs backstop(ZatTimeoutMs timeoutMs) {
    static constexpr ZatTimeoutMs graceMs = 1000;
    return timeoutMs < ZAT_FOREVER - graceMs ? timeoutMs + graceMs : ZAT_FOREVER;
}

/* A counted waiter: from here on there is one way out, however the wait ends. */
class Waiting {
  public:
    Waiting(IpcLock& lock, IpcHandle& handle, const IpcWaitKind& kind, ZatTimeoutMs timeoutMs)
        : lock_(lock),
          handle_(handle),
          kind_(kind),
          semId_(oswIpcSemId(*handle.entry)),
          generation_(handle.generation),
          block_(kind.enlist == nullptr ? timeoutMs : backstop(timeoutMs), kind.signals) {
        waiter_ = {{}, oswSelf(), timeoutMs, kind.waiter, 0, 0};
    }
    Waiting(const Waiting&) = delete;
    Waiting& operator=(const Waiting&) = delete;

    ~Waiting() {
        if (!isListed_) return;
        if (!lock_.isHeld() && oswIpcLockType(lock_, kind_.type) != ZAT_OK) return;
        if (isGone()) return;
        leave();
        /* What this waiter was woken for may be for others now. */
        wakeOthers();
    }

    ZatStatus enlist() {
        if (kind_.enlist != nullptr) {
            const ZatStatus status = kind_.enlist(handle_, waiter_);
            if (status != ZAT_OK) return status;
        }
        ++oswIpcWaiters(*handle_.entry, kind_.waiter);
        zatCLBLstAdd(&handle_.waiters, &waiter_);
        isListed_ = true;
        return ZAT_OK;
    }

    /* Blocks until the object can be taken, and takes it; or says why not. */
    ZatStatus run(void* data) {
        for (;;) {
            const IpcBlockEnd end = sleep();
            if (lock_.isHeld() && isGone()) isListed_ = false;
            if (!isListed_) return endDismissed(end);
            if (end == IpcBlockEnd::Removed) return ZAT_IPC_SEM_REMOVED;
            if (end == IpcBlockEnd::Failed) return ZAT_IPC_SEMOP_FAILED;
            const bool late = end == IpcBlockEnd::TimedOut || waiter_.expired != 0;
            const bool wasWoken = end == IpcBlockEnd::Woken && !late;
            if (kind_.look(handle_, wasWoken ? IpcComer::Woken : IpcComer::Looking) == ZAT_OK) {
                const ZatStatus status = take(data, end);
                if (status != IPC_UNAVAILABLE) return status;
            }
            if (late) return ZAT_TIMED_OUT;
            if (!isListed_) {
                if (const ZatStatus status = enlist(); status != ZAT_OK) return status;
            }
            prepareToSleepOn(end);
        }
    }

  private:
    /* The task may be deleted here, between two looks at the object. */
    IpcBlockEnd sleep() {
        block_.arm();
        lock_.release();
        pthread_testcancel();
        const sembuf operation = oswIpcSemaphore(kind_.waiter) == 0 ? ipcWait : ipcWaitSecond;
        const IpcBlockEnd end = block_.wait(semId_, operation);
        /* A lock semaphore goes with the layer, and the handle with it. */
        if (oswIpcLockType(lock_, kind_.type) != ZAT_OK) isListed_ = false;
        return end;
    }

    /* Under the lock: whether the handle was deleted, perhaps made anew at the same place. */
    bool isGone() const {
        const IpcHandle* found = oswIpcFind(kind_.type, oswWord(&handle_));
        return found == nullptr || found->generation != generation_;
    }

    /* The handle is gone. A wake-up that came before the signal was for somebody else. */
    ZatStatus endDismissed(IpcBlockEnd end) const {
        if (end == IpcBlockEnd::Woken) oswIpcPostOne(semId_, kind_.waiter);
        return oswSysvValue(semId_, 0) < 0 ? ZAT_IPC_SEM_REMOVED : kind_.deleted;
    }

    void wakeOthers() { oswIpcKinds[kind_.type].use->wake(handle_); }

    ZatStatus leave() {
        isListed_ = false;
        uint32_t& waiters = oswIpcWaiters(*handle_.entry, kind_.waiter);
        if (waiters > 0) --waiters;
        zatCLBLstDelete(&handle_.waiters, &waiter_);
        return kind_.dismiss == nullptr ? ZatStatus{ZAT_OK} : kind_.dismiss(handle_, waiter_);
    }

    ZatStatus take(void* data, IpcBlockEnd end) {
        ZatStatus status = leave();
        if (status != ZAT_OK) {
            wakeOthers();
            lock_.release();
            printf("Can not occur:%lx!!!\n", static_cast<unsigned long>(status));
            return status;
        }
        /* Nobody woke this waiter for what it found: a process was killed that should have. */
        if (end == IpcBlockEnd::LookAgain) oswIpcRecount(handle_);
        status = kind_.take(handle_, data);
        if (status != ZAT_OK && status != IPC_UNAVAILABLE) wakeOthers();
        return status;
    }

    void prepareToSleepOn(IpcBlockEnd end) {
        /* Wake-ups for nothing, one after the other: what they were sent for is gone, and so are
         * those who were to have it. While the object cannot be taken, no wake-up is of use. */
        if (end == IpcBlockEnd::Woken && ++uselessWakes_ > 1)
            oswSysvSetValue(semId_, oswIpcSemaphore(kind_.waiter), 0);
        if (end != IpcBlockEnd::LookAgain) return;
        /* A recount may have missed a waiter that was on its way into the kernel. */
        uint32_t& waiters = oswIpcWaiters(*handle_.entry, kind_.waiter);
        waiters = std::max(waiters, oswIpcOwnWaiters(handle_, kind_.waiter));
    }

    IpcLock& lock_;
    IpcHandle& handle_; /* may be gone unless found on its list under the lock */
    const IpcWaitKind& kind_;
    const int semId_;
    const uint32_t generation_;
    IpcWaiter waiter_;
    bool isListed_ = false;
    uint32_t uselessWakes_ = 0;
    IpcBlock block_;
};

static ZatStatus block(IpcLock& lock, IpcHandle& handle, const IpcWaitKind& kind,
                       ZatTimeoutMs timeoutMs, void* data) {
    Waiting waiting(lock, handle, kind, timeoutMs);
    const ZatStatus status = waiting.enlist();
    return status == ZAT_OK ? waiting.run(data) : status;
}

ZatStatus oswIpcWaitOn(IpcLock& lock, ZatHandle handle, ZatTimeoutMs timeoutMs,
                       const IpcWaitKind& kind, void* data) {
    IpcHandle* object = nullptr;
    const ZatStatus status = enter(kind.type, handle, lock, object, [&](IpcHandle& found) {
        ZatStatus look = kind.look(found, IpcComer::New);
        if (look == IPC_UNAVAILABLE && timeoutMs == 0) look = kind.look(found, IpcComer::Looking);
        return look == ZAT_OK ? kind.take(found, data) : look;
    });
    if (status == isLocal) {
        lock.release();
        return kind.local == nullptr ? ZatStatus{ZAT_IPC_NO_OBJECT}
                                     : kind.local(handle, timeoutMs, data);
    }
    if (status != IPC_UNAVAILABLE) return status;
    return timeoutMs == 0 ? ZatStatus{ZAT_TIMED_OUT} : block(lock, *object, kind, timeoutMs, data);
}

ZatStatus oswIpcApplyLater(IpcLock& lock, ZatHandle handle, const IpcChange& change, void* data) {
    IpcHandle* object = nullptr;
    const ZatStatus status = enter(change.type, handle, lock, object,
                                   [&](IpcHandle& found) { return change.change(found, data); });
    if (status != isLocal) return status;
    lock.release();
    return change.local == nullptr ? ZatStatus{ZAT_IPC_NO_OBJECT} : change.local(handle, data);
}
