/* What is particular to named mutexes, counts and events; see wait_test.cpp for what they share. */

#include "osw/ipc/object_private.h"
#include "osw/ipc/peer.h"
#include "osw/worker.h"

static constexpr OnObject<zatOSWIpcCreateMutexSem> makeMutex;
static constexpr OnObject<zatOSWIpcRequestMutexSem> request;
static constexpr OnObject<zatOSWIpcReleaseMutexSem> release;
static constexpr OnObject<zatOSWIpcDeleteMutexSem> removeMutex;
static constexpr OnObject<zatOSWIpcCreateCountSem> makeCount;
static constexpr OnObject<zatOSWIpcWaitCountSem> waitCount;
static constexpr OnObject<zatOSWIpcPostCountSem> postCount;
static constexpr OnObject<zatOSWIpcCreateEventSem> makeEvent;
static constexpr OnObject<zatOSWIpcWaitEventSem> waitEvent;
static constexpr OnObject<zatOSWIpcPostEventSem> postEvent;
static constexpr OnObject<zatOSWIpcResetEventSem> resetEvent;
static constexpr OnObject<zatOSWIpcFlushEventSem> flushEvent;

namespace {

IpcStatus mutexState() {
    return stateOf(object, ZAT_IPC_TYPE_MUTEX);
}
IpcStatus countState() {
    return stateOf(object, ZAT_IPC_TYPE_COUNT);
}
uint32_t ownProcess() {
    return static_cast<uint32_t>(getpid());
}

TEST(SharedMutex, IsTakenAndGivenAsOftenByItsOwnerAlone) {
    ASSERT_EQ(makeMutex(1), ZAT_OK);
    EXPECT_EQ(mutexState().state, 0u);
    Peer peer(makeMutex, 1);
    EXPECT_EQ(release(), ZAT_IPC_NOT_OWNER) << "nobody holds it";
    for (uint32_t depth = 1; depth <= 3; ++depth) {
        EXPECT_EQ(request(depth == 2 ? ZAT_FOREVER : 0), ZAT_OK);
        EXPECT_EQ(mutexState().state, depth);
    }
    EXPECT_EQ(mutexState().process, ownProcess());
    EXPECT_EQ(mutexState().thread, pthread_self());
    for (uint32_t depth = 3; depth > 0; --depth) {
        EXPECT_EQ(Worker(release).join(), ZAT_IPC_NOT_OWNER);
        EXPECT_EQ(Worker(request).join(), ZAT_TIMED_OUT);
        EXPECT_EQ(peer(release), ZAT_IPC_NOT_OWNER);
        EXPECT_EQ(peer(request), ZAT_TIMED_OUT);
        EXPECT_EQ(mutexState().state, depth);
        EXPECT_EQ(release(), ZAT_OK);
    }
    EXPECT_EQ(release(), ZAT_IPC_NOT_OWNER);
    EXPECT_EQ(peer(request), ZAT_OK);
    EXPECT_EQ(mutexState().process, peer.id());
    EXPECT_EQ(mutexState().otherProcess, ownProcess());
    EXPECT_EQ(removeMutex(), ZAT_OK) << "it is another process's";
}

TEST(SharedMutex, MayBeMadeTakenAndStaysSoWhenItsOwnerIsKilled) {
    ASSERT_EQ(makeMutex(0), ZAT_OK);
    EXPECT_EQ(mutexState().state, 1u);
    Peer peer;
    const uint32_t owner = peer.id();
    peer.begin(makeMutex, 0);
    EXPECT_TRUE(blockedReach(ZAT_IPC_TYPE_MUTEX, 1)) << "its creator waits";
    EXPECT_EQ(release(), ZAT_OK);
    EXPECT_EQ(peer.end(), ZAT_OK);
    peer.kill();
    EXPECT_EQ(request(30), ZAT_TIMED_OUT);
    EXPECT_EQ(mutexState().process, owner);
    EXPECT_EQ(mutexState().state, 1u);
}

TEST(SharedMutex, IsNotDeletedUnderAnotherTask) {
    ASSERT_EQ(makeMutex(1), ZAT_OK);
    Shared<bool> done;
    Worker owner([&] {
        const ZatStatus status = request();
        waitFor([&] { return static_cast<bool>(done); });
        return status == ZAT_OK ? release() : status;
    });
    EXPECT_TRUE(waitFor([] { return mutexState().state == 1; }));
    EXPECT_EQ(removeMutex(), ZAT_IPC_DEADLOCK);
    EXPECT_EQ(makeMutex(1), ZAT_OK);
    EXPECT_EQ(removeMutex(), ZAT_OK) << "not the last one";
    EXPECT_EQ(mutexState().state, 1u) << "and not the owner's";
    done = true;
    EXPECT_EQ(owner.join(), ZAT_OK);
    EXPECT_EQ(removeMutex(), ZAT_OK);
}

TEST(SharedMutex, IsGivenBackByEachDeleteOfItsOwner) {
    ASSERT_EQ(makeMutex(1), ZAT_OK);
    ASSERT_EQ(makeMutex(1), ZAT_OK);
    Peer peer(makeMutex, 1);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(request(), ZAT_OK);
        EXPECT_EQ(request(), ZAT_OK);
        peer.begin(request, ZAT_FOREVER);
        EXPECT_TRUE(blockedReach(ZAT_IPC_TYPE_MUTEX, 1));
        EXPECT_EQ(removeMutex(), ZAT_OK);
        EXPECT_EQ(peer.end(), ZAT_OK);
        EXPECT_EQ(peer(release), ZAT_OK);
    }
    EXPECT_EQ(removeMutex(), ZAT_IPC_NO_OBJECT);
}

