#include "osw/task_registry.h"

#include <sched.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <thread>

#include "osw/worker.h"

namespace {

/** A task that stays until the end of its scope. */
class Resident {
  public:
    explicit Resident(const char* name) : worker_([this] { return stay(); }, name) {
        EXPECT_TRUE(waitFor([this] { return kernelTid != 0; }));
    }
    ~Resident() { released_ = true; }

    ZatTaskId id() const { return worker_.id(); }
    std::atomic<pid_t> kernelTid = 0;

  private:
    ZatStatus stay() {
        kernelTid = gettid();
        return waitFor([this] { return released_.load(); }) ? 0 : 1;
    }
    std::atomic<bool> released_ = false;
    Worker worker_;
};

TEST(TaskName, KeepsSixteenCharacters) {
    const Resident task("abcdefghijklmnopqrst");
    char name[ZAT_TASK_NAME_BUFFER_SIZE + 1];
    memset(name, '#', sizeof name);
    EXPECT_EQ(zatOSWGetTaskName(task.id(), name), ZAT_OK);
    EXPECT_EQ(std::string(name, sizeof name), std::string("abcdefghijklmnop\0#", 18));
    for (const std::string given : {"0123456789ABCDEF", "short"}) {
        EXPECT_EQ(zatOSWSetTaskName(task.id(), given.c_str()), ZAT_OK);
        EXPECT_EQ(nameOf(task.id()), given);
        EXPECT_EQ(std::string(infoOf(task.id()).name, 16),
                  (given + std::string(16, 0)).substr(0, 16));
    }
    EXPECT_EQ(zatOSWSetTaskNameSelf("main task's longer name"), ZAT_OK);
    EXPECT_EQ(nameOf(pthread_self()), "main task's long");
}

TEST(TaskName, FindsTheOldestOfSeveral) {
    auto first = std::make_unique<Resident>("same name, cut HERE");
    const Resident second("same name, cut HOWEVER");
    ZatTaskId found = 0;
    EXPECT_EQ(zatOSWGetTaskIdByName(&found, "same name, cut HALF"), ZAT_OK);
    EXPECT_EQ(found, first->id());
    first.reset();
    EXPECT_EQ(zatOSWGetTaskIdByName(&found, "same name, cut H"), ZAT_OK);
    EXPECT_EQ(found, second.id());
    EXPECT_EQ(zatOSWGetTaskIdByName(&found, "same name"), ZAT_FAILED);
}

void expectUnknown(ZatTaskId task) {
    char name[ZAT_TASK_NAME_BUFFER_SIZE];
    EXPECT_EQ(zatOSWGetTaskName(task, name), ZAT_OSW_NO_TASK);
    EXPECT_EQ(zatOSWSetTaskName(task, "name"), ZAT_OSW_NO_TASK);
    if (task == 0) return;
    zatOSWTaskInfo info;
    const zatOSWTaskInfo nothing = {};
    memset(&info, '#', sizeof info);
    EXPECT_EQ(zatOSWGetTaskInfo(task, &info), ZAT_FAILED);
    EXPECT_EQ(memcmp(&info, &nothing, sizeof info), 0);
}

TEST(Registry, KnowsTasksAndNothingElse) {
    const Resident task("task");
    EXPECT_EQ(infoOf(0).threadId, pthread_self()) << "0 is the caller here only";
    EXPECT_EQ(infoOf(task.id()).threadId, task.id());
    EXPECT_EQ(infoOf(task.id()).kernelTid, task.kernelTid);
    EXPECT_EQ(infoOf(task.id()).policy, sched_getscheduler(0));
    expectUnknown(0);
    expectUnknown(12345);
    std::thread([] {
        expectUnknown(pthread_self());
        EXPECT_EQ(zatOSWSetTaskNameSelf("name"), ZAT_OSW_NO_TASK);
        EXPECT_EQ(infoOf(0).threadId, 0u);
    }).join();
    EXPECT_EQ(nameOf(pthread_self()), "mainThread");
    EXPECT_EQ(zatOSWGetTaskInfo(0, nullptr), ZAT_FAILED);
    EXPECT_EQ(zatOSWGetTaskName(task.id(), nullptr), ZAT_FAILED);
    EXPECT_EQ(zatOSWSetTaskName(task.id(), nullptr), ZAT_FAILED);
    EXPECT_EQ(zatOSWGetTaskIdByName(nullptr, "task"), ZAT_FAILED);
}

TEST(Monitors, AreStoredAsGivenAndApart) {
    for (const uint32_t on : {1u, 0xFFFFFFFFu, 0u}) {
        uint32_t stack = 7;
        uint32_t lock = 7;
        EXPECT_EQ(zatOSWSetStackMonitor(on), ZAT_OK);
        EXPECT_EQ(zatOSWSetLockMonitor(~on), ZAT_OK);
        EXPECT_EQ(zatOSWGetStackMonitor(&stack), ZAT_OK);
        EXPECT_EQ(zatOSWGetLockMonitor(&lock), ZAT_OK);
        EXPECT_EQ(stack, on);
        EXPECT_EQ(lock, ~on);
    }
}

}  // namespace
