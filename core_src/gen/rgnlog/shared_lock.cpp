/* Shared regions' locks, and what becomes of them when their owner dies. */

#include "gen/rgnlog/region_private.h"
#include "osw/ipc/mutex_sem_private.h"

/* How often a lock that is taken is looked at. */
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
