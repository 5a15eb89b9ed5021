#include "osw/timer.h"

#include <dlfcn.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <vector>

#include "osw/event_sem_private.h"
#include "osw/timer_private.h"
#include "osw/worker.h"

static std::function<void(ZatEventSem event, ZatStatus status)> afterWait;

static const auto realWait =
    reinterpret_cast<decltype(&zatOSWWaitEventSem)>(dlsym(RTLD_NEXT, "zatOSWWaitEventSem"));

/* In place of the library's, which calls it through the dynamic linker. */
ZatStatus zatOSWWaitEventSem(ZatEventSem event, ZatTimeoutMs timeoutMs) {
    const ZatStatus status = realWait(event, timeoutMs);
    if (const auto call = afterWait) call(event, status);
    return status;
}

namespace {

struct Call {
    ZatTimer timer;
    uint32_t words[5];
    uint64_t atMs;
};

/* One timer, whose callback notes its calls and does what the case asks for. */
class Timer : public testing::Test {
  protected:
    Timer() {
        current = this;
        EXPECT_EQ(zatOSWCreateTimer(&timer, 0), ZAT_OK);
        EXPECT_TRUE(isIdle());
    }
    ~Timer() override { EXPECT_EQ(zatOSWDeleteTimer(timer), timer != 0 ? ZAT_OK : ZAT_FAILED); }

    static void note(ZatTimer fired, uint32_t a1, uint32_t a2, uint32_t a3, uint32_t a4,
                     uint32_t a5) {
        Timer& test = *current;
        test.calls.push_back({fired, {a1, a2, a3, a4, a5}, test.stopwatch.elapsedMs()});
        ++test.count;
        if (test.inCallback) test.inCallback();
    }
    ZatStatus start(uint32_t intervalMs, uint32_t word = 0) {
        return zatOSWStartTimer(timer, intervalMs, note, word);
    }
    bool hasCalled(int times) {
        return waitFor([=, this] { return count == times; });
    }
    static bool isWaitedFor(ZatEventSem event) {
        return waitFor([=] {
            auto& record = recordOf<OswEventSem>(event);
            return peek(record, &OswEventSem::waiters) == 1 &&
                   peek(record, &OswEventSem::handoff) == 0;
        });
    }
    bool isIdle() { return isWaitedFor(recordOf<OswTimerRecord>(timer).startEvent); }
    bool isRunning() { return isWaitedFor(recordOf<OswTimerRecord>(timer).stopEvent); }

