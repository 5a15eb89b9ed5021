// What holds for every semaphore that tasks wait on, whatever its kind. A kind is used as a token
// here: busy when it is made, given by give(), had by whoever wait() returns ZAT_OK to.

#include <errno.h>

#include <atomic>
#include <memory>
#include <set>

#include "osw/cond_wait.h"
#include "osw/sem_kinds.h"
#include "osw/worker.h"

namespace {

template <class Kind>
class WaitFrame : public testing::Test {
  protected:
    WaitFrame() { make(); }
    ~WaitFrame() override {
        if (handle != 0) Kind::remove(handle);
    }

    void make() { handle = Kind::makeBusy(); }
    auto& record() { return recordOf<typename Kind::Record>(handle); }
    ZatStatus wait(ZatTimeoutMs timeoutMs) { return Kind::wait(handle, timeoutMs); }
    ZatStatus give() { return Kind::give(handle); }

    /* Waits and, once served, gives it on. */
    ZatStatus visit(ZatTimeoutMs timeoutMs) {
        const ZatStatus status = wait(timeoutMs);
        return status == ZAT_OK ? give() : status;
    }

    ZatStatus remove() {
        const ZatStatus status = Kind::remove(handle);
        handle = 0;
        return status;
    }

    bool waiters(int32_t count) { return waitersReach(record(), count); }
    bool standbys(uint32_t count) {
        return waitFor([&] { return peek(record(), &Kind::Record::standbys) == count; });
    }

    /* A waiter that is woken and cannot run on before its gate is opened. */
    std::unique_ptr<Worker> wokenBehind(Gate& gate) {
        auto woken = std::make_unique<Worker>([&] {
            condWaitScript.gate = &gate;
            return visit(5000);
        });
        EXPECT_TRUE(waiters(1));
        EXPECT_EQ(give(), ZAT_OK);
        EXPECT_TRUE(waitFor([&] { return bool{gate.reached}; }));
        return woken;
    }

