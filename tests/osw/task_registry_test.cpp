#include "osw/task_registry.h"

#include <sched.h>
#include <unistd.h>

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
    Shared<pid_t> kernelTid;

  private:
    ZatStatus stay() {
        kernelTid = gettid();
        return waitFor([this] { return bool{released_}; }) ? 0 : 1;
    }
    Shared<bool> released_;
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
    EXPECT_FALSE(isRegistered("same name"));
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
    EXPECT_EQ(nameOf(pthread_self()), "mainThread");
    const zatOSWTaskInfo info = infoOf(task.id());
    EXPECT_EQ(info.threadId, task.id());
    EXPECT_EQ(info.kernelTid, task.kernelTid);
    EXPECT_EQ(info.policy, sched_getscheduler(0));
    expectUnknown(0);
    expectUnknown(12345);
    std::thread([] {
        expectUnknown(pthread_self());
        EXPECT_EQ(zatOSWSetTaskNameSelf("name"), ZAT_OSW_NO_TASK);
        EXPECT_EQ(infoOf(0).threadId, 0u);
    }).join();
    EXPECT_EQ(zatOSWGetTaskInfo(0, nullptr), ZAT_FAILED);
    EXPECT_EQ(zatOSWGetTaskName(task.id(), nullptr), ZAT_FAILED);
    EXPECT_EQ(zatOSWSetTaskName(task.id(), nullptr), ZAT_FAILED);
    EXPECT_EQ(zatOSWGetTaskIdByName(nullptr, "task"), ZAT_FAILED);
}

TEST(Monitors, AreStoredAsGivenAndApart) {
    uint32_t stack = 7, lock = 7;
    EXPECT_EQ(zatOSWSetStackMonitor(0xFFFFFFFF), ZAT_OK);
    EXPECT_EQ(zatOSWSetLockMonitor(2), ZAT_OK);
    EXPECT_EQ(zatOSWGetStackMonitor(&stack), ZAT_OK);
    EXPECT_EQ(zatOSWGetLockMonitor(&lock), ZAT_OK);
    EXPECT_EQ(stack, 0xFFFFFFFF);
    EXPECT_EQ(lock, 2u);
}

}  // namespace
