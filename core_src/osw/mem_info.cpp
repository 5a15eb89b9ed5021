/* Figures of memory and stacks: measured under the registry lock, printed without it. */

#include "osw/mem_info.h"

#include <stdio.h>
#include <stdlib.h>

#include <algorithm>

#include "clb/list_walk_private.h"
#include "gen/trace/output.h"
#include "osw/errno_private.h"
#include "osw/freed_private.h"
#include "osw/handle_private.h"
#include "osw/lock_private.h"
#include "osw/mem_header_private.h"
#include "osw/records_private.h"
#include "osw/stack_private.h"
#include "osw/task_registry_private.h"

static constexpr uint32_t pageSize = 4096;

static OswMemInfo* allocate() {
    const auto tasks = static_cast<uint32_t>(oswTasks.count);
    return static_cast<OswMemInfo*>(calloc(1, sizeof(OswMemInfo) + tasks * sizeof(zatOSWTaskInfo)));
}

static zatOSWTaskInfo* tasksOf(OswMemInfo* info) {
    return reinterpret_cast<zatOSWTaskInfo*>(info + 1);
}

static void setTotals(uint32_t stackTotal, uint32_t stackUsage) {
    oswTaskFigures.stackTotal = stackTotal;
    oswTaskFigures.stackUsage = stackUsage;
    oswRaisePeak(oswTaskFigures.stackTotalPeak, stackTotal);
    oswRaisePeak(oswTaskFigures.stackUsagePeak, stackUsage);
}

/* Measures all tasks, and notes them where there is room. */
static void measure(OswMemInfo* info) {
    uint32_t total = 0;
    uint32_t usage = 0;
    for (OswTaskRecord* record : zatWalk<OswTaskRecord>(&oswTasks)) {
        oswMeasureStack(*record);
        if (info != nullptr) oswFillTaskInfo(tasksOf(info)[info->taskEntries++], *record);
        record->countedStack = record->stackSize;
        total += record->stackSize;
        usage += (record->stackPeak + pageSize - 1) / pageSize * pageSize;
    }
    setTotals(total, usage);
}

static void copyFigures(OswMemInfo& info) {
    info.memCurBytes = oswMemFigures.curBytes;
    info.memPeakBytes = oswMemFigures.peakBytes;
    info.memCurBlocks = oswMemFigures.curBlocks;
    info.memPeakBlocks = oswMemFigures.peakBlocks;
    info.taskPeak = oswTaskFigures.taskPeak;
    info.stackTotal = oswTaskFigures.stackTotal;
    info.stackTotalPeak = oswTaskFigures.stackTotalPeak;
    info.stackUsage = oswTaskFigures.stackUsage;
    info.stackUsagePeak = oswTaskFigures.stackUsagePeak;
}

ZatStatus zatOSWCreateMemInfo(OswMemInfo** info) {
    const OswKeepErrno keepErrno;
    if (info != nullptr) *info = nullptr;
    OswLock lock;
    if (const ZatStatus error = lock.take(oswRegistryLock); error != ZAT_OK) return error;
    oswCountTasks();
    OswMemInfo* figures = info == nullptr ? nullptr : allocate();
    if (info != nullptr && figures == nullptr) {
        setTotals(0, 0);
        return ZAT_OSW_PART_EXHAUSTED;
    }
    measure(figures);
    if (figures != nullptr) {
        copyFigures(*figures);
        *info = figures;
    }
    return lock.release();
}

void zatOSWDeleteMemInfo(OswMemInfo* info) {
    free(info);
}

struct MemOutput {
    uint32_t component;
    uint32_t type;
    uint32_t level;
};

#define PRINT(to, ...) zatGENTrcPrintf((to).component, (to).type, (to).level, __VA_ARGS__)

/* The formats name their numbers as longs. */
static unsigned long asLong(uint32_t word) {
    return word;
}

static char policyLetter(const zatOSWTaskInfo& task) {
    if (task.priority == 0) return ' ';
    return task.policy == 1 ? 'F' : task.policy == 2 ? 'R' : '?';
}

static int stackUse(const zatOSWTaskInfo& task) {
    if (task.stackRequested == 0) return 0;
    return static_cast<int>(uint64_t{task.stackPeak} * 100 / task.stackRequested);
}

