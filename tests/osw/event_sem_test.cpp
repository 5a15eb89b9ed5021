#include "osw/event_sem.h"

#include "osw/cond_wait.h"
#include "osw/event_sem_private.h"
#include "osw/worker.h"

namespace {

class EventSem : public testing::Test {
  protected:
    EventSem() { EXPECT_EQ(zatOSWCreateEventSem(&event, 0xFFFFFFFF, 0), ZAT_OK); }
    ~EventSem() override { EXPECT_EQ(zatOSWDeleteEventSem(event), ZAT_OK); }

    OswEventSem& record() { return recordOf<OswEventSem>(event); }
    bool waiters(int32_t count) { return waitersReach(record(), count); }
    ZatStatus wait(ZatTimeoutMs timeoutMs) { return zatOSWWaitEventSem(event, timeoutMs); }

    ZatEventSem event = 0;
};

TEST_F(EventSem, IsPostedAtFirstOnlyWhenAskedFor) {
    for (uint32_t state : {0u, 1u, 2u, 0xFFFFFFFFu}) {
        ZatEventSem other = 0;
        ASSERT_EQ(zatOSWCreateEventSem(&other, 0, state), ZAT_OK);
        EXPECT_EQ(zatOSWWaitEventSem(other, 0), state == 1 ? ZAT_OK : ZAT_TIMED_OUT) << state;
        EXPECT_EQ(zatOSWWaitEventSem(other, 0), ZAT_TIMED_OUT);
        EXPECT_EQ(zatOSWDeleteEventSem(other), ZAT_OK);
    }
}

TEST_F(EventSem, OnePostStaysPendingUntilItIsTakenOrReset) {
    EXPECT_EQ(zatOSWPostEventSem(event), ZAT_OK);
    EXPECT_EQ(zatOSWPostEventSem(event), ZAT_OK);
    EXPECT_EQ(wait(0), ZAT_OK);
    EXPECT_EQ(wait(0), ZAT_TIMED_OUT);
    EXPECT_EQ(zatOSWPostEventSem(event), ZAT_OK);
    EXPECT_EQ(zatOSWResetEventSem(event), ZAT_OK);
    EXPECT_EQ(wait(0), ZAT_TIMED_OUT);
    EXPECT_EQ(zatOSWFlushEventSem(event), ZAT_OK);
    EXPECT_EQ(wait(0), ZAT_TIMED_OUT);
}

TEST_F(EventSem, AFlushWakesAllWhoWaitAndNobodyWhoComesThen) {
    Gate gates[2];
    const auto flushed = [this](Gate& gate, ZatTimeoutMs timeoutMs) {
        return [this, &gate, timeoutMs] {
            condWaitScript.gate = &gate;
            return wait(timeoutMs);
        };
    };
    Worker first(flushed(gates[0], 5000));
    Worker second(flushed(gates[1], ZAT_FOREVER));
    Worker third([this] { return zatOSWWaitAllEventSem(event, 5000); });
    EXPECT_TRUE(waiters(3));
    EXPECT_EQ(zatOSWFlushEventSem(event), ZAT_OK);
    EXPECT_EQ(third.join(), ZAT_OK);
    for (Gate& gate : gates)
        EXPECT_TRUE(waitFor([&] { return bool{gate.reached}; }));
    Worker newcomer([this] { return wait(50); });
    EXPECT_TRUE(waitFor([this] {
        return static_cast<uint32_t>(peek(record(), &OswEventSem::waiters)) +
                   peek(record(), &OswEventSem::standbys) ==
               3;
    }));
    for (Gate& gate : gates)
        gate.open = true;
    EXPECT_EQ(newcomer.join(), ZAT_TIMED_OUT);
    EXPECT_EQ(first.join(), ZAT_OK);
    EXPECT_EQ(second.join(), ZAT_OK);
    EXPECT_EQ(record().signalled, 0u);
    EXPECT_EQ(wait(20), ZAT_TIMED_OUT);
}

TEST_F(EventSem, WaitAllWaitsForTheNextPostOrFlush) {
    EXPECT_EQ(zatOSWPostEventSem(event), ZAT_OK);
    EXPECT_EQ(zatOSWWaitAllEventSem(event, 0), ZAT_TIMED_OUT);
    const Stopwatch stopwatch;
    EXPECT_EQ(zatOSWWaitAllEventSem(event, 50), ZAT_TIMED_OUT);
    EXPECT_GE(stopwatch.elapsedMs(), 49u);
    EXPECT_EQ(wait(0), ZAT_OK) << "the pending post is not touched";

    for (const auto wake : {zatOSWPostEventSem, zatOSWFlushEventSem}) {
        EXPECT_EQ(zatOSWPostEventSem(event), ZAT_OK);
        Worker waiter([this] { return zatOSWWaitAllEventSem(event, 5000); });
        EXPECT_TRUE(waiters(1));
        EXPECT_EQ(wait(0), ZAT_TIMED_OUT) << "it queues behind the waiter, post or not";
        EXPECT_EQ(wake(event), ZAT_OK);
        EXPECT_EQ(waiter.join(), ZAT_OK);
        EXPECT_EQ(wait(0), ZAT_TIMED_OUT) << "it took the post; nobody stands back for it now";
    }
}

TEST_F(EventSem, WaitAllTakesTheNextWakeUpAndNotOneThatIsOnItsWay) {
    for (const auto wake : {zatOSWPostEventSem, zatOSWFlushEventSem}) {
        Gate gate;
        Worker woken([&] {
            condWaitScript.gate = &gate;
            return wait(5000);
        });
        EXPECT_TRUE(waiters(1));
        EXPECT_EQ(zatOSWPostEventSem(event), ZAT_OK);
        EXPECT_TRUE(waitFor([&] { return bool{gate.reached}; }));
        EXPECT_EQ(zatOSWWaitAllEventSem(event, 50), ZAT_TIMED_OUT);
        Worker all([this] { return zatOSWWaitAllEventSem(event, 5000); });
        EXPECT_TRUE(waiters(2));
        EXPECT_EQ(wake(event), ZAT_OK);
        EXPECT_EQ(all.join(), ZAT_OK);
        Worker newcomer([this] { return wait(0); });
        EXPECT_TRUE(waitFor([this] { return peek(record(), &OswEventSem::standbys) == 1; }));
        gate.open = true;
        EXPECT_EQ(woken.join(), ZAT_OK);
        EXPECT_EQ(newcomer.join(), ZAT_TIMED_OUT);
        EXPECT_EQ(zatOSWResetEventSem(event), ZAT_OK);
    }
}

}  // namespace
