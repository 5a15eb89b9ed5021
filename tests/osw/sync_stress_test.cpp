/* Many tasks on one object, at random. Nothing stands between the library and the thread library
 * here, so that a race checker may look on. */

#include <sched.h>

#include <memory>
#include <random>
#include <vector>

#include "osw/msg_queue_private.h"
#include "osw/sem_kinds.h"
#include "osw/worker.h"

namespace {

template <class Kind>
class SemStress : public testing::Test {};

TYPED_TEST_SUITE(SemStress, SemKinds);

TYPED_TEST(SemStress, ServesOneAtATime) {
    const ZatHandle handle = TypeParam::makeBusy();
    /* The race checker does not learn that a deleted task waits no more. */
    const bool deletes = !isRunBy("--tool=drd");
    const uint32_t seed = testSeed();
    const int visits = emulated() ? 100 : 1000;
    volatile uint32_t inside = 0;
    volatile uint32_t served = 0;
    Shared<uint32_t> broken;
    Shared<uint32_t> succeeded;
    const auto visit = [&](std::minstd_rand& random, ZatTimeoutMs timeoutMs) {
        const ZatStatus status = TypeParam::wait(handle, timeoutMs);
        if (status == ZAT_TIMED_OUT) return;
        if (status != ZAT_OK || inside != 0) ++broken;
        inside = inside + 1;
        if (random() % 4 == 0) sched_yield();
        inside = inside - 1;
        served = served + 1;
        ++succeeded;
        if (TypeParam::give(handle) != ZAT_OK) ++broken;
    };
    const auto visitor = [&](uint32_t number) {
        return [&, number] {
            std::minstd_rand random(seed + number);
            static constexpr ZatTimeoutMs timeouts[] = {0, 1, 3, ZAT_FOREVER};
            for (int i = 0; i < visits; ++i)
                visit(random, timeouts[random() % 4]);
            return ZatStatus{ZAT_OK};
        };
    };
    EXPECT_EQ(TypeParam::give(handle), ZAT_OK);
    {
        std::vector<std::unique_ptr<Worker>> visitors;
        for (uint32_t number = 1; number <= 3; ++number)
            visitors.push_back(std::make_unique<Worker>(visitor(number)));
        std::minstd_rand random(seed);
        for (int i = 0; deletes && i < visits / 10; ++i) {
            Worker victim([&] {
                for (std::minstd_rand own(seed + 99);; pthread_testcancel())
                    visit(own, ZAT_FOREVER);
                return ZatStatus{ZAT_OK};
            });
            visit(random, ZAT_FOREVER);
            zatOSWSleep(random() % 2);
            victim.remove();
        }
    }
    EXPECT_EQ(broken, 0u);
    EXPECT_EQ(served, succeeded);
    EXPECT_EQ(recordOf<typename TypeParam::Record>(handle).waiters, 0);
    EXPECT_EQ(TypeParam::wait(handle, 0), ZAT_OK) << "the last visitor gave it on";
    Worker other([&] { return TypeParam::wait(handle, 0); });
    EXPECT_EQ(other.join(), ZAT_TIMED_OUT) << "and there is only one";
    EXPECT_EQ(TypeParam::remove(handle), ZAT_OK);
}

class MsgQueueStress : public testing::TestWithParam<uint32_t> {};

TEST_P(MsgQueueStress, KeepsTheOrderOfEachSender) {
    static constexpr uint32_t senders = 3;
    const uint32_t messages = emulated() ? 300 : 3000;
    ZatMsgQueue queue = 0;
    ASSERT_EQ(zatOSWCreateMsgQueue(&queue, 4, 12, GetParam()), ZAT_OK);
    Shared<uint32_t> received;
    std::vector<std::unique_ptr<Worker>> workers;
    const auto receiver = [&] {
        uint32_t last[senders] = {};
        for (;;) {
            uint32_t message[3];
            if (zatOSWReceiveMsgQueue(queue, message, sizeof message, ZAT_FOREVER) != ZAT_OK)
                return ZatStatus{1};
            if (message[1] == 0) return ZatStatus{ZAT_OK};
            if (message[2] != 0 || message[0] >= senders || message[1] <= last[message[0]])
                return ZatStatus{2};
            last[message[0]] = message[1];
            ++received;
        }
    };
    for (int i = 0; i < 2; ++i)
        workers.push_back(std::make_unique<Worker>(receiver));
    for (uint32_t number = 0; number < senders; ++number)
        workers.push_back(std::make_unique<Worker>([&, number] {
            for (uint32_t message[2] = {number, 1}; message[1] <= messages; ++message[1])
                if (zatOSWSendMsgQueue(queue, message, 8, ZAT_FOREVER, 0) != ZAT_OK)
                    return ZatStatus{3};
            return ZatStatus{ZAT_OK};
        }));
    for (size_t i = 2; i < workers.size(); ++i)
        EXPECT_EQ(workers[i]->join(), ZAT_OK);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(zatOSWSendMsgQueue(queue, nullptr, 0, ZAT_FOREVER, 0), ZAT_OK);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(workers[i]->join(), ZAT_OK);
    EXPECT_EQ(received, senders * messages);
    EXPECT_EQ(recordOf<OswMsgQueue>(queue).msgCount, 0u);
    EXPECT_EQ(zatOSWDeleteMsgQueue(queue), ZAT_OK);
}

INSTANTIATE_TEST_SUITE_P(Options, MsgQueueStress, testing::Values(0u, 0x10u));

}  // namespace
