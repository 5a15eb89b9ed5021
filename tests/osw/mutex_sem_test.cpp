#include "osw/mutex_sem.h"

#include "osw/mutex_sem_private.h"
#include "osw/wall_clock.h"

namespace {

class MutexSem : public testing::Test {
  protected:
    ~MutexSem() override { zatOSWSetLockMonitor(0); }

    void make(uint32_t initialState) {
        EXPECT_EQ(zatOSWCreateMutexSem(&mutex, 0xFFFFFFFF, initialState), ZAT_OK);
    }
    void remove() { EXPECT_EQ(zatOSWDeleteMutexSem(mutex), ZAT_OK); }
    bool waiters(int32_t count) { return waitersReach(recordOf<OswMutexSem>(mutex), count); }
    ZatStatus visit(ZatTimeoutMs timeoutMs) {
        const ZatStatus status = zatOSWRequestMutexSem(mutex, timeoutMs);
        return status == ZAT_OK ? zatOSWReleaseMutexSem(mutex) : status;
    }
    ZatStatus visitByAnother() {
        return Worker([this] { return visit(0); }).join();
    }

    ZatMutexSem mutex = 0;
};

TEST_F(MutexSem, IsReleasedAndDeletedOnlyByItsOwner) {
    make(1);
    EXPECT_EQ(zatOSWReleaseMutexSem(mutex), ZAT_FAILED) << "nobody's";
    EXPECT_EQ(visitByAnother(), ZAT_OK);
    EXPECT_EQ(Worker([this] { return zatOSWDeleteMutexSem(mutex); }).join(), ZAT_OK);
    make(0);
    EXPECT_EQ(visitByAnother(), ZAT_TIMED_OUT);
    EXPECT_EQ(Worker([this] { return zatOSWReleaseMutexSem(mutex); }).join(), ZAT_FAILED);
    EXPECT_EQ(Worker([this] { return zatOSWDeleteMutexSem(mutex); }).join(), ZAT_FAILED);
    EXPECT_EQ(visitByAnother(), ZAT_TIMED_OUT) << "nothing changed";
    EXPECT_EQ(zatOSWReleaseMutexSem(mutex), ZAT_OK);
    EXPECT_EQ(zatOSWReleaseMutexSem(mutex), ZAT_FAILED);
    EXPECT_EQ(visitByAnother(), ZAT_OK);
    remove();
}

TEST_F(MutexSem, EachTakeOfTheOwnerNeedsItsOwnRelease) {
    make(1);
    for (int take = 0; take < 3; ++take)
        EXPECT_EQ(zatOSWRequestMutexSem(mutex, 0), ZAT_OK);
    Worker waiter([this] { return visit(ZAT_FOREVER); });
    EXPECT_TRUE(waiters(1));
    EXPECT_EQ(zatOSWRequestMutexSem(mutex, 0), ZAT_OK) << "the owner does not queue";
    for (int release = 0; release < 3; ++release)
        EXPECT_EQ(zatOSWReleaseMutexSem(mutex), ZAT_OK);
    EXPECT_EQ(visitByAnother(), ZAT_TIMED_OUT);
    EXPECT_EQ(zatOSWReleaseMutexSem(mutex), ZAT_OK);
    EXPECT_EQ(waiter.join(), ZAT_OK);
    remove();
}

/* Deadlines that carry into the next second, and beyond what a 32-bit clock can say. */
TEST_F(MutexSem, WaitsAsLongAsItIsTold) {
    make(0);
    Worker hasty([this] {
        WideTime now;
        waitFor([&] { return __gettimeofday64(&now, nullptr) == 0 && now.microseconds > 900000; });
        for (ZatTimeoutMs timeoutMs : {150u, 1500u}) {
            const Stopwatch stopwatch;
            EXPECT_EQ(zatOSWRequestMutexSem(mutex, timeoutMs), ZAT_TIMED_OUT);
            EXPECT_GE(stopwatch.elapsedMs() + 1, timeoutMs);
            EXPECT_LT(stopwatch.elapsedMs(), timeoutMs + 10000u);
        }
        return ZatStatus{ZAT_OK};
    });
    hasty.join();
    if (isRunBy("--tool=drd")) GTEST_SKIP() << "the race checker does not know the wide waits";
    static const WideTime late = {0x7FFFFFFF - 1000000, 999999};
    wallClock = &late;
    Worker patient([this] { return visit(ZAT_FOREVER - 1); });
    EXPECT_TRUE(waiters(1));
    EXPECT_EQ(zatOSWReleaseMutexSem(mutex), ZAT_OK);
    EXPECT_EQ(patient.join(), ZAT_OK);
    wallClock = nullptr;
    remove();
}

TEST_F(MutexSem, TheLockMonitorTellsWhomATaskWaitsFor) {
    make(0);
    for (const bool switchedOffMeanwhile : {false, true}) {
        zatOSWSetLockMonitor(7);
        Shared<bool> owned;
        Shared<bool> goOn;
        Worker waiter([&] {
            EXPECT_EQ(zatOSWRequestMutexSem(mutex, 5000), ZAT_OK);
            owned = true;
            EXPECT_TRUE(waitFor([&] { return bool{goOn}; }));
            return zatOSWReleaseMutexSem(mutex);
        });
        EXPECT_TRUE(waitFor([&] { return infoOf(waiter.id()).lockOwner == pthread_self(); }));
        if (switchedOffMeanwhile) zatOSWSetLockMonitor(0);
        EXPECT_EQ(zatOSWReleaseMutexSem(mutex), ZAT_OK);
        EXPECT_TRUE(waitFor([&] { return bool{owned}; }));
        EXPECT_EQ(infoOf(waiter.id()).lockOwner, 0u);
        goOn = true;
        EXPECT_EQ(waiter.join(), ZAT_OK);
        EXPECT_EQ(zatOSWRequestMutexSem(mutex, 0), ZAT_OK);
    }
    Worker unwatched([this] { return visit(ZAT_FOREVER); });
    EXPECT_TRUE(waiters(1));
    EXPECT_EQ(infoOf(unwatched.id()).lockOwner, 0u);
    EXPECT_EQ(zatOSWReleaseMutexSem(mutex), ZAT_OK);
    EXPECT_EQ(unwatched.join(), ZAT_OK);
    remove();

    static const uint32_t owner = 4711;
    for (const uint32_t expected : {0u, owner}) {
        EXPECT_EQ(zatOSWSetWaitMutexOwner(pthread_self(), &owner), ZAT_OK);
        EXPECT_EQ(zatOSWSetWaitMutexOwner(wordOf(&owner), nullptr), ZAT_OK) << "no such task";
        EXPECT_EQ(infoOf(0).lockOwner, expected);
        EXPECT_EQ(zatOSWSetWaitMutexOwner(pthread_self(), nullptr), ZAT_OK);
        EXPECT_EQ(infoOf(0).lockOwner, 0u);
        zatOSWSetLockMonitor(1);
    }
}

}  // namespace
