/*
 * The system calls that making shared objects needs are failed one after the other, the n-th once
 * and from the n-th on for ever, until nothing fails any more: the status is the specified one, and
 * nothing is left of what was begun.
 */

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/msg.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zatosw/zatosw.h>

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "support/selfstart.h"
#include "support/support.h"

/** Which call fails, from which time on. */
struct Fault {
    std::string call;
    int at = 0;
    bool forEver = false;
    int seen = 0;
    int failed = 0;
};
static Fault fault;

static bool fails(const char* call, int error) {
    if (fault.call != call) return false;
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

extern "C" int semget(key_t key, int count, int flags) noexcept {
    return fails("semget", ENOSPC) ? -1 : real<decltype(semget)>("semget")(key, count, flags);
}
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
extern "C" int shmget(key_t key, size_t size, int flags) noexcept {
    return fails("shmget", ENOSPC) ? -1 : real<decltype(shmget)>("shmget")(key, size, flags);
}
extern "C" void* shmat(int id, const void* address, int flags) noexcept {
    if (fails("shmat", EMFILE)) return reinterpret_cast<void*>(-1);
    return real<decltype(shmat)>("shmat")(id, address, flags);
}
extern "C" int msgget(key_t key, int flags) noexcept {
    return fails("msgget", ENOSPC) ? -1 : real<decltype(msgget)>("msgget")(key, flags);
}
extern "C" int msgctl(int id, int command, msqid_ds* state) noexcept {
    if (command == IPC_STAT && fails("msgctl", EACCES)) return -1;
    return real<decltype(msgctl)>("msgctl")(id, command, state);
}
extern "C" int mkdir(const char* path, mode_t mode) noexcept {
    return fails("mkdir", EROFS) ? -1 : mkdirat(AT_FDCWD, path, mode);
}
/* Both under the names that large files give them. */
extern "C" int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    if ((flags & O_CREAT) != 0 && fails("open", EROFS)) return -1;
    return openat(AT_FDCWD, path, flags, mode);
}
static bool reserveAll;
extern "C" int stat(const char* path, struct stat* info) noexcept {
    if (fails("stat", EIO)) return -1;
    const int result = fstatat(AT_FDCWD, path, info, 0);
    if (result == 0 && reserveAll) info->st_ino = 902131;
    return result;
}
extern "C" int rename(const char* from, const char* to) noexcept {
    return fails("rename", EXDEV) ? -1 : renameat(AT_FDCWD, from, AT_FDCWD, to);
}

namespace {

const std::map<std::string, std::set<ZatStatus>> answers = {
    {"semget", {ZAT_IPC_SEMGET_FAILED}}, {"semctl", {ZAT_IPC_SEMCTL_FAILED}},
    {"shmget", {ZAT_IPC_SHMGET_FAILED}}, {"shmat", {ZAT_IPC_SHMAT_FAILED}},
    {"msgget", {ZAT_IPC_MSGGET_FAILED}}, {"msgctl", {ZAT_IPC_QUEUE_LIMIT_FAILED}},
    {"mkdir", {ZAT_IPC_KEY_DIR_FAILED}}, {"open", {ZAT_IPC_KEY_CREATE_FAILED}},
    {"stat", {ZAT_IPC_KEY_STAT_FAILED}},
    /* Starting over finds no end when the key file can never be looked at again. */
};

/** Everything that a create could leave behind. */
struct Belongings {
    int semaphores = 0;
    int segments = 0;
    int queues = 0;
    std::set<std::string> keyFiles;
    int mappings = 0;

