#include <alloca.h>
#include <errno.h>

#include <cstring>

#include "osw/event_sem_private.h"
#include "osw/task.h"
#include "osw/worker.h"

namespace {

struct OnUnwind {
    explicit OnUnwind(uint32_t flag) : flag_(reinterpret_cast<Shared<bool>*>(flag)) {}
    ~OnUnwind() { *flag_ = true; }
    Shared<bool>* flag_;
};

/* How a task that waits for an event ends once it is posted. */
enum class End { Return, Exit, LeaveTheThread };

template <End end>
uint32_t waitAndEnd(uint32_t event, uint32_t unwound) {
    OnUnwind mark(unwound);
    zatOSWWaitEventSem(event, ZAT_FOREVER);
    if (end == End::Exit) zatOSWExitTask(42);
    if (end == End::LeaveTheThread) pthread_exit(reinterpret_cast<void*>(42));
    return 42;
}

constexpr ZatTaskEntry entries[] = {taskEntry<waitAndEnd<End::Return>>,
                                    taskEntry<waitAndEnd<End::Exit>>,
                                    taskEntry<waitAndEnd<End::LeaveTheThread>>};

class TaskEnd : public testing::Test {
  protected:
    TaskEnd() { EXPECT_EQ(zatOSWCreateEventSem(&event, 0, 0), ZAT_OK); }
    ~TaskEnd() override { EXPECT_EQ(zatOSWDeleteEventSem(event), ZAT_OK); }

    ZatTaskId start(int32_t joinMode, ZatTaskEntry entry = entries[0]) {
        unwound = false;
        const ZatTaskId task = startTask(entry, joinMode, "task", event, wordOf(&unwound));
        EXPECT_TRUE(waitersReach(recordOf<OswEventSem>(event), 1));
        return task;
    }
    void post() { EXPECT_EQ(zatOSWPostEventSem(event), ZAT_OK); }
    static bool ends(ZatTaskId task) {
        return waitFor([=] { return zatOSWWaitTask(task, 0) == ZAT_OK; });
    }
    /* A joinable task that has ended and was not joined. */
    ZatTaskId ended(ZatTaskEntry entry = entries[0]) {
        const ZatTaskId task = start(1, entry);
        EXPECT_EQ(zatOSWWaitTask(task, 0), ZAT_FAILED);
        EXPECT_EQ(zatOSWWaitJoinableTask(task, 0, nullptr), ZAT_FAILED);
        post();
        EXPECT_TRUE(ends(task));
        EXPECT_EQ(nameOf(task), "task") << "its joiner releases it";
        return task;
    }
    static bool leavesTheRegistry(ZatTaskId task) {
        return waitFor([=] { return nameOf(task).empty(); });
    }

