#include "osw/task.h"

#include <alloca.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <regex>
#include <vector>

#include "osw/event_sem_private.h"
#include "osw/worker.h"

namespace {

using Words = std::vector<uint32_t>;
Words received;

uint32_t receive(auto... words) {
    received = {words...};
    if (received[9] == 0) zatOSWExitTask(0x80000001);
    return 0xFFFFFFFE;
}

TEST(Task, ReceivesTenArgumentsAndGivesOneValue) {
    ZatTaskId task = 0;
    uint32_t value = 0;
    ASSERT_EQ(zatOSWCreateJoinTask(&task, "ten", -1, 0, receive, 1, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10),
              ZAT_OK);
    EXPECT_EQ(zatOSWWaitJoinableTask(task, 1, &value), ZAT_OK);
    EXPECT_EQ(value, 0xFFFFFFFE);
    EXPECT_EQ(received, (Words{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
    ASSERT_EQ(zatOSWSubPthreadCreate(&task, nullptr, receive, 11), ZAT_OK);
    EXPECT_EQ(zatOSWSubPthreadJoin(task, &value), ZAT_OK);
    EXPECT_EQ(value, 0x80000001);
    EXPECT_EQ(received, (Words{11, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
}

/* A task that tells the size of its stack and then waits for an event. */
size_t ownStackSize;

uint32_t tellAndWait(uint32_t event, uint32_t) {
    pthread_attr_t attributes;
    pthread_getattr_np(pthread_self(), &attributes);
    pthread_attr_getstacksize(&attributes, &ownStackSize);
    pthread_attr_destroy(&attributes);
    return zatOSWWaitEventSem(event, ZAT_FOREVER);
}

class WaitingTask : public testing::Test {
  protected:
    WaitingTask() { EXPECT_EQ(zatOSWCreateEventSem(&event, 0, 0), ZAT_OK); }
    ~WaitingTask() override { EXPECT_EQ(zatOSWDeleteEventSem(event), ZAT_OK); }

    /* A task's figures while it waits; then lets it end. */
    zatOSWTaskInfo lookAt(ZatTaskId task) {
        auto& record = recordOf<OswEventSem>(event);
        EXPECT_TRUE(waitersReach(record, 1));
        const zatOSWTaskInfo info = infoOf(task);
        EXPECT_EQ(info.threadId, task);
        EXPECT_NE(info.kernelTid, gettid());
        EXPECT_EQ(zatOSWPostEventSem(event), ZAT_OK);
        EXPECT_EQ(zatOSWWaitTask(task, 1), ZAT_OK);
        EXPECT_TRUE(waitFor([=] { return nameOf(task).empty(); }));
        return info;
    }

    ZatEventSem event = 0;
};

TEST_F(WaitingTask, HasTheStackThatItAskedForAndMore) {
    SKIP_IF_THREADS_ARE_FOLLOWED();
    const auto least = static_cast<size_t>(sysconf(_SC_THREAD_STACK_MIN));
    const auto expect = [&](uint32_t asked, uint32_t requested, size_t size) {
        const auto info = lookAt(startTask(taskEntry<tellAndWait>, 1, "stack", event, 0, asked));
        /* A larger stack that was used before may be handed out again. */
        EXPECT_GE(ownStackSize, std::max(size, least)) << asked;
        EXPECT_LE(ownStackSize, std::max<size_t>(131072, least)) << asked;
        EXPECT_EQ(info.stackRequested, std::min<size_t>(requested, ownStackSize - 4096)) << asked;
        EXPECT_GT(info.stackPeak, 0u);
        EXPECT_LT(info.stackPeak, 32768u);
    };
    expect(0, 16384, 81920);
    expect(40000, 40000, 105536);
    expect(100000, 100000, 131072);
    expect(1000000, 131072, 131072);

    ZatTaskId task = 0;
    ASSERT_EQ(zatOSWSubPthreadCreate(&task, nullptr, taskEntry<tellAndWait>, event), ZAT_OK);
    EXPECT_EQ(lookAt(task).stackRequested, 32768u);
    EXPECT_GE(ownStackSize, std::max<size_t>(98304, least));
}

uint32_t dirtyStackAndWait(uint32_t event, uint32_t bytes) {
    void* stack = alloca(bytes);
    memset(stack, 0xA5, bytes);
    asm volatile("" : : "r"(stack) : "memory");
    return zatOSWWaitEventSem(event, ZAT_FOREVER);
}

TEST_F(WaitingTask, FindsItsStackCleanWhereAnotherUsedItBefore) {
    const ZatTaskId dirty = startTask(taskEntry<dirtyStackAndWait>, 1, "dirty", event, 50000);
    const zatOSWTaskInfo before = lookAt(dirty);
    EXPECT_GT(before.stackPeak, 50000u);
    const zatOSWTaskInfo after = lookAt(startTask(taskEntry<tellAndWait>, 1, "clean", event));
    if (before.stackTop != after.stackTop) GTEST_SKIP() << "the stack was not handed out again";
    /* The thread library cleans all but the uppermost part of a stack that it takes back. */
    EXPECT_LT(after.stackPeak, 12000u);
}

__attribute__((noinline)) ZatTaskId createHere(const char* name, ZatEventSem event) {
    ZatTaskId task = 0;
    zatOSWCreateJoinTask(&task, name, -1, 0, taskEntry<tellAndWait>, 1, event, 0, 0, 0, 0, 0, 0, 0,
                         0, 0);
    return task;
}

__attribute__((noinline)) ZatTaskId createBelow(const char* name, ZatEventSem event) {
    const ZatTaskId task = createHere(name, event);
    asm volatile("");
    return task;
}

TEST_F(WaitingTask, IsNamedAfterItsCreatorOrAsAsked) {
    SKIP_IF_THREADS_ARE_FOLLOWED();
    const auto nameFor = [&](ZatTaskId task) {
        const zatOSWTaskInfo info = lookAt(task);
        return std::string(info.name, strnlen(info.name, sizeof info.name));
    };
    for (const char* name : {"sixteencharacter", "sixteencharacters", ""})
        EXPECT_EQ(nameFor(startTask(taskEntry<tellAndWait>, 1, name, event)),
                  std::string(name).substr(0, 16));
    ZatTaskId task = 0;
    ASSERT_EQ(zatOSWSubPthreadCreate(&task, nullptr, taskEntry<tellAndWait>, event), ZAT_OK);
    EXPECT_EQ(nameFor(task).substr(0, 7), "pthread");
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer's backtrace begins with a frame of its own";
#endif
    /* Whether a name tells the address of code in a function. */
    const auto expectAddress = [](const std::string& name, const char* pattern, auto* function) {
        std::smatch match;
        ASSERT_TRUE(std::regex_match(name, match, std::regex(pattern))) << name;
        const auto address = static_cast<uint32_t>(std::stoul(match[1], nullptr, 16));
        EXPECT_LT(address - reinterpret_cast<uint32_t>(function), 1000u) << name;
    };
    expectAddress(nameFor(createBelow(nullptr, event)), "mainThre([0-9a-f]{8})", createHere);
    expectAddress(nameFor(createBelow("Thread", event)), "mainTh([0-9a-f]{8})-T", createBelow);
}

Shared<uint32_t> ended;

uint32_t countEnd(uint32_t, uint32_t) {
    return ++ended;
}

TEST(Task, LeavesNothingBehind) {
    SKIP_IF_THREADS_ARE_FOLLOWED();
    const ZatTaskEntry entry = taskEntry<countEnd>;
    const auto cycle = [&] {
        ended = 0;
        ZatTaskId task = startTask(entry, 1, "cycle");
        EXPECT_EQ(zatOSWWaitTask(task, 1), ZAT_OK);
        startTask(entry, 0, "cycle");
        startTask(entry, -1, "cycle");
        EXPECT_EQ(zatOSWCreateTaskVxv(&task, "cycle", 256, 0, entry, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0),
                  ZAT_OK);
        EXPECT_TRUE(waitFor([] { return ended == 4 && !isRegistered("cycle"); }));
    };
    cycle();
    const uint32_t memory = heldMemory();
    const uint32_t space = addressSpaceKb();
    const int cycles = emulated() ? 50 : 300;
    for (int i = 0; i < cycles; ++i)
        cycle();
    EXPECT_EQ(heldMemory(), memory);
    EXPECT_LT(addressSpaceKb(), space + 20000) << "stacks stay behind";
}

}  // namespace
