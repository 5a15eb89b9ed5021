/* Regions' locks: of the process, shared, or none. */

#include "gen/rgnlog/region_private.h"
#include "osw/ipc/mutex_sem.h"
#include "osw/ipc/mutex_sem_private.h"
#include "osw/mutex_sem.h"

/* How often a shared region's lock that is taken is looked at: its owner may be dead. */
static constexpr ZatTimeoutMs lookAgainMs = 100;

ZatStatus genLockShared(const GenRegion& region) {
    const ZatIpcHandle lock = region.info.lock;
    for (;;) {
        ZatStatus status = zatOSWIpcRequestMutexSem(lock, lookAgainMs);
        if (status != ZAT_TIMED_OUT) return status;
        status = oswIpcInheritMutexSem(lock);
        if (status == ZAT_TIMED_OUT) continue;
        if (status == ZAT_OK && region.info.header != nullptr) genRingMend(region.ring());
        return status;
    }
}

static ZatStatus lock(const GenRegion& region) {
    if (region.info.lock == 0) return ZAT_OK;
    return region.isShared() ? genLockShared(region)
                             : zatOSWRequestMutexSem(region.info.lock, ZAT_FOREVER);
}

ZatStatus genUnlockRegion(const GenRegion& region) {
    if (region.info.lock == 0) return ZAT_OK;
    return region.isShared() ? zatOSWIpcReleaseMutexSem(region.info.lock)
                             : zatOSWReleaseMutexSem(region.info.lock);
}

GenRegionLock::GenRegionLock(const GenRegion& region) : region_(&region), status_(lock(region)) {
    if (status_ != ZAT_OK) {
        region_ = nullptr;
        return;
    }
    if (region.info.id != genNoRegion) return;
    release();
    status_ = ZAT_GEN_NO_LOG;
}

ZatStatus GenRegionLock::release() {
    if (region_ == nullptr) return ZAT_OK;
    const GenRegion& region = *region_;
    region_ = nullptr;
    return genUnlockRegion(region);
}