    ZatEventSem event = 0;
    Shared<bool> unwound;
};

TEST_F(TaskEnd, AJoinableTaskIsReleasedByWhoeverJoinsIt) {
    ZatStatus (*const joins[])(ZatTaskId, uint32_t*) = {
        [](ZatTaskId task, uint32_t* value) { return *value = 42, zatOSWWaitTask(task, 1); },
        [](ZatTaskId task, uint32_t* value) { return zatOSWWaitJoinableTask(task, 1, value); },
        [](ZatTaskId task, uint32_t* value) { return zatOSWWaitJoinableTask(task, 0, value); },
        zatOSWSubPthreadJoin};
    for (ZatTaskEntry entry : entries) {
        for (const auto join : joins) {
            const ZatTaskId task = ended(entry);
            uint32_t value = 0;
            EXPECT_EQ(join(task, &value), ZAT_OK);
            EXPECT_EQ(value, 42u);
            EXPECT_EQ(nameOf(task), "");
            EXPECT_TRUE(unwound);
        }
    }
}

TEST_F(TaskEnd, OtherTasksReleaseThemselves) {
    for (ZatTaskEntry entry : entries) {
        for (int32_t joinMode : {0, -1}) {
            const ZatTaskId task = start(joinMode, entry);
            EXPECT_EQ(nameOf(task), "task");
            post();
            EXPECT_TRUE(leavesTheRegistry(task));
            /* Only a task that returns detaches itself. */
            if (joinMode == 0 || entry == entries[0]) continue;
            uint32_t value = 0;
            EXPECT_EQ(zatOSWSubPthreadJoin(task, &value), ZAT_OK);
            EXPECT_EQ(value, 42u);
        }
    }
}

TEST_F(TaskEnd, WaitingForATaskThatCannotBeJoinedDoesNotBlock) {
    const ZatTaskId detached = start(0);
    EXPECT_EQ(zatOSWWaitTask(detached, 0), ZAT_FAILED);
    EXPECT_EQ(zatOSWWaitTask(detached, 1), ZAT_OK);
    EXPECT_EQ(zatOSWWaitJoinableTask(detached, 1, nullptr), EINVAL);
    post();
    EXPECT_TRUE(leavesTheRegistry(detached));
    EXPECT_TRUE(ends(detached));
    EXPECT_EQ(zatOSWWaitTask(detached, 1), ZAT_OK);
    for (uint32_t wait : {0u, 1u}) {
        EXPECT_EQ(zatOSWWaitTask(0x1000, wait), ZAT_OK) << "no task";
        EXPECT_EQ(zatOSWWaitJoinableTask(0x1000, wait, nullptr), ESRCH);
    }
    EXPECT_EQ(zatOSWWaitTask(pthread_self(), 1), EDEADLK);
}

TEST_F(TaskEnd, DetachedTasksAreReleasedWithoutAJoiner) {
    const ZatTaskId running = start(1);
    EXPECT_EQ(zatOSWDetachTask(running), ZAT_OK);
    EXPECT_EQ(nameOf(running), "task");
    EXPECT_EQ(zatOSWWaitJoinableTask(running, 1, nullptr), EINVAL);
    post();
    EXPECT_TRUE(leavesTheRegistry(running));
    const ZatTaskId late = ended();
    EXPECT_EQ(zatOSWSubPthreadDetach(late), ZAT_OK);
    EXPECT_EQ(nameOf(late), "");
    EXPECT_EQ(zatOSWDetachTask(0x1000), ZAT_OK);
}

TEST_F(TaskEnd, ADeletedTaskUnwindsWhereItWaits) {
    SKIP_IF_THREADS_ARE_FOLLOWED();
    ZatStatus (*const deletes[])(ZatTaskId) = {
        zatOSWDeleteTask, zatOSWSubPthreadCancel,
        [](ZatTaskId task) { return zatOSWDeleteTaskJoin(task, 0); },
        [](ZatTaskId task) { return zatOSWDeleteTaskJoin(task, 1); }};
    for (const auto remove : deletes) {
        const bool leaves = remove == deletes[2];
        for (int32_t joinMode : {1, 0, -1}) {
            const ZatTaskId task = start(joinMode);
            EXPECT_EQ(remove(task), ZAT_OK);
            if (joinMode == 1 && !leaves) {
                EXPECT_EQ(nameOf(task), "task") << "its joiner releases it";
                uint32_t value = 0;
                EXPECT_EQ(zatOSWWaitJoinableTask(task, 1, &value), ZAT_OK);
                EXPECT_EQ(value, 0xFFFFFFFFu);
                EXPECT_EQ(nameOf(task), "");
            }
            EXPECT_TRUE(leavesTheRegistry(task));
            EXPECT_TRUE(waitFor([this] { return bool{unwound}; }));
            if (remove == deletes[3] && joinMode == -1) {
                EXPECT_EQ(zatOSWSubPthreadJoin(task, nullptr), ZAT_OK);
            }
        }
        EXPECT_EQ(remove(0x1000), ESRCH);
    }

    pthread_t thread;
    const auto wait = [](void* word) -> void* {
        zatOSWWaitEventSem(*static_cast<ZatEventSem*>(word), ZAT_FOREVER);
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, nullptr, wait, &event), 0);
    EXPECT_TRUE(waitersReach(recordOf<OswEventSem>(event), 1));
    EXPECT_EQ(zatOSWDeleteTask(thread), ZAT_OK) << "a thread that is no task";
    void* result = nullptr;
    EXPECT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
}

