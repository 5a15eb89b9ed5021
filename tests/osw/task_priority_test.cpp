#include "osw/task_priority.h"

#include <errno.h>
#include <sched.h>

#include "osw/worker.h"

namespace {

/* Whatever a case does to the main task's scheduling and to the default policy is undone. */
class TaskPriority : public testing::Test {
  protected:
    void SetUp() override {
        SKIP_IF_THREADS_ARE_FOLLOWED();
        ASSERT_EQ(zatOSWInit(), ZAT_OK);
        sched_param parameters = {};
        parameters.sched_priority = 1;
        if (pthread_setschedparam(pthread_self(), SCHED_RR, &parameters) == EPERM)
            GTEST_SKIP() << "real-time scheduling is not permitted";
        restore();
        ASSERT_EQ(zatOSWCreateEventSem(&event, 0, 0), ZAT_OK);
    }
    ~TaskPriority() override {
        restore();
        zatOSWSetTaskScheduler(SCHED_FIFO);
        if (event != 0) zatOSWDeleteEventSem(event);
    }

    static void restore() {
        const sched_param parameters = {};
        pthread_setschedparam(pthread_self(), SCHED_OTHER, &parameters);
    }

    static uint32_t waiting(uint32_t event, uint32_t) {
        return zatOSWWaitEventSem(event, ZAT_FOREVER);
    }
    static constexpr ZatTaskEntry waitForEvent = taskEntry<waiting>;

    /* The record and the thread tell the same. */
    static void expect(ZatTaskId task, int32_t policy, int32_t priority) {
        sched_param parameters = {};
        int actual = -1;
        EXPECT_EQ(pthread_getschedparam(task, &actual, &parameters), 0);
        EXPECT_EQ(actual, policy);
        EXPECT_EQ(parameters.sched_priority, priority);
        EXPECT_EQ(infoOf(task).policy, policy);
        EXPECT_EQ(infoOf(task).priority, priority);
    }
    void end(ZatTaskId task) {
        EXPECT_EQ(zatOSWDeleteTaskJoin(task, 0), ZAT_OK);
        EXPECT_TRUE(waitFor([=] { return nameOf(task).empty(); }));
    }
    template <class Create>
    void expectMade(Create create, int32_t policy, int32_t priority) {
        ZatTaskId task = 0;
        ASSERT_EQ(create(&task), ZAT_OK);
        expect(task, policy, priority);
        end(task);
    }
    void expectCreated(int32_t asked, int32_t policy, int32_t priority) {
        const auto create = [=, this](ZatTaskId* task) {
            return zatOSWCreateJoinTask(task, "task", asked, 0, waitForEvent, 1, event, 0, 0, 0, 0,
                                        0, 0, 0, 0, 0);
        };
        expectMade(create, policy, priority);
    }
    void expectCreatedVxv(uint32_t asked, int32_t policy, int32_t priority) {
        const auto create = [=, this](ZatTaskId* task) {
            return zatOSWCreateTaskVxv(task, "task", asked, 0, waitForEvent, event, 0, 0, 0, 0, 0,
                                       0, 0, 0, 0);
        };
        expectMade(create, policy, priority);
    }

