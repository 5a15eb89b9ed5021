/* Regions' locks, and their memory. */
#ifndef ZATOSW_GEN_RGNLOG_REGION_PRIVATE_H
#define ZATOSW_GEN_RGNLOG_REGION_PRIVATE_H

#include "gen/rgnlog/table_private.h"
#include "osw/ipc/mutex_sem.h"
#include "osw/mutex_sem.h"

/* Takes the lock of a shared region, from a dead process if need be. */
ZatStatus genLockShared(const GenRegion& region);

/* Takes a region's lock, if it has one. */
inline ZatStatus genLockRegion(const GenRegion& region) {
    if (region.isShared()) return genLockShared(region);
    return region.info.lock == 0 ? ZatStatus{ZAT_OK}
                                 : zatOSWRequestMutexSem(region.info.lock, ZAT_FOREVER);
}

/* Gives it back. */
inline ZatStatus genUnlockRegion(const GenRegion& region) {
    if (region.isShared()) return zatOSWIpcReleaseMutexSem(region.info.lock);
    return region.info.lock == 0 ? ZatStatus{ZAT_OK} : zatOSWReleaseMutexSem(region.info.lock);
}

/* What becomes of the use of a region at the end of the scope in which its lock is held: ending
 * both together costs nothing. */
enum class GenUseAfter { Ends, GoesOn };

/* A region's lock, if it has one, until the end of the scope. */
class GenRegionLock {
  public:
    explicit GenRegionLock(GenRegionUse& use, GenUseAfter after = GenUseAfter::Ends)
        : use_(use), after_(after), region_(*use), status_(genLockRegion(region_)) {
        /* Whoever deletes a region takes its id under this lock. */
        if (status_ == ZAT_OK && region_.info.id == genNoRegion) {
            genUnlockRegion(region_);
            status_ = ZAT_GEN_NO_LOG;
        }
    }
    GenRegionLock(const GenRegionLock&) = delete;
    GenRegionLock& operator=(const GenRegionLock&) = delete;
    ~GenRegionLock() {
        if (status_ != ZAT_OK || region_.info.lock == 0) return;
        if (after_ == GenUseAfter::Ends) use_.leaveLocked();
        if (!isKept_) genUnlockRegion(region_);
    }

    /* ZAT_OK when it is held; ZAT_GEN_NO_LOG when the region was deleted meanwhile. */
    ZatStatus status() const { return status_; }

    /* The same, and ZAT_GEN_NO_LOG also where there is a record without a ring. */
    ZatStatus ringStatus() const {
        return status_ == ZAT_OK && region_.info.header == nullptr ? ZatStatus{ZAT_GEN_NO_LOG}
                                                                   : status_;
    }

    /* Leaves it taken. */
    void keep() { isKept_ = true; }

  private:
    GenRegionUse& use_;
    const GenUseAfter after_;
    const GenRegion& region_;
    ZatStatus status_;
    bool isKept_ = false;
};

/* Makes the ring, and with it the lock, of a region; zeroed and stopped, or as others left it. */
ZatStatus genMakePrivateRing(GenRegion& region, int32_t maxEntry, bool isLocked);
ZatStatus genMakeSharedRing(GenRegion& region, int32_t maxEntry);

/* Ends it. Nobody else uses the region. */
void genEndRing(GenRegion& region);

#endif