/* The new task may find that it was deleted before it began. */
TEST(TaskStart, MayBeOvertakenByADeletion) {
    SKIP_IF_THREADS_ARE_FOLLOWED();
    ZatEventSem event = 0;
    ASSERT_EQ(zatOSWCreateEventSem(&event, 0, 0), ZAT_OK);
    Shared<bool> unwound;
    const uint32_t memory = heldMemory();
    const uint32_t space = addressSpaceKb();
    const int rounds = emulated() ? 200 : 1000;
    for (int round = 0; round < rounds; ++round) {
        for (int32_t joinMode : {1, 0, -1}) {
            const ZatTaskId task =
                startTask(entries[0], joinMode, "short", event, wordOf(&unwound));
            ASSERT_EQ(zatOSWDeleteTask(task), ZAT_OK);
            ASSERT_TRUE(joinMode != 1 || zatOSWWaitTask(task, 1) == ZAT_OK);
            ASSERT_FALSE(isRegistered("short"));
        }
    }
    EXPECT_TRUE(waitFor([=] { return heldMemory() == memory; })) << heldMemory() - memory;
    EXPECT_TRUE(waitersReach(recordOf<OswEventSem>(event), 0));
    EXPECT_LT(addressSpaceKb(), space + 40000) << "stacks stay behind";
    EXPECT_EQ(zatOSWDeleteEventSem(event), ZAT_OK);
}

/* Uses so many thousandths of the stack, and a little more for the calls that end the task. */
__attribute__((noinline)) void useStack(uint32_t part) {
    uint32_t frame = 0, lowest = 0, highest = 0, size = 0;
    zatOSWGetMemBlockMap(__builtin_frame_address(0), &frame, &lowest, &highest, &size);
    const uint32_t target = highest - (highest - lowest) * part / 1000;
    auto* stack = static_cast<uint8_t*>(alloca(frame - target));
    memset(stack, 0xA5, frame - target);
    asm volatile("" : : "r"(stack) : "memory");
}

uint32_t useStackAndEnd(uint32_t part, uint32_t end) {
    useStack(part);
    if (end == 1) zatOSWExitTask(0);
    if (end == 2) zatOSWDeleteTask(pthread_self());
    return 0;
}

TEST(TaskStack, IsWarnedAboutWhenItIsNearlyUsedUp) {
#ifdef __SANITIZE_ADDRESS__
    constexpr uint32_t slack = 5; /* percent: the sanitizer's frames are larger */
#else
    constexpr uint32_t slack = 0;
#endif
    passOwnMessages();
    for (uint32_t end : {0u, 1u, 2u}) {
        for (uint32_t part : {790u - 10 * slack, 801u}) {
            testing::internal::CaptureStderr();
            const ZatTaskId task =
                startTask(taskEntry<useStackAndEnd>, 1, "sixteencharacter", part, end);
            EXPECT_EQ(zatOSWWaitTask(task, 1), ZAT_OK);
            const std::string text = testing::internal::GetCapturedStderr();
            if (part < 800) {
                EXPECT_EQ(text, "");
                continue;
            }
            uint32_t size = 0;
            uint32_t peak = 0;
            sscanf(text.c_str(), "%*[^ ] size=%u peak=%u", &size, &peak);
            ASSERT_GT(size, 65536u) << "end " << end << ": " << text;
            const uint32_t percent = peak * 100 / size;
            EXPECT_TRUE(percent >= 80 && percent <= 80 + slack) << "end " << end << ": " << text;
            EXPECT_EQ(text.find(format("OSW:<Warning>:StackOverflow:taskid=%u(sixteencharacter) "
                                       "size=%u peak=%u( %u%%)\n",
                                       task, size, peak, percent)),
                      0u)
                << text;
        }
    }
}

}  // namespace
