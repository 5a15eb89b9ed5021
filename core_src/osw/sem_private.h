/*
 * What mutex, event and counting semaphores share: how they are entered, waited on and deleted.
 *
 * A record begins with links, valid, handoff and waiters and ends with cond, mutex, waiting,
 * standbys and byHandle; its kind's list lock is taken before its internal mutex. A waiter gives
 * the list lock up while it sleeps, so a semaphore may be deleted meanwhile: the delete then only
 * marks it invalid and wakes everybody, and the last one to leave destroys it. Whether a waiter is
 * the last, and whether the semaphore is deleted, is decided while the internal mutex is held; a
 * waiter that is not the last does not touch the record again.
 *
 * A condition variable may wake by itself, so wake-ups are counted as grants
 * (sem_grants_private.h): a waiter that finds none for it sleeps on. standbys counts the newcomers
 * that stand back for a woken waiter and will come again.
 *
 * Each kind offers oswKindOf(record), oswReleaseRecord(record), oswWaitMark(record): what is to be
 * noted for as long as a task sleeps on it, and oswHasMore(record): whether there is more to take
 * than is granted.
 */
#ifndef ZATOSW_OSW_SEM_PRIVATE_H
#define ZATOSW_OSW_SEM_PRIVATE_H

#include <pthread.h>
#include <time.h>

#include "osw/errno_private.h"
#include "osw/handle_private.h"
#include "osw/init.h"
#include "osw/lock_private.h"
#include "osw/mem_part.h"
#include "osw/objects_private.h"
#include "osw/sem_grants_private.h"

/* The two locks of a semaphore, in their order; given back in the reverse order. */
struct OswSemLocks {
    OswLock list;
    OswLock inner;
};

/* Whether a handle may be anybody's, or the caller keeps the semaphore alive. */
enum class OswHandleIs { Anybodys, Alive };

/* Takes the list lock, under which there is the semaphore of a handle, not deleted. Every call
 * begins with this and the next, inline: a call of its own would show beside two free locks. */
template <class Sem>
__attribute__((always_inline)) inline ZatStatus oswSemFind(
    Sem* sem, OswLock& list, OswHandleIs handleIs = OswHandleIs::Anybodys) {
    OswObjectKind& kind = oswKindOf(sem);
    if (const ZatStatus error = list.take(kind.lock); error != ZAT_OK) return error;
    const bool isThere =
        handleIs == OswHandleIs::Alive || oswFindObject<Sem>(kind, oswWord(sem)) != nullptr;
    return isThere && sem->valid != 0 ? ZatStatus{ZAT_OK} : ZatStatus{ZAT_FAILED};
}

/* The same, and takes its internal mutex. */
template <class Sem>
__attribute__((always_inline)) inline ZatStatus oswSemEnter(
    Sem* sem, OswSemLocks& locks, OswHandleIs handleIs = OswHandleIs::Anybodys) {
    const ZatStatus status = oswSemFind(sem, locks.list, handleIs);
    return status == ZAT_OK ? locks.inner.take(sem->mutex) : status;
}

/* Memory for a record from partition 0, once the library is up and the caller can be answered. */
template <class Sem>
ZatStatus oswSemAllocate(Sem*& sem, const ZatHandle* handle) {
    if (const ZatStatus status = zatOSWInit(); status != ZAT_OK) return status;
    if (handle == nullptr) return ZAT_FAILED;
    void* memory = nullptr;
    const ZatStatus status = zatOSWOrgAllocMemPart(0, &memory, sizeof(Sem));
    sem = static_cast<Sem*>(memory);
    return status;
}

/* Completes a record, adds it to its kind's list and gives its handle out. */
template <class Sem>
ZatStatus oswSemPublish(Sem* sem, ZatHandle* handle) {
    sem->valid = 1;
    sem->handoff = 0;
    sem->waiters = 0;
    sem->waiting = {};
    sem->standbys = 0;
    pthread_cond_init(&sem->cond, nullptr);
    pthread_mutex_init(&sem->mutex, nullptr);
    OswLock list;
    if (const ZatStatus error = list.take(oswKindOf(sem).lock); error != ZAT_OK) {
        oswReleaseRecord(sem);
        return error;
    }
    oswAddObject(oswKindOf(sem), *sem);
    *handle = oswWord(sem);
    return ZAT_OK;
}

/* Under the list lock, with nobody inside: ends a record, which nobody finds any more when the lock
 * is given up. On an error it stays in place. */
