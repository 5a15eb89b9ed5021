/* What the kernel-style waits have in common: ticks, and errno when the time is up. */
#ifndef ZATOSW_OSW_COMPAT_WAIT_PRIVATE_H
#define ZATOSW_OSW_COMPAT_WAIT_PRIVATE_H

#include <errno.h>

#include "osw/compat/compat.h"

static_assert(ETIMEDOUT == ZAT_TIMED_OUT);

/* Wraps as callers know it: the product is signed, and the division drops towards zero. */
inline uint32_t compatMilliseconds(uint32_t ticks) {
    const auto product = static_cast<int32_t>(ticks * 1000u);
    return static_cast<uint32_t>(product / static_cast<int32_t>(ZAT_KERNEL_TICKS_PER_SECOND));
}

inline ZatTimeoutMs compatTimeout(ZatTicks ticks) {
    return ticks == 0 || ticks == ZAT_FOREVER ? ticks : compatMilliseconds(ticks);
}

inline ZatStatus compatWaited(ZatStatus status) {
    if (status == ZAT_TIMED_OUT) errno = ETIMEDOUT;
    return status;
}

#endif
