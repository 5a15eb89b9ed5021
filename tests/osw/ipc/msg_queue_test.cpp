/* What is particular to named message queues; see wait_test.cpp for what they share with others. */

#include "osw/ipc/msg_queue.h"

#include <linux/capability.h>
#include <sys/syscall.h>

#include <cstring>
#include <fstream>
#include <memory>
#include <set>

#include "osw/ipc/object_private.h"
#include "osw/ipc/peer.h"
#include "osw/worker.h"

static ZatIpcHandle queue, answers;
static constexpr uint32_t messageSize = 16;

static uint32_t make(uint32_t capacity, uint32_t) {
    return zatOSWIpcCreateMsgQueue("queue", &queue, capacity, messageSize, 0);
}
static uint32_t makeAnswers(uint32_t, uint32_t) {
    return zatOSWIpcCreateMsgQueue("answers", &answers, 1, messageSize, 0);
}
static uint32_t sendNumber(uint32_t number, uint32_t timeoutMs) {
    return zatOSWIpcSendMsgQueue(queue, &number, sizeof number, timeoutMs, 0);
}

/* Sends back, with one added, what comes, until that is 0. */
static uint32_t answerAll(uint32_t, uint32_t) {
    uint32_t number = 0;
    do {
        ZatStatus status = zatOSWIpcReceiveMsgQueue(queue, &number, sizeof number, ZAT_FOREVER);
        if (status == ZAT_OK) {
            ++number;
            status = zatOSWIpcSendMsgQueue(answers, &number, sizeof number, ZAT_FOREVER, 0);
        }
        if (status != ZAT_OK) return status;
    } while (number != 1);
    return ZAT_OK;
}

