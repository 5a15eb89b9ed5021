/* What all shared objects have in common that threads wait for, each waiter in turn: a mutex, a
 * count, an event, both sides of a lock, both sides of a queue. */

#include <signal.h>

#include "osw/ipc/object_private.h"
#include "osw/ipc/peer.h"
#include "osw/worker.h"

static uint32_t message;

static ZatStatus nothing(ZatIpcHandle) {
    return ZAT_OK;
}
static ZatStatus sendOne(ZatIpcHandle handle, ZatTimeoutMs timeoutMs) {
    return zatOSWIpcSendMsgQueue(handle, &message, sizeof message, timeoutMs, 0);
}
static ZatStatus receiveOne(ZatIpcHandle handle, ZatTimeoutMs timeoutMs) {
    return zatOSWIpcReceiveMsgQueue(handle, &message, sizeof message, timeoutMs);
}
template <auto call>
static ZatStatus now(ZatIpcHandle handle) {
    return call(handle, 0);
}
template <auto create, uint32_t state>
static ZatStatus make(const char* name, ZatIpcHandle* handle) {
    return create(name, handle, 0, state);
}
template <uint32_t capacity, uint32_t size>
static ZatStatus makeQueue(const char* name, ZatIpcHandle* handle) {
    return zatOSWIpcCreateMsgQueue(name, handle, capacity, size, 0);
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

static const Kind kinds[] = {
    {"Mutex", ZAT_IPC_TYPE_MUTEX, "object_msem", make<zatOSWIpcCreateMutexSem, 1>,
     make<zatOSWIpcCreateMutexSem, 2>, now<zatOSWIpcRequestMutexSem>, zatOSWIpcRequestMutexSem,
     zatOSWIpcReleaseMutexSem, zatOSWIpcReleaseMutexSem, zatOSWIpcDeleteMutexSem, ZAT_IPC_NO_OBJECT,
     true},
    {"Count", ZAT_IPC_TYPE_COUNT, "object_csem", make<zatOSWIpcCreateCountSem, 0>,
     make<zatOSWIpcCreateCountSem, 1>, nothing, zatOSWIpcWaitCountSem, zatOSWIpcPostCountSem,
     nothing, zatOSWIpcDeleteCountSem, ZAT_IPC_NO_OBJECT, false},
    {"Event", ZAT_IPC_TYPE_EVENT, "object_esem", make<zatOSWIpcCreateEventSem, 0>,
     make<zatOSWIpcCreateEventSem, 1>, nothing, zatOSWIpcWaitEventSem, zatOSWIpcPostEventSem,
     nothing, zatOSWIpcDeleteEventSem, ZAT_IPC_NO_OBJECT, false},
    {"Exclusive", ZAT_IPC_TYPE_SE_LOCK, "object_sel", make<zatOSWIpcCreateSELock, ZAT_SE_LOCK_FREE>,
     make<zatOSWIpcCreateSELock, 3>, now<zatOSWIpcRequestExclusiveLock>,
     zatOSWIpcRequestExclusiveLock, zatOSWIpcReleaseExclusiveLock, zatOSWIpcReleaseExclusiveLock,
     zatOSWIpcDeleteSELock, ZAT_IPC_NO_OBJECT, true},
    {"Shared", ZAT_IPC_TYPE_SE_LOCK, "object_sel", make<zatOSWIpcCreateSELock, ZAT_SE_LOCK_FREE>,
     make<zatOSWIpcCreateSELock, 3>, now<zatOSWIpcRequestExclusiveLock>, zatOSWIpcRequestSharedLock,
     zatOSWIpcReleaseExclusiveLock, zatOSWIpcReleaseSharedLock, zatOSWIpcDeleteSELock,
     ZAT_IPC_NO_OBJECT, true},
    {"Send", ZAT_IPC_TYPE_QUEUE, "object_msg", makeQueue<1, 4>, makeQueue<2, 4>, now<sendOne>,
     sendOne, now<receiveOne>, now<receiveOne>, zatOSWIpcDeleteMsgQueue, ZAT_TIMED_OUT, false},
    {"Receive", ZAT_IPC_TYPE_QUEUE, "object_msg", makeQueue<1, 4>, makeQueue<1, 5>, nothing,
     receiveOne, now<sendOne>, nothing, zatOSWIpcDeleteMsgQueue, ZAT_TIMED_OUT, false},
};

/* What this process, or another one, does to its object. */
static uint32_t make(uint32_t kind, uint32_t = 0) {
    return kinds[kind].make("object", &object);
}
static uint32_t makeOther(uint32_t kind, uint32_t = 0) {
    return kinds[kind].makeOther("object", &object);
}
static uint32_t await(uint32_t kind, uint32_t timeoutMs) {
    return kinds[kind].wait(object, timeoutMs);
}
static uint32_t pass(uint32_t kind, uint32_t timeoutMs) {
    const ZatStatus status = await(kind, timeoutMs);
    return status == ZAT_OK ? kinds[kind].back(object) : status;
}
static uint32_t remove(uint32_t kind, uint32_t = 0) {
    return kinds[kind].remove(object);
}
static uint32_t countBlocked(uint32_t kind, uint32_t = 0) {
    return blocked(object, kinds[kind].type);
}

namespace {

class SharedWait : public testing::TestWithParam<uint32_t> {
  protected:
    void makeBusy() {
        ASSERT_EQ(make(index), ZAT_OK);
        ASSERT_EQ(kind.occupy(object), ZAT_OK);
    }
    bool blockedReach(uint32_t count) { return ::blockedReach(kind.type, count); }

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
    ASSERT_EQ(make(index), ZAT_OK);
    const ZatIpcHandle first = object;
    EXPECT_EQ(make(index), ZAT_OK);
    EXPECT_EQ(object, first) << "one handle for all creates of a process";
    EXPECT_EQ(makeOther(index), ZAT_IPC_BAD_PARAMETERS);
    EXPECT_EQ(kind.make("object", nullptr), ZAT_FAILED);
    const IpcObjectEntry& entry = *recordOf<IpcHandle>(first).entry;
    EXPECT_EQ(entry.useCount, 2u);
    {
        Peer peer;
        EXPECT_EQ(peer(makeOther, index), ZAT_IPC_BAD_PARAMETERS);
        EXPECT_EQ(peer(make, index), ZAT_OK);
        EXPECT_EQ(entry.useCount, 3u);
        EXPECT_EQ(remove(index), ZAT_OK);
        EXPECT_EQ(remove(index), ZAT_OK);
        EXPECT_EQ(remove(index), ZAT_IPC_NO_OBJECT);
        EXPECT_EQ(entry.useCount, 1u);
        EXPECT_EQ(make(index), ZAT_OK);
        EXPECT_EQ(peer(remove, index), ZAT_OK);
        EXPECT_EQ(peer(remove, index), ZAT_IPC_NO_OBJECT);
    }
    const std::string path = getenv("GEN_MSGQ_PATH") + std::string(kind.keyFile);
    EXPECT_TRUE(std::filesystem::exists(path));
    EXPECT_EQ(remove(index), ZAT_OK);
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(systemVObjects(), before);
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
    EXPECT_TRUE(blockedReach(1));
    for (int i = 0; i < 5; ++i, pauseBriefly())
        pthread_kill(waiter.id(), SIGUSR1); /* somebody else's; it may come late, too */
    EXPECT_EQ(waiter.join(), ZAT_OK);
    EXPECT_EQ(countBlocked(index), 0u);
}

TEST_P(SharedWait, EndsWhenItsProcessDeletesTheHandle) {
    makeBusy();
    Peer peer(make, index);
    peer.begin(pass, index, ZAT_FOREVER);
    Worker waiter([this] { return kind.wait(object, ZAT_FOREVER); });
    Worker timed([this] { return kind.wait(object, 15000); });
    EXPECT_TRUE(blockedReach(3));
    /* What the process holds is given back. */
    EXPECT_EQ(remove(index), ZAT_OK);
    if (!kind.isHeld) {
        EXPECT_EQ(make(index), ZAT_OK) << "perhaps at the same address";
        EXPECT_EQ(kind.give(object), ZAT_OK);
    }
    EXPECT_EQ(waiter.join(), kind.deleted);
    EXPECT_EQ(timed.join(), kind.deleted);
    EXPECT_EQ(peer.end(), ZAT_OK);
    EXPECT_EQ(peer(countBlocked, index), 0u);
}

TEST_P(SharedWait, EndsWhenTheObjectIsRemoved) {
    for (const bool byAStranger : {false, true}) {
        makeBusy();
        Worker waiter([this] { return kind.wait(object, ZAT_FOREVER); });
        EXPECT_TRUE(blockedReach(1));
        EXPECT_EQ(byAStranger ? semctl(semaphoresOf(kind.keyFile), 0, IPC_RMID) : remove(index),
                  0u);
        const ZatStatus status = waiter.join();
        EXPECT_TRUE(status == ZAT_IPC_SEM_REMOVED || (status == kind.deleted && !byAStranger))
            << std::hex << status;
    }
}

TEST_P(SharedWait, EndsWithADeletedTaskAndGoesOnForOthers) {
    SKIP_IF_THREADS_ARE_FOLLOWED();
    makeBusy();
    const auto& waiters = recordOf<IpcHandle>(object).waiters;
    Peer peer(make, index);
    peer.begin(pass, index, ZAT_FOREVER);
    EXPECT_TRUE(blockedReach(1));
    for (const ZatTimeoutMs timeoutMs : {ZAT_FOREVER, 15000u}) {
        Worker waiter([=, this] { return kind.wait(object, timeoutMs); });
        EXPECT_TRUE(blockedReach(2));
        EXPECT_EQ(waiters.count, 1);
        waiter.remove();
        EXPECT_EQ(countBlocked(index), 1u);
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
    if (kind.isHeld) {
        EXPECT_NE(Worker([this] { return remove(index); }).join(), ZAT_OK) << "its handle stays";
    }
    EXPECT_EQ(Worker([this] { return kind.wait(object, 0); }).join(), ZAT_TIMED_OUT);
    Worker waiter([this] { return pass(index, ZAT_FOREVER); });
    EXPECT_EQ(kind.give(object), ZAT_OK);
    EXPECT_EQ(waiter.join(), ZAT_OK);
    IpcStatus status;
    EXPECT_EQ(zatOSWIpcQueryStatus(object, kind.type, &status), ZAT_IPC_NO_OBJECT);
    EXPECT_EQ(remove(index), ZAT_OK);
    EXPECT_EQ(remove(index), ZAT_IPC_NO_OBJECT);
}

TEST_P(SharedWait, KnowsItsOwnHandlesOnly) {
    ASSERT_EQ(make(index), ZAT_OK);
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
