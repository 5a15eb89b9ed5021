/* Tasks, their scheduling, and task pools. */

#include "gen/console/commands_private.h"
#include "osw/clock.h"
#include "osw/task_pool.h"
#include "osw/task_priority.h"
#include "osw/task_registry.h"

/* Scheduling policies by number. */
static constexpr const char* policyNames[] = {"OTHER", "FIFO", "RR"};
static constexpr const char* policyLetters[] = {"O", "F", "R"};
static constexpr uint32_t policies = 3;

/* The policy of a letter; none when it is another one. */
static uint32_t readPolicy(const char* word) {
    uint32_t policy = 0;
    while (policy < policies && !genIsWord(word, policyLetters[policy]))
        ++policy;
    return policy;
}

void genRunScheduler(GenCommandLine& line) {
    uint32_t policy = 0;
    if (const char* word = line.nextWord()) {
        /* Another letter is refused there. */
        zatOSWSetTaskScheduler(readPolicy(word));
    } else if (zatOSWGetTaskScheduler(&policy) == ZAT_OK && policy < policies) {
        genSay("Current default schedule policy = %s\n", policyNames[policy]);
    }
}

/* The task of an id or a name. A number that is no task's id is not asked about any further: the
 * thread library takes it for an address. */
static bool findTask(const char* word, ZatTaskId& task) {
    zatOSWTaskInfo info;
    if (genReadUnsigned(word, task) && task != 0 && zatOSWGetTaskInfo(task, &info) == ZAT_OK)
        return true;
    return word != nullptr && zatOSWGetTaskIdByName(&task, word) == ZAT_OK;
}

void genRunPriority(GenCommandLine& line) {
    ZatTaskId task = 0;
    int32_t priority = 0;
    if (!findTask(line.nextWord(), task)) return;
    const char* word = line.nextWord();
    if (word == nullptr) {
        if (zatOSWGetTaskPriority(task, &priority) == ZAT_OK)
            genSay("Task (%lu) priority = %d\n", static_cast<unsigned long>(task),
                   static_cast<int>(priority));
        return;
    }
    if (!genReadNumber(word, priority)) return;
    const char* letter = line.nextWord();
    if (letter == nullptr)
        zatOSWSetTaskPriority(task, priority);
    else if (const uint32_t policy = readPolicy(letter); policy < policies)
        zatOSWSetTaskPriorityWithScheduler(task, priority, policy);
}

void genRunStackMonitorOn(GenCommandLine&) {
    zatOSWSetStackMonitor(1);
}

void genRunStackMonitorOff(GenCommandLine&) {
    zatOSWSetStackMonitor(0);
}

void genRunLockMonitorOn(GenCommandLine&) {
    zatOSWSetLockMonitor(1);
}

void genRunLockMonitorOff(GenCommandLine&) {
    zatOSWSetLockMonitor(0);
}

void genRunPools(GenCommandLine&) {
    zatOSWShowTaskPool(genConsole.component, genConsoleLevel);
}

void genRunChangePool(GenCommandLine& line) {
    static constexpr uint32_t limitCount = 4;
    int32_t number = 0;
    if (!genReadNumber(line.nextWord(), number)) return;
    int32_t limits[limitCount] = {0, ZAT_POOL_UNLIMITED, 0, 0}; /* min, max, rng, step */
    uint32_t apply = 0;
    for (int32_t& limit : limits) {
        const char* word = line.nextWord();
        if (word == nullptr) break;
        apply = genReadNumber(word, limit);
        if (apply == 0) break;
    }
    zatOSWChangeTaskPool(number, apply, limits[0], limits[1], limits[2], limits[3]);
}

void genRunWait(GenCommandLine& line) {
    int32_t milliseconds = 0;
    if (genReadNumber(line.nextWord(), milliseconds))
        zatOSWSleep(static_cast<uint32_t>(milliseconds));
}
