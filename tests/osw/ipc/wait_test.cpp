/* What all shared objects have in common that threads wait for, each waiter in turn: a mutex, a
 * count, an event, both sides of a lock, both sides of a queue. */

#include <signal.h>

#include "osw/ipc/object_private.h"
#include "osw/ipc/peer.h"
#include "osw/worker.h"

/* The object of the test, in whatever process. */
static ZatIpcHandle object;
static uint32_t message;

static ZatStatus nothing(ZatIpcHandle) {
    return ZAT_OK;
}
static ZatStatus send(ZatIpcHandle handle, ZatTimeoutMs timeoutMs) {
    return zatOSWIpcSendMsgQueue(handle, &message, sizeof message, timeoutMs, 0);
}
static ZatStatus sendNow(ZatIpcHandle handle) {
    return send(handle, 0);
}
static ZatStatus receive(ZatIpcHandle handle, ZatTimeoutMs timeoutMs) {
    return zatOSWIpcReceiveMsgQueue(handle, &message, sizeof message, timeoutMs);
}
static ZatStatus receiveNow(ZatIpcHandle handle) {
    return receive(handle, 0);
}

struct Kind {
    const char* text;
    uint32_t type;
    const char* keyFile;
    ZatStatus (*make)(const char* name, ZatIpcHandle* handle);
    ZatStatus (*makeOther)(const char* name, ZatIpcHandle* handle); /* other parameters */
    ZatStatus (*occupy)(ZatIpcHandle handle); /* from then on all others have to wait */
    ZatStatus (*wait)(ZatIpcHandle handle, ZatTimeoutMs timeoutMs);
    ZatStatus (*give)(ZatIpcHandle handle); /* lets one waiter pass; by the one who occupies */
    ZatStatus (*back)(ZatIpcHandle handle); /* by the one who has waited */
    ZatStatus (*remove)(ZatIpcHandle handle);
    ZatStatus deleted;
    bool isHeld; /* by a thread, which gives it */
};

static ZatStatus makeLock(const char* name, ZatIpcHandle* handle) {
    return zatOSWIpcCreateSELock(name, handle, 0, ZAT_SE_LOCK_FREE);
}
static ZatStatus makeNoLock(const char* name, ZatIpcHandle* handle) {
    return zatOSWIpcCreateSELock(name, handle, 0, 3);
}
static ZatStatus takeLock(ZatIpcHandle handle) {
    return zatOSWIpcRequestExclusiveLock(handle, 0);
}
static ZatStatus makeQueue(const char* name, ZatIpcHandle* handle) {
    return zatOSWIpcCreateMsgQueue(name, handle, 1, sizeof message, 0);
}
static ZatStatus makeLongerQueue(const char* name, ZatIpcHandle* handle) {
    return zatOSWIpcCreateMsgQueue(name, handle, 2, sizeof message, 0);
}
static ZatStatus makeWiderQueue(const char* name, ZatIpcHandle* handle) {
    return zatOSWIpcCreateMsgQueue(name, handle, 1, sizeof message + 1, 0);
}

