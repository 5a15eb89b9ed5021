/* Stack queries, cleaning, measuring and the warning at a task's end; see stack_private.h. */

#include "osw/stack_private.h"

#include <pthread.h>
#include <string.h>
#include <sys/mman.h>

#include "osw/handle_private.h"
#include "osw/report_private.h"
#include "osw/task_registry_private.h"

static constexpr uint32_t pageSize = 4096;
static constexpr uint32_t warnAbovePercent = 79;

bool oswQueryStack(OswStackMap& map) {
    pthread_attr_t attributes;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0) return false;
    void* base = nullptr;
    size_t size = 0;
    const bool known = pthread_attr_getstack(&attributes, &base, &size) == 0;
    pthread_attr_destroy(&attributes);
    if (!known) return false;
    map.current = oswWord(&attributes);
    map.lowest = oswWord(base) + oswStackGuardSize;
    map.highest = oswWord(base) + static_cast<uint32_t>(size);
    return true;
}

/* Not inlined: the frame address must be that of a small frame right above what is cleared. */
__attribute__((noinline)) void oswCleanStack(const OswStackMap& map) {
    constexpr uint32_t ownFrameSize = 256;
    const uint32_t end = oswWord(__builtin_frame_address(0)) - ownFrameSize;
    const uint32_t wholePagesEnd = end & ~(pageSize - 1);
    if (wholePagesEnd <= map.lowest) return;
    /* Dropped pages read as zero without being touched. */
    auto* low = reinterpret_cast<void*>(map.lowest);
    if (madvise(low, wholePagesEnd - map.lowest, MADV_DONTNEED) != 0)
        memset(low, 0, wholePagesEnd - map.lowest);
    /* The rest of the page in use, last and without a call, which would leave a frame behind. */
    for (uint32_t at = wholePagesEnd; at < end; at += sizeof(uint32_t))
        *reinterpret_cast<volatile uint32_t*>(at) = 0;
}

/*
 * Reads another thread's stack while that thread runs: a moment's figure is all that is asked for,
 * and the memory tools are told to look away.
 */
__attribute__((noinline, no_sanitize("address"))) static uint32_t countZeroBytes(
    const uint8_t* low, uint32_t sizeBytes) {
    uint32_t zero = 0;
    /* Stacks begin on a word: whole words first, then the bytes of the last one. */
    while (zero + sizeof(uint32_t) <= sizeBytes &&
           *reinterpret_cast<const uint32_t*>(low + zero) == 0)
        zero += sizeof(uint32_t);
    while (zero < sizeBytes && low[zero] == 0)
        ++zero;
    return zero;
}

void oswMeasureStack(OswTaskRecord& record) {
    if (record.stackTop == 0 || record.ended) return;
    const auto* low = reinterpret_cast<const uint8_t*>(record.stackTop - record.stackSize);
    record.stackPeak = record.stackSize - countZeroBytes(low, record.stackSize);
}

OswStackWarning oswCheckStack(OswTaskRecord& record) {
    OswStackWarning warning = {};
    if (record.stackTop == 0) return warning;
    oswMeasureStack(record);
    if (record.stackSize == 0) return warning;
    warning.percent = static_cast<uint32_t>(uint64_t{record.stackPeak} * 100 / record.stackSize);
    if (warning.percent <= warnAbovePercent) return warning;
    warning.due = true;
    warning.task = record.threadId;
    oswCopyTaskName(warning.name, record);
    warning.size = record.stackSize;
    warning.peak = record.stackPeak;
    return warning;
}

void oswReportStack(const OswStackWarning& warning) {
    if (!warning.due) return;
    oswReport(OSW_REPORT_WARNING,
              "<Warning>:StackOverflow:taskid=%lu(%s) size=%lu peak=%lu(%3d%%)\n",
              static_cast<unsigned long>(warning.task), warning.name,
              static_cast<unsigned long>(warning.size), static_cast<unsigned long>(warning.peak),
              static_cast<int>(warning.percent));
}
