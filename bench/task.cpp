/*
 * Tasks, and jobs on tasks that are there, beside plain threads with the same stack and scheduling.
 *
 * All on one processor: how long another one takes to wake up is the machine's part.
 */

#include <zatosw/zatosw.h>

#include "pair.h"
#include "threads.h"

static constexpr size_t threadStack = 81920; /* what a task that asks for the minimum gets */

static uint32_t nothing(uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                        uint32_t, uint32_t, uint32_t) {
    return 0;
}

static void tasks(int operations) {
    for (int i = 0; i < operations; ++i) {
        ZatTaskId task = 0;
        zatOSWCreateJoinTask(&task, "bench", ZAT_INHERIT_PRIORITY, 0, nothing, 1, 0, 0, 0, 0, 0, 0,
                             0, 0, 0, 0);
        zatOSWWaitJoinableTask(task, 1, nullptr);
    }
}

/* A job and the news that it ran. */
static ZatTaskPool pool;
static ZatEventSem ran;

static uint32_t post(uint32_t event, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                     uint32_t, uint32_t, uint32_t) {
    return zatOSWPostEventSem(event);
}

static void jobs(int operations) {
    for (int i = 0; i < operations; ++i) {
        zatOSWQueueTaskPool(pool, "bench", post, ran, 0, 0, 0, 0, 0, 0, 0, 0, 0);
        zatOSWWaitEventSem(ran, ZAT_FOREVER);
    }
}

static void threads(int operations) {
    for (int i = 0; i < operations; ++i) {
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        pthread_attr_setstacksize(&attributes, threadStack);
        pthread_attr_setinheritsched(&attributes, PTHREAD_EXPLICIT_SCHED);
        pthread_t thread;
        pthread_create(
            &thread, &attributes, [](void*) -> void* { return nullptr; }, nullptr);
        pthread_attr_destroy(&attributes);
        pthread_join(thread, nullptr);
    }
}

int main(int count, char** arguments) {
    benchStayOn(0);
    benchRow("task_create_join/pthread_create_join",
             [](auto& state) { benchPair(state, 100, tasks, threads); });
    zatOSWCreateEventSem(&ran, 0, 0);
    zatOSWCreateTaskPool(&pool, "bench", ZAT_INHERIT_PRIORITY, 0, 2, 2, 2, 0, 0);
    benchRow("task_pool_job/pthread_create_join",
             [](auto& state) { benchPair(state, 100, jobs, threads); });
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
}