static const Kind kinds[] = {
    {"Mutex", ZAT_IPC_TYPE_MUTEX, "object_msem",
     [](auto* name, auto* handle) { return zatOSWIpcCreateMutexSem(name, handle, 0, 1); },
     [](auto* name, auto* handle) { return zatOSWIpcCreateMutexSem(name, handle, 0, 2); },
     [](auto handle) { return zatOSWIpcRequestMutexSem(handle, 0); }, zatOSWIpcRequestMutexSem,
     zatOSWIpcReleaseMutexSem, zatOSWIpcReleaseMutexSem, zatOSWIpcDeleteMutexSem, ZAT_IPC_NO_OBJECT,
     true},
    {"Count", ZAT_IPC_TYPE_COUNT, "object_csem",
     [](auto* name, auto* handle) { return zatOSWIpcCreateCountSem(name, handle, 0, 0); },
     [](auto* name, auto* handle) { return zatOSWIpcCreateCountSem(name, handle, 0, 1); }, nothing,
     zatOSWIpcWaitCountSem, zatOSWIpcPostCountSem, nothing, zatOSWIpcDeleteCountSem,
     ZAT_IPC_NO_OBJECT, false},
    {"Event", ZAT_IPC_TYPE_EVENT, "object_esem",
     [](auto* name, auto* handle) { return zatOSWIpcCreateEventSem(name, handle, 0, 0); },
     [](auto* name, auto* handle) { return zatOSWIpcCreateEventSem(name, handle, 0, 1); }, nothing,
     zatOSWIpcWaitEventSem, zatOSWIpcPostEventSem, nothing, zatOSWIpcDeleteEventSem,
     ZAT_IPC_NO_OBJECT, false},
    {"Exclusive", ZAT_IPC_TYPE_SE_LOCK, "object_sel", makeLock, makeNoLock, takeLock,
     zatOSWIpcRequestExclusiveLock, zatOSWIpcReleaseExclusiveLock, zatOSWIpcReleaseExclusiveLock,
     zatOSWIpcDeleteSELock, ZAT_IPC_NO_OBJECT, true},
    {"Shared", ZAT_IPC_TYPE_SE_LOCK, "object_sel", makeLock, makeNoLock, takeLock,
     zatOSWIpcRequestSharedLock, zatOSWIpcReleaseExclusiveLock, zatOSWIpcReleaseSharedLock,
     zatOSWIpcDeleteSELock, ZAT_IPC_NO_OBJECT, true},
    {"Send", ZAT_IPC_TYPE_QUEUE, "object_msg", makeQueue, makeLongerQueue, sendNow, send,
     receiveNow, receiveNow, zatOSWIpcDeleteMsgQueue, ZAT_TIMED_OUT, false},
    {"Receive", ZAT_IPC_TYPE_QUEUE, "object_msg", makeQueue, makeWiderQueue, nothing, receive,
     sendNow, nothing, zatOSWIpcDeleteMsgQueue, ZAT_TIMED_OUT, false},
};

/* What another process is told to do. */
static uint32_t make(uint32_t kind, uint32_t) {
    return kinds[kind].make("object", &object);
}
static uint32_t makeOther(uint32_t kind, uint32_t) {
    return kinds[kind].makeOther("object", &object);
}
static uint32_t await(uint32_t kind, uint32_t timeoutMs) {
    return kinds[kind].wait(object, timeoutMs);
}
static uint32_t pass(uint32_t kind, uint32_t timeoutMs) {
    const ZatStatus status = await(kind, timeoutMs);
    return status == ZAT_OK ? kinds[kind].back(object) : status;
}
static uint32_t remove(uint32_t kind, uint32_t) {
    return kinds[kind].remove(object);
}
static uint32_t countBlocked(uint32_t kind, uint32_t) {
    const IpcStatus status = stateOf(object, kinds[kind].type);
    return status.waiters + status.secondWaiters;
}

namespace {

class SharedWait : public testing::TestWithParam<uint32_t> {
  protected:
    void makeBusy() {
        ASSERT_EQ(make(index, 0), ZAT_OK);
        ASSERT_EQ(kind.occupy(object), ZAT_OK);
    }
    bool blocked(uint32_t count) { return blockedReach(object, kind.type, count); }