    ZatHandle handle = 0;
};

TYPED_TEST_SUITE(WaitFrame, SemKinds);

TYPED_TEST(WaitFrame, AHandleOfADeletedOneIsNobodys) {
    const ZatHandle old = this->handle;
    EXPECT_EQ(this->remove(), ZAT_OK);
    alignas(8) static uint8_t other[256];
    memset(other, 1, sizeof other);
    for (const ZatHandle gone : {old, ZatHandle{0}, wordOf(other)}) {
        EXPECT_EQ(TypeParam::wait(gone, 0), ZAT_FAILED);
        EXPECT_EQ(TypeParam::give(gone), ZAT_FAILED);
        EXPECT_EQ(TypeParam::remove(gone), ZAT_FAILED);
        EXPECT_EQ(zatOSWResetEventSem(gone), ZAT_FAILED);
    }
    EXPECT_EQ(std::count(other, other + sizeof other, 1), long{sizeof other});
}

TYPED_TEST(WaitFrame, TimesOut) {
    Worker other([this] {
        EXPECT_EQ(this->wait(0), ZAT_TIMED_OUT);
        const Stopwatch stopwatch;
        EXPECT_EQ(this->wait(60), ZAT_TIMED_OUT);
        EXPECT_GE(stopwatch.elapsedMs(), 59u);
        EXPECT_LT(stopwatch.elapsedMs(), 10000u);
        return ZatStatus{ZAT_OK};
    });
    other.join();
    EXPECT_EQ(this->record().waiters, 0);
    EXPECT_EQ(this->give(), ZAT_OK);
    EXPECT_EQ(this->wait(0), ZAT_OK);
}

TYPED_TEST(WaitFrame, GivesNothingForAWakeUpByChanceOrSignal) {
    Worker early([this] {
        condWaitScript.spurious = 3;
        const Stopwatch stopwatch;
        EXPECT_EQ(this->wait(50), ZAT_TIMED_OUT);
        EXPECT_GE(stopwatch.elapsedMs(), 49u);
        EXPECT_EQ(condWaitScript.spurious, 0) << "the library does not wait through this program";
        condWaitScript.error = EINTR;
        return this->wait(ZAT_FOREVER);
    });
    EXPECT_EQ(early.join(), ZAT_TIMED_OUT);
    Worker patient([this] {
        condWaitScript.spurious = 3;
        return this->visit(ZAT_FOREVER);
    });
    EXPECT_TRUE(this->waiters(1));
    EXPECT_EQ(this->give(), ZAT_OK);
    EXPECT_EQ(patient.join(), ZAT_OK);
}

TYPED_TEST(WaitFrame, AWokenWaiterWinsAgainstANewcomer) {
    Gate gate;
    auto woken = this->wokenBehind(gate);
    Worker deleted([this] { return this->wait(ZAT_FOREVER); });
    Worker newcomer([this] { return this->visit(5000); });
    EXPECT_TRUE(this->standbys(2));
    deleted.remove();
    gate.open = true;
    EXPECT_EQ(woken->join(), ZAT_OK);
    EXPECT_EQ(newcomer.join(), ZAT_OK);
    EXPECT_EQ(this->record().handoff, 0u);
    EXPECT_EQ(this->record().standbys, 0u) << "the deleted one counts no more";
    EXPECT_EQ(this->wait(0), ZAT_OK) << "each of the two gave it on";
}

TYPED_TEST(WaitFrame, DeletionSendsEveryWaiterAwayAndTheLastOneFrees) {
    const uint32_t others = heldMemory() - TypeParam::memorySize;
    Gate gate;
    Worker last([&] {
        condWaitScript.gate = &gate;
        return this->wait(ZAT_FOREVER);
    });
    Worker timed([this] { return this->wait(60000); });
    Worker first([this] { return this->wait(ZAT_FOREVER); });
    EXPECT_TRUE(this->waiters(3));
    const ZatHandle deleted = this->handle;
    EXPECT_EQ(this->remove(), ZAT_OK);
    EXPECT_EQ(first.join(), ZAT_FAILED);
    EXPECT_EQ(timed.join(), ZAT_FAILED);
    EXPECT_EQ(TypeParam::wait(deleted, 0), ZAT_FAILED);
    EXPECT_EQ(TypeParam::wait(deleted, ZAT_FOREVER), ZAT_FAILED);
    EXPECT_EQ(TypeParam::give(deleted), ZAT_FAILED);
    EXPECT_EQ(TypeParam::remove(deleted), ZAT_FAILED);
    gate.open = true;
    EXPECT_EQ(last.join(), ZAT_FAILED);
    EXPECT_EQ(heldMemory(), others);
}

/* The woken waiter leaves after the deletion or before, the newcomer is the last in either case. */
TYPED_TEST(WaitFrame, DeletionSendsANewcomerThatStandsBackAway) {
    const uint32_t others = heldMemory() - TypeParam::memorySize;
    for (const bool wokenFirst : {false, true}) {
        Gate gate;
        Gate napGate;
        auto woken = this->wokenBehind(gate);
        Worker newcomer([&] {
            condWaitScript.napGate = &napGate;
            return this->wait(ZAT_FOREVER);
        });
        EXPECT_TRUE(waitFor([&] { return bool{napGate.reached}; }));
        gate.open = wokenFirst;
        if (wokenFirst) woken->join();
        EXPECT_EQ(this->remove(), ZAT_OK);
        gate.open = true;
        EXPECT_EQ(woken->join(), wokenFirst ? ZAT_OK : ZAT_FAILED);
        napGate.open = true;
        EXPECT_EQ(newcomer.join(), ZAT_FAILED);
        EXPECT_EQ(heldMemory(), others);
        this->make();
    }
}

/* Which of the two is first differs from round to round. */
TYPED_TEST(WaitFrame, AWakeUpForADeletedWaiterReachesAnother) {
    const int rounds = emulated() ? 20 : 100;
    for (int round = 0; round < rounds; ++round) {
        Worker victim([this] { return this->visit(ZAT_FOREVER); });
        EXPECT_TRUE(this->waiters(1));
        Worker other([this] { return this->visit(5000); });
        EXPECT_TRUE(this->waiters(2));
        if (round % 2 == 0) {
            EXPECT_EQ(this->give(), ZAT_OK);
            victim.remove();
        } else {
            EXPECT_EQ(zatOSWDeleteTask(victim.id()), ZAT_OK);
            EXPECT_EQ(this->give(), ZAT_OK);
            victim.join();
        }
        ASSERT_EQ(other.join(), ZAT_OK) << "round " << round;
        ASSERT_EQ(this->wait(0), ZAT_OK) << "round " << round;
    }
    Worker alone([this] { return this->wait(60000); });
    EXPECT_TRUE(this->waiters(1));
    alone.remove();
    EXPECT_EQ(peek(this->record(), &TypeParam::Record::waiters), 0);
    EXPECT_EQ(this->give(), ZAT_OK);
    EXPECT_EQ(this->wait(0), ZAT_OK) << "nobody else is there to take it";
}

TYPED_TEST(WaitFrame, AWakeUpThatCameAsTimeRanOutReachesAnother) {
    Gate gate;
    std::atomic<int> lateError = ETIMEDOUT;
    const auto visit = [&] {
        condWaitScript.lateError = &lateError;
        condWaitScript.gate = &gate;
        return this->visit(5000);
    };
    Worker first(visit);
    Worker second(visit);
    EXPECT_TRUE(this->waiters(2));
    EXPECT_EQ(this->give(), ZAT_OK);
    EXPECT_TRUE(waitFor([&] { return bool{gate.reached}; }));
    Worker newcomer([this] { return this->visit(5000); });
    EXPECT_TRUE(this->standbys(1)) << "the other one goes first";
    gate.open = true;
    EXPECT_EQ((std::multiset{first.join(), second.join()}),
              (std::multiset<ZatStatus>{ZAT_OK, ZAT_TIMED_OUT}));
    EXPECT_EQ(newcomer.join(), ZAT_OK);
}

TYPED_TEST(WaitFrame, IsFreedOnceWhenItAndItsWaiterAreDeletedTogether) {
    const uint32_t others = heldMemory() - TypeParam::memorySize;
    const int rounds = emulated() ? 20 : 100;
    for (int round = 0; round < rounds; ++round) {
        Worker victim([this] { return this->wait(ZAT_FOREVER); });
        EXPECT_TRUE(this->waiters(1));
        if (round % 2 == 0) zatOSWDeleteTask(victim.id());
        EXPECT_EQ(this->remove(), ZAT_OK);
        if (round % 2 != 0) zatOSWDeleteTask(victim.id());
        victim.join();
        ASSERT_EQ(heldMemory(), others);
        this->make();
    }
}

}  // namespace
