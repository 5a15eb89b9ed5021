/* What is particular to named message queues; see wait_test.cpp for what they share with others. */

#include "osw/ipc/msg_queue.h"

#include <dlfcn.h>
#include <linux/capability.h>
#include <sys/syscall.h>

#include <cstring>
#include <deque>
#include <fstream>

#include "osw/ipc/object_private.h"
#include "osw/ipc/peer.h"
#include "osw/worker.h"

static constexpr uint32_t messageSize = 16;

static uint32_t make(uint32_t capacity, uint32_t = 0) {
    return zatOSWIpcCreateMsgQueue("queue", &object, capacity, messageSize, 0);
}

static bool diesBehindItsMessage;

extern "C" int msgsnd(int id, const void* message, size_t length, int flags) {
    static const auto next = reinterpret_cast<decltype(&msgsnd)>(dlsym(RTLD_NEXT, "msgsnd"));
    const int result = next(id, message, length, flags);
    if (diesBehindItsMessage) raise(SIGKILL);
    return result;
}

static uint32_t sendNumber(uint32_t number, uint32_t timeoutMs) {
    return zatOSWIpcSendMsgQueue(object, &number, sizeof number, timeoutMs, 0);
}
static uint32_t receiveNumber(uint32_t& number, uint32_t timeoutMs) {
    return zatOSWIpcReceiveMsgQueue(object, &number, sizeof number, timeoutMs);
}

/* Receives numbers until one is not the next. */
static uint32_t receiveAscending(uint32_t expected, uint32_t timeoutMs) {
    uint32_t number = 0;
    while (receiveNumber(number, timeoutMs) == ZAT_OK && number == expected)
        ++expected;
    return expected;
}

static uint32_t sendNumberAndDie(uint32_t number, uint32_t) {
    diesBehindItsMessage = true;
    return sendNumber(number, 0);
}

