#include "osw/count_sem.h"

#include <climits>

#include "osw/count_sem_private.h"
#include "osw/wait_frame.h"

namespace {

struct CountKind : SemKind<OswCountSem, sizeof(OswCountSem), zatOSWCreateCountSem,
                           zatOSWWaitCountSem, zatOSWPostCountSem, zatOSWDeleteCountSem> {};
INSTANTIATE_TYPED_TEST_SUITE_P(Count, WaitFrame, CountKind);

ZatCountSem make(int32_t count) {
    ZatCountSem semaphore = 0;
    EXPECT_EQ(zatOSWCreateCountSem(&semaphore, 0xFFFFFFFF, count), ZAT_OK);
    return semaphore;
}

bool waiters(ZatCountSem semaphore, int32_t count) {
    return waitFor([=] { return peek(recordOf<OswCountSem>(semaphore).waiters) == count; });
}

TEST(CountSem, ANegativeCountIsFilledUpBeforeAnyoneIsServed) {
    const ZatCountSem semaphore = make(-1);
    EXPECT_EQ(zatOSWWaitCountSem(semaphore, 0), ZAT_TIMED_OUT);
    Worker waiter([=] { return zatOSWWaitCountSem(semaphore, 5000); });
    EXPECT_TRUE(waiters(semaphore, 1));
    EXPECT_EQ(zatOSWPostCountSem(semaphore), ZAT_OK);
    EXPECT_EQ(recordOf<OswCountSem>(semaphore).handoff, 0u);
    EXPECT_EQ(recordOf<OswCountSem>(semaphore).count, 0);
    EXPECT_EQ(zatOSWWaitCountSem(semaphore, 30), ZAT_TIMED_OUT);
    EXPECT_EQ(peek(recordOf<OswCountSem>(semaphore).waiters), 1);
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
    for (Gate& gate : gates)
        gate.open = true;
    EXPECT_EQ(first.join(), ZAT_OK);
    EXPECT_EQ(second.join(), ZAT_OK);
    EXPECT_EQ(zatOSWWaitCountSem(semaphore, 0), ZAT_OK);
    EXPECT_EQ(zatOSWWaitCountSem(semaphore, 0), ZAT_OK);
    EXPECT_EQ(zatOSWWaitCountSem(semaphore, 0), ZAT_TIMED_OUT);
    EXPECT_EQ(zatOSWDeleteCountSem(semaphore), ZAT_OK);
}

TEST(CountSem, KeepsEveryUnitUnderStress) {
    const ZatCountSem semaphore = make(-3);
    const uint32_t seed = testSeed();
    const int posts = emulated() ? 300 : 2000;
    std::atomic<int> taken{0};
    std::atomic<bool> posted{false};
    {
        std::vector<std::unique_ptr<Worker>> takers;
        for (uint32_t number = 1; number <= 3; ++number)
            takers.push_back(std::make_unique<Worker>([&, number] {
                std::minstd_rand random(seed + number);
                for (;;) {
                    const bool last = posted;
                    const ZatStatus status = zatOSWWaitCountSem(semaphore, random() % 3);
                    if (status == ZAT_OK) ++taken;
                    if (status == ZAT_TIMED_OUT && last) return ZatStatus{ZAT_OK};
                    if (status != ZAT_OK && status != ZAT_TIMED_OUT) return status;
                }
            }));
        std::minstd_rand random(seed);
        for (int i = 0; i < posts; ++i) {
            EXPECT_EQ(zatOSWPostCountSem(semaphore), ZAT_OK);
            if (random() % 16 == 0) pauseBriefly();
        }
        posted = true;
        for (auto& taker : takers)
            EXPECT_EQ(taker->join(), ZAT_OK);
    }
    EXPECT_EQ(taken + recordOf<OswCountSem>(semaphore).count, posts - 3);
    EXPECT_EQ(recordOf<OswCountSem>(semaphore).waiters, 0);
    EXPECT_EQ(zatOSWDeleteCountSem(semaphore), ZAT_OK);
}

}  // namespace
