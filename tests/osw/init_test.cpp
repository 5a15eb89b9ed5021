// The library's first call in a process: what it makes, that it happens once, and that a failure
// leaves nothing behind. Every case needs a process of its own.

#include "osw/init.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "osw/mem_checker.h"
#include "osw/worker.h"
#include "support/selfstart.h"
#include "support/support.h"

// What the library asks of the system, passed on, but failing once where a test wants it to.
static int allocationsToFault = -1; /**< 0 = the next one fails; below: none does */
static int locksToFault = -1;
static std::function<void()> atLock;
static bool areLocksNoted;
static std::vector<pthread_mutex_t*> made;
static std::vector<pthread_mutex_t*> destroyed;
static std::atomic<size_t> askedStack;

static bool fails(int& callsToFault) {
    return callsToFault >= 0 && callsToFault-- == 0;
}

template <typename Function>
static Function* original(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

#ifndef __SANITIZE_ADDRESS__
extern "C" void* malloc(size_t size) noexcept {
    static const auto next = original<void*(size_t)>("malloc");
    return fails(allocationsToFault) ? nullptr : next(size);
}

extern "C" void* calloc(size_t count, size_t size) noexcept {
    static const auto next = original<void*(size_t, size_t)>("calloc");
    return fails(allocationsToFault) ? nullptr : next(count, size);
}
#endif

extern "C" int pthread_mutex_init(pthread_mutex_t* mutex,
                                  const pthread_mutexattr_t* attributes) noexcept {
    static const auto next =
        original<int(pthread_mutex_t*, const pthread_mutexattr_t*)>("pthread_mutex_init");
    if (atLock) std::exchange(atLock, nullptr)();
    if (fails(locksToFault)) return EAGAIN;
    if (areLocksNoted) made.push_back(mutex);
    return next(mutex, attributes);
}

extern "C" int pthread_mutex_destroy(pthread_mutex_t* mutex) noexcept {
    static const auto next = original<int(pthread_mutex_t*)>("pthread_mutex_destroy");
    if (areLocksNoted) destroyed.push_back(mutex);
    return next(mutex);
}

extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              void* (*entry)(void*), void* argument) {
    static const auto next =
        original<int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)>("pthread_create");
    size_t size = 0;
    if (attributes != nullptr) pthread_attr_getstacksize(attributes, &size);
    askedStack = size;
    return next(thread, attributes, entry, argument);
}

namespace {

std::string ownName() {
    return nameOf(pthread_self());
}

/** Whether the caller is the main task, and no other record has its name. */
bool isMainTaskOnce() {
    const bool isMain = ownName() == "mainThread";
    zatOSWSetTaskNameSelf("renamed");
    const bool isOnce = !isRegistered("mainThread");
    zatOSWSetTaskNameSelf("mainThread");
    return isMain && isOnce;
}

TEST(Init, MakesTheCallerTheMainTaskAndStaysDoneAfterTheEnd) {
    EXPECT_EQ(ownName(), "");
    EXPECT_EQ(zatOSWTerm(), ZAT_OK) << "nothing to end";
    ASSERT_EQ(zatOSWInit(), ZAT_OK);
    ASSERT_EQ(zatOSWInit(), ZAT_OK);
    EXPECT_TRUE(isMainTaskOnce());
    const zatOSWTaskInfo info = infoOf(0);
    EXPECT_EQ(info.threadId, pthread_self());
    EXPECT_EQ(info.kernelTid, gettid());
    EXPECT_EQ(info.stackTop, 0u);
    EXPECT_EQ(info.stackRequested, 0u);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(zatOSWTerm(), ZAT_OK);
        EXPECT_EQ(ownName(), "");
        EXPECT_EQ(zatOSWInit(), ZAT_OK);
        EXPECT_EQ(ownName(), "") << "not registered again";
    }
}

TEST(Init, IsWaitedForByOtherThreads) {
    SKIP_IF_RACES_ARE_CHECKED();
    std::thread second;
    std::atomic<bool> returned = false;
    atLock = [&] {
        second = std::thread([&] {
            EXPECT_EQ(zatOSWInit(), ZAT_OK);
            EXPECT_TRUE(isRegistered("mainThread"));
            returned = true;
        });
        EXPECT_TRUE(waitFor([&] { return returned || allOthersSleep(); }));
        EXPECT_FALSE(returned);
    };
    EXPECT_EQ(zatOSWInit(), ZAT_OK);
    second.join();
    EXPECT_TRUE(isMainTaskOnce());
}

TEST(FailedInit, UnmakesItsLocksInReverseOrder) {
    for (int fault = 0; fault < 4; ++fault) {
        made.clear();
        destroyed.clear();
        locksToFault = fault;
        areLocksNoted = true;
        EXPECT_EQ(zatOSWInit(), uint32_t{EAGAIN});
        areLocksNoted = false;
        std::reverse(made.begin(), made.end());
        EXPECT_EQ(destroyed, made);
        EXPECT_EQ(made.size(), static_cast<size_t>(fault));
        EXPECT_EQ(ownName(), "");
    }
    EXPECT_EQ(zatOSWInit(), ZAT_OK);
    EXPECT_TRUE(isMainTaskOnce());
}

