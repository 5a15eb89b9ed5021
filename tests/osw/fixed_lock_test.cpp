#include "osw/fixed_lock.h"

#include <sched.h>

#include "osw/worker.h"

namespace {

struct FixedLock {
    const char* name;
    ZatStatus (*take)();
    ZatStatus (*release)();
};

template <uint32_t selector>
constexpr FixedLock globalTaskLock = {"global task lock",
                                      [] { return zatOSWGlobalLockTask(selector); },
                                      [] { return zatOSWGlobalUnlockTask(selector); }};

const FixedLock locks[] = {
    {"critical section", zatOSWEnterCriticalSection, zatOSWLeaveCriticalSection},
    {"lock", zatOSWLock, zatOSWUnlock},
    {"global lock", zatOSWGlobalLock, zatOSWGlobalUnlock},
    {"task lock", zatOSWLockTask, zatOSWUnlockTask},
    globalTaskLock<1>,
    globalTaskLock<2>,
};

ZatStatus visit(const FixedLock& lock) {
    const ZatStatus status = lock.take();
    return status == ZAT_OK ? lock.release() : status;
}

/* With the lock monitor on, a task that is kept waiting by the caller tells so. */
class FixedLocks : public testing::TestWithParam<int> {
  protected:
    FixedLocks() {
        EXPECT_EQ(zatOSWInit(), ZAT_OK);
        zatOSWSetLockMonitor(1);
    }
    static bool waitsForMe(const Worker& worker) {
        return waitFor([&] { return infoOf(worker.id()).lockOwner == pthread_self(); });
    }
};

TEST_P(FixedLocks, KeepOthersOutUntilTheLastReleaseOfTheHolder) {
    const FixedLock& lock = locks[GetParam()];
    EXPECT_EQ(visit(lock), ZAT_OK);
    EXPECT_EQ(lock.release(), ZAT_OK) << "one too many, by the last owner";
    for (int take = 0; take < 3; ++take)
        EXPECT_EQ(lock.take(), ZAT_OK);
    Worker stranger([&] {
        for (const FixedLock& other : locks)
            EXPECT_TRUE(other.take == lock.take || visit(other) == ZAT_OK) << other.name;
        return lock.release();
    });
    EXPECT_EQ(stranger.join(), ZAT_OK);
    Worker waiter([&] {
        EXPECT_EQ(lock.take(), ZAT_OK);
        EXPECT_EQ(infoOf(0).lockOwner, 0u) << "it waits no more";
        return lock.release();
    });
    EXPECT_TRUE(waitsForMe(waiter)) << lock.name;
    EXPECT_EQ(lock.release(), ZAT_OK);
    EXPECT_EQ(lock.release(), ZAT_OK);
    EXPECT_EQ(infoOf(waiter.id()).lockOwner, pthread_self());
    EXPECT_EQ(lock.release(), ZAT_OK);
    EXPECT_EQ(waiter.join(), ZAT_OK);
}

TEST_P(FixedLocks, AreHeldByOneUnderStress) {
    SKIP_IF_RACES_ARE_CHECKED();
    const FixedLock& lock = locks[GetParam()];
    const int steps = emulated() ? 200 : 1000;
    volatile int inside = 0;
    Shared<int> broken;
    const auto work = [&] {
        for (int step = 0; step < steps; ++step) {
            if (lock.take() != ZAT_OK || inside != 0) ++broken;
            inside = 1;
            if (step % 3 == 0 && visit(lock) != ZAT_OK) ++broken;
            if (step % 16 == 0) sched_yield();
            inside = 0;
            if (lock.release() != ZAT_OK) ++broken;
            if (lock.release() != ZAT_OK) ++broken; /* one too many */
        }
        return ZatStatus{ZAT_OK};
    };
    { Worker first(work), second(work), third(work); }
    EXPECT_EQ(broken, 0);
}

INSTANTIATE_TEST_SUITE_P(Six, FixedLocks, testing::Range(0, 6));

TEST_F(FixedLocks, EverySelectorButOneIsTheSameLock) {
    EXPECT_EQ(zatOSWGlobalLockTask(2), ZAT_OK);
    Worker waiter([&] { return visit(globalTaskLock<7>); });
    EXPECT_TRUE(waitsForMe(waiter));
    EXPECT_EQ(zatOSWGlobalUnlockTask(0), ZAT_OK);
    EXPECT_EQ(waiter.join(), ZAT_OK);
}

}  // namespace