namespace {

IpcStatus state() {
    return stateOf(queue, ZAT_IPC_TYPE_QUEUE);
}

uint32_t messages() {
    uint32_t count = 4711;
    EXPECT_EQ(zatOSWIpcQueryMsgQueue(queue, &count), ZAT_OK);
    return count;
}

ZatStatus send(const std::string& text) {
    return zatOSWIpcSendMsgQueue(queue, text.data(), static_cast<uint32_t>(text.size()), 0, 0);
}

/* What a receive with some room writes. */
std::string receive(uint32_t room = messageSize, ZatStatus expected = ZAT_OK) {
    char buffer[64];
    memset(buffer, '-', sizeof buffer);
    EXPECT_EQ(zatOSWIpcReceiveMsgQueue(queue, buffer, room, 0), expected);
    return std::string(buffer, std::string(buffer, sizeof buffer).find_last_not_of('-') + 1);
}

TEST(SharedQueue, KeepsMessagesInOrderAndWithinItsBounds) {
    ZatIpcHandle none = 0;
    EXPECT_EQ(zatOSWIpcCreateMsgQueue("queue", &none, 0, messageSize, 0), ZAT_IPC_BAD_PARAMETERS);
    EXPECT_EQ(zatOSWIpcCreateMsgQueue("queue", &none, 3, 0, 0), ZAT_IPC_BAD_PARAMETERS);
    ASSERT_EQ(make(4, 0), ZAT_OK);
    EXPECT_EQ(messages(), 0u);
    EXPECT_EQ(receive(messageSize, ZAT_TIMED_OUT), "");
    EXPECT_EQ(send("first"), ZAT_OK);
    EXPECT_EQ(send("0123456789abcdef, and what is too much"), ZAT_OK);
    EXPECT_EQ(zatOSWIpcSendMsgQueue(queue, nullptr, 0, 0, 0), ZAT_OK);
    EXPECT_EQ(messages(), 3u);
    EXPECT_EQ(send("last"), ZAT_OK);
    EXPECT_EQ(send("too many"), ZAT_TIMED_OUT);
    EXPECT_EQ(messages(), 4u);
    EXPECT_EQ(zatOSWIpcSendMsgQueue(queue, nullptr, 1, 0, 0), ZAT_FAILED);
    EXPECT_EQ(zatOSWIpcReceiveMsgQueue(queue, nullptr, 1, 0), ZAT_FAILED);
    EXPECT_EQ(zatOSWIpcQueryMsgQueue(queue, nullptr), ZAT_FAILED);
    const IpcStatus full = state();
    EXPECT_EQ(full.process, static_cast<uint32_t>(getpid()));
    EXPECT_EQ(full.state, 4u);
    EXPECT_EQ(full.maxMessages, 4u);
    EXPECT_EQ(full.messageSize, messageSize);

    EXPECT_EQ(receive(4, ZAT_IPC_MSGRCV_FAILED), "") << "too short for it";
    EXPECT_EQ(receive(5), "first") << "it was kept";
    EXPECT_EQ(receive(64), "0123456789abcdef");
    EXPECT_EQ(receive(0), "");
    EXPECT_EQ(receive(), "last");
    EXPECT_EQ(messages(), 0u);
}

TEST(SharedQueue, WithoutANameTellsItsMessages) {
    ASSERT_EQ(zatOSWIpcCreateMsgQueue(nullptr, &queue, 2, messageSize, 0), ZAT_OK);
    EXPECT_EQ(send("text"), ZAT_OK);
    EXPECT_EQ(messages(), 1u);
    EXPECT_EQ(zatOSWIpcDeleteMsgQueue(queue), ZAT_OK);
    uint32_t count = 0;
    EXPECT_EQ(zatOSWIpcQueryMsgQueue(queue, &count), ZAT_IPC_NO_OBJECT);
}

TEST(SharedQueue, CarriesMessagesToAndFroBetweenProcesses) {
    ASSERT_EQ(make(3, 0), ZAT_OK);
    ASSERT_EQ(makeAnswers(0, 0), ZAT_OK);
    Peer peer;
    ASSERT_EQ(peer(make, 3), ZAT_OK);
    ASSERT_EQ(peer(makeAnswers), ZAT_OK);
    peer.begin(answerAll);
    for (uint32_t number = emulated() ? 100 : 2000; number-- > 0;) {
        uint32_t answer = 0;
        ASSERT_EQ(sendNumber(number, 10000), ZAT_OK);
        ASSERT_EQ(zatOSWIpcReceiveMsgQueue(answers, &answer, sizeof answer, 10000), ZAT_OK);
        ASSERT_EQ(answer, number + 1);
    }
    EXPECT_EQ(peer.end(), ZAT_OK);
    EXPECT_EQ(state().otherProcess, peer.id());
}

TEST(SharedQueue, TakesTheMessagesOfBlockedSendersAsRoomIsMade) {
    ASSERT_EQ(make(1, 0), ZAT_OK);
    Peer peers[2];
    ASSERT_EQ(sendNumber(1, 0), ZAT_OK);
    for (uint32_t i : {0u, 1u}) {
        ASSERT_EQ(peers[i](make, 1), ZAT_OK);
        peers[i].begin(sendNumber, i + 2, ZAT_FOREVER);
    }
    Worker local([] { return sendNumber(4, 15000); });
    EXPECT_TRUE(waitFor([] { return state().waiters == 3; }));
    EXPECT_EQ(state().secondWaiters, 0u);
    std::set<uint32_t> received;
    for (uint32_t left : {2u, 1u, 0u, 0u}) {
        uint32_t number = 0;
        EXPECT_EQ(zatOSWIpcReceiveMsgQueue(queue, &number, sizeof number, 10000), ZAT_OK);
        received.insert(number);
        EXPECT_TRUE(waitFor([=] { return state().waiters == left; }));
    }
    EXPECT_EQ(received, (std::set<uint32_t>{1, 2, 3, 4}));
    EXPECT_EQ(messages(), 0u);
    for (Peer& peer : peers)
        EXPECT_EQ(peer.end(), ZAT_OK);
    EXPECT_EQ(local.join(), ZAT_OK);
}

/* One timer serves all waiters of a handle: it is set forward and back as they come and go. */
class Receivers {
  public:
    /* Starts one, and waits until it waits. */
    void start(ZatTimeoutMs timeoutMs) {
        all_.push_back(std::make_unique<Worker>([this, timeoutMs] { return run(timeoutMs); }));
        const auto count = static_cast<uint32_t>(all_.size());
        EXPECT_TRUE(waitFor([=] { return state().secondWaiters == count; }));
    }

    /* The time-outs of those that had to go, in their order. */
    std::vector<ZatTimeoutMs> outcome() {
        all_.clear();
        return std::exchange(timedOut_, {});
    }

  private:
    ZatStatus run(ZatTimeoutMs timeoutMs) {
        uint32_t number;
        const Stopwatch stopwatch;
        const ZatStatus status = zatOSWIpcReceiveMsgQueue(queue, &number, sizeof number, timeoutMs);
        if (status == ZAT_OK) return status;
        EXPECT_EQ(status, ZAT_TIMED_OUT);
        EXPECT_GE(stopwatch.elapsedMs(), timeoutMs);
        EXPECT_LT(stopwatch.elapsedMs(), timeoutMs + 8000);
        const std::lock_guard lock(mutex_);
        timedOut_.push_back(timeoutMs);
        return status;
    }

