/*
 * A write into a region log beside the least that one could be: the table's lock for the look-up,
 * the region's for the copy, and the copy. The peers have locks of the library's own kind, as a
 * region has, and the same written down without records and checks.
 */

#include <zatosw/zatosw.h>

#include <cstring>

#include "floor.h"
#include "pair.h"

static constexpr uint32_t areaSize = 64 * 1024;
static constexpr int32_t sharedId = -2;
static constexpr int32_t firstId = 0x4000;
static constexpr ZatClock stamp = {1, 2};
static constexpr char payload[1024] = "thirty-two bytes of this are sent";

struct OwnLock {
    ZatMutexSem mutex = 0;
    OwnLock() { zatOSWCreateMutexSem(&mutex, 0, 1); }
    void take() const { zatOSWRequestMutexSem(mutex, ZAT_FOREVER); }
    void give() const { zatOSWReleaseMutexSem(mutex); }
};

struct BareLock {
    FloorSem semaphore{1};
    void take() { semaphore.wait(); }
    void give() { semaphore.post(); }
};

template <class Lock>
struct FloorRing {
    Lock table;
    Lock region;
    uint32_t at = 0;
    alignas(8) uint8_t area[areaSize] = {};

    void write(const void* data, uint32_t length) {
        table.take();
        table.give();
        region.take();
        const uint32_t size = (length + 27) & ~7u;
        if (at + size > areaSize) at = 0;
        const uint32_t head[5] = {size, size, stamp.seconds, stamp.nanoseconds, length};
        memcpy(area + at, head, sizeof head);
        memcpy(area + at + sizeof head, data, length);
        at += size;
        region.give();
    }
};

static void makeRegion(int32_t id, uint32_t shm) {
    zatGENCreateRgnLog(id, "BENCH", 0xFFFF, areaSize, 0, 1, shm, ZAT_GEN_TEXT_LOG);
    zatGENStartRgnLog(id);
}

template <class Lock>
static void write(benchmark::State& state, int32_t regions, uint32_t length) {
    static FloorRing<Lock> floor;
    for (int32_t i = 0; i < regions; ++i)
        makeRegion(firstId + i, 0);
    benchPair(
        state, 20000,
        [length](int n) {
            for (int i = 0; i < n; ++i)
                zatGENWriteRgnLog(firstId, &stamp, payload, length);
        },
        [length](int n) {
            for (int i = 0; i < n; ++i)
                floor.write(payload, length);
        });
    zatGENTermRgnLog();
}

static void writeShared(benchmark::State& state) {
    static uint8_t copy[32];
    makeRegion(sharedId, 1);
    ZatIpcHandle mutex = 0;
    zatOSWIpcCreateMutexSem("BENCHPEER", &mutex, 0, 1);
    benchPair(
        state, 2000,
        [](int n) {
            for (int i = 0; i < n; ++i)
                zatGENWriteRgnLog(sharedId, &stamp, payload, sizeof copy);
        },
        [mutex](int n) {
            for (int i = 0; i < n; ++i) {
                zatOSWIpcRequestMutexSem(mutex, ZAT_FOREVER);
                memcpy(copy, payload, sizeof copy);
                zatOSWIpcReleaseMutexSem(mutex);
            }
        });
    zatOSWIpcDeleteMutexSem(mutex);
    zatGENTermRgnLog();
}

/* The thread library's locks cost more from here on: what they do in a process with tasks. */
static void startTask(benchmark::State& state) {
    ZatTimer timer = 0;
    zatOSWCreateTimer(&timer, 32768);
    for (auto _ : state)
        state.SetIterationTime(1);
}

static void addWrites(const char* own, const char* bare) {
    benchRow(own, [](auto& s) { write<OwnLock>(s, 1, 32); });
    benchRow(bare, [](auto& s) { write<BareLock>(s, 1, 32); });
}

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    zatOSWInit();
    addWrites("one_thread/32_bytes/floor", "one_thread/32_bytes/bare_locks");
    benchmark::RegisterBenchmark("start_task", startTask)->UseManualTime()->Iterations(1);
    addWrites("tasks/32_bytes/floor", "tasks/32_bytes/bare_locks");
    benchRow("tasks/32_bytes_32_regions/floor", [](auto& s) { write<OwnLock>(s, 32, 32); });
    benchRow("tasks/1024_bytes_32_regions/floor", [](auto& s) { write<OwnLock>(s, 32, 1024); });
    benchRow("shared/32_bytes/shared_mutex", writeShared);
    benchmark::RunSpecifiedBenchmarks();
    zatGENTrcTerm();
}