    bool operator==(const Belongings&) const = default;
};

Belongings belongings() {
    Belongings now;
    seminfo semaphores = {};
    shm_info segments = {};
    msginfo queues = {};
    semctl(0, 0, SEM_INFO, &semaphores);
    shmctl(0, SHM_INFO, reinterpret_cast<shmid_ds*>(&segments));
    msgctl(0, MSG_INFO, reinterpret_cast<msqid_ds*>(&queues));
    now.semaphores = semaphores.semusz;
    now.segments = segments.used_ids;
    now.queues = queues.msgpool;
    const std::string keys = getenv("GEN_MSGQ_PATH");
    if (std::filesystem::exists(keys))
        for (const auto& file : std::filesystem::directory_iterator(keys))
            now.keyFiles.insert(file.path().filename().string());
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
        now.mappings += line.find("SYSV") != std::string::npos;
    return now;
}

struct Kind {
    const char* name;
    std::function<ZatStatus(ZatIpcHandle*)> create;
    ZatStatus (*remove)(ZatIpcHandle);
};

const std::vector<Kind>& kinds() {
    static const std::vector<Kind> all = {
        {"mutex", [](auto* h) { return zatOSWIpcCreateMutexSem("x", h, 0, 1); },
         zatOSWIpcDeleteMutexSem},
        {"count", [](auto* h) { return zatOSWIpcCreateCountSem("x", h, 0, 1); },
         zatOSWIpcDeleteCountSem},
        {"event", [](auto* h) { return zatOSWIpcCreateEventSem("x", h, 0, 1); },
         zatOSWIpcDeleteEventSem},
        {"lock", [](auto* h) { return zatOSWIpcCreateSELock("x", h, 0, 1); },
         zatOSWIpcDeleteSELock},
        {"queue", [](auto* h) { return zatOSWIpcCreateMsgQueue("x", h, 4, 64, 0); },
         zatOSWIpcDeleteMsgQueue},
        {"timer", [](auto* h) { return zatOSWIpcCreateTimer("x", h, 8192); }, zatOSWIpcDeleteTimer},
        {"partition", [](auto* h) { return zatOSWIpcCreateMemPart(h, "x", 4096); },
         zatOSWIpcDeleteMemPart},
    };
    return all;
}

void createUnderFault(const Kind& kind, const Fault& wanted, const Belongings& before) {
    SCOPED_TRACE(std::string(kind.name) + ": " + wanted.call + " number " +
                 std::to_string(wanted.at) + (wanted.forEver ? " and on" : ""));
    ZatIpcHandle handle = 4711;
    fault = wanted;
    const ZatStatus status = kind.create(&handle);
    const int failed = fault.failed;
    fault.call = "";
    if (status == ZAT_OK) {
        EXPECT_EQ(failed, 0) << "a failure that nobody noticed";
        EXPECT_EQ(kind.remove(handle), ZAT_OK);
    } else {
        EXPECT_EQ(answers.at(wanted.call).count(status), 1u) << std::hex << status;
        EXPECT_EQ(handle, 4711u);
    }
    EXPECT_TRUE(belongings() == before);
}

TEST(FailedCreate, SaysWhyAndLeavesNothing) {
    ASSERT_EQ(zatOSWInit(), ZAT_OK);
    const Belongings before = belongings();
    for (const Kind& kind : kinds()) {
        for (const auto& [call, statuses] : answers) {
            for (const bool forEver : {false, true})
                for (int at = 1; at <= 6 && !HasFailure(); ++at)
                    createUnderFault(kind, {call, at, forEver}, before);
        }
        ZatIpcHandle handle = 0;
        EXPECT_EQ(kind.create(&handle), ZAT_OK) << "when the fault is gone";
        EXPECT_EQ(kind.remove(handle), ZAT_OK);
    }
    EXPECT_TRUE(belongings() == before);
}

TEST(FailedCreate, WithAReservedKeyThatCannotBeMovedAsideLeavesNothing) {
    ASSERT_EQ(zatOSWInit(), ZAT_OK);
    const Belongings before = belongings();
    ZatIpcHandle handle = 0;
    reserveAll = true;
    fault = {"rename", 1, true};
    EXPECT_EQ(zatOSWIpcCreateMutexSem("x", &handle, 0, 1), ZAT_IPC_KEY_RENAME_FAILED);
    reserveAll = false;
    EXPECT_TRUE(belongings() == before);
}

/* A page that is full needs another one, which may fail in the same ways. */
TEST(FailedCreate, OfAnotherPageLeavesNothing) {
    std::vector<ZatIpcHandle> all(48);
    for (size_t i = 0; i < all.size(); ++i)
        ASSERT_EQ(zatOSWIpcCreateMutexSem(("full" + std::to_string(i)).c_str(), &all[i], 0, 1),
                  ZAT_OK);
    const Belongings before = belongings();
    for (const char* call : {"shmget", "shmat", "open", "stat"})
        for (const bool forEver : {false, true})
            createUnderFault(kinds()[0], {call, 1, forEver}, before);
    ZatIpcHandle handle = 0;
    EXPECT_EQ(zatOSWIpcCreateMutexSem("more", &handle, 0, 1), ZAT_OK);
    EXPECT_EQ(belongings().segments, before.segments + 1);
}

/* In a process of its own: the first one of the machine comes up, or leaves nothing. */
int initUnderFault(const std::vector<std::string>& arguments) {
    const Belongings before = belongings();
    fault = {arguments[0], std::stoi(arguments[1]), arguments[2] == "for ever"};
    const ZatStatus status = zatOSWIpcInit();
    fault.call = "";
    if (status != ZAT_OK && answers.at(arguments[0]).count(status) == 0) return 2;
    if (status != ZAT_OK && !(belongings() == before)) return 3;
    if (zatOSWInit() != ZAT_OK) return 4;
    ZatIpcHandle handle = 0;
    if (zatOSWIpcCreateMutexSem("x", &handle, 0, 0) != ZAT_OK) return 5;
    zatOSWTerm();
    return belongings() == before ? (status == ZAT_OK ? 0 : 1) : 6;
}
const SelfRole initRole("init-under-fault", initUnderFault);

TEST(FailedInit, SaysWhyAndLeavesNothing) {
    if (getenv("ZATOSW_SHARED_IPC") != nullptr) GTEST_SKIP() << "others may be up";
    std::filesystem::create_directories(getenv("GEN_MSGQ_PATH"));
    const bool isSlow = emulated() || getenv("ZATOSW_WRAPPER") != nullptr;
    for (const auto& [call, statuses] : answers) {
        int failures = 0;
        int result = 1;
        for (int at = 1; result == 1 && at <= 60; at += isSlow ? 7 : 1) {
            result =
                waitForExit(spawnSelf("init-under-fault", {call, std::to_string(at), "for ever"}));
            EXPECT_LE(result, 1) << call << " number " << at;
            failures += result == 1;
        }
        /* The directory is there, and the layer itself has no queue. */
        const bool isCalled = call != "mkdir" && call.find("msg") != 0;
        EXPECT_EQ(failures > 0, isCalled) << call;
    }
}

}  // namespace
