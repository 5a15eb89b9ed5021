/**
 * @file
 * Makes every creation fail wherever it can: one call of a kind after the other, the n-th once and
 * from the n-th on for ever, until none is left to fail. Each time the status is one that the
 * creation may answer with, nothing is left of what was begun, and the next creation succeeds.
 *
 * Defines the functions that fail, so it belongs into one file of a program.
 */
#ifndef ZATOSW_TESTS_FAULTS_H
#define ZATOSW_TESTS_FAULTS_H

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/msg.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zatosw/zatosw.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <string>

#include "support/support.h"

/** Which call of the thread that sets it fails, from which time on. */
struct Fault {
    const char* call = "";
    int at = 0;
    bool forEver = false;
    int seen = 0;
    int failed = 0;
};
static thread_local Fault fault;

/** Blocks of partition 0 have calls of their own to fail: without its heap the process would end.
 */
static thread_local int insidePartition;

static bool fails(const char* call, int error) {
    if (strcmp(fault.call, call) != 0) return false;
    ++fault.seen;
    if (fault.seen < fault.at || (fault.seen > fault.at && !fault.forEver)) return false;
    ++fault.failed;
    errno = error;
    return true;
}

/** The real function behind one that is defined here. */
template <class Function>
static Function* real(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}
#define REAL(function) real<decltype(function)>(#function)

/** Blocks of malloc() that are in use, where it is not a memory checker's. */
static std::atomic<size_t> liveBlocks;

/** Whether malloc() is that of a memory checker, which does not fail. */
inline bool isChecked() {
#ifdef __SANITIZE_ADDRESS__
    return true;
#else
    return getenv("ZATOSW_WRAPPER") != nullptr;
#endif
}

#ifndef __SANITIZE_ADDRESS__
template <class Allocate>
static void* allocated(const Allocate& allocate) {
    if (insidePartition == 0 && fails("malloc", ENOMEM)) return nullptr;
    void* block = allocate();
    liveBlocks += block != nullptr;
    return block;
}
extern "C" void* malloc(size_t size) noexcept {
    static const auto next = REAL(malloc);
    return allocated([&] { return next(size); });
}
extern "C" void* calloc(size_t count, size_t size) noexcept {
    static const auto next = REAL(calloc);
    return allocated([&] { return next(count, size); });
}
extern "C" void* realloc(void* block, size_t size) noexcept {
    static const auto next = REAL(realloc);
    return block == nullptr ? malloc(size) : next(block, size);
}
extern "C" void free(void* block) noexcept {
    static const auto next = REAL(free);
    liveBlocks -= block != nullptr;
    next(block);
}
#endif

template <class Allocate>
static ZatStatus fromPartition(const char* call, void** out, const Allocate& allocate) {
    *out = nullptr;
    if (fails(call, ENOMEM)) return ZAT_OSW_PART_EXHAUSTED;
    ++insidePartition;
    const ZatStatus status = allocate();
    --insidePartition;
    return status;
}
ZatStatus zatOSWOrgAllocMemPart(ZatPartition partition, void** out, uint32_t size) {
    static const auto next = REAL(zatOSWOrgAllocMemPart);
    return fromPartition("Org", out, [&] { return next(partition, out, size); });
}
ZatStatus zatOSWOrgReAllocMemPart(ZatPartition partition, void** out, void* old, uint32_t size) {
    static const auto next = REAL(zatOSWOrgReAllocMemPart);
    return fromPartition("Org", out, [&] { return next(partition, out, old, size); });
}
ZatStatus zatOSWSysAllocMemPart(ZatPartition partition, void** out, uint32_t size) {
    static const auto next = REAL(zatOSWSysAllocMemPart);
    return fromPartition("Sys", out, [&] { return next(partition, out, size); });
}
void* zatOSWSubAllocMem(uint32_t size) {
    static const auto next = REAL(zatOSWSubAllocMem);
    void* block = nullptr;
    fromPartition("Sub", &block, [&] {
        block = next(size);
        return ZAT_OK;
    });
    return block;
}

