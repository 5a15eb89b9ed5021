/* Named timers: any process asks, one serves; there the handler runs. */

#include "osw/ipc/timer.h"

#include "osw/ipc/object_private.h"
#include "osw/ipc/peer.h"
#include "osw/worker.h"

static constexpr uint32_t stackSize = 16384;

/* What the handler of this process has seen. */
static Shared<uint32_t> calls, argument, localTimer;
static Shared<uint32_t> callsToStart; /* that it makes itself */

static void onTimer(ZatTimer which, uint32_t word, uint32_t, uint32_t, uint32_t, uint32_t) {
    argument = word;
    localTimer = which;
    if (callsToStart > 0) {
        callsToStart = callsToStart - 1;
        zatOSWIpcStartTimer(which, 1, nullptr, 0);
    }
    ++calls;
}
static void onTimerOtherwise(ZatTimer, uint32_t word, uint32_t, uint32_t, uint32_t, uint32_t) {
    argument = word + 1000;
    ++calls;
}

static constexpr OnObject<zatOSWIpcCreateTimer> make;
static constexpr OnObject<zatOSWIpcStopTimer> stop;
static constexpr OnObject<zatOSWIpcResetTimer> reset;
static constexpr OnObject<zatOSWIpcDeleteTimer> removeTimer;
static uint32_t serve(uint32_t timeMs, uint32_t word = 0) {
    return zatOSWIpcStartTimer(object, timeMs, onTimer, word);
}
static uint32_t start(uint32_t timeMs, uint32_t = 0) {
    return zatOSWIpcStartTimer(object, timeMs, nullptr, 0);
}
static uint32_t callsSoFar(uint32_t, uint32_t) {
    return calls;
}

