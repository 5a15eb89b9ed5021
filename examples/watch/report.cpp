#include "report.h"

#include <stdio.h>
#include <time.h>

#include "shared.h"
#include "trace.h"

static const char* const taskNames[] = {"mainThread", "control",     "alarm",     "report",
                                        "answer",     "secondTimer", "eventTimer"};

struct TimeText {
    char text[16];
};

static TimeText timeText() {
    ZatClock clock = {};
    zatOSWGetClock(&clock);
    const time_t now = static_cast<time_t>(clock.seconds);
    struct tm local = {};
    zatCLBLocalTime_r(&now, &local);
    TimeText result;
    snprintf(result.text, sizeof result.text, "%02u:%02u:%02u", unsigned(local.tm_hour) % 24,
             unsigned(local.tm_min) % 60, unsigned(local.tm_sec) % 61);
    return result;
}

static void printTask(const zatOSWTaskInfo& task) {
    watchSay(levelReport, "  %-16.16s %10lu  %3ld  %6lu of %6lu (%3lu %%)  %6lu\n", task.name,
             static_cast<unsigned long>(task.threadId), static_cast<long>(task.priority),
             static_cast<unsigned long>(task.stackPeak),
             static_cast<unsigned long>(task.stackRequested),
             static_cast<unsigned long>(
                 task.stackRequested == 0 ? 0 : task.stackPeak * 100 / task.stackRequested),
             static_cast<unsigned long>(task.memSize));
}

static void printTasks() {
    watchSay(levelReport,
             "  task                id       prio  stack used, bytes          memory\n");
    for (const char* name : taskNames) {
        ZatTaskId id = 0;
        zatOSWTaskInfo task = {};
        if (zatOSWGetTaskIdByName(&id, name) == ZAT_OK && zatOSWGetTaskInfo(id, &task) == ZAT_OK)
            printTask(task);
    }
}

static void printSecond(const Reading& latest, const Second& second) {
    const double average = static_cast<double>(second.sum) / second.readings;
    const double memory =
        100.0 * latest.memoryUsedKiB / (latest.memoryTotalKiB == 0 ? 1 : latest.memoryTotalKiB);
    watchSay(levelReport,
             "%s cpu %5.1f %% (%.1f to %.1f)  memory %4.1f %% of %lu MiB  load %.2f %.2f %.2f\n",
             timeText().text, average, static_cast<double>(second.lowest),
             static_cast<double>(second.highest), memory,
             static_cast<unsigned long>(latest.memoryTotalKiB / 1024),
             static_cast<double>(latest.load[0]), static_cast<double>(latest.load[1]),
             static_cast<double>(latest.load[2]));
}

void printReading(const Board& board) {
    if (board.finished.readings > 0)
        printSecond(board.latest, board.finished);
    else
        watchSay(levelReport, "%s no reading in the last second\n", timeText().text);
}

void printReport(const Board& board, uint32_t queueWaiting, uint32_t queueCapacity) {
    printReading(board);
    watchSay(levelReport, "  %u readings, %u lost, queue %lu of %lu%s\n", board.finished.readings,
             board.lost, static_cast<unsigned long>(queueWaiting),
             static_cast<unsigned long>(queueCapacity), board.alarm != 0 ? ", ALARM" : "");
    printTasks();
}

void printAlarm(double alarmPercent) {
    watchSay(levelTrouble, "%s ALARM: processor use above %.1f %%\n", timeText().text,
             alarmPercent);
}
