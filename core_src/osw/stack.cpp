/* Stack queries, cleaning and measuring; see stack_private.h. */

#include "osw/stack_private.h"

#include <pthread.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/sysinfo.h>
#include <time.h>

#include <algorithm>
#include <atomic>

#include "osw/handle_private.h"

static constexpr uint32_t pageSize = 4096;

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
 * Zero bytes from the low end of a piece of a stack. Reads another thread's stack while that thread
 * runs: a moment's figure is all that is asked for, and the memory tools are told to look away.
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

/*
 * Whether a page that is not in memory was never used: it may also have been swapped out. Asked
 * once a second at most, since the kernel looks through its devices for the answer.
 */
static bool absentMeansUnused() {
    static std::atomic<uint32_t> answer; /* the second it was given in, and the answer in bit 0 */
    timespec now;
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    const uint32_t second = static_cast<uint32_t>(now.tv_sec) << 1;
    uint32_t known = answer.load(std::memory_order_relaxed);
    if ((known & ~1u) != second) {
        struct sysinfo info;
        known = second | (sysinfo(&info) == 0 && info.totalswap == 0 ? 1u : 0u);
        answer.store(known, std::memory_order_relaxed);
    }
    return (known & 1) != 0;
}

/*
 * Bytes from the low end on that lie in pages the thread has never touched, as far as the kernel
 * tells: counting their zeros would make the kernel provide them first.
 */
static uint32_t countUntouched(uint32_t low, uint32_t sizeBytes) {
    unsigned char resident[64];
    constexpr uint32_t step = sizeof resident * pageSize;
    if (low % pageSize != 0 || !absentMeansUnused()) return 0;
    for (uint32_t at = 0; at < sizeBytes; at += step) {
        const uint32_t length = std::min(step, sizeBytes - at);
        if (mincore(reinterpret_cast<void*>(low + at), length, resident) != 0) return at;
        const uint32_t pages = (length + pageSize - 1) / pageSize;
        const auto* first = std::find_if(resident, resident + pages,
                                         [](unsigned char page) { return (page & 1) != 0; });
        if (first != resident + pages)
            return at + static_cast<uint32_t>(first - resident) * pageSize;
    }
    return sizeBytes;
}

uint32_t oswStackPeak(uint32_t highest, uint32_t sizeBytes) {
    const uint32_t low = highest - sizeBytes;
    const uint32_t untouched = countUntouched(low, sizeBytes);
    const uint32_t rest = sizeBytes - untouched;
    return rest - countZeroBytes(reinterpret_cast<uint8_t*>(low + untouched), rest);
}