TEST(SharedMutex, IsAForkedChildsOwn) {
    ASSERT_EQ(makeMutex(1), ZAT_OK);
    const pid_t child = fork();
    if (child == 0) _exit(static_cast<int>(request()));
    EXPECT_EQ(waitForExit(child), 0);
    EXPECT_EQ(mutexState().process, static_cast<uint32_t>(child));
    EXPECT_EQ(request(), ZAT_TIMED_OUT);
}

TEST(SharedCount, IsTheSameNumberForAllItsCreators) {
    Peer peer(makeCount, 5);
    EXPECT_EQ(makeCount(3), ZAT_IPC_BAD_PARAMETERS);
    ASSERT_EQ(makeCount(5), ZAT_OK);
    EXPECT_EQ(peer(waitCount), ZAT_OK);
    EXPECT_EQ(countState().process, peer.id());
    EXPECT_EQ(makeCount(4), ZAT_IPC_BAD_PARAMETERS) << "the number it was made with counts";
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(waitCount(i % 2 == 0 ? 0 : ZAT_FOREVER), ZAT_OK);
    EXPECT_EQ(waitCount(), ZAT_TIMED_OUT);
    for (int i = 0; i < 7; ++i)
        EXPECT_EQ(postCount(), ZAT_OK);
    EXPECT_EQ(countState().state, 7u) << "no upper bound";
    EXPECT_EQ(countState().otherThread, pthread_self());
}

/* The unit is the deleted task's or the other's, never lost and never twice. */
TEST(SharedCount, HandsAUnitOnWhenItsWaiterIsDeletedMeanwhile) {
    SKIP_IF_THREADS_ARE_FOLLOWED();
    ASSERT_EQ(makeCount(0), ZAT_OK);
    Peer peer(makeCount, 0);
    Stopwatch stopwatch;
    const int rounds = emulated() ? 5 : 50;
    for (int i = 0; i < rounds; ++i) {
        Worker waiter([] { return waitCount(ZAT_FOREVER); });
        EXPECT_TRUE(blockedReach(ZAT_IPC_TYPE_COUNT, 1));
        peer.begin(waitCount, ZAT_FOREVER);
        EXPECT_TRUE(blockedReach(ZAT_IPC_TYPE_COUNT, 2));
        EXPECT_EQ(postCount(), ZAT_OK);
        waiter.remove();
        const IpcStatus left = countState();
        if (left.waiters == 1 && left.state == 0) {
            EXPECT_EQ(postCount(), ZAT_OK) << "the deleted one had it";
        }
        EXPECT_EQ(peer.end(), ZAT_OK);
        EXPECT_EQ(countState().state, 0u);
        EXPECT_EQ(countState().waiters, 0u);
    }
    EXPECT_LT(stopwatch.elapsedMs(), static_cast<uint64_t>(rounds) * 500)
        << "wake-ups are lost, and found by the look after a second";
}