namespace {

constexpr uint32_t never = 1000000;

IpcStatus state() {
    return stateOf(object, ZAT_IPC_TYPE_TIMER);
}

bool callsReach(uint32_t count) {
    return waitFor([=] { return calls == count; });
}

TEST(SharedTimer, IsServedByTheProcessThatStartedItWithAHandler) {
    ASSERT_EQ(make(stackSize), ZAT_OK);
    Peer peer;
    EXPECT_EQ(peer(make, stackSize + 1), ZAT_IPC_BAD_PARAMETERS);
    ASSERT_EQ(peer(make, stackSize), ZAT_OK);
    EXPECT_EQ(state().state, ZAT_IPC_TIMER_NOT_STARTED);
    for (const PeerCall call : {PeerCall{start}, PeerCall{stop}, PeerCall{reset}}) {
        EXPECT_EQ(call(1, 0), ZAT_IPC_TIMER_IDLE);
        EXPECT_EQ(peer(call, 1), ZAT_IPC_TIMER_IDLE);
    }
    EXPECT_EQ(zatOSWIpcStopTimer(0), ZAT_IPC_NO_OBJECT) << "there is no local timer yet";
    EXPECT_EQ(serve(1, 7), ZAT_OK);
    EXPECT_TRUE(callsReach(1));
    EXPECT_EQ(argument, 7u);
    EXPECT_EQ(peer(serve, 1), ZAT_IPC_TIMER_ELSEWHERE);
    EXPECT_EQ(peer(start, 1), ZAT_OK);
    EXPECT_TRUE(callsReach(2));
    EXPECT_EQ(argument, 7u);
    EXPECT_EQ(state().process, static_cast<uint32_t>(getpid()));
    EXPECT_EQ(state().thread, 0u);
    EXPECT_EQ(state().otherProcess, peer.id());
    EXPECT_EQ(zatOSWIpcStartTimer(object, 1, onTimerOtherwise, 8), ZAT_OK) << "another handler";
    EXPECT_TRUE(callsReach(3));
    EXPECT_EQ(argument, 1008u);
    EXPECT_EQ(state().otherProcess, static_cast<uint32_t>(getpid()));
    EXPECT_EQ(start(1), ZAT_OK);
    EXPECT_TRUE(callsReach(4));
    EXPECT_EQ(peer(callsSoFar), 0u);
}

TEST(SharedTimer, IsStoppedAndBeginsAnewAtAnyProcesssWish) {
    ASSERT_EQ(make(stackSize), ZAT_OK);
    Peer peer(make, stackSize);
    EXPECT_EQ(serve(700), ZAT_OK);
    EXPECT_EQ(state().state, ZAT_IPC_TIMER_RUNNING);
    EXPECT_EQ(peer(stop), ZAT_OK);
    EXPECT_EQ(state().state, ZAT_IPC_TIMER_STOPPED);
    EXPECT_EQ(state().otherProcess, peer.id());
    EXPECT_FALSE(waitFor([] { return calls > 0; }, 1000)) << "stopped";

    const Stopwatch sinceStart;
    EXPECT_EQ(peer(start, 600), ZAT_OK);
    EXPECT_FALSE(waitFor([] { return calls > 0; }, 300));
    const Stopwatch sinceReset;
    EXPECT_EQ(peer(reset), ZAT_OK);
    EXPECT_EQ(state().state, ZAT_IPC_TIMER_WAS_RESET);
    EXPECT_TRUE(callsReach(1));
    EXPECT_GE(sinceReset.elapsedMs() + 1, 600u) << "from the full time";
}

TEST(SharedTimer, MovesToAnotherProcessWhenTheServingOneDeletesIt) {
    ASSERT_EQ(make(stackSize), ZAT_OK);
    ASSERT_EQ(make(stackSize), ZAT_OK);
    Peer peer(make, stackSize);
    ASSERT_EQ(serve(never), ZAT_OK);
    EXPECT_TRUE(isRegistered("oswipctmr"));
    EXPECT_EQ(removeTimer(), ZAT_OK) << "not the last one";
    EXPECT_EQ(peer(serve, 1), ZAT_IPC_TIMER_ELSEWHERE);
    EXPECT_EQ(removeTimer(), ZAT_OK);
    EXPECT_EQ(removeTimer(), ZAT_IPC_NO_OBJECT);
    EXPECT_FALSE(isRegistered("oswipctmr"));
    EXPECT_EQ(peer(start, 1), ZAT_IPC_TIMER_IDLE);
    EXPECT_EQ(peer(serve, 1), ZAT_OK);
    EXPECT_TRUE(waitFor([&] { return peer(callsSoFar) == 1; }));
    ASSERT_EQ(make(stackSize), ZAT_OK);
    EXPECT_EQ(start(1), ZAT_OK);
    EXPECT_TRUE(waitFor([&] { return peer(callsSoFar) == 2; }));
    EXPECT_EQ(calls, 0u);
    EXPECT_EQ(peer(start, never), ZAT_OK);
    peer.leave();
    EXPECT_EQ(state().process, 0u) << "with its process";
    EXPECT_EQ(state().state, ZAT_IPC_TIMER_NOT_STARTED);
    EXPECT_EQ(serve(1), ZAT_OK);
    EXPECT_TRUE(callsReach(1));
}

TEST(SharedTimer, OfAKilledProcessIsServedByTheNextHandler) {
    ASSERT_EQ(make(stackSize), ZAT_OK);
    Peer peer(make, stackSize);
    ASSERT_EQ(peer(serve, never), ZAT_OK);
    peer.signal(SIGKILL);
    EXPECT_EQ(start(1), ZAT_OK) << "nobody hears it";
    EXPECT_TRUE(waitFor([] { return serve(1, 3) == ZAT_OK; })) << "also if nobody reaped it";
    peer.kill();
    EXPECT_TRUE(callsReach(1));
    EXPECT_EQ(argument, 3u);
}

TEST(SharedTimer, IsKnownToItsHandlerByTheLocalTimer) {
    ASSERT_EQ(make(stackSize), ZAT_OK);
    callsToStart = 3;
    ASSERT_EQ(serve(1), ZAT_OK);
    EXPECT_TRUE(callsReach(4)) << "it starts itself again";
    EXPECT_NE(localTimer, object);
    EXPECT_EQ(zatOSWIpcResetTimer(localTimer), ZAT_OK);
    EXPECT_EQ(zatOSWIpcStopTimer(localTimer), ZAT_OK);
    EXPECT_EQ(zatOSWIpcStartTimer(localTimer, 1, onTimer, 0), ZAT_OK);
    /* The reset may have begun a countdown, which the start then does not stop. */
    EXPECT_TRUE(waitFor([] { return calls >= 5; }));
    EXPECT_EQ(removeTimer(), ZAT_OK);
    for (const ZatIpcHandle gone : {object, ZatIpcHandle{localTimer}, ZatIpcHandle{0}}) {
        EXPECT_EQ(zatOSWIpcStartTimer(gone, 1, onTimer, 0), ZAT_IPC_NO_OBJECT);
        EXPECT_EQ(zatOSWIpcStopTimer(gone), ZAT_IPC_NO_OBJECT);
        EXPECT_EQ(zatOSWIpcResetTimer(gone), ZAT_IPC_NO_OBJECT);
        EXPECT_EQ(zatOSWIpcDeleteTimer(gone), ZAT_IPC_NO_OBJECT);
    }
}

TEST(SharedTimer, IsDeletedWhateverBecameOfItsControlTask) {
    for (int round = 0; round < 20; ++round) {
        ASSERT_EQ(make(stackSize), ZAT_OK);
        ASSERT_EQ(serve(never), ZAT_OK);
        ZatTaskId task = 0;
        ASSERT_EQ(zatOSWGetTaskIdByName(&task, "oswipctmr"), ZAT_OK);
        EXPECT_EQ(zatOSWDeleteTask(task), ZAT_OK) << "perhaps before it has begun";
        EXPECT_EQ(removeTimer(), ZAT_OK);
    }
}

TEST(SharedTimer, WithoutANameIsAProcessLocalOne) {
    ASSERT_EQ(zatOSWIpcCreateTimer(nullptr, &object, stackSize), ZAT_OK);
    ASSERT_EQ(serve(1, 5), ZAT_OK);
    EXPECT_TRUE(callsReach(1));
    EXPECT_EQ(argument, 5u);
    EXPECT_EQ(localTimer, object);
    EXPECT_EQ(serve(300), ZAT_OK);
    EXPECT_EQ(reset(), ZAT_OK);
    EXPECT_EQ(stop(), ZAT_OK);
    EXPECT_FALSE(waitFor([] { return calls > 1; }, 500));
    EXPECT_EQ(removeTimer(), ZAT_OK);
    EXPECT_EQ(removeTimer(), ZAT_IPC_NO_OBJECT);
}

}  // namespace
