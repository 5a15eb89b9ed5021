#include "osw/mutex_sem.h"

#include <sys/time.h>

#include "osw/mutex_sem_private.h"
#include "osw/wait_frame.h"

namespace {

/* Busy: taken by the task that made it. */
struct MutexKind {
    using Record = OswMutexSem;
    static constexpr uint32_t memorySize = 0; /* not from a partition */
    static constexpr bool recursive = true;

    static ZatHandle makeBusy() {
        ZatMutexSem mutex = 0;
        EXPECT_EQ(zatOSWCreateMutexSem(&mutex, 0, 0), ZAT_OK);
        return mutex;
    }
    static ZatStatus wait(ZatHandle mutex, ZatTimeoutMs timeoutMs) {
        return zatOSWRequestMutexSem(mutex, timeoutMs);
    }
    static ZatStatus give(ZatHandle mutex) { return zatOSWReleaseMutexSem(mutex); }
    static ZatStatus remove(ZatHandle mutex) { return zatOSWDeleteMutexSem(mutex); }
};

INSTANTIATE_TYPED_TEST_SUITE_P(Mutex, WaitFrame, MutexKind);

class MutexSem : public testing::Test {
  protected:
    ~MutexSem() override {
        zatOSWSetLockMonitor(0);
        EXPECT_EQ(mutex == 0 ? ZatStatus{ZAT_OK} : zatOSWDeleteMutexSem(mutex), ZAT_OK);
    }

    ZatMutexSem make(uint32_t initialState) {
        EXPECT_EQ(zatOSWCreateMutexSem(&mutex, 0xFFFFFFFF, initialState), ZAT_OK);
        return mutex;
    }
    bool waiters(int32_t count) {
        return waitFor([=, this] { return peek(recordOf<OswMutexSem>(mutex).waiters) == count; });
    }
    /* What another task is answered. */
    template <class Call>
    static ZatStatus byAnother(Call call) {
        return Worker(call).join();
    }
    ZatStatus visitByAnother() {
        return byAnother([this] {
            const ZatStatus status = zatOSWRequestMutexSem(mutex, 0);
            return status == ZAT_OK ? zatOSWReleaseMutexSem(mutex) : status;
        });
    }