static void printTotals(const MemOutput& to, const OswMemInfo& info) {
    PRINT(to,
          "           cur-used peak-used cur-blks peak-blks tasks pk-tk  stksize pk-stksz stkusage "
          "pk-stkus\n");
    PRINT(to,
          "           -------- --------- -------- --------- ----- ----- -------- -------- -------- "
          "--------\n");
    PRINT(to, "mem usage: %8lu %9lu %8lu %9lu %5d %5d %8lu %8lu %8lu %8lu\n",
          asLong(info.memCurBytes), asLong(info.memPeakBytes), asLong(info.memCurBlocks),
          asLong(info.memPeakBlocks), static_cast<int>(info.taskEntries),
          static_cast<int>(info.taskPeak), asLong(info.stackTotal), asLong(info.stackTotalPeak),
          asLong(info.stackUsage), asLong(info.stackUsagePeak));
}

static void printTask(const MemOutput& to, const zatOSWTaskInfo& task) {
    PRINT(to, "%8d %10lu %10lu %16.*s %1c%3d %8lu %8lu 0x%08lx %8lu %8lu %3d%%\n", task.kernelTid,
          asLong(task.threadId), asLong(task.lockOwner), static_cast<int>(sizeof task.name),
          task.name, policyLetter(task), task.priority, asLong(task.memSize), asLong(task.memPeak),
          asLong(task.stackTop), asLong(task.stackRequested), asLong(task.stackPeak),
          stackUse(task));
}

void zatOSWShowMemInfo(uint32_t component, uint32_t type, uint32_t level) {
    const OswKeepErrno keepErrno;
    const MemOutput to = {component, type, level};
    OswMemInfo* made = nullptr;
    const ZatStatus status = zatOSWCreateMemInfo(&made);
    const OswFreed<OswMemInfo> info(made);
    if (status != ZAT_OK) return;
    printTotals(to, *info);
    PRINT(to,
          " proc-id   task-id   block-id      task-name    prty mem-size mem-peak  stk-addr  "
          "stk-size "
          "stk-peak  use\n");
    PRINT(to,
          "-------- ---------- ---------- ---------------- ---- -------- -------- ---------- "
          "-------- "
          "-------- ----\n");
    for (uint32_t i = 0; i < info->taskEntries; ++i)
        printTask(to, tasksOf(info.get())[i]);
}

void zatOSWSysShowMem(void) {
    const OswKeepErrno keepErrno;
    printf("           cur-used peak-used cur-blks peak-blks\n");
    fflush(stdout);
    printf("           -------- --------- -------- ---------\n");
    fflush(stdout);
    printf("mem usage: %8lu  %8lu %8lu  %8lu\n", asLong(oswMemFigures.curBytes),
           asLong(oswMemFigures.peakBytes), asLong(oswMemFigures.curBlocks),
           asLong(oswMemFigures.peakBlocks));
    fflush(stdout);
}

static ZatStatus copyTasks(OswRecords<OswTaskRecord>& records) {
    const OswLock lock(oswRegistryLock);
    if (!records.canHold(static_cast<uint32_t>(oswTasks.count))) return oswNeedsRoom;
    for (OswTaskRecord* record : zatWalk<OswTaskRecord>(&oswTasks)) {
        oswMeasureStack(*record);
        records.add(*record);
    }
    return ZAT_OK;
}

void zatOSWSysShowStack(void) {
    const OswKeepErrno keepErrno;
    OswRecords<OswTaskRecord> records;
    if (oswGather(records, [&] { return copyTasks(records); }) != ZAT_OK) return;
    printf("  task-id      task-name   mem-size mem-peak  stk-addr  stk-size stk-peak\n");
    printf("---------- --------------- -------- -------- ---------- -------- --------\n");
    for (const OswTaskRecord& task : records)
        printf("%10lu %15.*s %8ld %8ld 0x%08lx %8ld %8ld\n", asLong(task.threadId),
               static_cast<int>(sizeof task.name), task.name, static_cast<long>(task.memSize),
               static_cast<long>(task.memPeak), asLong(task.stackTop),
               static_cast<long>(task.stackSize), static_cast<long>(task.stackPeak));
}

ZatStatus zatOSWGetMemBlockMap(const void* local, uint32_t* current, uint32_t* lowest,
                               uint32_t* highest, uint32_t* sizeBytes) {
    const OswKeepErrno keepErrno;
    if (current == nullptr || lowest == nullptr || highest == nullptr || sizeBytes == nullptr)
        return ZAT_FAILED;
    OswStackMap map;
    if (!oswQueryStack(map)) return ZAT_FAILED;
    *current = oswWord(local);
    *lowest = map.lowest;
    *highest = map.highest;
    *sizeBytes = map.highest - (map.lowest - oswStackGuardSize) - 1;
    return ZAT_OK;
}
