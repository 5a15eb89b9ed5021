/**
 * @file
 * Tasks that play a part in a test, and what can be seen of the library from outside.
 */
#ifndef ZATOSW_TESTS_OSW_WORKER_H
#define ZATOSW_TESTS_OSW_WORKER_H

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <mutex>
#include <string>
#include <utility>

#include "gen/gen.h"
#include "osw/mem_checker.h"
#include "osw/osw.h"
#include "support/support.h"

/** A value that tasks share, in a way that race checkers understand. */
template <class T>
class Shared {
  public:
    /* NOLINTNEXTLINE(google-explicit-constructor): it stands for its value. */
    operator T() const {
        const std::lock_guard lock(mutex_);
        return value_;
    }
    Shared& operator=(T value) {
        const std::lock_guard lock(mutex_);
        value_ = value;
        return *this;
    }
    T operator++() {
        const std::lock_guard lock(mutex_);
        return ++value_;
    }

  private:
    mutable std::mutex mutex_;
    T value_{};
};

/** What a semaphore's record holds while tasks use it. */
template <class Record, class T>
T peek(Record& record, T Record::*field) {
    pthread_mutex_lock(&record.mutex);
    const T value = record.*field;
    pthread_mutex_unlock(&record.mutex);
    return value;
}

/** Waits until so many tasks wait on a semaphore. */
template <class Record>
bool waitersReach(Record& record, int32_t count) {
    return waitFor([&] { return peek(record, &Record::waiters) == count; });
}

/** The record behind a handle. */
template <class Record>
Record& recordOf(ZatHandle handle) {
    return *reinterpret_cast<Record*>(handle);
}

inline uint32_t wordOf(const void* address) {
    return reinterpret_cast<uint32_t>(address);
}

/** For a test in which tasks are deleted, or detach themselves, while the race checker looks on. */
#define SKIP_IF_THREADS_ARE_FOLLOWED() \
    if (isRunBy("--tool=drd"))         \
    GTEST_SKIP() << "the race checker does not see that a deleted task waits no more"

/** The entry function of a task that uses two of its arguments. */
template <uint32_t (*function)(uint32_t a1, uint32_t a2)>
uint32_t taskEntry(uint32_t a1, uint32_t a2, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                   uint32_t, uint32_t, uint32_t) {
    return function(a1, a2);
}

/** Starts a task with the caller's priority. */
inline ZatTaskId startTask(ZatTaskEntry entry, int32_t joinMode, const char* name = "task",
                           uint32_t a1 = 0, uint32_t a2 = 0, uint32_t stackSize = 0) {
    ZatTaskId task = 0;
    EXPECT_EQ(zatOSWCreateJoinTask(&task, name, ZAT_INHERIT_PRIORITY, stackSize, entry, joinMode,
                                   a1, a2, 0, 0, 0, 0, 0, 0, 0, 0),
              ZAT_OK);
    return task;
}

/** A joinable task that runs a function; it is joined at the end of the scope. */
class Worker {
  public:
    explicit Worker(std::function<ZatStatus()> work, const char* name = "worker")
        : work_(std::move(work)),
          id_(startTask(taskEntry<run>, 1, name, wordOf(this), 0, 131072)) {}
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;
    ~Worker() { join(); }

    ZatTaskId id() const { return id_; }

    /** What the function returned; all ones if the task was deleted. */
    ZatStatus join() {
        if (id_ != 0) {
            EXPECT_EQ(zatOSWWaitJoinableTask(id_, 1, &result_), ZAT_OK);
        }
        id_ = 0;
        return result_;
    }

    void remove() {
        EXPECT_EQ(zatOSWDeleteTask(id_), ZAT_OK);
        join();
    }

  private:
    static uint32_t run(uint32_t self, uint32_t) {
        return reinterpret_cast<Worker*>(self)->work_();
    }

    std::function<ZatStatus()> work_;
    ZatTaskId id_;
    uint32_t result_ = 0;
};

/** A line of a report, as printf() writes it. */
__attribute__((format(printf, 1, 2))) inline std::string format(const char* text, ...) {
    char line[256];
    va_list arguments;
    va_start(arguments, text);
    vsnprintf(line, sizeof line, text, arguments);
    va_end(arguments);
    return line;
}

/** Whether the caller is the only thread of the process that runs. */
inline bool allOthersSleep() {
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
        if (thread.path().filename() == std::to_string(gettid())) continue;
        std::string stat;
        std::getline(std::ifstream(thread.path() / "stat"), stat);
        if (!stat.empty() && stat.find(") S ") == std::string::npos) return false;
    }
    return true;
}

inline zatOSWTaskInfo infoOf(ZatTaskId task) {
    zatOSWTaskInfo info;
    zatOSWGetTaskInfo(task, &info);
    return info;
}

/** Lets the library's own messages through to standard error; they are held back at first. */
inline void passOwnMessages() {
    ASSERT_EQ(zatOSWInit(), ZAT_OK);
    zatGENTrcAll(ZAT_GEN_SYSTEM);
    zatGENTrcAll(0x2002);
}

/** Bytes of partition memory that were allocated by the calling task and are not freed yet. */
inline uint32_t heldMemory() {
    return infoOf(0).memSize;
}

/** The name of a task; empty when it is not registered. */
inline std::string nameOf(ZatTaskId task) {
    char name[ZAT_TASK_NAME_BUFFER_SIZE] = "";
    zatOSWGetTaskName(task, name);
    return name;
}

inline bool isRegistered(const char* name) {
    ZatTaskId task = 0;
    return zatOSWGetTaskIdByName(&task, name) == ZAT_OK;
}

/** The size of the address space, in which stacks that nobody frees stay; 0 where it is the
 *  emulator's. */
inline uint32_t addressSpaceKb() {
    std::ifstream file("/proc/self/statm");
    uint32_t pages = 0;
    file >> pages;
    return emulated() ? 0 : pages * 4;
}

#endif