    ZatMutexSem mutex = 0;
};

TEST_F(MutexSem, IsFreeOrTakenByItsCreatorAtFirst) {
    make(1);
    EXPECT_EQ(zatOSWReleaseMutexSem(mutex), ZAT_FAILED);
    EXPECT_EQ(visitByAnother(), ZAT_OK);
    EXPECT_EQ(zatOSWDeleteMutexSem(mutex), ZAT_OK);
    make(0);
    EXPECT_EQ(visitByAnother(), ZAT_TIMED_OUT);
    EXPECT_EQ(zatOSWReleaseMutexSem(mutex), ZAT_OK);
    EXPECT_EQ(visitByAnother(), ZAT_OK);
}

TEST_F(MutexSem, EachTakeOfTheOwnerNeedsItsOwnRelease) {
    make(1);
    for (int take = 0; take < 3; ++take)
        EXPECT_EQ(zatOSWRequestMutexSem(mutex, 0), ZAT_OK);
    Worker waiter([this] {
        EXPECT_EQ(zatOSWRequestMutexSem(mutex, ZAT_FOREVER), ZAT_OK);
        return zatOSWReleaseMutexSem(mutex);
    });
    EXPECT_TRUE(waiters(1));
    EXPECT_EQ(zatOSWRequestMutexSem(mutex, 0), ZAT_OK) << "the owner does not queue";
    for (int release = 0; release < 3; ++release)
        EXPECT_EQ(zatOSWReleaseMutexSem(mutex), ZAT_OK);
    EXPECT_EQ(visitByAnother(), ZAT_TIMED_OUT);
    EXPECT_EQ(peek(recordOf<OswMutexSem>(mutex).waiters), 1);
    EXPECT_EQ(zatOSWReleaseMutexSem(mutex), ZAT_OK);
    EXPECT_EQ(waiter.join(), ZAT_OK);
    EXPECT_EQ(zatOSWReleaseMutexSem(mutex), ZAT_FAILED);
}

TEST_F(MutexSem, OnlyItsOwnerReleasesOrDeletesIt) {
    make(0);
    EXPECT_EQ(byAnother([this] { return zatOSWReleaseMutexSem(mutex); }), ZAT_FAILED);
    EXPECT_EQ(byAnother([this] { return zatOSWDeleteMutexSem(mutex); }), ZAT_FAILED);
    EXPECT_EQ(visitByAnother(), ZAT_TIMED_OUT);
    EXPECT_EQ(zatOSWReleaseMutexSem(mutex), ZAT_OK) << "nothing had changed";
    EXPECT_EQ(byAnother([this] { return zatOSWDeleteMutexSem(mutex); }), ZAT_OK);
    mutex = 0;
}

TEST_F(MutexSem, WaitsIntoTheNextSecond) {
    make(0);
    Worker waiter([this] {
        timeval now;
        waitFor([&] { return gettimeofday(&now, nullptr) == 0 && now.tv_usec > 900000; });
        for (ZatTimeoutMs timeoutMs : {150u, 1500u}) {
            const Stopwatch stopwatch;
            EXPECT_EQ(zatOSWRequestMutexSem(mutex, timeoutMs), ZAT_TIMED_OUT);
            EXPECT_GE(stopwatch.elapsedMs() + 1, timeoutMs);
            EXPECT_LT(stopwatch.elapsedMs(), timeoutMs + 10000u);
        }
        return ZatStatus{ZAT_OK};
    });
}

/* The longest time-out lies beyond what a 32-bit clock can say. */
TEST_F(MutexSem, WaitsForTheLongestTimeOut) {
    make(0);
    Worker waiter([this] {
        const ZatStatus status = zatOSWRequestMutexSem(mutex, ZAT_FOREVER - 1);
        return status == ZAT_OK ? zatOSWReleaseMutexSem(mutex) : status;
    });
    EXPECT_TRUE(waiters(1));
    EXPECT_EQ(zatOSWReleaseMutexSem(mutex), ZAT_OK);
    EXPECT_EQ(waiter.join(), ZAT_OK);
}

TEST_F(MutexSem, TheLockMonitorTellsWhomATaskWaitsFor) {
    make(0);
    for (const bool switchedOffMeanwhile : {false, true}) {
        zatOSWSetLockMonitor(1);
        Gate gate;
        Worker waiter([&] {
            EXPECT_EQ(zatOSWRequestMutexSem(mutex, 5000), ZAT_OK);
            gate.reached = true;
            EXPECT_TRUE(waitFor([&] { return gate.open.load(); }));
            return zatOSWReleaseMutexSem(mutex);
        });
        EXPECT_TRUE(waitFor([&] { return infoOf(waiter.id()).lockOwner == pthread_self(); }));
        if (switchedOffMeanwhile) zatOSWSetLockMonitor(0);
        EXPECT_EQ(zatOSWReleaseMutexSem(mutex), ZAT_OK);
        EXPECT_TRUE(waitFor([&] { return gate.reached.load(); }));
        EXPECT_EQ(infoOf(waiter.id()).lockOwner, 0u);
        gate.open = true;
        EXPECT_EQ(waiter.join(), ZAT_OK);
        EXPECT_EQ(zatOSWRequestMutexSem(mutex, 0), ZAT_OK);
    }
    Worker unwatched([this] { return zatOSWRequestMutexSem(mutex, ZAT_FOREVER); });
    EXPECT_TRUE(waiters(1));
    EXPECT_EQ(infoOf(unwatched.id()).lockOwner, 0u);
    unwatched.remove();
}

TEST_F(MutexSem, CallersNoteWhatTheyWaitForThemselves) {
    static const uint32_t owner = 4711;
    ASSERT_EQ(zatOSWInit(), ZAT_OK);
    EXPECT_EQ(zatOSWSetWaitMutexOwner(pthread_self(), &owner), ZAT_OK);
    EXPECT_EQ(infoOf(0).lockOwner, 0u) << "the monitor is off";
    zatOSWSetLockMonitor(7);
    EXPECT_EQ(zatOSWSetWaitMutexOwner(pthread_self(), &owner), ZAT_OK);
    EXPECT_EQ(infoOf(0).lockOwner, 4711u);
    EXPECT_EQ(zatOSWSetWaitMutexOwner(wordOf(&owner), nullptr), ZAT_OK) << "no such task";
    EXPECT_EQ(infoOf(0).lockOwner, 4711u);
    EXPECT_EQ(zatOSWSetWaitMutexOwner(pthread_self(), nullptr), ZAT_OK);
    EXPECT_EQ(infoOf(0).lockOwner, 0u);
}

}  // namespace
