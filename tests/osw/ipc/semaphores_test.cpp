/* What is particular to named mutexes, counts and events; see wait_test.cpp for what they share. */

#include "osw/ipc/peer.h"
#include "osw/worker.h"

static ZatIpcHandle object;

static uint32_t makeMutex(uint32_t state, uint32_t) {
    return zatOSWIpcCreateMutexSem("sem", &object, 0, state);
}
static uint32_t request(uint32_t timeoutMs, uint32_t) {
    return zatOSWIpcRequestMutexSem(object, timeoutMs);
}
static uint32_t release(uint32_t, uint32_t) {
    return zatOSWIpcReleaseMutexSem(object);
}
static uint32_t makeCount(uint32_t count, uint32_t) {
    return zatOSWIpcCreateCountSem("sem", &object, 0, count);
}
static uint32_t waitCount(uint32_t timeoutMs, uint32_t) {
    return zatOSWIpcWaitCountSem(object, timeoutMs);
}
static uint32_t makeEvent(uint32_t state, uint32_t) {
    return zatOSWIpcCreateEventSem("sem", &object, 0, state);
}
static uint32_t waitEvent(uint32_t timeoutMs, uint32_t) {
    return zatOSWIpcWaitEventSem(object, timeoutMs);
}

namespace {

IpcStatus mutexState() {
    return stateOf(object, ZAT_IPC_TYPE_MUTEX);
}
IpcStatus countState() {
    return stateOf(object, ZAT_IPC_TYPE_COUNT);
}

TEST(SharedMutex, IsTakenAndGivenAsOftenByItsOwnerAlone) {
    ASSERT_EQ(makeMutex(1, 0), ZAT_OK);
    EXPECT_EQ(mutexState().state, 0u);
    Peer peer;
    ASSERT_EQ(peer(makeMutex, 1), ZAT_OK);
    EXPECT_EQ(release(0, 0), ZAT_IPC_NOT_OWNER) << "nobody holds it";
    for (uint32_t depth = 1; depth <= 3; ++depth) {
        EXPECT_EQ(request(depth == 2 ? ZAT_FOREVER : 0, 0), ZAT_OK);
        EXPECT_EQ(mutexState().state, depth);
    }
    EXPECT_EQ(mutexState().process, static_cast<uint32_t>(getpid()));
    EXPECT_EQ(mutexState().thread, pthread_self());
    for (uint32_t depth = 3; depth > 0; --depth) {
        EXPECT_EQ(Worker([] { return release(0, 0); }).join(), ZAT_IPC_NOT_OWNER);
        EXPECT_EQ(Worker([] { return request(0, 0); }).join(), ZAT_TIMED_OUT);
        EXPECT_EQ(peer(release), ZAT_IPC_NOT_OWNER);
        EXPECT_EQ(peer(request, 0), ZAT_TIMED_OUT);
        EXPECT_EQ(mutexState().state, depth);
        EXPECT_EQ(release(0, 0), ZAT_OK);
    }
    EXPECT_EQ(release(0, 0), ZAT_IPC_NOT_OWNER);
    EXPECT_EQ(peer(request, 0), ZAT_OK);
    EXPECT_EQ(mutexState().process, peer.id());
    EXPECT_EQ(mutexState().otherProcess, static_cast<uint32_t>(getpid()));
}

TEST(SharedMutex, MayBeMadeTaken) {
    ASSERT_EQ(makeMutex(0, 0), ZAT_OK);
    EXPECT_EQ(mutexState().state, 1u);
    Peer peer;
    peer.begin(makeMutex, 0);
    EXPECT_TRUE(blockedReach(object, ZAT_IPC_TYPE_MUTEX, 1)) << "its creator waits";
    EXPECT_EQ(release(0, 0), ZAT_OK);
    EXPECT_EQ(peer.end(), ZAT_OK);
    EXPECT_EQ(mutexState().process, peer.id());
}

TEST(SharedMutex, IsNotDeletedUnderAnotherTask) {
    ASSERT_EQ(makeMutex(1, 0), ZAT_OK);
    Shared<bool> taken, done;
    Worker owner([&] {
        const ZatStatus status = request(0, 0);
        taken = true;
        waitFor([&] { return static_cast<bool>(done); });
        return status == ZAT_OK ? release(0, 0) : status;
    });
    EXPECT_TRUE(waitFor([&] { return static_cast<bool>(taken); }));
    EXPECT_EQ(zatOSWIpcDeleteMutexSem(object), ZAT_IPC_DEADLOCK);
    EXPECT_EQ(makeMutex(1, 0), ZAT_OK);
    EXPECT_EQ(zatOSWIpcDeleteMutexSem(object), ZAT_OK) << "not the last one";
    EXPECT_EQ(mutexState().state, 1u) << "and not the owner's";
    done = true;
    EXPECT_EQ(owner.join(), ZAT_OK);
    EXPECT_EQ(zatOSWIpcDeleteMutexSem(object), ZAT_OK);
}

TEST(SharedMutex, IsGivenBackByEachDeleteOfItsOwner) {
    ASSERT_EQ(makeMutex(1, 0), ZAT_OK);
    ASSERT_EQ(makeMutex(1, 0), ZAT_OK);
    Peer peer;
    ASSERT_EQ(peer(makeMutex, 1), ZAT_OK);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(request(0, 0), ZAT_OK);
        EXPECT_EQ(request(0, 0), ZAT_OK);
        peer.begin(request, ZAT_FOREVER);
        EXPECT_TRUE(blockedReach(object, ZAT_IPC_TYPE_MUTEX, 1));
        EXPECT_EQ(zatOSWIpcDeleteMutexSem(object), ZAT_OK);
        EXPECT_EQ(peer.end(), ZAT_OK);
        EXPECT_EQ(peer(release), ZAT_OK);
    }
    EXPECT_EQ(zatOSWIpcDeleteMutexSem(object), ZAT_IPC_NO_OBJECT);
}