    static inline Timer* current;
    ZatTimer timer = 0;
    Stopwatch stopwatch;
    std::vector<Call> calls;
    Shared<int> count;
    std::function<void()> inCallback;
};

TEST_F(Timer, FiresOncePerStart) {
    EXPECT_EQ(zatOSWStartTimerEx(timer, 60, note, 1, 2, 3, 4, 0xFFFFFFFF), ZAT_OK);
    EXPECT_TRUE(hasCalled(1));
    EXPECT_TRUE(isIdle());
    EXPECT_EQ(calls[0].timer, timer);
    EXPECT_TRUE(std::ranges::equal(calls[0].words, std::vector<uint32_t>{1, 2, 3, 4, ~0u}));
    EXPECT_GE(calls[0].atMs, 59u);
    EXPECT_LT(calls[0].atMs, 10000u);
    EXPECT_EQ(start(1, 9), ZAT_OK);
    EXPECT_TRUE(hasCalled(2));
    EXPECT_TRUE(isIdle());
    EXPECT_EQ(count, 2);
    EXPECT_TRUE(std::ranges::equal(calls[1].words, std::vector<uint32_t>{9, 0, 0, 0, 0}));
}

TEST_F(Timer, DoesNotFireOnceStopped) {
    EXPECT_EQ(start(60000), ZAT_OK);
    EXPECT_TRUE(isRunning());
    EXPECT_EQ(zatOSWStopTimer(timer), ZAT_OK);
    EXPECT_TRUE(isIdle());
    EXPECT_EQ(zatOSWStopTimer(timer), ZAT_OK) << "idle already";
    EXPECT_EQ(start(1, 7), ZAT_OK) << "an old stop does not count";
    EXPECT_TRUE(hasCalled(1));
    EXPECT_EQ(calls[0].words[0], 7u);
}

TEST_F(Timer, AResetBeginsTheIntervalAgain) {
    EXPECT_EQ(zatOSWResetTimer(timer), ZAT_OK);
    EXPECT_TRUE(isIdle());
    const Stopwatch started;
    EXPECT_EQ(start(400), ZAT_OK);
    EXPECT_TRUE(isRunning());
    EXPECT_TRUE(waitFor([&] { return started.elapsedMs() >= 100; }));
    const uint64_t resetMs = stopwatch.elapsedMs();
    EXPECT_EQ(zatOSWResetTimer(timer), ZAT_OK);
    if (started.elapsedMs() >= 390) GTEST_SKIP() << "the machine is too busy";
    EXPECT_TRUE(hasCalled(1));
    EXPECT_GE(calls[0].atMs, resetMs + 399);
    EXPECT_TRUE(isIdle());
    EXPECT_EQ(count, 1);
}

TEST_F(Timer, GoesByTheLastCallBeforeItLooks) {
    const auto starts = [this] { EXPECT_EQ(start(1), ZAT_OK); };
    const auto stops = [this] { EXPECT_EQ(zatOSWStopTimer(timer), ZAT_OK); };
    const auto resets = [this] { EXPECT_EQ(zatOSWResetTimer(timer), ZAT_OK); };
    const struct {
        std::function<void()> wakes, follows;
        int times;
    } cases[] = {{resets, starts, 1},
                 {resets, resets, 0},
                 {starts, stops, 0},
                 {starts, resets, 1},
                 {starts, [=] { stops(), starts(); }, 1},
                 {starts, [=] { stops(), resets(); }, 0}};
    const ZatEventSem startEvent = recordOf<OswTimerRecord>(timer).startEvent;
    for (const auto& step : cases) {
        Shared<int> woken;
        afterWait = [&](ZatEventSem event, ZatStatus) {
            if (event == startEvent && ++woken == 1) step.follows();
        };
        const int before = count;
        step.wakes();
        EXPECT_TRUE(waitFor([&] { return woken > 0; }) && isIdle());
        EXPECT_EQ(count - before, step.times) << &step - cases;
        afterWait = nullptr;
    }
}

TEST_F(Timer, AStartWhileItRunsOrCallsIsForTheNextTime) {
    inCallback = [this] {
        if (count == 1) return;
        const bool again = count < 4;
        EXPECT_EQ(again ? start(20, static_cast<uint32_t>(count)) : zatOSWStopTimer(timer), ZAT_OK);
    };
    EXPECT_EQ(start(100, 0), ZAT_OK);
    EXPECT_TRUE(isRunning());
    EXPECT_EQ(start(20, 1), ZAT_OK);
    EXPECT_EQ(zatOSWStartTimer(timer, 60000, nullptr, 3), ZAT_FAILED) << "nothing to call";
    EXPECT_TRUE(hasCalled(4));
    EXPECT_TRUE(isIdle());
    EXPECT_GE(calls[0].atMs, 99u);
    for (uint32_t i = 0; i < 4; ++i) {
        EXPECT_EQ(calls[i].words[0], i);
        EXPECT_TRUE(i == 0 || calls[i].atMs + 1 >= calls[i - 1].atMs + 20);
    }
}

/* A call that comes just after the timer's task was woken in a countdown, before it got further. */
TEST_F(Timer, AStopInTheLastMomentCounts) {
    const auto once = [this](ZatStatus reason, auto call) {
        afterWait = [this, reason, call](ZatEventSem event, ZatStatus status) {
            if (event != recordOf<OswTimerRecord>(timer).stopEvent || status != reason) return;
            afterWait = nullptr;
            call();
        };
    };
    Shared<bool> stopped;
    once(ZAT_TIMED_OUT, [&] {
        EXPECT_EQ(zatOSWStopTimer(timer), ZAT_OK);
        stopped = true;
    });
    ASSERT_EQ(start(1), ZAT_OK);
    EXPECT_TRUE(waitFor([&] { return bool{stopped}; }));
    EXPECT_TRUE(isIdle());
    EXPECT_EQ(count, 0);

    once(ZAT_OK, [this] {
        EXPECT_EQ(zatOSWStopTimer(timer), ZAT_OK);
        EXPECT_EQ(start(1), ZAT_OK) << "which is not forgotten";
    });
    ASSERT_EQ(start(60000), ZAT_OK);
    ASSERT_TRUE(isRunning());
    ASSERT_EQ(zatOSWStopTimer(timer), ZAT_OK);
    EXPECT_TRUE(hasCalled(1));
}

TEST_F(Timer, DeletionWaitsForItsTask) {
    EXPECT_TRUE(isRegistered("mainThreOswTimer"));
    EXPECT_EQ(zatOSWDeleteTimer(timer), ZAT_OK) << "while it is idle";
    EXPECT_FALSE(isRegistered("mainThreOswTimer"));
    const uint32_t memory = heldMemory();
    ASSERT_EQ(zatOSWCreateTimerEx(&timer, "given", ZAT_INHERIT_PRIORITY, 0), ZAT_OK);
    EXPECT_TRUE(isRegistered("given"));
    EXPECT_EQ(start(60000), ZAT_OK);
    EXPECT_TRUE(isRunning());
    EXPECT_EQ(zatOSWDeleteTimer(timer), ZAT_OK);
    EXPECT_FALSE(isRegistered("given"));
    ASSERT_EQ(zatOSWCreateTimer(&timer, 0), ZAT_OK);
    Shared<bool> open;
    inCallback = [&] { waitFor([&] { return bool{open}; }); };
    EXPECT_EQ(start(0), ZAT_OK);
    EXPECT_TRUE(hasCalled(1));
    Worker deleter([this] { return zatOSWDeleteTimer(timer); });
    EXPECT_TRUE(waitFor([this] { return zatOSWStopTimer(timer) == ZAT_FAILED; }));
    EXPECT_EQ(zatOSWWaitTask(deleter.id(), 0), ZAT_FAILED) << "the callback still runs";
    open = true;
    EXPECT_EQ(deleter.join(), ZAT_OK);
    EXPECT_EQ(count, 1);
    EXPECT_FALSE(isRegistered("mainThreOswTimer"));
    for (ZatTimer unknown : {timer, ZatTimer{0}, wordOf(this)}) {
        EXPECT_EQ(zatOSWStartTimer(unknown, 1, note, 0), ZAT_FAILED);
        EXPECT_EQ(zatOSWStopTimer(unknown), ZAT_FAILED);
        EXPECT_EQ(zatOSWResetTimer(unknown), ZAT_FAILED);
        EXPECT_EQ(zatOSWDeleteTimer(unknown), ZAT_FAILED);
    }
    timer = 0;
    EXPECT_EQ(heldMemory(), memory);
}

TEST_F(Timer, WithoutItsTaskOnlyADeletionIsAnswered) {
    SKIP_IF_THREADS_ARE_FOLLOWED();
    ZatTaskId task = 0;
    EXPECT_EQ(zatOSWGetTaskIdByName(&task, "mainThreOswTimer"), ZAT_OK);
    EXPECT_EQ(zatOSWDeleteTask(task), ZAT_OK);
    EXPECT_TRUE(waitFor([this] { return zatOSWStopTimer(timer) == ZAT_FAILED; }));
    EXPECT_EQ(start(0), ZAT_FAILED);
    EXPECT_EQ(zatOSWResetTimer(timer), ZAT_FAILED);
    EXPECT_EQ(zatOSWDeleteTimer(timer), ZAT_OK);
    EXPECT_EQ(zatOSWDeleteTimer(timer), ZAT_FAILED);
    timer = 0;
    EXPECT_FALSE(isRegistered("mainThreOswTimer"));
}

/* Starts, stops and resets from several tasks, then a deletion at once. */
TEST_F(Timer, SurvivesBeingUsedFromSeveralTasks) {
    SKIP_IF_RACES_ARE_CHECKED();
    const int rounds = emulated() ? 5 : 40;
    for (int round = 0; round < rounds; ++round) {
        std::vector<std::unique_ptr<Worker>> users;
        for (uint32_t number = 0; number < 3; ++number)
            users.push_back(std::make_unique<Worker>([this, number] {
                for (uint32_t step = number; step < 60; ++step) {
                    const ZatStatus status = step % 3 == 0   ? start(step % 2)
                                             : step % 3 == 1 ? zatOSWResetTimer(timer)
                                                             : zatOSWStopTimer(timer);
                    if (status != ZAT_OK) return status;
                }
                return start(0);
            }));
        for (auto& user : users)
            EXPECT_EQ(user->join(), ZAT_OK);
        EXPECT_TRUE(round % 2 == 0 || isIdle()) << "the last start fires";
        EXPECT_EQ(zatOSWDeleteTimer(timer), ZAT_OK);
        EXPECT_EQ(zatOSWCreateTimer(&timer, 0), ZAT_OK);
    }
    EXPECT_GT(count, 0);
}

class EventTimer : public testing::Test {
  protected:
    EventTimer() { EXPECT_EQ(zatOSWCreateEventSem(&event, 0, 0), ZAT_OK); }
    ~EventTimer() override { EXPECT_EQ(zatOSWDeleteEventSem(event), ZAT_OK); }

