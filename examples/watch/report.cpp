#include "report.h"

#include <stdio.h>
#include <time.h>
#include <zatosw/zatosw.h>

#include "controller.h"

static const char* const taskNames[] = {"mainThread", "control",     "alarm",     "report",
                                        "sampler",    "secondTimer", "eventTimer"};

static void printTime() {
    ZatClock clock = {};
    zatOSWGetClock(&clock);
    const time_t now = static_cast<time_t>(clock.seconds);
    struct tm local = {};
    zatCLBLocalTime_r(&now, &local);
    printf("%02d:%02d:%02d ", local.tm_hour, local.tm_min, local.tm_sec);
}

static void printTask(const zatOSWTaskInfo& task) {
    printf("  %-16.16s %10lu  %3ld  %6lu of %6lu (%3lu %%)  %6lu\n", task.name,
           static_cast<unsigned long>(task.threadId), static_cast<long>(task.priority),
           static_cast<unsigned long>(task.stackPeak),
           static_cast<unsigned long>(task.stackRequested),
           static_cast<unsigned long>(
               task.stackRequested == 0 ? 0 : task.stackPeak * 100 / task.stackRequested),
           static_cast<unsigned long>(task.memSize));
}

static void printTasks() {
    printf("  task                id       prio  stack used, bytes          memory\n");
    for (const char* name : taskNames) {
        ZatTaskId id = 0;
        zatOSWTaskInfo task = {};
        if (zatOSWGetTaskIdByName(&id, name) == ZAT_OK && zatOSWGetTaskInfo(id, &task) == ZAT_OK)
            printTask(task);
    }
}

void printReport(const Shared& shared, uint32_t queueWaiting, uint32_t queueCapacity) {
    const Reading& latest = shared.latest;
    const Second& second = shared.finished;
    printTime();
    if (second.readings == 0) {
        printf("no reading in the last second\n");
    } else {
        const double average = static_cast<double>(second.sum) / second.readings;
        const double memory =
            100.0 * latest.memoryUsedKiB / (latest.memoryTotalKiB == 0 ? 1 : latest.memoryTotalKiB);
        printf("cpu %5.1f %% (%.1f to %.1f)  memory %4.1f %% of %lu MiB  load %.2f %.2f %.2f\n",
               average, static_cast<double>(second.lowest), static_cast<double>(second.highest),
               memory, static_cast<unsigned long>(latest.memoryTotalKiB / 1024),
               static_cast<double>(latest.load[0]), static_cast<double>(latest.load[1]),
               static_cast<double>(latest.load[2]));
    }
    printf("  %u readings, %u lost, queue %lu of %lu%s\n", second.readings, shared.lost,
           static_cast<unsigned long>(queueWaiting), static_cast<unsigned long>(queueCapacity),
           shared.alarm ? ", ALARM" : "");
    printTasks();
    fflush(stdout);
}

void printAlarm(double alarmPercent) {
    printTime();
    printf("ALARM: processor use above %.1f %%\n", alarmPercent);
    fflush(stdout);
}
