// What kernel-style calls hand on; and their handles. A whole program is examples/kernelstyle.

#include "osw/compat/compat.h"

#include <dlfcn.h>

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
ASKED(zatOSWSendMsgQueue, (uint32_t q, const void* b, uint32_t n, uint32_t ms, uint32_t u), q, b, n,
      ms, u)
ASKED(zatOSWReceiveMsgQueue, (uint32_t q, void* b, uint32_t n, uint32_t ms), q, b, n, ms)
ASKED(zatOSWStartTimer, (uint32_t t, uint32_t ms, ZatTimerCallback f, uint32_t a), t, ms, f, a)
ASKED(zatOSWCreateCountSem, (ZatCountSem * sem, uint32_t ms, int32_t count), sem, ms, count)
ZatStatus zatOSWCreateTimer(ZatTimer* timer, uint32_t stackSizeBytes) {
    unmade = timer;
    return answer == ZAT_OK ? zatOSWCreateTimerEx(timer, nullptr, -1, stackSizeBytes) : answer;
}

static Shared<uint32_t> seen;
static ZatKernelSem gate;

static uint32_t bark(uint32_t parameter) {
    seen = parameter;
    return semTake(gate, ZAT_FOREVER);
}

struct KernelCalls : testing::Test {
    ZatKernelSem binary = semBCreate(0, 1), mutex = semMCreate(0), counting = semCCreate(0, 2);
    KernelCalls() { gate = semBCreate(0, 0); }
    ~KernelCalls() override {
        for (const ZatKernelSem sem : {binary, mutex, counting, gate})
            EXPECT_EQ(semDelete(sem), ZAT_OK);
    }
};

TEST_F(KernelCalls, TurnTicksIntoMilliseconds) {
    static const uint32_t timeouts[][2] = {{0, 0},  {~0u, ~0u}, {60, 1000},
                                           {1, 16}, {7, 116},   {2147484, 0xFDDDDDE4}};
    const ZatKernelWatchdog watchdog = wdCreate();
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
    EXPECT_EQ(wdStart(watchdog, ~0u, bark, 0), ZAT_TIMED_OUT);
    EXPECT_EQ(askedMs, -16u) << "not without limit";
    answer = ZAT_FAILED;
    EXPECT_EQ(semTake(binary, 1), ZAT_FAILED);
    EXPECT_EQ(errno, 0) << "of time-outs only";
    answer = ZAT_OK;
    EXPECT_EQ(wdDelete(watchdog), ZAT_OK);
}

TEST_F(KernelCalls, LeaveAHandleAloneUntilItsSemaphoreIsGone) {
    EXPECT_EQ(semTake(mutex, 0) + semTake(binary, 0) + semTake(counting, 0), ZAT_OK);
    for (auto* call : {semDelete, semGive})
        EXPECT_EQ(Worker([=, this] { return call(mutex); }).join(), ZAT_FAILED);
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
    EXPECT_EQ(semCCreate(0, 0) + wdCreate(), 0u);
    EXPECT_EQ(heldMemory(), memory + 12) << "of the watchdog";
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
    alignas(8) static char pool[512];
    const ZatPartition partition = memPartCreate(pool, sizeof pool);
    EXPECT_NE(memPartAlloc(partition, 300), nullptr);
    EXPECT_EQ(memPartAlloc(partition, 300), nullptr);
    EXPECT_EQ(zatOSWDeleteMemPart(partition), ZAT_OK);
    EXPECT_STREQ(taskName(taskIdSelf()), "mainThread");
    EXPECT_STREQ(taskName(0), "mainThread") << "as it was";
    EXPECT_EQ(zatOSWAddTaskVar(taskIdSelf(), 7) + zatOSWSetTaskVar(taskIdSelf(), 7, 40), ZAT_OK);
    EXPECT_EQ(taskVarGet(0, 7) + taskVarGet(0, 8), 40u);
}

TEST_F(KernelCalls, DeleteAWatchdogWhenItsRoutineHasEnded) {
    const uint32_t memory = heldMemory();
    const ZatKernelWatchdog watchdog = wdCreate();
    EXPECT_EQ(wdStart(watchdog, 3600, bark, 1), ZAT_OK);
    EXPECT_EQ(wdCancel(watchdog), ZAT_OK);
    EXPECT_EQ(wdStart(watchdog, 3, bark, 2), ZAT_OK);
    EXPECT_EQ(wdStart(watchdog, 3, nullptr, 3), ZAT_FAILED);
    EXPECT_TRUE(waitFor([] { return seen == 2; }));
    Worker deleter([&] { return wdDelete(watchdog); });
    EXPECT_TRUE(waitFor([&] { return wdCancel(watchdog) == ZAT_FAILED; }));
    EXPECT_EQ(zatOSWDeleteTask(deleter.id()), ZAT_OK) << "waits, too";
    EXPECT_EQ(semGive(gate), ZAT_OK);
    deleter.join();
    EXPECT_EQ(heldMemory(), memory);
}