/** A function of the C library that fails, or is the real one. */
#define FAILING(Result, function, parameters, arguments, error, failure)                         \
    extern "C" Result function parameters noexcept {                                             \
        return fails(#function, error) ? failure : real<Result parameters>(#function) arguments; \
    }

FAILING(int, pthread_create,
        (pthread_t * thread, const pthread_attr_t* attributes, void* (*entry)(void*), void* word),
        (thread, attributes, entry, word), EAGAIN, EAGAIN)
FAILING(pid_t, fork, (), (), EAGAIN, -1)
FAILING(void*, dlopen, (const char* path, int flags), (path, flags), ENOMEM, nullptr)
FAILING(int, semget, (key_t key, int count, int flags), (key, count, flags), ENOSPC, -1)
FAILING(int, shmget, (key_t key, size_t size, int flags), (key, size, flags), ENOSPC, -1)
FAILING(void*, shmat, (int id, const void* address, int flags), (id, address, flags), EMFILE,
        reinterpret_cast<void*>(-1))
FAILING(int, msgget, (key_t key, int flags), (key, flags), ENOSPC, -1)
FAILING(int, mkdir, (const char* path, mode_t mode), (path, mode), EROFS, -1)
FAILING(int, rename, (const char* from, const char* to), (from, to), EXDEV, -1)

/* Only some of what these do fails. */
union semun {
    int value;
    void* buffer;
};
extern "C" int semctl(int id, int semaphore, int command, ...) noexcept {
    va_list arguments;
    va_start(arguments, command);
    const semun argument = va_arg(arguments, semun);
    va_end(arguments);
    if (command == SETVAL && fails("semctl", EINVAL)) return -1;
    return real<int(int, int, int, ...)>("semctl")(id, semaphore, command, argument);
}
/* What was taken can be given back. */
extern "C" int semop(int id, sembuf* operations, size_t count) noexcept {
    if (operations->sem_op < 0 && fails("semop", EINVAL)) return -1;
    return real<int(int, sembuf*, size_t)>("semop")(id, operations, count);
}
extern "C" int msgctl(int id, int command, msqid_ds* state) noexcept {
    if (command == IPC_STAT && fails("msgctl", EACCES)) return -1;
    return real<int(int, int, msqid_ds*)>("msgctl")(id, command, state);
}
/* These under the names that large files give them. */
extern "C" FILE* fopen(const char* path, const char* mode) {
    static const auto next = real<FILE*(const char*, const char*)>("fopen64");
    return fails("fopen", EMFILE) ? nullptr : next(path, mode);
}
extern "C" int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    if ((flags & O_CREAT) != 0 && fails("open", EROFS)) return -1;
    return openat(AT_FDCWD, path, flags, mode);
}
static bool reserveAll;
extern "C" int statx(int directory, const char* path, int flags, unsigned wanted,
                     struct statx* facts) noexcept {
    static const auto next = reinterpret_cast<decltype(&statx)>(dlsym(RTLD_NEXT, "statx"));
    if (fails("stat", EIO)) return -1;
    const int result = next(directory, path, flags, wanted, facts);
    if (result == 0 && reserveAll) facts->stx_ino = 902131;
    return result;
}
/** Everything that a creation could leave behind: System V objects, attached segments, key files (a
 * sum over their names), open files, threads; and if the library is up, blocks of malloc() and of
 * the default partitions. */
using Belongings = std::array<size_t, 7>;

/** The entries of a directory, or a sum over their names; the semaphores' of partitions stay, each
 * with its number. */
inline size_t entriesOf(const std::string& directory, bool byName = false) {
    size_t sum = 0;
    std::error_code missing;
    for (const auto& file : std::filesystem::directory_iterator(directory, missing)) {
        const std::string name = file.path().filename();
        if (name.rfind("oswsysvsem_", 0) != 0) sum += byName ? std::hash<std::string>()(name) : 1;
    }
    return sum;
}

inline Belongings belongings(bool withMemory = true) {
    const size_t live = withMemory ? liveBlocks.load() : 0;
    size_t attached = 0;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
        attached += line.find("SYSV") != std::string::npos;
    OswMemInfo* figures = nullptr;
    size_t blocks = 0;
    if (withMemory && zatOSWCreateMemInfo(&figures) == ZAT_OK) blocks = figures->memCurBlocks;
    zatOSWDeleteMemInfo(figures);
    return {size_t(systemVObjects()),
            attached,
            entriesOf(getenv("GEN_MSGQ_PATH"), true),
            entriesOf("/proc/self/fd"),
            entriesOf("/proc/self/task"),
            live,
            blocks};
}

/** The calls of a creation that may fail, and what it may answer then. ZAT_OK stands for one that
 * answers so and makes nothing. */
using Answers = std::map<std::string, std::set<ZatStatus>>;

/** What is created; a failure leaves the handle as it was. */
struct Creation {
    const char* name;
    std::function<ZatStatus(ZatHandle*)> create;
    std::function<ZatStatus(ZatHandle)> remove;
    Answers answers;
};

/** Whether there was anything to fail. */
inline bool createUnderFault(const Creation& creation, const char* call, int at, bool forEver) {
    static constexpr ZatHandle untouched = 4711;
    SCOPED_TRACE(std::string(creation.name) + ": " + call + " number " + std::to_string(at) +
                 (forEver ? " and on" : ""));
    const Belongings before = belongings();
    ZatHandle handle = untouched;
    fault = {call, at, forEver};
    const ZatStatus status = creation.create(&handle);
    const int failed = fault.failed;
    fault = {};
    if (handle != untouched) {
        EXPECT_EQ(status, ZAT_OK);
        EXPECT_EQ(failed, 0) << "a failure that nobody noticed";
        EXPECT_EQ(creation.remove(handle), ZAT_OK);
    } else {
        EXPECT_GT(failed, 0);
        EXPECT_EQ(creation.answers.at(call).count(status), 1u) << std::hex << status;
    }
    /* Tasks end in their own time. */
    waitFor([&] { return belongings() == before; }, 3000);
    EXPECT_EQ(belongings(), before);
    return failed > 0;
}

inline void sweep(const Creation& creation) {
    /* What the first one makes for all. */
    const size_t threads = entriesOf("/proc/self/task");
    ZatHandle handle = 0;
    ASSERT_EQ(creation.create(&handle), ZAT_OK) << creation.name;
    ASSERT_EQ(creation.remove(handle), ZAT_OK) << creation.name;
    ASSERT_TRUE(waitFor([&] { return entriesOf("/proc/self/task") == threads; })) << creation.name;
    for (const auto& [call, statuses] : creation.answers) {
        if (call == "malloc" && isChecked()) continue;
        for (const bool forEver : {false, true}) {
            /* What was made before a lock is never to be had again cannot be taken back. */
            if (forEver && call == "semop") continue;
            int at = 1;
            while (createUnderFault(creation, call.c_str(), at, forEver) && at < 100 &&
                   !testing::Test::HasFailure())
                ++at;
            if (testing::Test::HasFailure()) return;
            ASSERT_GT(at, 1) << creation.name << " does without " << call;
            ASSERT_LT(at, 100) << creation.name << ": " << call;
        }
    }
}

#endif
