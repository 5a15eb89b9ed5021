#include "osw/count_sem.h"

#include "osw/cond_wait.h"
#include "osw/count_sem_private.h"
#include "osw/worker.h"

namespace {

ZatCountSem make(int32_t count) {
    ZatCountSem semaphore = 0;
    EXPECT_EQ(zatOSWCreateCountSem(&semaphore, 0xFFFFFFFF, count), ZAT_OK);
    return semaphore;
}

bool waiters(ZatCountSem semaphore, int32_t count) {
    return waitersReach(recordOf<OswCountSem>(semaphore), count);
}

TEST(CountSem, ANegativeCountIsFilledUpBeforeAnyoneIsServed) {
    const ZatCountSem semaphore = make(-1);
    EXPECT_EQ(zatOSWWaitCountSem(semaphore, 0), ZAT_TIMED_OUT);
    Worker waiter([=] { return zatOSWWaitCountSem(semaphore, 5000); });
    EXPECT_TRUE(waiters(semaphore, 1));
    EXPECT_EQ(zatOSWPostCountSem(semaphore), ZAT_OK);
    EXPECT_EQ(peek(recordOf<OswCountSem>(semaphore), &OswCountSem::handoff), 0u);
    EXPECT_EQ(peek(recordOf<OswCountSem>(semaphore), &OswCountSem::count), 0);
    EXPECT_EQ(zatOSWWaitCountSem(semaphore, 30), ZAT_TIMED_OUT);
    EXPECT_EQ(peek(recordOf<OswCountSem>(semaphore), &OswCountSem::waiters), 1);
    EXPECT_EQ(zatOSWPostCountSem(semaphore), ZAT_OK);
    EXPECT_EQ(waiter.join(), ZAT_OK);
    EXPECT_EQ(zatOSWWaitCountSem(semaphore, 0), ZAT_TIMED_OUT);
    EXPECT_EQ(zatOSWDeleteCountSem(semaphore), ZAT_OK);
}

TEST(CountSem, GivesEachUnitOnceToAWaiterOrLater) {
    const ZatCountSem semaphore = make(2);
    EXPECT_EQ(zatOSWWaitCountSem(semaphore, 0), ZAT_OK);
    EXPECT_EQ(zatOSWWaitCountSem(semaphore, ZAT_FOREVER), ZAT_OK);
    Gate gates[2];
    const auto waiter = [semaphore](Gate& gate) {
        return [semaphore, &gate] {
            condWaitScript.gate = &gate;
            return zatOSWWaitCountSem(semaphore, 5000);
        };
    };
    Worker first(waiter(gates[0]));
    Worker second(waiter(gates[1]));
    EXPECT_TRUE(waiters(semaphore, 2));
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(zatOSWPostCountSem(semaphore), ZAT_OK);
    gates[0].open = true;
    EXPECT_EQ(first.join(), ZAT_OK);
    EXPECT_EQ(zatOSWWaitCountSem(semaphore, 0), ZAT_TIMED_OUT) << "the second is before it";
    Worker third([=] { return zatOSWWaitCountSem(semaphore, 5000); });
    EXPECT_TRUE(waiters(semaphore, 2));
    gates[1].open = true;
    EXPECT_EQ(second.join(), ZAT_OK);
    EXPECT_EQ(third.join(), ZAT_OK) << "no post woke it";
    EXPECT_EQ(zatOSWWaitCountSem(semaphore, 0), ZAT_OK);
    EXPECT_EQ(zatOSWWaitCountSem(semaphore, 0), ZAT_TIMED_OUT);
    EXPECT_EQ(zatOSWDeleteCountSem(semaphore), ZAT_OK);
}

}  // namespace
