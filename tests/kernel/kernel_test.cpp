// Kernel-style calls: what they hand on, and what becomes of their handles. A whole program is
// examples/kernelstyle.

#include "kernel/kernel.h"

#include <dlfcn.h>
#include <errno.h>

#include <utility>

#include "osw/event_sem_private.h"
#include "osw/worker.h"

/* On a thread that has set an answer, these calls note their milliseconds and give it. */
static thread_local ZatStatus answer = ZAT_OK;
static thread_local uint32_t askedMs;
static void* unmade;

#define ASKED(call, parameters, ...)                                                         \
    ZatStatus call parameters {                                                              \
        static const auto next = reinterpret_cast<decltype(&call)>(dlsym(RTLD_NEXT, #call)); \
        if (answer == ZAT_OK) return next(__VA_ARGS__);                                      \
        askedMs = ms;                                                                        \
        return answer;                                                                       \
    }
ASKED(zatOSWWaitEventSem, (ZatEventSem sem, uint32_t ms), sem, ms)
ASKED(zatOSWRequestMutexSem, (ZatMutexSem sem, uint32_t ms), sem, ms)
ASKED(zatOSWWaitCountSem, (ZatCountSem sem, uint32_t ms), sem, ms)
ASKED(zatOSWSendMsgQueue,
      (ZatMsgQueue queue, const void* at, uint32_t size, uint32_t ms, uint32_t urgent), queue, at,
      size, ms, urgent)
ASKED(zatOSWReceiveMsgQueue, (ZatMsgQueue queue, void* at, uint32_t n, uint32_t ms), queue, at, n,
      ms)
ASKED(zatOSWStartTimer, (ZatTimer timer, uint32_t ms, ZatTimerCallback call, uint32_t a), timer, ms,
      call, a)
ASKED(zatOSWCreateCountSem, (ZatCountSem * sem, uint32_t ms, int32_t count), sem, ms, count)

ZatStatus zatOSWCreateTimer(ZatTimer* timer, uint32_t stackSizeBytes) {
    unmade = timer;
    return answer == ZAT_OK ? zatOSWCreateTimerEx(timer, nullptr, -1, stackSizeBytes) : answer;
}

namespace {

Shared<uint32_t> seen;
ZatKernelSem gate;

uint32_t bark(uint32_t parameter) {
    seen = parameter;
    return semTake(gate, ZAT_FOREVER);
}

struct KernelCalls : testing::Test {
    ZatKernelSem binary = semBCreate(0, 1), mutex = semMCreate(0), counting = semCCreate(0, 2);
    ZatKernelWatchdog watchdog = wdCreate();
    KernelCalls() { gate = semBCreate(0, 0); }
    ~KernelCalls() override {
        for (const ZatKernelSem sem : {binary, mutex, counting, gate})
            EXPECT_EQ(semDelete(sem), ZAT_OK);
        EXPECT_EQ(wdDelete(watchdog), ZAT_OK);
    }
};

TEST_F(KernelCalls, TurnTicksIntoMilliseconds) {
    static const uint32_t timeouts[][2] = {{0, 0},  {~0u, ~0u}, {60, 1000},
                                           {1, 16}, {7, 116},   {2147484, 0xFDDDDDE4}};
    answer = ZAT_TIMED_OUT;
    for (const auto& [ticks, ms] : timeouts) {
        const auto isAsked = [ms = ms](ZatStatus status) {
            EXPECT_EQ(std::exchange(askedMs, 4711), ms);
            EXPECT_EQ(status, ZAT_TIMED_OUT);
            EXPECT_EQ(std::exchange(errno, 0), ETIMEDOUT);
        };
        for (const ZatKernelSem sem : {binary, mutex, counting})
            isAsked(semTake(sem, ticks));
        isAsked(msgQSend(1, "", 1, ticks, 0));
        isAsked(msgQReceive(1, nullptr, 0, ticks));
    }
    wdStart(watchdog, 0, bark, 0);
    EXPECT_EQ(askedMs, 0u);
    EXPECT_EQ(wdStart(watchdog, ~0u, bark, 0), ZAT_TIMED_OUT);
    EXPECT_EQ(askedMs, -16u) << "no wait without limit";
    answer = ZAT_FAILED;
    EXPECT_EQ(semTake(binary, 1), ZAT_FAILED);
    EXPECT_EQ(errno, 0) << "of time-outs only";
    answer = ZAT_OK;
}

TEST_F(KernelCalls, LeaveAHandleAloneUntilItsSemaphoreIsGone) {
    EXPECT_EQ(semTake(mutex, 0) + semTake(binary, 0) + semTake(counting, 0), ZAT_OK);
    EXPECT_EQ(Worker([=, this] { return semDelete(mutex); }).join(), ZAT_FAILED);
    EXPECT_EQ(Worker([=, this] { return semGive(mutex); }).join(), ZAT_FAILED);
    EXPECT_EQ(semGive(mutex), ZAT_OK);

    const uint32_t memory = heldMemory();
    const ZatKernelSem waitedFor = semBCreate(0, 0);
    auto& record = recordOf<OswEventSem>(recordOf<uint32_t[2]>(waitedFor)[1]);
    for (auto* end : {semFlush, semDelete}) {
        Worker waiter([=] { return semTake(waitedFor, ZAT_FOREVER); });
        EXPECT_TRUE(waitersReach(record, 1));
        EXPECT_EQ(end(waitedFor), ZAT_OK);
        EXPECT_EQ(waiter.join(), end == semFlush ? ZAT_OK : ZAT_FAILED);
    }
    EXPECT_EQ(heldMemory(), memory);
}

TEST_F(KernelCalls, RefuseWhatTheyDoNotKnowAndFreeWhatTheyCannotMake) {
    const uint32_t memory = heldMemory();
    answer = ZAT_FAILED;
    EXPECT_EQ(semCCreate(0, 0), 0u);
    EXPECT_EQ(heldMemory(), memory);
    EXPECT_EQ(wdCreate(), 0u);
    EXPECT_EQ(heldMemory(), memory + 12) << "but for this";
    EXPECT_EQ(zatOSWOrgFreeMemPart(0, unmade), ZAT_OK);
    answer = ZAT_OK;
    auto* strange = static_cast<int32_t*>(memPartAlloc(0, 8));
    *strange = 3;
    EXPECT_EQ(semGive(wordOf(strange)) + semTake(wordOf(strange), 0), ZAT_OK) << "no such kind";
    for (const ZatKernelSem sem : {wordOf(strange), mutex, counting})
        EXPECT_EQ(semFlush(sem), ZAT_FAILED);
    EXPECT_EQ(semDelete(wordOf(strange)), ZAT_OK);
    EXPECT_EQ(heldMemory(), memory);
    EXPECT_EQ(semDelete(0) & semGive(0) & semFlush(0) & wdDelete(0) & wdCancel(0), ZAT_FAILED);
    EXPECT_EQ(msgQCreate(0, 4, 0x10) + memPartCreate(nullptr, 1024) + taskNameToId("nobody"), 0u);
    EXPECT_EQ(msgQNumMsgs(0), -1);
}

TEST_F(KernelCalls, DeleteAWatchdogWhenItsRoutineHasEnded) {
    EXPECT_EQ(wdStart(watchdog, 3600, bark, 1), ZAT_OK);
    EXPECT_EQ(wdCancel(watchdog), ZAT_OK);
    const Stopwatch stopwatch;
    EXPECT_EQ(wdStart(watchdog, 3, bark, 2), ZAT_OK);
    EXPECT_EQ(wdStart(watchdog, 3, nullptr, 3), ZAT_FAILED);
    EXPECT_TRUE(waitFor([] { return seen == 2; }));
    EXPECT_GE(stopwatch.elapsedMs(), 49u);
    const uint32_t memory = heldMemory();
    Worker deleter([&] { return wdDelete(watchdog); });
    EXPECT_TRUE(waitFor([&] { return wdCancel(watchdog) == ZAT_FAILED; }));
    EXPECT_EQ(zatOSWDeleteTask(deleter.id()), ZAT_OK) << "waits, too";
    EXPECT_EQ(semGive(gate), ZAT_OK);
    deleter.join();
    EXPECT_LT(heldMemory(), memory);
    watchdog = wdCreate();
}

uint32_t sumUp(uint32_t a1, uint32_t a2, uint32_t a3, uint32_t a4, uint32_t a5, uint32_t a6,
               uint32_t a7, uint32_t a8, uint32_t a9, uint32_t a10) {
    seen = a1 + 2 * a2 + 3 * a3 + 4 * a4 + 5 * a5 + 6 * a6 + 7 * a7 + 8 * a8 + 9 * a9 + 10 * a10;
    semTake(gate, ZAT_FOREVER);
    return seen = taskVarGet(0, 7);
}

TEST_F(KernelCalls, SpawnTasksWithNamesAndVariables) {
    const ZatTaskId task = taskSpawn("tSum", 256, ~0u, 20000, sumUp, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10);
    EXPECT_EQ(taskNameToId("tSum"), task);
    EXPECT_STREQ(taskName(task), "tSum");
    EXPECT_STREQ(taskName(0), "tSum") << "as it was";
    EXPECT_EQ(infoOf(task).stackRequested, 20000u);
    EXPECT_EQ(zatOSWAddTaskVar(task, 7) + zatOSWSetTaskVar(task, 7, 1964), ZAT_OK);
    EXPECT_EQ(taskVarGet(0, 7), 0u) << "of another task";
    EXPECT_TRUE(waitFor([] { return seen == 385; }));
    EXPECT_EQ(semGive(gate), ZAT_OK);
    EXPECT_TRUE(waitFor([] { return seen == 1964; }));
}

}  // namespace
