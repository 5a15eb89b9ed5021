/*
 * Processes that use every kind of shared object are killed at random points and replaced, ten
 * thousand times. One process survives: its calls return in their time, and when the storm is over
 * every object works, except for a mutex or a lock that a dead process holds.
 */

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zatosw/zatosw.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "osw/ipc/load.h"
#include "osw/ipc/peer.h"
#include "support/selfstart.h"
#include "support/support.h"

namespace {

/* Generous: a wake-up that a killed process took with it is missed for a second. */
constexpr uint64_t inTimeMs = 8000;

[[noreturn]] void work(const std::string& round, uint32_t seed) {
    const Objects objects(round);
    std::mt19937 random(seed);
    for (;;)
        useOne(objects, static_cast<uint32_t>(random()));
}

/* Forks the workers: the library comes up in each of them, and never here. */
int storm(const std::vector<std::string>& arguments) {
    const std::string& round = arguments[0];
    std::mt19937 random(static_cast<uint32_t>(std::stoul(arguments[1])));
    int kills = std::stoi(arguments[2]);
    std::vector<pid_t> workers(8);
    const auto start = [&](pid_t& worker) {
        const uint32_t seed = static_cast<uint32_t>(random());
        worker = fork();
        if (worker == 0) work(round, seed);
    };
    for (pid_t& worker : workers)
        start(worker);
    for (; kills > 0; --kills) {
        usleep(static_cast<useconds_t>(random() % (emulated() ? 30000 : 1500)));
        pid_t& worker = workers[random() % workers.size()];
        killAndReap(worker);
        start(worker);
    }
    for (const pid_t worker : workers)
        killAndReap(worker);
    return 0;
}

const SelfRole stormRole("storm", storm);

/* A mutex or lock is free, or held by a process that is gone. */
void expectFreeOrOrphaned(ZatStatus request, ZatIpcHandle handle, uint32_t type) {
    if (request == ZAT_OK) return;
    EXPECT_EQ(request, ZAT_TIMED_OUT);
    const IpcStatus status = stateOf(handle, type);
    EXPECT_NE(status.state, 0u);
    const bool sharedHold = type == ZAT_IPC_TYPE_SE_LOCK && static_cast<int32_t>(status.state) > 0;
    EXPECT_TRUE(sharedHold || kill(static_cast<pid_t>(status.process), 0) != 0);
}

void expectEventWorks(ZatIpcHandle event) {
    EXPECT_EQ(zatOSWIpcResetEventSem(event), ZAT_OK);
    EXPECT_EQ(zatOSWIpcPostEventSem(event), ZAT_OK);
    EXPECT_EQ(zatOSWIpcWaitEventSem(event, ZAT_FOREVER), ZAT_OK);
    EXPECT_EQ(zatOSWIpcFlushEventSem(event), ZAT_OK);
    EXPECT_EQ(zatOSWIpcWaitEventSem(event, 0), ZAT_TIMED_OUT);
}

void expectQueueWorks(ZatIpcHandle queue) {
    char message[messageSize];
    uint32_t drained = 0;
    while (zatOSWIpcReceiveMsgQueue(queue, message, sizeof message, 0) == ZAT_OK)
        ++drained;
    EXPECT_LE(drained, capacity);
    for (uint32_t i = 0; i < capacity; ++i) {
        memset(message, static_cast<int>('a' + i), sizeof message);
        EXPECT_EQ(zatOSWIpcSendMsgQueue(queue, message, sizeof message, 0, 0), ZAT_OK);
    }
    EXPECT_EQ(zatOSWIpcSendMsgQueue(queue, message, sizeof message, 0, 0), ZAT_TIMED_OUT);
    for (uint32_t i = 0; i < capacity; ++i) {
        EXPECT_EQ(zatOSWIpcReceiveMsgQueue(queue, message, sizeof message, 0), ZAT_OK);
        EXPECT_EQ(message[0], static_cast<char>('a' + i));
    }
}

/* Nobody but this process is left. */
void expectAllWorks(const Objects& objects) {
    expectFreeOrOrphaned(zatOSWIpcRequestMutexSem(objects.mutex, shortly), objects.mutex,
                         ZAT_IPC_TYPE_MUTEX);
    expectFreeOrOrphaned(zatOSWIpcRequestExclusiveLock(objects.lock, shortly), objects.lock,
                         ZAT_IPC_TYPE_SE_LOCK);
    EXPECT_EQ(zatOSWIpcPostCountSem(objects.count), ZAT_OK);
    EXPECT_EQ(zatOSWIpcWaitCountSem(objects.count, 0), ZAT_OK);
    expectEventWorks(objects.event);
    expectQueueWorks(objects.queue);
    const uint32_t before = fired;
    EXPECT_EQ(zatOSWIpcStartTimer(objects.timer, 1, onTimer, 0), ZAT_OK);
    EXPECT_TRUE(waitFor([=] { return fired != before; }));
    uint32_t largest = 0;
    EXPECT_EQ(zatOSWIpcFindMaxFreeMemPart(objects.memory, &largest), ZAT_OK);
    void* block = nullptr;
    EXPECT_EQ(zatOSWIpcAllocMemPart(objects.memory, &block, 8), ZAT_OK);
    EXPECT_EQ(zatOSWIpcFreeMemPart(objects.memory, block), ZAT_OK);
}

void weather(int round, int kills, std::mt19937& random) {
    const std::string name = "storm" + std::to_string(round);
    Objects objects(name);
    const pid_t child = spawnSelf(
        "storm", {name, std::to_string(static_cast<uint32_t>(random())), std::to_string(kills)});
    uint64_t longestMs = 0;
    while (waitpid(child, nullptr, WNOHANG) == 0) {
        const Stopwatch stopwatch;
        useOne(objects, static_cast<uint32_t>(random()));
        longestMs = std::max(longestMs, stopwatch.elapsedMs());
    }
    const Stopwatch stopwatch;
    expectAllWorks(objects);
    objects.close();
    EXPECT_LT(std::max(longestMs, stopwatch.elapsedMs()), inTimeMs) << name;
}

TEST(KillStorm, LeavesTheSurvivorInWorkingOrder) {
    const int rounds = isSlow() ? 2 : 25;
    const int kills = isSlow() ? 20 : 400;
    std::mt19937 random(testSeed());
    for (int round = 0; round < rounds && !HasFailure(); ++round)
        weather(round, kills, random);
    zatOSWTerm();
    if (getenv("ZATOSW_SHARED_IPC") != nullptr) return;
    EXPECT_EQ(systemVObjects(), 0);
    /* The use counts of the dead fill the table; the key files of its further pages stay. */
    const std::string table = "zatoswipcglobalshm";
    for (const std::string& file : keyFiles())
        EXPECT_TRUE(file.rfind(table, 0) == 0 && file != table) << file;
}

}  // namespace