template <class Sem>
ZatStatus oswSemDestroy(Sem* sem, OswSemLocks& locks) {
    if (const int error = pthread_cond_destroy(&sem->cond); error != 0)
        return static_cast<ZatStatus>(error);
    if (const int error = pthread_mutex_destroy(&sem->mutex); error != 0)
        return static_cast<ZatStatus>(error);
    oswRemoveObject(oswKindOf(sem), *sem);
    locks.list.release();
    oswReleaseRecord(sem);
    return ZAT_OK;
}

template <class Sem>
bool oswSemIsUnused(const Sem& sem) {
    return sem.waiters == 0 && sem.standbys == 0;
}

/* Deletes a semaphore whose locks are held. */
template <class Sem>
ZatStatus oswSemDelete(Sem* sem, OswSemLocks& locks) {
    if (!oswSemIsUnused(*sem)) {
        sem->valid = 0;
        return static_cast<ZatStatus>(pthread_cond_broadcast(&sem->cond));
    }
    locks.inner.release();
    return oswSemDestroy(sem, locks);
}

/* Deletes a semaphore that anybody may delete. */
template <class Sem>
ZatStatus oswSemDelete(Sem* sem) {
    OswSemLocks locks;
    const ZatStatus error = oswSemEnter(sem, locks);
    return error == ZAT_OK ? oswSemDelete(sem, locks) : error;
}

/*
 * Wakes one waiter, if there is one, and keeps newcomers back until it has run. The last step of a
 * call: the inner mutex is given up first, so that the waiter does not wake only to wait for it;
 * the list lock keeps the semaphore from being freed meanwhile.
 */
template <class Sem>
ZatStatus oswSemWakeOne(Sem& sem, OswSemLocks& locks) {
    if (sem.waiters == 0) return ZAT_OK;
    sem.handoff = 1;
    oswGrantOne(sem.waiting);
    locks.inner.release();
    return static_cast<ZatStatus>(pthread_cond_signal(&sem.cond));
}

/* Wakes every waiter; otherwise the same. */
template <class Sem>
ZatStatus oswSemWakeAll(Sem& sem, OswSemLocks& locks) {
    oswGrantAll(sem.waiting);
    locks.inner.release();
    return static_cast<ZatStatus>(pthread_cond_broadcast(&sem.cond));
}

/* The one way off a semaphore that may have been deleted; the caller is counted off it already. */
template <class Sem>
ZatStatus oswSemLeave(Sem* sem, OswSemLocks& locks, ZatStatus result) {
    const bool deleted = !sem->valid;
    const bool last = oswSemIsUnused(*sem);
    locks.inner.release();
    if (const ZatStatus error = locks.list.take(oswKindOf(sem).lock); error != ZAT_OK) return error;
    if (!deleted) return result;
    if (last) oswSemDestroy(sem, locks);
    return ZAT_FAILED;
}

/*
 * A newcomer that stands back for a woken waiter: away for a millisecond, and counted meanwhile, so
 * that the semaphore is not freed under it.
 */
template <class Sem>
class OswStandby {
  public:
    OswStandby(Sem* sem, OswSemLocks& locks) : sem_(sem), locks_(locks) {
        ++sem_->standbys;
        locks_.inner.release();
        locks_.list.release();
    }
    OswStandby(const OswStandby&) = delete;
    OswStandby& operator=(const OswStandby&) = delete;
    /* A task that is deleted while it stands back. */
    ~OswStandby() {
        if (sem_ != nullptr) comeBack();
    }

    /* Takes both locks again; ZAT_FAILED when the semaphore was deleted meanwhile. */
    ZatStatus comeBack() {
        Sem* sem = sem_;
        sem_ = nullptr;
        locks_.list.take(oswKindOf(sem).lock);
        locks_.inner.take(sem->mutex);
        --sem->standbys;
        if (sem->valid) return ZAT_OK;
        const bool last = oswSemIsUnused(*sem);
        locks_.inner.release();
        if (last) oswSemDestroy(sem, locks_);
        return ZAT_FAILED;
    }

  private:
    Sem* sem_;
    OswSemLocks& locks_;
};

/* Lets the waiter that is woken go first. A mark that outlived its waiter holds nobody up. Comes
 * back with both locks, or the error. */
template <class Sem>
ZatStatus oswSemStandBack(Sem* sem, OswSemLocks& locks) {
    const OswKeepErrno keepErrno;
    while (sem->handoff != 0 && sem->waiting.grants > 0) {
        OswStandby<Sem> standby(sem, locks);
        static constexpr timespec pause = {0, 1000000};
        nanosleep(&pause, nullptr);
        if (const ZatStatus error = standby.comeBack(); error != ZAT_OK) return error;
    }
    return ZAT_OK;
}