    std::mutex mutex_;
    std::vector<ZatTimeoutMs> timedOut_;
    std::vector<std::unique_ptr<Worker>> all_;
};

TEST(SharedQueue, LetsEachReceiverGoAtItsOwnDeadline) {
    using TimeOuts = std::vector<ZatTimeoutMs>;
    ASSERT_EQ(make(1, 0), ZAT_OK);
    Receivers receivers;
    for (const ZatTimeoutMs timeoutMs : {1200u, 1800u, 300u})
        receivers.start(timeoutMs);
    EXPECT_EQ(receivers.outcome(), (TimeOuts{300, 1200, 1800}));
    /* One of two is served, as a rule the first, and the timer is set back for the other. */
    receivers.start(1000);
    receivers.start(1500);
    EXPECT_EQ(sendNumber(1, 0), ZAT_OK);
    EXPECT_EQ(receivers.outcome().size(), 1u);
    EXPECT_EQ(state().secondWaiters, 0u);
}

TEST(SharedQueue, HoldsOtherSignalsBackWhileItWaits) {
    ASSERT_EQ(make(1, 0), ZAT_OK);
    Shared<pid_t> thread;
    Worker receiver([&thread] {
        thread = gettid();
        uint32_t number;
        return zatOSWIpcReceiveMsgQueue(queue, &number, sizeof number, ZAT_FOREVER);
    });
    EXPECT_TRUE(blockedReach(queue, ZAT_IPC_TYPE_QUEUE, 1));
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/status");
    uint64_t blocked = 0;
    for (std::string line; std::getline(file, line);)
        if (line.find("SigBlk:") == 0) blocked = std::stoull(line.substr(7), nullptr, 16);
    EXPECT_EQ(blocked >> (SIGUSR1 - 1) & 1, 0u);
    for (const int signal : {SIGUSR2, SIGTERM, SIGINT, SIGALRM})
        EXPECT_TRUE(emulated() || (blocked >> (signal - 1) & 1) != 0) << signal;
    EXPECT_EQ(sendNumber(1, 0), ZAT_OK);
    EXPECT_EQ(receiver.join(), ZAT_OK);
}

/* The right to raise the system's limit is given up here. */
void giveUpResourceRight() {
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct rights[_LINUX_CAPABILITY_U32S_3] = {};
    ASSERT_EQ(syscall(SYS_capget, &header, rights), 0);
    rights[0].effective &= ~(1u << CAP_SYS_RESOURCE);
    ASSERT_EQ(syscall(SYS_capset, &header, rights), 0);
}

TEST(SharedQueue, SaysSoWhenSomebodyRemovedTheSystemsQueue) {
    ASSERT_EQ(zatOSWIpcCreateMsgQueue("removed", &queue, 4, 8, 0), ZAT_OK);
    ASSERT_EQ(msgctl(recordOf<IpcHandle>(queue).entry->queue.queueId, IPC_RMID, nullptr), 0);
    EXPECT_EQ(zatOSWIpcSendMsgQueue(queue, "message", 8, 1000, 0), ZAT_IPC_MSGSND_FAILED);
    EXPECT_EQ(zatOSWIpcDeleteMsgQueue(queue), ZAT_OK);
}

TEST(SharedQueue, ThatTheSystemRefusesToHoldLeavesNothing) {
    uint32_t limit = 0;
    std::ifstream("/proc/sys/kernel/msgmnb") >> limit;
    giveUpResourceRight();
    ASSERT_EQ(zatOSWInit(), ZAT_OK);
    const int objects = systemVObjects();
    const auto files = keyFiles();
    queue = 4711;
    for (const auto& [capacity, size] : {std::pair{2u, limit / 2 + 1}, {70000u, 70000u}}) {
        EXPECT_EQ(zatOSWIpcCreateMsgQueue("queue", &queue, capacity, size, 0),
                  ZAT_IPC_QUEUE_LIMIT_FAILED);
        EXPECT_EQ(queue, 4711u);
        EXPECT_EQ(systemVObjects(), objects);
        EXPECT_EQ(keyFiles(), files);
    }
    EXPECT_EQ(zatOSWIpcCreateMsgQueue("queue", &queue, 2, limit / 2, 0), ZAT_OK);
}

}  // namespace
