#include "osw/msg_queue.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <random>

#include "osw/cond_wait.h"
#include "osw/count_sem_private.h"
#include "osw/msg_queue_private.h"
#include "osw/worker.h"

namespace {

constexpr uint32_t messageSize = 12;

ZatMsgQueue make(uint32_t capacity, uint32_t options = 0) {
    ZatMsgQueue queue = 0;
    EXPECT_EQ(zatOSWCreateMsgQueue(&queue, capacity, messageSize, options), ZAT_OK);
    return queue;
}

ZatStatus send(ZatMsgQueue queue, const std::string& text, ZatTimeoutMs timeoutMs = 0,
               uint32_t urgent = 0) {
    return zatOSWSendMsgQueue(queue, text.data(), static_cast<uint32_t>(text.size()), timeoutMs,
                              urgent);
}

std::string receive(ZatMsgQueue queue) {
    char message[messageSize + 1] = "";
    EXPECT_EQ(zatOSWReceiveMsgQueue(queue, message, messageSize, 0), ZAT_OK);
    return message;
}

/* Waits until tasks wait on one of a queue's semaphores. */
bool waiters(ZatCountSem semaphore, int32_t count) {
    return waitersReach(recordOf<OswCountSem>(semaphore), count);
}

/* The ring against the messages that it should hold, in their order. */
void checkRing(ZatMsgQueue handle, const std::deque<std::string>& messages) {
    const auto& queue = recordOf<OswMsgQueue>(handle);
    ASSERT_EQ(queue.msgCount, messages.size());
    ASSERT_LT(queue.head, queue.capacity);
    ASSERT_EQ(queue.tail, (queue.head + queue.msgCount) % queue.capacity);
    for (uint32_t i = 0; i < queue.msgCount; ++i) {
        const auto* slot = queue.buffer + (queue.head + i) % queue.capacity * messageSize;
        std::string padded = messages[i];
        padded.resize(messageSize);
        ASSERT_EQ(memcmp(slot, padded.data(), messageSize), 0) << "message " << i;
    }
    const auto count = static_cast<int32_t>(queue.msgCount);
    ASSERT_EQ(recordOf<OswCountSem>(queue.msgSem).count, count);
    ASSERT_EQ(queue.growable, queue.slotSem == 0);
    if (queue.growable) return;
    const auto capacity = static_cast<int32_t>(queue.capacity);
    ASSERT_EQ(recordOf<OswCountSem>(queue.slotSem).count, capacity - count);
}

class MsgQueueModel : public testing::TestWithParam<uint32_t> {};

TEST_P(MsgQueueModel, HoldsWhatADoubleEndedQueueWould) {
    const bool growable = (GetParam() & 0x10) != 0;
    std::minstd_rand random(testSeed());
    const uint32_t memory = (zatOSWInit(), heldMemory());
    uint32_t capacity = 4;
    const ZatMsgQueue queue = make(capacity, GetParam());
    std::deque<std::string> model;
    std::string grown;
    passOwnMessages();
    testing::internal::CaptureStderr();
    for (int step = 0; step < 3000 && !HasFatalFailure(); ++step) {
        /* First more sends than receives, so that a growable queue grows some times. */
        if (random() % 8 < (step < 60 ? 6u : 4u)) {
            std::string text(random() % (messageSize + 1), static_cast<char>('a' + random() % 26));
            const uint32_t urgent = random() % 3 == 0 ? random() : 0;
            const bool room = growable || model.size() < capacity;
            ASSERT_EQ(send(queue, text, 0, urgent), room ? ZAT_OK : ZAT_TIMED_OUT);
            if (!room) continue;
            if (model.size() == capacity) {
                capacity += 4;
                grown += format("OSW:<Warning>:MessageQueueGrown:qid=%d size=%u length=12\n",
                                static_cast<int>(queue), capacity);
            }
            model.insert(urgent != 0 ? model.begin() : model.end(), text);
        } else {
            char buffer[messageSize + 4];
            memset(buffer, '#', sizeof buffer);
            const uint32_t size = random() % (sizeof buffer + 1);
            const ZatStatus status = zatOSWReceiveMsgQueue(queue, buffer, size, 0);
            ASSERT_EQ(status, model.empty() ? ZAT_TIMED_OUT : ZAT_OK);
            if (model.empty()) continue;
            std::string expected = model.front();
            model.pop_front();
            expected.resize(messageSize);
            expected.resize(std::min(size, messageSize));
            expected.resize(sizeof buffer, '#');
            ASSERT_EQ(std::string(buffer, sizeof buffer), expected);
        }
        uint32_t count = ~0u;
        ASSERT_EQ(zatOSWQueryMsgQueue(queue, &count), ZAT_OK);
        ASSERT_EQ(count, model.size());
        ASSERT_EQ(recordOf<OswMsgQueue>(queue).capacity, capacity);
        checkRing(queue, model);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), grown);
    EXPECT_EQ(grown.empty(), !growable);
    EXPECT_EQ(zatOSWDeleteMsgQueue(queue), ZAT_OK);
    EXPECT_EQ(heldMemory(), memory);
}