TEST(SharedMutex, StaysTakenByAKilledProcess) {
    ASSERT_EQ(makeMutex(1, 0), ZAT_OK);
    Peer peer;
    ASSERT_EQ(peer(makeMutex, 0), ZAT_OK);
    const uint32_t owner = peer.id();
    peer.kill();
    EXPECT_EQ(request(30, 0), ZAT_TIMED_OUT);
    EXPECT_EQ(mutexState().process, owner);
    EXPECT_EQ(mutexState().state, 1u);
}

TEST(SharedCount, IsTheSameNumberForAllItsCreators) {
    Peer peer;
    ASSERT_EQ(peer(makeCount, 5), ZAT_OK);
    EXPECT_EQ(makeCount(3, 0), ZAT_IPC_BAD_PARAMETERS);
    ASSERT_EQ(makeCount(5, 0), ZAT_OK);
    EXPECT_EQ(peer(waitCount, 0), ZAT_OK);
    EXPECT_EQ(makeCount(4, 0), ZAT_IPC_BAD_PARAMETERS) << "the number it was made with counts";
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(waitCount(i % 2 == 0 ? 0 : ZAT_FOREVER, 0), ZAT_OK);
    EXPECT_EQ(waitCount(0, 0), ZAT_TIMED_OUT);
    for (int i = 0; i < 7; ++i)
        EXPECT_EQ(zatOSWIpcPostCountSem(object), ZAT_OK);
    EXPECT_EQ(countState().state, 7u) << "no upper bound";
    EXPECT_EQ(countState().otherThread, pthread_self());
}

TEST(SharedCount, LetsOneWaiterPassForEachPost) {
    ASSERT_EQ(makeCount(0, 0), ZAT_OK);
    Peer peers[2];
    for (Peer& peer : peers) {
        ASSERT_EQ(peer(makeCount, 0), ZAT_OK);
        peer.begin(waitCount, ZAT_FOREVER);
    }
    Worker waiter([] { return waitCount(15000, 0); });
    EXPECT_TRUE(blockedReach(object, ZAT_IPC_TYPE_COUNT, 3));
    for (uint32_t left : {2u, 1u, 0u}) {
        EXPECT_EQ(zatOSWIpcPostCountSem(object), ZAT_OK);
        EXPECT_TRUE(blockedReach(object, ZAT_IPC_TYPE_COUNT, left));
        EXPECT_EQ(countState().state, 0u);
    }
    EXPECT_EQ(waiter.join(), ZAT_OK);
    for (Peer& peer : peers)
        EXPECT_EQ(peer.end(), ZAT_OK);
}

/* The unit is the deleted task's or the other's, never lost and never twice. */
TEST(SharedCount, HandsAUnitOnWhenItsWaiterIsDeletedMeanwhile) {
    SKIP_IF_THREADS_ARE_FOLLOWED();
    ASSERT_EQ(makeCount(0, 0), ZAT_OK);
    Peer peer;
    ASSERT_EQ(peer(makeCount, 0), ZAT_OK);
    Stopwatch stopwatch;
    const int rounds = emulated() ? 5 : 50;
    for (int i = 0; i < rounds; ++i) {
        Worker waiter([] { return waitCount(ZAT_FOREVER, 0); });
        EXPECT_TRUE(blockedReach(object, ZAT_IPC_TYPE_COUNT, 1));
        peer.begin(waitCount, ZAT_FOREVER);
        EXPECT_TRUE(blockedReach(object, ZAT_IPC_TYPE_COUNT, 2));
        EXPECT_EQ(zatOSWIpcPostCountSem(object), ZAT_OK);
        waiter.remove();
        const IpcStatus left = countState();
        if (left.waiters == 1 && left.state == 0) {
            EXPECT_EQ(zatOSWIpcPostCountSem(object), ZAT_OK) << "the deleted one had it";
        }
        EXPECT_EQ(peer.end(), ZAT_OK);
        EXPECT_EQ(countState().state, 0u);
        EXPECT_EQ(countState().waiters, 0u);
    }
    EXPECT_LT(stopwatch.elapsedMs(), static_cast<uint64_t>(rounds) * 500)
        << "wake-ups are lost, and found by the look after a second";
}