    ZatEventSem event = 0;
};

TEST(TaskPriorityMap, FallsFromTheHighestToTheLowest) {
    /* Two kernel-style priorities share one of Linux down to 58, three from 57 on. */
    int p = 0;
    for (int priority = 99; priority > 0; --priority)
        for (int width = priority >= 58 ? 2 : 3; width > 0; --width, ++p)
            EXPECT_EQ(zatOSWTaskPriorityMap[p], priority) << p;
    EXPECT_EQ(p, 255);
    EXPECT_EQ(zatOSWTaskPriorityMap[255], 0);
}

TEST_F(TaskPriority, IsGivenAtCreationWithinThePolicysRange) {
    for (uint32_t policy : {SCHED_FIFO, SCHED_RR}) {
        EXPECT_EQ(zatOSWSetTaskScheduler(policy), ZAT_OK);
        expectCreated(5, static_cast<int32_t>(policy), 5);
        expectCreated(99, static_cast<int32_t>(policy), 99);
        expectCreated(1000, static_cast<int32_t>(policy), 99);
        expectCreated(0, SCHED_OTHER, 0);
    }
    EXPECT_EQ(zatOSWSetTaskScheduler(SCHED_OTHER), ZAT_OK);
    expectCreated(50, SCHED_OTHER, 0);
}

TEST_F(TaskPriority, IsInheritedOrMappedFromTheKernelStyle) {
    expectCreatedVxv(100, SCHED_FIFO, 52);
    expectCreatedVxv(255, SCHED_OTHER, 0);
    ASSERT_EQ(zatOSWSetTaskPriorityWithScheduler(pthread_self(), 7, SCHED_RR), ZAT_OK);
    expect(pthread_self(), SCHED_RR, 7);
    expectCreated(ZAT_INHERIT_PRIORITY, SCHED_RR, 7);
    expectCreated(-2, SCHED_OTHER, 0);
    expectCreatedVxv(300, SCHED_RR, 7);
    expectCreatedVxv(256, SCHED_RR, 7);

    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    const auto create = [&](ZatTaskId* task) {
        return zatOSWSubPthreadCreate(task, &attributes, waitForEvent, event);
    };
    expectMade(create, SCHED_RR, 7);
    sched_param parameters = {};
    parameters.sched_priority = 9;
    pthread_attr_setinheritsched(&attributes, PTHREAD_EXPLICIT_SCHED);
    pthread_attr_setschedpolicy(&attributes, SCHED_FIFO);
    pthread_attr_setschedparam(&attributes, &parameters);
    expectMade(create, SCHED_FIFO, 9);
    pthread_attr_destroy(&attributes);
}

TEST_F(TaskPriority, ChangesThreadAndRecord) {
    const ZatTaskId task = startTask(waitForEvent, 1, "task", event);
    int32_t priority = -1;
    EXPECT_EQ(zatOSWSetTaskPriority(task, 20), ZAT_OK);
    expect(task, SCHED_FIFO, 20);
    EXPECT_EQ(zatOSWGetTaskPriority(task, &priority), ZAT_OK);
    EXPECT_EQ(priority, 20);
    EXPECT_EQ(zatOSWSetTaskPriorityXvx(task, 100), ZAT_OK);
    expect(task, SCHED_FIFO, 52);
    EXPECT_EQ(zatOSWSetTaskPriority(task, 0), ZAT_OK);
    expect(task, SCHED_OTHER, 0);
    EXPECT_EQ(zatOSWSetTaskPriorityWithScheduler(task, 500, SCHED_RR), ZAT_OK);
    expect(task, SCHED_RR, 99);
    EXPECT_EQ(zatOSWSetTaskPriorityWithScheduler(task, 5, 3), ZAT_FAILED);
    EXPECT_EQ(zatOSWSetTaskScheduler(3), ZAT_FAILED);
    uint32_t policy = 9;
    EXPECT_EQ(zatOSWGetTaskScheduler(&policy), ZAT_OK);
    EXPECT_EQ(policy, 1u);
    expect(task, SCHED_RR, 99);
    end(task);
}

/* Asked for the kernel-style priority, only a failure answers; callers know it so. */
TEST_F(TaskPriority, IsToldInTheKernelStyleOnlyWhenItCannotBeRead) {
    int32_t priority = 4711;
    EXPECT_EQ(zatOSWGetTaskPriorityXvx(pthread_self(), &priority), ZAT_OK);
    EXPECT_EQ(priority, 4711);
    EXPECT_EQ(zatOSWGetTaskPriority(0x1000, &priority), ESRCH);
    EXPECT_EQ(priority, 4711);
    EXPECT_EQ(zatOSWGetTaskPriorityXvx(0x1000, &priority), ESRCH);
    EXPECT_TRUE(priority >= 0 && priority <= 255) << priority;
    EXPECT_EQ(zatOSWSetTaskPriority(0x1000, 5), ESRCH);
}

TEST(TaskVar, BelongsToATaskAndAKey) {
    const uint32_t memory = (zatOSWInit(), heldMemory());
    const std::pair<ZatTaskId, uint32_t> vars[] = {{1, 2}, {2, 1}, {1, 1}, {2, 2}};
    uint32_t value = 9;
    for (const auto& [task, key] : vars) {
        EXPECT_EQ(zatOSWGetTaskVar(task, key, &value), ZAT_FAILED);
        EXPECT_EQ(zatOSWSetTaskVar(task, key, 3), ZAT_FAILED);
        EXPECT_EQ(zatOSWAddTaskVar(task, key), ZAT_OK);
        EXPECT_EQ(zatOSWAddTaskVar(task, key), ZAT_FAILED);
        EXPECT_EQ(zatOSWGetTaskVar(task, key, &value), ZAT_OK);
        EXPECT_EQ(value, 0u);
        EXPECT_EQ(zatOSWSetTaskVar(task, key, 10 * task + key), ZAT_OK);
    }
    for (const auto& [task, key] : vars) {
        EXPECT_EQ(zatOSWGetTaskVar(task, key, &value), ZAT_OK);
        EXPECT_EQ(value, 10 * task + key);
        EXPECT_EQ(zatOSWRemoveTaskVar(task, key), ZAT_OK);
        EXPECT_EQ(zatOSWRemoveTaskVar(task, key), ZAT_FAILED);
    }
    EXPECT_EQ(heldMemory(), memory);
}

}  // namespace