enum Outcome { Recovered, Unhurt, NoSuchCall, Broken };

/** The first call, in a thread of its own: one that survives a memory fault's store, which must not
 * end the process here, is ended. */
int initWithoutMemory(const std::vector<std::string>& arguments) {
    if (mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_FIXED | MAP_PRIVATE | MAP_ANONYMOUS, -1,
             0) == MAP_FAILED)
        return Broken;
    ZatStatus status = ZAT_FAILED;
    int callsLeft = -1;
    std::thread([&] {
        allocationsToFault = std::stoi(arguments.at(0));
        status = zatOSWInit();
        callsLeft = std::exchange(allocationsToFault, -1);
    }).join();
    if (callsLeft >= 0) return NoSuchCall;
    if (status == ZAT_OK) return isRegistered("mainThread") ? Unhurt : Broken;
    if (isRegistered("mainThread") || zatOSWInit() != ZAT_OK) return Broken;
    return isMainTaskOnce() ? Recovered : Broken;
}
SelfRole initWithoutMemoryRole("init-without-memory", initWithoutMemory);

TEST(FailedInit, IsTriedAgainWhicheverAllocationFailed) {
    if (memoryIsChecked()) GTEST_SKIP() << "the memory checker has an allocator of its own";
    if (mmap(nullptr, 4096, PROT_NONE, MAP_FIXED | MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) ==
        MAP_FAILED)
        GTEST_SKIP() << "page 0 cannot be mapped";
    munmap(nullptr, 4096);
    int recovered = 0;
    int outcome = Unhurt;
    for (int call = 0; outcome == Recovered || outcome == Unhurt; ++call) {
        outcome = waitForExit(spawnSelf("init-without-memory", {std::to_string(call)}));
        recovered += outcome == Recovered;
    }
    EXPECT_EQ(outcome, NoSuchCall);
    EXPECT_GE(recovered, 3) << "the main task's record, the internal event, the trace's registry";
}

const std::string longPiece = std::string(42, '0') + "20000,70000";       // 47 characters
const std::string tooLongPiece = std::string(43, '0') + "20000,70000,0";  // 48

const struct {
    const char* environment; /**< null = not set */
    uint32_t minimum;
    uint32_t maximum;
    uint32_t extra;
} limitsCases[] = {{nullptr, 16384, 131072, 65536},
                   {"8192", 16384, 131072, 65536},
                   {"200000", 200000, 200000, 65536},
                   {",65536,0", 16384, 65536, 0},
                   {"\t32768 ,, 4096 \n", 32768, 131072, 4096},
                   {"many,,x", 16384, 131072, 65536},
                   {"20000,150000,0,7,9", 20000, 150000, 0},
                   {"20000,150000,4294967295", 20000, 150000, 0xFFFFFFFF},
                   {longPiece.c_str(), 20000, 70000, 65536},
                   {tooLongPiece.c_str(), 16384, 70000, 0}};

class StackLimits : public testing::TestWithParam<size_t> {};
INSTANTIATE_TEST_SUITE_P(Environment, StackLimits,
                         testing::Range<size_t>(0, std::size(limitsCases)));

struct Seen {
    zatOSWTaskInfo info;
    size_t usable;
};

uint32_t look(uint32_t address, uint32_t) {
    auto* seen = reinterpret_cast<Seen*>(address);
    seen->info = infoOf(0);
    pthread_attr_t attributes;
    pthread_getattr_np(pthread_self(), &attributes);
    pthread_attr_getstacksize(&attributes, &seen->usable);
    pthread_attr_destroy(&attributes);
    seen->usable -= 4096;
    return 0;
}

TEST_P(StackLimits, ShapeTheStacksOfTasks) {
    const auto& limits = limitsCases[GetParam()];
    if (limits.environment == nullptr)
        unsetenv("OSW_TASK_STACK_ENV");
    else
        setenv("OSW_TASK_STACK_ENV", limits.environment, 1);
    for (const uint32_t request : {0u, 0xFFFFFFFFu}) {
        Seen seen = {};
        const ZatTaskId task = startTask(taskEntry<look>, 1, "task", wordOf(&seen), 0, request);
        ASSERT_EQ(zatOSWSubPthreadJoin(task, nullptr), ZAT_OK);
        const uint32_t asked = request == 0 ? limits.minimum : limits.maximum;
        const uint64_t wanted = std::min<uint64_t>(uint64_t{asked} + limits.extra, limits.maximum);
        // The thread library has a minimum of its own.
        EXPECT_EQ(askedStack, std::max<uint64_t>(wanted, sysconf(_SC_THREAD_STACK_MIN)));
        EXPECT_EQ(seen.info.stackRequested, std::min<size_t>(asked, seen.usable));
    }
}

}  // namespace
