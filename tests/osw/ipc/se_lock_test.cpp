/* What is particular to locks that are taken shared or exclusively; see wait_test.cpp. */

#include "osw/ipc/se_lock.h"

#include "osw/ipc/object_private.h"
#include "osw/ipc/peer.h"
#include "osw/worker.h"

static constexpr OnObject<zatOSWIpcCreateSELock> make;
static constexpr OnObject<zatOSWIpcRequestSharedLock> share;
static constexpr OnObject<zatOSWIpcReleaseSharedLock> leave;
static constexpr OnObject<zatOSWIpcRequestExclusiveLock> own;
static constexpr OnObject<zatOSWIpcReleaseExclusiveLock> disown;
static constexpr OnObject<zatOSWIpcDeleteSELock> removeLock;

namespace {

IpcStatus state() {
    return stateOf(object, ZAT_IPC_TYPE_SE_LOCK);
}
int holds() {
    return static_cast<int>(state().state);
}
bool waitingReach(uint32_t exclusive, uint32_t shared) {
    return waitFor([=] { return state().waiters == exclusive && state().secondWaiters == shared; });
}

TEST(SELock, IsMadeInOneOfThreeStatesAndRefusesWhatWouldNeverBeGranted) {
    ASSERT_EQ(make(ZAT_SE_LOCK_SHARED), ZAT_OK);
    EXPECT_EQ(holds(), 1);
    EXPECT_EQ(make(ZAT_SE_LOCK_EXCLUSIVE), ZAT_IPC_DEADLOCK);
    EXPECT_EQ(recordOf<IpcHandle>(object).localRefs, 1u) << "the create is undone";
    for (const ZatTimeoutMs timeoutMs : {ZAT_FOREVER, 0u})
        EXPECT_EQ(own(timeoutMs), ZAT_IPC_DEADLOCK);
    EXPECT_EQ(holds(), 1) << "and the caller keeps what it has";
    EXPECT_EQ(make(ZAT_SE_LOCK_SHARED), ZAT_OK);
    EXPECT_EQ(removeLock(), ZAT_OK);
    EXPECT_EQ(holds(), 0) << "a delete gives back all that its caller has";
    EXPECT_EQ(removeLock(), ZAT_OK);
    EXPECT_EQ(make(ZAT_SE_LOCK_EXCLUSIVE), ZAT_OK);
    EXPECT_EQ(share(ZAT_FOREVER), ZAT_IPC_DEADLOCK);
    EXPECT_EQ(Worker(removeLock).join(), ZAT_IPC_DEADLOCK);
    EXPECT_EQ(holds(), -1);
    Peer peer;
    ASSERT_EQ(peer(make, ZAT_SE_LOCK_FREE), ZAT_OK) << "the creator does not take it";
    peer.begin(make, ZAT_SE_LOCK_SHARED);
    EXPECT_TRUE(waitingReach(0, 1));
    EXPECT_EQ(disown(), ZAT_OK);
    EXPECT_EQ(peer.end(), ZAT_OK);
    EXPECT_EQ(holds(), 1);
    EXPECT_EQ(state().otherProcess, peer.id());
    EXPECT_EQ(share(), ZAT_OK);
    EXPECT_EQ(leave(), ZAT_OK);
    EXPECT_EQ(removeLock(), ZAT_OK) << "another process shares it";
}

TEST(SELock, IsSharedByManyOrHadByOne) {
    ASSERT_EQ(make(ZAT_SE_LOCK_FREE), ZAT_OK);
    Peer peers[2];
    for (Peer& peer : peers) {
        ASSERT_EQ(peer(make, ZAT_SE_LOCK_FREE), ZAT_OK);
        EXPECT_EQ(peer(share, ZAT_FOREVER), ZAT_OK);
    }
    EXPECT_EQ(share(), ZAT_OK);
    EXPECT_EQ(share(), ZAT_OK) << "once more";
    EXPECT_EQ(holds(), 4);
    EXPECT_EQ(Worker(leave).join(), ZAT_IPC_NOT_OWNER);
    EXPECT_EQ(disown(), ZAT_IPC_NOT_OWNER);
    EXPECT_EQ(Worker(own).join(), ZAT_TIMED_OUT);
    Worker writer([] { return own(ZAT_FOREVER) == ZAT_OK ? disown() : 1; });
    EXPECT_TRUE(waitingReach(1, 0));
    EXPECT_EQ(peers[0](share, 0), ZAT_OK) << "a waiting writer holds no reader back";
    for (Peer* peer : {&peers[0], &peers[0], &peers[1]})
        EXPECT_EQ((*peer)(leave), ZAT_OK);
    EXPECT_EQ(peers[1](leave), ZAT_IPC_NOT_OWNER);
    EXPECT_EQ(leave(), ZAT_OK);
    EXPECT_EQ(holds(), 1);
    EXPECT_EQ(state().waiters, 1u);
    EXPECT_EQ(leave(), ZAT_OK);
    EXPECT_EQ(writer.join(), ZAT_OK);

    EXPECT_EQ(own(), ZAT_OK);
    EXPECT_EQ(own(ZAT_FOREVER), ZAT_OK);
    EXPECT_EQ(holds(), -2);
    EXPECT_EQ(state().process, static_cast<uint32_t>(getpid()));
    EXPECT_EQ(state().thread, pthread_self());
    EXPECT_EQ(peers[0](share), ZAT_TIMED_OUT);
    EXPECT_EQ(peers[0](own), ZAT_TIMED_OUT);
    EXPECT_EQ(peers[0](leave), ZAT_IPC_NOT_OWNER);
    EXPECT_EQ(peers[0](disown), ZAT_IPC_NOT_OWNER);
    EXPECT_EQ(disown(), ZAT_OK);
    EXPECT_EQ(peers[0](share, 0), ZAT_TIMED_OUT);
    EXPECT_EQ(disown(), ZAT_OK);
    EXPECT_EQ(disown(), ZAT_IPC_NOT_OWNER);
    EXPECT_EQ(peers[0](own), ZAT_OK);
    EXPECT_EQ(removeLock(), ZAT_OK) << "another process owns it";
}

/* Each end of an exclusive hold, and what those who wait get. */
TEST(SELock, PassesToAWriterBeforeAllReaders) {
    Peer writer, readers[2];
    for (const PeerCall end : {PeerCall{disown}, PeerCall{removeLock}}) {
        ASSERT_EQ(make(ZAT_SE_LOCK_EXCLUSIVE), ZAT_OK);
        for (Peer* peer : {&writer, &readers[0], &readers[1]})
            ASSERT_EQ((*peer)(make, ZAT_SE_LOCK_FREE), ZAT_OK);
        for (Peer& reader : readers)
            reader.begin(share, ZAT_FOREVER);
        writer.begin(own, ZAT_FOREVER);
        EXPECT_TRUE(waitingReach(1, 2));
        EXPECT_EQ(end(0, 0), ZAT_OK);
        EXPECT_EQ(writer.end(), ZAT_OK);
        ASSERT_EQ(make(ZAT_SE_LOCK_FREE), ZAT_OK);
        EXPECT_EQ(holds(), -1);
        EXPECT_EQ(state().process, writer.id());
        EXPECT_TRUE(waitingReach(0, 2)) << "the readers go on waiting";
        EXPECT_EQ(writer(end), ZAT_OK);
        const Stopwatch sinceEnd;
        for (Peer& reader : readers)
            EXPECT_EQ(reader.end(), ZAT_OK);
        EXPECT_TRUE(isSlow() || sinceEnd.elapsedMs() < 900) << "not by its look after a second";
        EXPECT_EQ(holds(), 2);
        for (Peer& reader : readers)
            EXPECT_EQ(reader(removeLock), ZAT_OK);
        EXPECT_EQ(holds(), 0);
        writer(removeLock);
        while (removeLock() == ZAT_OK)
            continue;
    }
}

/* With the wake-up that it was sent: whoever waits looks for itself after a second. */
TEST(SELock, PassesToReadersWhenTheWriterBeforeThemIsKilled) {
    ASSERT_EQ(make(ZAT_SE_LOCK_EXCLUSIVE), ZAT_OK);
    Peer writer(make, ZAT_SE_LOCK_FREE), reader(make, ZAT_SE_LOCK_FREE);
    reader.begin(share, ZAT_FOREVER);
    writer.begin(own, ZAT_FOREVER);
    EXPECT_TRUE(waitingReach(1, 1));
    writer.signal(SIGSTOP);
    EXPECT_EQ(disown(), ZAT_OK);
    writer.kill();
    EXPECT_EQ(reader.end(), ZAT_OK);
    EXPECT_EQ(holds(), 1);
    EXPECT_TRUE(waitingReach(0, 0)) << "the dead one is counted no more";
}

/* The total of a process's shared holds is set to 1 by each new sharer: who holds that many may
 * delete, though others share, whose holds are all given back. */
TEST(SELock, CountsTheSharersOfAProcessAnewWithEachOfThem) {
    ASSERT_EQ(make(ZAT_SE_LOCK_FREE), ZAT_OK);
    Peer peer(make, ZAT_SE_LOCK_FREE);
    const IpcHandle& handle = recordOf<IpcHandle>(object);
    Shared<bool> done;
    const auto shareTwice = [&done] {
        const ZatStatus status = share() == ZAT_OK ? share() : 1;
        waitFor([&] { return static_cast<bool>(done); });
        return status;
    };
    Worker first(shareTwice);
    EXPECT_TRUE(waitFor([] { return holds() == 2; }));
    EXPECT_EQ(handle.lock.sharedTotal, 2u);
    EXPECT_EQ(removeLock(), ZAT_IPC_DEADLOCK);
    EXPECT_EQ(share(), ZAT_OK);
    EXPECT_EQ(handle.lock.sharedTotal, 1u);
    EXPECT_EQ(holds(), 3);
    EXPECT_EQ(peer(own, 0), ZAT_TIMED_OUT);
    EXPECT_EQ(removeLock(), ZAT_OK);
    EXPECT_EQ(peer(own, 0), ZAT_OK);
    done = true;
    EXPECT_EQ(first.join(), ZAT_OK);
}

}  // namespace