    static bool ends(const char* name) {
        return waitFor([=] { return !isRegistered(name); });
    }

    ZatEventSem event = 0;
    ZatEventSem cancel = 0;
};

TEST_F(EventTimer, PostsAtEveryIntervalUntilCancelled) {
    const uint32_t memory = heldMemory();
    const Stopwatch stopwatch;
    ASSERT_EQ(zatOSWStartEventTimer(&cancel, 25, event), ZAT_OK);
    EXPECT_TRUE(isRegistered("eventTimer"));
    for (uint32_t posts = 1; posts <= 4; ++posts) {
        EXPECT_EQ(zatOSWWaitEventSem(event, 10000), ZAT_OK);
        EXPECT_GE(stopwatch.elapsedMs() + 1, posts * 25);
    }
    EXPECT_EQ(zatOSWPostEventSem(cancel), ZAT_OK);
    EXPECT_TRUE(ends("eventTimer"));
    EXPECT_TRUE(waitFor([=] { return heldMemory() == memory; })) << "its handle is gone too";
    EXPECT_EQ(zatOSWResetEventSem(event), ZAT_OK);
    EXPECT_EQ(zatOSWWaitEventSem(event, 60), ZAT_TIMED_OUT);
}

TEST_F(EventTimer, AnAsynchronousOnePostsOnceOrNever) {
    const uint32_t memory = heldMemory();
    const Stopwatch stopwatch;
    ASSERT_EQ(zatOSWAsyncEventTimer(&cancel, 40, event), ZAT_OK);
    EXPECT_TRUE(isRegistered("asyncTimer"));
    EXPECT_EQ(zatOSWWaitEventSem(event, 10000), ZAT_OK);
    EXPECT_GE(stopwatch.elapsedMs(), 39u);
    EXPECT_TRUE(ends("asyncTimer"));
    EXPECT_EQ(zatOSWWaitEventSem(event, 0), ZAT_TIMED_OUT);
    ASSERT_EQ(zatOSWAsyncEventTimer(&cancel, 60000, event), ZAT_OK);
    EXPECT_EQ(zatOSWPostEventSem(cancel), ZAT_OK);
    EXPECT_TRUE(ends("asyncTimer"));
    EXPECT_EQ(zatOSWWaitEventSem(event, 0), ZAT_TIMED_OUT);
    EXPECT_TRUE(waitFor([=] { return heldMemory() == memory; }));
}

}  // namespace