INSTANTIATE_TEST_SUITE_P(Options, MsgQueueModel, testing::Values(0u, 0x10u, ~0x10u));

/* Queues are unknown to receivers and askers before and after their time. */
void expectUnknown(ZatMsgQueue queue) {
    uint32_t count = 0;
    char message[messageSize];
    EXPECT_EQ(zatOSWReceiveMsgQueue(queue, message, messageSize, ZAT_FOREVER), ZAT_FAILED);
    EXPECT_EQ(zatOSWQueryMsgQueue(queue, &count), ZAT_FAILED);
}

TEST(MsgQueue, WaitsForAMessageAndForASlot) {
    const ZatMsgQueue queue = make(1);
    EXPECT_EQ(send(queue, "thirteen byte", ZAT_FOREVER), ZAT_FAILED);
    expectUnknown(queue + 4);
    const auto timesOut = [](auto call) {
        const Stopwatch stopwatch;
        EXPECT_EQ(call(), ZAT_TIMED_OUT);
        EXPECT_GE(stopwatch.elapsedMs(), 49u);
    };
    char message[messageSize];
    timesOut([&] { return zatOSWReceiveMsgQueue(queue, message, messageSize, 50); });
    const auto receiver = [=] {
        char text[messageSize] = "";
        const ZatStatus status = zatOSWReceiveMsgQueue(queue, text, messageSize, ZAT_FOREVER);
        return status == ZAT_OK ? static_cast<ZatStatus>(text[0]) : status;
    };
    /* A receiver that is deleted takes nothing from the next. */
    Worker deleted(receiver);
    Worker next(receiver);
    EXPECT_TRUE(waiters(recordOf<OswMsgQueue>(queue).msgSem, 2));
    deleted.remove();
    EXPECT_EQ(send(queue, "A"), ZAT_OK);
    EXPECT_EQ(next.join(), ZatStatus{'A'});

    EXPECT_EQ(send(queue, "B"), ZAT_OK);
    timesOut([&] { return send(queue, "C", 50); });
    Worker deletedSender([=] { return send(queue, "D", ZAT_FOREVER); });
    Worker sender([=] { return send(queue, "E", 5000); });
    EXPECT_TRUE(waiters(recordOf<OswMsgQueue>(queue).slotSem, 2));
    deletedSender.remove();
    EXPECT_EQ(receive(queue), "B");
    EXPECT_EQ(sender.join(), ZAT_OK);
    checkRing(queue, {"E"});
    EXPECT_EQ(zatOSWDeleteMsgQueue(queue), ZAT_OK);
    expectUnknown(queue);
}

TEST(MsgQueue, DeletionSendsAllWhoWaitAway) {
    const uint32_t memory = (zatOSWInit(), heldMemory());
    const ZatMsgQueue full = make(1);
    const ZatMsgQueue busy = make(1);
    const ZatMsgQueue empty = make(1);
    EXPECT_EQ(send(full, "A"), ZAT_OK);
    EXPECT_EQ(send(busy, "A"), ZAT_OK);
    Gate gate;
    Worker woken([&] {
        condWaitScript.gate = &gate;
        return send(busy, "late", 5000);
    });
    EXPECT_TRUE(waiters(recordOf<OswMsgQueue>(busy).slotSem, 1));
    Worker sender([=] { return send(full, "B", ZAT_FOREVER); });
    Worker receiver([=] {
        char text[messageSize];
        return zatOSWReceiveMsgQueue(empty, text, messageSize, ZAT_FOREVER);
    });
    EXPECT_TRUE(waiters(recordOf<OswMsgQueue>(full).slotSem, 1));
    EXPECT_TRUE(waiters(recordOf<OswMsgQueue>(empty).msgSem, 1));
    EXPECT_EQ(receive(busy), "A");
    EXPECT_TRUE(waitFor([&] { return bool{gate.reached}; }));
    for (const ZatMsgQueue queue : {full, busy, empty})
        EXPECT_EQ(zatOSWDeleteMsgQueue(queue), ZAT_OK);
    EXPECT_EQ(sender.join(), ZAT_FAILED);
    EXPECT_EQ(receiver.join(), ZAT_FAILED);
    gate.open = true;
    EXPECT_EQ(woken.join(), ZAT_FAILED);
    EXPECT_EQ(heldMemory(), memory);
}

}  // namespace
