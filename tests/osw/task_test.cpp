#include "osw/task.h"

#include <alloca.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "osw/event_sem_private.h"
#include "osw/worker.h"

namespace {

TEST(Task, ReceivesTenArgumentsAndGivesOneValue) {
    static uint32_t received[10];
    const ZatTaskEntry entry = [](uint32_t a1, uint32_t a2, uint32_t a3, uint32_t a4, uint32_t a5,
                                  uint32_t a6, uint32_t a7, uint32_t a8, uint32_t a9,
                                  uint32_t a10) -> uint32_t {
        const uint32_t all[] = {a1, a2, a3, a4, a5, a6, a7, a8, a9, a10};
        std::copy(std::begin(all), std::end(all), received);
        if (a10 == 0) zatOSWExitTask(0x80000001);
        return 0xFFFFFFFE;
    };
    ZatTaskId task = 0;
    uint32_t value = 0;
    ASSERT_EQ(zatOSWCreateJoinTask(&task, "ten", -1, 0, entry, 1, 11, 22, 33, 44, 55, 66, 77, 88,
                                   99, 110),
              ZAT_OK);
    EXPECT_EQ(zatOSWWaitJoinableTask(task, 1, &value), ZAT_OK);
    EXPECT_EQ(value, 0xFFFFFFFE);
    for (uint32_t i = 0; i < 10; ++i)
        EXPECT_EQ(received[i], 11 * (i + 1));

    ASSERT_EQ(zatOSWSubPthreadCreate(&task, nullptr, entry, 11), ZAT_OK);
    EXPECT_EQ(zatOSWSubPthreadJoin(task, &value), ZAT_OK);
    EXPECT_EQ(value, 0x80000001);
    EXPECT_EQ(received[0], 11u);
    EXPECT_TRUE(std::all_of(received + 1, received + 10, [](uint32_t a) { return a == 0; }));
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

__attribute__((noinline)) void dirtyStack(uint32_t bytes) {
    void* stack = alloca(bytes);
    memset(stack, 0xA5, bytes);
    asm volatile("" : : "r"(stack) : "memory");
}

uint32_t dirtyStackAndWait(uint32_t event, uint32_t bytes) {
    dirtyStack(bytes);
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
    zatOSWCreateJoinTask(&task, name, ZAT_INHERIT_PRIORITY, 0, taskEntry<tellAndWait>, 1, event, 0,
                         0, 0, 0, 0, 0, 0, 0, 0);
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
    EXPECT_EQ(nameFor(startTask(taskEntry<tellAndWait>, 1, "sixteencharacter", event)),
              "sixteencharacter");
    EXPECT_EQ(nameFor(startTask(taskEntry<tellAndWait>, 1, "sixteencharacters", event)),
              "sixteencharacter");
    EXPECT_EQ(nameFor(startTask(taskEntry<tellAndWait>, 1, "", event)), "");
    /* Whether a name is what it should be around the address of code in a function. */
    const auto expectAddress = [](const std::string& name, const char* before, const char* behind,
                                  auto* function) {
        const size_t at = strlen(before);
        ASSERT_EQ(name.size(), at + 8 + strlen(behind)) << name;
        EXPECT_EQ(name.substr(0, at), before);
        EXPECT_EQ(name.substr(at + 8), behind);
        EXPECT_EQ(name.find_first_not_of("0123456789abcdef", at), behind[0] ? at + 8 : name.npos);
        const auto address = static_cast<uint32_t>(std::stoul(name.substr(at, 8), nullptr, 16));
        const auto start = reinterpret_cast<uint32_t>(function);
        EXPECT_TRUE(address > start && address < start + 1000) << name << ' ' << std::hex << start;
    };
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer's backtrace begins with a frame of its own";
#endif
    expectAddress(nameFor(createBelow(nullptr, event)), "mainThre", "", createHere);
    expectAddress(nameFor(createBelow("Thread", event)), "mainTh", "-T", createBelow);
    ZatTaskId task = 0;
    ASSERT_EQ(zatOSWSubPthreadCreate(&task, nullptr, taskEntry<tellAndWait>, event), ZAT_OK);
    EXPECT_EQ(nameFor(task).substr(0, 7), "pthread");
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