TEST(SharedEvent, IsSignalledOnceHoweverOftenItIsPosted) {
    ASSERT_EQ(makeEvent(1, 0), ZAT_OK);
    Peer peer;
    EXPECT_EQ(peer(makeEvent, 0), ZAT_IPC_BAD_PARAMETERS);
    ASSERT_EQ(peer(makeEvent, 1), ZAT_OK);
    const auto isSignalled = [] { return stateOf(object, ZAT_IPC_TYPE_EVENT).state == 0; };
    EXPECT_TRUE(isSignalled());
    EXPECT_EQ(peer(waitEvent, 0), ZAT_OK);
    EXPECT_EQ(waitEvent(0, 0), ZAT_TIMED_OUT);
    EXPECT_FALSE(isSignalled());
    EXPECT_EQ(zatOSWIpcPostEventSem(object), ZAT_OK);
    EXPECT_EQ(zatOSWIpcPostEventSem(object), ZAT_OK);
    EXPECT_EQ(waitEvent(ZAT_FOREVER, 0), ZAT_OK);
    EXPECT_EQ(peer(waitEvent, 0), ZAT_TIMED_OUT);
    EXPECT_EQ(zatOSWIpcPostEventSem(object), ZAT_OK);
    EXPECT_EQ(zatOSWIpcResetEventSem(object), ZAT_OK);
    EXPECT_EQ(peer(waitEvent, 0), ZAT_TIMED_OUT);
    EXPECT_EQ(zatOSWIpcFlushEventSem(object), ZAT_OK);
    EXPECT_EQ(waitEvent(0, 0), ZAT_TIMED_OUT) << "nobody waited, nothing is pending";
}

TEST(SharedEvent, IsForOneWaiterWhenPostedAndForAllWhenFlushed) {
    ASSERT_EQ(makeEvent(0, 0), ZAT_OK);
    Peer peers[2];
    for (Peer& peer : peers)
        ASSERT_EQ(peer(makeEvent, 0), ZAT_OK);
    for (int round = 0; round < (emulated() ? 3 : 20); ++round) {
        for (Peer& peer : peers)
            peer.begin(waitEvent, ZAT_FOREVER);
        Worker waiters[] = {Worker([] { return waitEvent(ZAT_FOREVER, 0); }),
                            Worker([] { return waitEvent(15000, 0); })};
        EXPECT_TRUE(blockedReach(object, ZAT_IPC_TYPE_EVENT, 4));
        EXPECT_EQ(zatOSWIpcPostEventSem(object), ZAT_OK);
        EXPECT_TRUE(blockedReach(object, ZAT_IPC_TYPE_EVENT, 3));
        EXPECT_EQ(waitEvent(0, 0), ZAT_TIMED_OUT);
        EXPECT_EQ(zatOSWIpcFlushEventSem(object), ZAT_OK);
        EXPECT_EQ(waitEvent(0, 0), ZAT_TIMED_OUT) << "a newcomer has to wait for the broadcast";
        for (Worker& waiter : waiters)
            EXPECT_EQ(waiter.join(), ZAT_OK);
        for (Peer& peer : peers)
            EXPECT_EQ(peer.end(), ZAT_OK);
        EXPECT_EQ(stateOf(object, ZAT_IPC_TYPE_EVENT).state, 1u);
    }
}

TEST(SharedEvent, WithoutANameIsResetAndFlushedAsAProcessLocalOne) {
    ASSERT_EQ(zatOSWIpcCreateEventSem(nullptr, &object, 0, 1), ZAT_OK);
    EXPECT_EQ(zatOSWIpcResetEventSem(object), ZAT_OK);
    EXPECT_EQ(waitEvent(0, 0), ZAT_TIMED_OUT);
    std::atomic<int> passed = 0;
    const auto pass = [&] {
        const ZatStatus status = waitEvent(15000, 0);
        ++passed;
        return status;
    };
    Worker waiters[] = {Worker(pass), Worker(pass)};
    EXPECT_TRUE(waitFor([&] { return zatOSWIpcFlushEventSem(object) != ZAT_OK || passed == 2; }));
    for (Worker& waiter : waiters)
        EXPECT_EQ(waiter.join(), ZAT_OK);
}

}  // namespace