namespace {

IpcStatus state() {
    return stateOf(object, ZAT_IPC_TYPE_QUEUE);
}

uint32_t messages() {
    uint32_t count = 4711;
    EXPECT_EQ(zatOSWIpcQueryMsgQueue(object, &count), ZAT_OK);
    return count;
}

ZatStatus send(const std::string& text) {
    return zatOSWIpcSendMsgQueue(object, text.data(), static_cast<uint32_t>(text.size()), 0, 0);
}

/* What a receive with some room writes. */
std::string receive(uint32_t room = messageSize, ZatStatus expected = ZAT_OK) {
    char buffer[64];
    memset(buffer, '-', sizeof buffer);
    EXPECT_EQ(zatOSWIpcReceiveMsgQueue(object, buffer, room, 0), expected);
    return std::string(buffer, std::string(buffer, sizeof buffer).find_last_not_of('-') + 1);
}

TEST(SharedQueue, KeepsMessagesInOrderAndWithinItsBounds) {
    ZatIpcHandle none = 0;
    EXPECT_EQ(zatOSWIpcCreateMsgQueue("queue", &none, 0, messageSize, 0), ZAT_IPC_BAD_PARAMETERS);
    EXPECT_EQ(zatOSWIpcCreateMsgQueue("queue", &none, 3, 0, 0), ZAT_IPC_BAD_PARAMETERS);
    ASSERT_EQ(make(4), ZAT_OK);
    EXPECT_EQ(messages(), 0u);
    EXPECT_EQ(receive(messageSize, ZAT_TIMED_OUT), "");
    EXPECT_EQ(send("first"), ZAT_OK);
    EXPECT_EQ(send("0123456789abcdef, and what is too much"), ZAT_OK);
    EXPECT_EQ(zatOSWIpcSendMsgQueue(object, nullptr, 0, 0, 0), ZAT_OK);
    EXPECT_EQ(messages(), 3u);
    EXPECT_EQ(send("last"), ZAT_OK);
    EXPECT_EQ(send("too many"), ZAT_TIMED_OUT);
    EXPECT_EQ(zatOSWIpcSendMsgQueue(object, nullptr, 1, 0, 0), ZAT_FAILED);
    EXPECT_EQ(zatOSWIpcReceiveMsgQueue(object, nullptr, 1, 0), ZAT_FAILED);
    EXPECT_EQ(zatOSWIpcQueryMsgQueue(object, nullptr), ZAT_FAILED);
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
    ASSERT_EQ(zatOSWIpcCreateMsgQueue(nullptr, &object, 2, messageSize, 0), ZAT_OK);
    EXPECT_EQ(send("text"), ZAT_OK);
    EXPECT_EQ(messages(), 1u) << "without a name";
}

TEST(SharedQueue, HoldsNoMoreThanItMayWhenASenderIsKilled) {
    ASSERT_EQ(make(2), ZAT_OK);
    Peer peer(make, 2);
    peer.begin(sendNumberAndDie, 1);
    siginfo_t end;
    EXPECT_EQ(waitid(P_PID, peer.id(), &end, WEXITED | WNOWAIT), 0);
    peer.kill();
    EXPECT_EQ(sendNumber(2, 0), ZAT_OK);
    EXPECT_EQ(sendNumber(3, 0), ZAT_TIMED_OUT);
    EXPECT_EQ(receiveAscending(1, 0), 3u);
}

TEST(SharedQueue, CarriesMessagesBetweenProcessesThatWaitForEachOther) {
    ASSERT_EQ(make(1), ZAT_OK);
    Peer peer(make, 1);
    peer.begin(receiveAscending, 1, 10000);
    const uint32_t count = emulated() ? 200 : 4000;
    const Stopwatch stopwatch;
    for (uint32_t number = 1; number <= count; ++number)
        ASSERT_EQ(sendNumber(number, 10000), ZAT_OK);
    EXPECT_EQ(sendNumber(0, 10000), ZAT_OK);
    EXPECT_EQ(peer.end(), count + 1);
    EXPECT_TRUE(isSlow() || stopwatch.elapsedMs() < 20000) << "wake-ups are lost";
    EXPECT_EQ(state().otherProcess, peer.id());
}

/* One timer serves all waiters of a handle: it is set forward and back as they come and go. */
TEST(SharedQueue, LetsEachReceiverGoAtItsOwnDeadline) {
    using TimeOuts = std::vector<ZatTimeoutMs>;
    ASSERT_EQ(make(1), ZAT_OK);
    std::mutex mutex;
    TimeOuts passed;
    const auto receiveWithin = [&](ZatTimeoutMs timeoutMs) {
        uint32_t number;
        const Stopwatch stopwatch;
        const ZatStatus status = receiveNumber(number, timeoutMs);
        if (status == ZAT_OK) return status;
        EXPECT_EQ(status, ZAT_TIMED_OUT);
        EXPECT_GE(stopwatch.elapsedMs(), timeoutMs);
        EXPECT_LT(stopwatch.elapsedMs(), timeoutMs + (isSlow() ? 8000 : 900))
            << "the timer has forgotten it, and the kernel's time-out, a second later, has not";
        const std::lock_guard lock(mutex);
        passed.push_back(timeoutMs);
        return status;
    };
    /* The time-outs of those that had to go, in their order. */
    const auto outcome = [&](const TimeOuts& all, bool isOneServed) {
        {
            std::deque<Worker> receivers;
            for (const ZatTimeoutMs timeoutMs : all) {
                receivers.emplace_back([&, timeoutMs] { return receiveWithin(timeoutMs); });
                EXPECT_TRUE(waitFor([&] { return state().secondWaiters == receivers.size(); }));
            }
            EXPECT_TRUE(!isOneServed || sendNumber(1, 0) == ZAT_OK);
        }
        return std::exchange(passed, {});
    };
    EXPECT_EQ(outcome({1600, 2200, 300}, false), (TimeOuts{300, 1600, 2200}));
    /* One of two is served, as a rule the first, and the timer is set back for the other. */
    EXPECT_EQ(outcome({1000, 1500}, true).size(), 1u);
    EXPECT_EQ(state().secondWaiters, 0u);
}

TEST(SharedQueue, HoldsOtherSignalsBackWhileItWaits) {
    ASSERT_EQ(make(1), ZAT_OK);
    Shared<pid_t> thread;
    Worker receiver([&thread] {
        thread = gettid();
        uint32_t number;
        return receiveNumber(number, ZAT_FOREVER);
    });
    EXPECT_TRUE(blockedReach(ZAT_IPC_TYPE_QUEUE, 1));
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

TEST(SharedQueue, SaysSoWhenSomebodyRemovedTheSystemsQueue) {
    ASSERT_EQ(make(4), ZAT_OK);
    ASSERT_EQ(msgctl(recordOf<IpcHandle>(object).entry->queue.queueId, IPC_RMID, nullptr), 0);
    EXPECT_EQ(send("message"), ZAT_IPC_MSGSND_FAILED);
    EXPECT_EQ(zatOSWIpcDeleteMsgQueue(object), ZAT_OK);
}

/* The right to raise the system's limit is given up here. */
void giveUpResourceRight() {
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct rights[_LINUX_CAPABILITY_U32S_3] = {};
    ASSERT_EQ(syscall(SYS_capget, &header, rights), 0);
    rights[0].effective &= ~(1u << CAP_SYS_RESOURCE);
    ASSERT_EQ(syscall(SYS_capset, &header, rights), 0);
}

TEST(SharedQueue, ThatTheSystemRefusesToHoldLeavesNothing) {
    uint32_t limit = 0;
    std::ifstream("/proc/sys/kernel/msgmnb") >> limit;
    giveUpResourceRight();
    ASSERT_EQ(zatOSWInit(), ZAT_OK);
    const int objects = systemVObjects();
    const auto files = keyFiles();
    object = 4711;
    for (const auto& [capacity, size] : {std::pair{2u, limit / 2 + 1}, {(1u << 20) + 1, 4096u}}) {
        EXPECT_EQ(zatOSWIpcCreateMsgQueue("queue", &object, capacity, size, 0),
                  ZAT_IPC_QUEUE_LIMIT_FAILED);
        EXPECT_EQ(object, 4711u);
        EXPECT_EQ(systemVObjects(), objects);
        EXPECT_EQ(keyFiles(), files);
    }
    EXPECT_EQ(zatOSWIpcCreateMsgQueue("queue", &object, 2, limit / 2, 0), ZAT_OK);
}

}  // namespace