/* Whether a waiter that leaves ends the hand-off to it. */
enum class OswHandoff { Clear, Keep };

/* A counted waiter: from here on there is one way out, however the wait ends. */
template <class Sem>
class OswWaiter {
  public:
    OswWaiter(Sem* sem, OswSemLocks& locks, OswHandoff handoff)
        : sem_(sem), locks_(locks), handoff_(handoff) {
        ++sem_->waiters;
        oswJoinWaiting(sem_->waiting, place_);
        locks_.list.release();
    }
    OswWaiter(const OswWaiter&) = delete;
    OswWaiter& operator=(const OswWaiter&) = delete;
    /* A task that is deleted while it waits leaves as if its time had run out. */
    ~OswWaiter() {
        if (sem_ != nullptr) leave(ZAT_TIMED_OUT);
    }

    /* Sleeps until woken on purpose, deleted, or out of time. */
    ZatStatus sleep(ZatTimeoutMs timeoutMs) {
        [[maybe_unused]] const auto mark = oswWaitMark(sem_);
        OswMoment deadline;
        if (timeoutMs != ZAT_FOREVER) deadline = oswDeadline(timeoutMs);
        while (sem_->valid && !(woken_ = oswTakeGrant(sem_->waiting, place_))) {
            const ZatStatus error = oswCondWait(sem_->cond, sem_->mutex,
                                                timeoutMs == ZAT_FOREVER ? nullptr : &deadline);
            if (error != ZAT_OK) return error;
        }
        return ZAT_OK;
    }

    ZatStatus leave(ZatStatus result) {
        Sem* sem = sem_;
        sem_ = nullptr;
        const uint32_t handoff = sem->handoff;
        --sem->waiters;
        oswLeaveWaiting(sem->waiting, place_);
        if (handoff_ == OswHandoff::Clear || sem->waiters == 0) sem->handoff = 0;
        if (woken_ && oswHasMore(*sem) && oswGrantOne(sem->waiting)) {
            sem->handoff = 1;
            pthread_cond_broadcast(&sem->cond);
        } else if (!woken_ && sem->waiting.grants > 0) {
            /* A wake-up that this waiter did not take is somebody else's now. */
            sem->handoff = handoff;
            pthread_cond_broadcast(&sem->cond);
        }
        return oswSemLeave(sem, locks_, result);
    }

  private:
    Sem* sem_;
    OswSemLocks& locks_;
    const OswHandoff handoff_;
    OswWaitingPlace place_ = {};
    bool woken_ = false;
};

/* Sleeps on a semaphore whose locks are held, and leaves it. */
template <class Sem, class Consume>
ZatStatus oswSemAwait(Sem* sem, OswSemLocks& locks, ZatTimeoutMs timeoutMs, OswHandoff handoff,
                      Consume consume) {
    OswWaiter<Sem> waiter(sem, locks, handoff);
    const ZatStatus status = waiter.sleep(timeoutMs);
    if (status == ZAT_OK && sem->valid) consume(*sem);
    return waiter.leave(status);
}

/*
 * The wait of a semaphore. tryNow(sem) takes it without waiting if that is allowed and possible;
 * consume(sem) takes it for a waiter that was woken. held may be a lock that keeps the semaphore
 * alive: it is still held afterwards if there was no need to wait, and given up if there was.
 */
template <class Sem, class TryNow, class Consume>
ZatStatus oswSemWait(Sem* sem, ZatTimeoutMs timeoutMs, TryNow tryNow, Consume consume,
                     OswLock& held) {
    OswSemLocks locks;
    ZatStatus status =
        oswSemEnter(sem, locks, held.isHeld() ? OswHandleIs::Alive : OswHandleIs::Anybodys);
    if (status != ZAT_OK) return status;
    if (sem->handoff == 0 && tryNow(*sem)) return ZAT_OK;
    held.release();
    if (sem->handoff != 0) {
        status = oswSemStandBack(sem, locks);
        if (status != ZAT_OK) return status;
        if (tryNow(*sem)) return ZAT_OK;
    }
    if (timeoutMs == 0) return ZAT_TIMED_OUT;
    return oswSemAwait(sem, locks, timeoutMs, OswHandoff::Clear, consume);
}

template <class Sem, class TryNow, class Consume>
ZatStatus oswSemWait(Sem* sem, ZatTimeoutMs timeoutMs, TryNow tryNow, Consume consume) {
    OswLock nothing;
    return oswSemWait(sem, timeoutMs, tryNow, consume, nothing);
}

#endif