    const uint32_t index = GetParam();
    const Kind& kind = kinds[index];
};

std::string nameOfKind(const testing::TestParamInfo<uint32_t>& info) {
    return kinds[info.param].text;
}

INSTANTIATE_TEST_SUITE_P(All, SharedWait, testing::Range(0u, 7u), nameOfKind);

TEST_P(SharedWait, AnObjectLivesAsLongAsAnyProcessHasAHandle) {
    ASSERT_EQ(zatOSWInit(), ZAT_OK);
    const int before = systemVObjects();
    ASSERT_EQ(make(index, 0), ZAT_OK);
    const ZatIpcHandle first = object;
    EXPECT_EQ(make(index, 0), ZAT_OK);
    EXPECT_EQ(object, first) << "one handle for all creates of a process";
    EXPECT_EQ(makeOther(index, 0), ZAT_IPC_BAD_PARAMETERS);
    EXPECT_EQ(kind.make("object", nullptr), ZAT_FAILED);
    const IpcObjectEntry& entry = *reinterpret_cast<const IpcHandle*>(first)->entry;
    EXPECT_EQ(entry.useCount, 2u);
    {
        Peer peer;
        EXPECT_EQ(peer(makeOther, index), ZAT_IPC_BAD_PARAMETERS);
        EXPECT_EQ(peer(make, index), ZAT_OK);
        EXPECT_EQ(entry.useCount, 3u);
        EXPECT_EQ(remove(index, 0), ZAT_OK);
        EXPECT_EQ(remove(index, 0), ZAT_OK);
        EXPECT_EQ(remove(index, 0), ZAT_IPC_NO_OBJECT);
        EXPECT_EQ(entry.useCount, 1u);
        EXPECT_EQ(make(index, 0), ZAT_OK);
        EXPECT_EQ(peer(remove, index), ZAT_OK);
        EXPECT_EQ(peer(remove, index), ZAT_IPC_NO_OBJECT);
    }
    const std::string path = getenv("GEN_MSGQ_PATH") + std::string(kind.keyFile);
    EXPECT_TRUE(std::filesystem::exists(path));
    EXPECT_EQ(remove(index, 0), ZAT_OK);
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(systemVObjects(), before);
}

TEST_P(SharedWait, ServesAWaiterInAnotherProcess) {
    makeBusy();
    Peer peer;
    ASSERT_EQ(peer(make, index), ZAT_OK);
    EXPECT_EQ(peer(await, index, 0), ZAT_TIMED_OUT);
    for (int i = 0; i < 3; ++i) {
        peer.begin(pass, index, i == 0 ? ZAT_FOREVER : 15000);
        EXPECT_TRUE(blocked(1));
        EXPECT_EQ(kind.give(object), ZAT_OK);
        EXPECT_EQ(peer.end(), ZAT_OK);
        EXPECT_EQ(countBlocked(index, 0), 0u);
        EXPECT_EQ(kind.occupy(object), ZAT_OK);
    }
}

TEST_P(SharedWait, TimesOutNoEarlierThanItShouldAndRestoresTheSignals) {
    makeBusy();
    Worker waiter([this] {
        sigset_t before, after;
        pthread_sigmask(SIG_SETMASK, nullptr, &before);
        EXPECT_EQ(sigismember(&before, SIGUSR1), 1);
        const Stopwatch stopwatch;
        EXPECT_EQ(kind.wait(object, 0), ZAT_TIMED_OUT);
        EXPECT_EQ(kind.wait(object, 100), ZAT_TIMED_OUT);
        EXPECT_GE(stopwatch.elapsedMs(), 100u);
        pthread_sigmask(SIG_SETMASK, nullptr, &after);
        for (int signal = 1; signal < NSIG; ++signal)
            EXPECT_EQ(sigismember(&after, signal), sigismember(&before, signal)) << signal;
        return ZatStatus{ZAT_OK};
    });
    EXPECT_TRUE(blocked(1));
    for (int i = 0; i < 5; ++i, pauseBriefly())
        pthread_kill(waiter.id(), SIGUSR1); /* somebody else's; it may come late, too */
    EXPECT_EQ(waiter.join(), ZAT_OK);
    EXPECT_EQ(countBlocked(index, 0), 0u);
}

TEST_P(SharedWait, EndsWhenItsProcessDeletesTheHandle) {
    makeBusy();
    Peer peer;
    ASSERT_EQ(peer(make, index), ZAT_OK);
    peer.begin(pass, index, ZAT_FOREVER);
    Worker waiter([this] { return kind.wait(object, ZAT_FOREVER); });
    Worker timed([this] { return kind.wait(object, 15000); });
    EXPECT_TRUE(blocked(3));
    /* What the process holds is given back. */
    EXPECT_EQ(remove(index, 0), ZAT_OK);
    if (!kind.isHeld) {
        EXPECT_EQ(make(index, 0), ZAT_OK) << "perhaps at the same address";
        EXPECT_EQ(kind.give(object), ZAT_OK);
    }
    EXPECT_EQ(waiter.join(), kind.deleted);
    EXPECT_EQ(timed.join(), kind.deleted);
    EXPECT_EQ(peer.end(), ZAT_OK);
    EXPECT_EQ(peer(countBlocked, index), 0u);
}

TEST_P(SharedWait, EndsWhenTheObjectIsRemoved) {
    makeBusy();
    Worker waiter([this] { return kind.wait(object, ZAT_FOREVER); });
    EXPECT_TRUE(blocked(1));
    EXPECT_EQ(remove(index, 0), ZAT_OK);
    const ZatStatus status = waiter.join();
    EXPECT_TRUE(status == kind.deleted || status == ZAT_IPC_SEM_REMOVED) << std::hex << status;
}

TEST_P(SharedWait, EndsWithADeletedTaskAndGoesOnForOthers) {
    SKIP_IF_THREADS_ARE_FOLLOWED();
    makeBusy();
    const auto& waiters = reinterpret_cast<const IpcHandle*>(object)->waiters;
    Peer peer;
    ASSERT_EQ(peer(make, index), ZAT_OK);
    peer.begin(pass, index, ZAT_FOREVER);
    EXPECT_TRUE(blocked(1));
    for (const ZatTimeoutMs timeoutMs : {ZAT_FOREVER, 15000u}) {
        Worker waiter([=, this] { return kind.wait(object, timeoutMs); });
        EXPECT_TRUE(blocked(2));
        EXPECT_EQ(waiters.count, 1);
        waiter.remove();
        EXPECT_EQ(countBlocked(index, 0), 1u);
        EXPECT_EQ(waiters.count, 0);
    }
    EXPECT_EQ(kind.give(object), ZAT_OK);
    EXPECT_EQ(peer.end(), ZAT_OK);
}

TEST_P(SharedWait, WithoutANameIsOfThisProcessAlone) {
    if (kind.type == ZAT_IPC_TYPE_SE_LOCK) {
        EXPECT_EQ(kind.make(nullptr, &object), ZAT_IPC_BAD_PARAMETERS);
        return;
    }
    ASSERT_EQ(kind.make(nullptr, &object), ZAT_OK);
    ZatIpcHandle another = 0;
    ASSERT_EQ(kind.make(nullptr, &another), ZAT_OK);
    EXPECT_NE(another, object);
    EXPECT_EQ(kind.remove(another), ZAT_OK);
    ASSERT_EQ(kind.occupy(object), ZAT_OK);
    EXPECT_EQ(Worker([this] { return kind.wait(object, 0); }).join(), ZAT_TIMED_OUT);
    Worker waiter([this] { return pass(index, ZAT_FOREVER); });
    EXPECT_EQ(kind.give(object), ZAT_OK);
    EXPECT_EQ(waiter.join(), ZAT_OK);
    IpcStatus status;
    EXPECT_EQ(zatOSWIpcQueryStatus(object, kind.type, &status), ZAT_IPC_NO_OBJECT);
    EXPECT_EQ(remove(index, 0), ZAT_OK);
    EXPECT_EQ(remove(index, 0), ZAT_IPC_NO_OBJECT);
}

TEST_P(SharedWait, KnowsItsOwnHandlesOnly) {
    ASSERT_EQ(make(index, 0), ZAT_OK);
    const Kind& other = kinds[index == 0 ? 1 : 0];
    ZatIpcHandle ofOtherType = 0;
    ASSERT_EQ(other.make("object", &ofOtherType), ZAT_OK);
    IpcStatus status;
    for (const ZatIpcHandle handle : {ZatIpcHandle{0}, ZatIpcHandle{1}, ofOtherType, object + 4}) {
        EXPECT_EQ(kind.wait(handle, 0), ZAT_IPC_NO_OBJECT);
        EXPECT_EQ(kind.give(handle), ZAT_IPC_NO_OBJECT);
        EXPECT_EQ(kind.remove(handle), ZAT_IPC_NO_OBJECT);
        EXPECT_EQ(zatOSWIpcQueryStatus(handle, kind.type, &status), ZAT_IPC_NO_OBJECT);
    }
    EXPECT_EQ(zatOSWIpcQueryStatus(object, 6, &status), ZAT_FAILED);
    EXPECT_EQ(zatOSWIpcQueryStatus(object, kind.type, nullptr), ZAT_FAILED);
    EXPECT_EQ(kind.occupy(object), ZAT_OK);
}

}  // namespace
