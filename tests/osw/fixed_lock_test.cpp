#include "osw/fixed_lock.h"

#include <sched.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <vector>

#include "osw/worker.h"

namespace {

struct FixedLock {
    const char* name;
    ZatStatus (*take)();
    ZatStatus (*release)();
};

template <uint32_t selector>
ZatStatus lockTask() {
    return zatOSWGlobalLockTask(selector);
}
template <uint32_t selector>
ZatStatus unlockTask() {
    return zatOSWGlobalUnlockTask(selector);
}

constexpr FixedLock locks[] = {
    {"critical section", zatOSWEnterCriticalSection, zatOSWLeaveCriticalSection},
    {"lock", zatOSWLock, zatOSWUnlock},
    {"global lock", zatOSWGlobalLock, zatOSWGlobalUnlock},
    {"task lock", zatOSWLockTask, zatOSWUnlockTask},
    {"global task lock 1", lockTask<1>, unlockTask<1>},
    {"global task lock 2", lockTask<2>, unlockTask<2>},
};
constexpr FixedLock lock7 = {"global task lock 7", lockTask<7>, unlockTask<7>};
constexpr FixedLock lock0 = {"global task lock 0", lockTask<0>, unlockTask<0>};

/* With the lock monitor on, a task that is kept waiting by the caller tells so. */
class FixedLocks : public testing::TestWithParam<FixedLock> {
  protected:
    FixedLocks() {
        EXPECT_EQ(zatOSWInit(), ZAT_OK);
        zatOSWSetLockMonitor(1);
    }
    ~FixedLocks() override { zatOSWSetLockMonitor(0); }

    static ZatStatus visit(const FixedLock& lock) {
        const ZatStatus status = lock.take();
        return status == ZAT_OK ? lock.release() : status;
    }
    static bool waitsForMe(const Worker& worker) {
        return waitFor([&] { return infoOf(worker.id()).lockOwner == pthread_self(); });
    }
};

TEST_P(FixedLocks, AreIndependent) {
    const FixedLock& held = GetParam();
    ASSERT_EQ(held.take(), ZAT_OK);
    Worker others([&] {
        for (const FixedLock& other : locks)
            EXPECT_TRUE(other.name == held.name || visit(other) == ZAT_OK) << other.name;
        return ZatStatus{ZAT_OK};
    });
    others.join();
    Worker waiter([&] { return visit(held); });
    EXPECT_TRUE(waitsForMe(waiter));
    EXPECT_EQ(held.release(), ZAT_OK);
    EXPECT_EQ(waiter.join(), ZAT_OK);
}

TEST_P(FixedLocks, EachTakeOfTheHolderNeedsItsOwnRelease) {
    const FixedLock& lock = GetParam();
    for (int take = 0; take < 3; ++take)
        EXPECT_EQ(lock.take(), ZAT_OK);
    Worker waiter([&] {
        EXPECT_EQ(lock.take(), ZAT_OK);
        EXPECT_EQ(infoOf(0).lockOwner, 0u) << "it waits no more";
        return lock.release();
    });
    EXPECT_TRUE(waitsForMe(waiter));
    EXPECT_EQ(lock.release(), ZAT_OK);
    EXPECT_EQ(lock.release(), ZAT_OK);
    EXPECT_EQ(infoOf(waiter.id()).lockOwner, pthread_self());
    EXPECT_EQ(lock.release(), ZAT_OK);
    EXPECT_EQ(waiter.join(), ZAT_OK);
}

TEST_P(FixedLocks, AReleaseByAnotherIsIgnored) {
    const FixedLock& lock = GetParam();
    EXPECT_EQ(lock.take(), ZAT_OK);
    EXPECT_EQ(Worker([&] { return lock.release(); }).join(), ZAT_OK);
    Worker waiter([&] { return visit(lock); });
    EXPECT_TRUE(waitsForMe(waiter));
    EXPECT_EQ(lock.release(), ZAT_OK);
    EXPECT_EQ(waiter.join(), ZAT_OK);
}

TEST_P(FixedLocks, AReleaseTooManyDoesNoHarm) {
    const FixedLock& lock = GetParam();
    EXPECT_EQ(visit(lock), ZAT_OK);
    EXPECT_EQ(lock.release(), ZAT_OK);
    EXPECT_EQ(lock.release(), ZAT_OK);
    EXPECT_EQ(lock.take(), ZAT_OK);
    Worker waiter([&] { return visit(lock); });
    EXPECT_TRUE(waitsForMe(waiter));
    EXPECT_EQ(lock.release(), ZAT_OK);
    EXPECT_EQ(waiter.join(), ZAT_OK);
}

TEST_P(FixedLocks, AreHeldByOneUnderStress) {
    const FixedLock& lock = GetParam();
    const int steps = emulated() ? 500 : 5000;
    volatile int inside = 0;
    volatile int visits = 0;
    std::atomic<int> broken{0};
    {
        std::vector<std::unique_ptr<Worker>> visitors;
        for (int number = 0; number < 4; ++number)
            visitors.push_back(std::make_unique<Worker>([&] {
                for (int step = 0; step < steps; ++step) {
                    if (lock.take() != ZAT_OK || inside != 0) ++broken;
                    inside = 1;
                    if (step % 3 == 0) lock.take();
                    if (step % 16 == 0) sched_yield();
                    visits = visits + 1;
                    if (step % 3 == 0) lock.release();
                    if (step % 32 == 0) sched_yield();
                    inside = 0;
                    if (lock.release() != ZAT_OK) ++broken;
                    lock.release();
                }
                return ZatStatus{ZAT_OK};
            }));
    }
    EXPECT_EQ(broken, 0);
    EXPECT_EQ(visits, 4 * steps);
}

INSTANTIATE_TEST_SUITE_P(Fixed, FixedLocks, testing::ValuesIn(locks), [](const auto& instance) {
    std::string name = instance.param.name;
    std::replace(name.begin(), name.end(), ' ', '_');
    return name;
});

TEST_F(FixedLocks, EverySelectorButOneIsTheSameLock) {
    EXPECT_EQ(zatOSWGlobalLockTask(2), ZAT_OK);
    EXPECT_EQ(zatOSWGlobalLockTask(7), ZAT_OK);
    EXPECT_EQ(zatOSWGlobalUnlockTask(2), ZAT_OK);
    for (const FixedLock& same : {lock7, lock0}) {
        Worker waiter([&] { return visit(same); });
        EXPECT_TRUE(waitsForMe(waiter)) << same.name;
        EXPECT_EQ(zatOSWGlobalUnlockTask(7), ZAT_OK);
        EXPECT_EQ(waiter.join(), ZAT_OK);
        EXPECT_EQ(zatOSWGlobalLockTask(2), ZAT_OK);
    }
    EXPECT_EQ(zatOSWGlobalUnlockTask(0), ZAT_OK);
}

}  // namespace