TEST(SharedEvent, IsSignalledOnceHoweverOftenItIsPosted) {
    ASSERT_EQ(makeEvent(1), ZAT_OK);
    Peer peer;
    EXPECT_EQ(peer(makeEvent, 0), ZAT_IPC_BAD_PARAMETERS);
    ASSERT_EQ(peer(makeEvent, 1), ZAT_OK);
    const auto isSignalled = [] { return stateOf(object, ZAT_IPC_TYPE_EVENT).state == 0; };
    EXPECT_TRUE(isSignalled());
    EXPECT_EQ(peer(waitEvent), ZAT_OK);
    EXPECT_EQ(waitEvent(), ZAT_TIMED_OUT);
    EXPECT_FALSE(isSignalled());
    EXPECT_EQ(postEvent(), ZAT_OK);
    EXPECT_EQ(postEvent(), ZAT_OK);
    EXPECT_EQ(waitEvent(ZAT_FOREVER), ZAT_OK);
    EXPECT_EQ(peer(waitEvent), ZAT_TIMED_OUT);
    EXPECT_EQ(postEvent(), ZAT_OK);
    EXPECT_EQ(resetEvent(), ZAT_OK);
    EXPECT_EQ(peer(waitEvent), ZAT_TIMED_OUT);
    EXPECT_EQ(flushEvent(), ZAT_OK);
    EXPECT_EQ(waitEvent(), ZAT_TIMED_OUT) << "nobody waited, nothing is pending";
}

TEST(SharedEvent, IsForOneWaiterWhenPostedAndForAllWhenFlushed) {
    ASSERT_EQ(makeEvent(0), ZAT_OK);
    Peer peers[] = {Peer(makeEvent, 0), Peer(makeEvent, 0)};
    for (int round = 0; round < (emulated() ? 3 : 20); ++round) {
        for (Peer& peer : peers)
            peer.begin(waitEvent, ZAT_FOREVER);
        Worker waiters[] = {Worker([] { return waitEvent(ZAT_FOREVER); }),
                            Worker([] { return waitEvent(15000); })};
        EXPECT_TRUE(blockedReach(ZAT_IPC_TYPE_EVENT, 4));
        EXPECT_EQ(postEvent(), ZAT_OK);
        EXPECT_TRUE(blockedReach(ZAT_IPC_TYPE_EVENT, 3));
        EXPECT_EQ(waitEvent(), ZAT_TIMED_OUT);
        EXPECT_EQ(flushEvent(), ZAT_OK);
        EXPECT_EQ(waitEvent(), ZAT_TIMED_OUT) << "a newcomer has to wait for the broadcast";
        for (Worker& waiter : waiters)
            EXPECT_EQ(waiter.join(), ZAT_OK);
        for (Peer& peer : peers)
            EXPECT_EQ(peer.end(), ZAT_OK);
        EXPECT_EQ(stateOf(object, ZAT_IPC_TYPE_EVENT).state, 1u);
    }
}

/* It was stopped with the wake-up in its hands. */
TEST(SharedEvent, IsWholeWhenTheWaiterThatItReleasedIsKilled) {
    ASSERT_EQ(makeEvent(0), ZAT_OK);
    const uint32_t& broadcast = recordOf<IpcHandle>(object).entry->sem.broadcast;
    for (const bool isReset : {false, true}) {
        Peer peer(makeEvent, 0);
        peer.begin(waitEvent, ZAT_FOREVER);
        EXPECT_TRUE(blockedReach(ZAT_IPC_TYPE_EVENT, 1));
        peer.signal(SIGSTOP);
        EXPECT_EQ(postEvent(), ZAT_OK);
        EXPECT_EQ(broadcast, 1u);
        peer.kill();
        if (isReset) {
            EXPECT_EQ(resetEvent(), ZAT_OK);
            EXPECT_EQ(broadcast, 0u);
        }
        EXPECT_EQ(waitEvent(), isReset ? ZAT_TIMED_OUT : ZAT_OK) << "a post is for the next";
    }
}

TEST(SharedEvent, WithoutANameIsResetAndFlushedAsAProcessLocalOne) {
    ASSERT_EQ(zatOSWIpcCreateEventSem(nullptr, &object, 0, 1), ZAT_OK);
    EXPECT_EQ(resetEvent(), ZAT_OK);
    EXPECT_EQ(waitEvent(), ZAT_TIMED_OUT);
    Shared<bool> passed;
    Worker waiter([&] {
        const ZatStatus status = waitEvent(15000);
        passed = true;
        return status;
    });
    EXPECT_TRUE(waitFor([&] { return flushEvent() != ZAT_OK || passed; }));
    EXPECT_EQ(waiter.join(), ZAT_OK);
}

}  // namespace
