/* Partition 0 beside malloc, an explicit partition beside the semaphore operations it needs. */

#include <stdlib.h>
#include <sys/sem.h>
#include <zatosw/zatosw.h>

#include <string>

#include "pair.h"

static constexpr uint32_t blockSize = 64;

static void allocateAndFree(ZatPartition partition, int operations) {
    for (int i = 0; i < operations; ++i) {
        void* block = nullptr;
        zatOSWOrgAllocMemPart(partition, &block, blockSize);
        benchmark::DoNotOptimize(block);
        zatOSWOrgFreeMemPart(partition, block);
    }
}

static void mallocAndFree(int operations) {
    for (int i = 0; i < operations; ++i) {
        void* block = malloc(blockSize);
        benchmark::DoNotOptimize(block);
        free(block);
    }
}

static pthread_mutex_t registryLock = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;
static volatile uint32_t figures[4];

static void hold(int sign) {
    for (int first : {0, 2}) {
        pthread_mutex_lock(&registryLock);
        figures[first] = figures[first] + static_cast<uint32_t>(sign);
        figures[first + 1] = figures[first + 1] + static_cast<uint32_t>(sign);
        pthread_mutex_unlock(&registryLock);
    }
}

/* malloc and free, a header of six words, and the lock held twice on each side. */
__attribute__((noinline)) static void* floorAllocate() {
    auto* header = static_cast<volatile uint32_t*>(malloc(blockSize + 24));
    for (int i = 0; i < 6; ++i)
        header[i] = 0x55555555;
    hold(1);
    return const_cast<uint32_t*>(header);
}

__attribute__((noinline)) static void floorFree(void* block) {
    auto* header = static_cast<volatile uint32_t*>(block);
    uint32_t sum = 0;
    for (int i = 0; i < 6; ++i)
        sum += header[i];
    benchmark::DoNotOptimize(sum);
    free(block);
    hold(-1);
}

static void floorOfHeap(int operations) {
    for (int i = 0; i < operations; ++i) {
        void* block = floorAllocate();
        benchmark::DoNotOptimize(block);
        floorFree(block);
    }
}

static void twoSemopPairs(int operations) {
    static const int semId = [] {
        const int created = semget(IPC_PRIVATE, 1, IPC_CREAT | 0600);
        sembuf set = {0, 1, 0};
        semop(created, &set, 1);
        return created;
    }();
    for (int i = 0; i < 2 * operations; ++i) {
        sembuf take = {0, -1, SEM_UNDO};
        sembuf give = {0, 1, SEM_UNDO};
        semop(semId, &take, 1);
        semop(semId, &give, 1);
    }
}

/* Tasks that are there and sleep. */
class SleepingTasks {
  public:
    explicit SleepingTasks(uint32_t count) : tasks_(count) {
        zatOSWCreateEventSem(&wake_, 0, 0);
        for (ZatTaskId& task : tasks_)
            zatOSWCreateJoinTask(&task, "sleeper", ZAT_INHERIT_PRIORITY, 0, sleepTask, 1, wake_, 0,
                                 0, 0, 0, 0, 0, 0, 0, 0);
    }
    ~SleepingTasks() {
        zatOSWDeleteEventSem(wake_);
        for (const ZatTaskId task : tasks_)
            zatOSWWaitTask(task, 1);
    }

  private:
    static uint32_t sleepTask(uint32_t event, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                              uint32_t, uint32_t, uint32_t, uint32_t) {
        return zatOSWWaitEventSem(event, ZAT_FOREVER);
    }

    ZatEventSem wake_ = 0;
    std::vector<ZatTaskId> tasks_;
};

template <class Peer>
static void heap(benchmark::State& state, uint32_t tasks, Peer peer) {
    zatOSWInit();
    const SleepingTasks sleeping(tasks - 1);
    benchPair(
        state, 2000, [](int n) { allocateAndFree(0, n); }, peer);
}

static void explicitPartition(benchmark::State& state) {
    alignas(8) static char memory[65536];
    ZatPartition partition = 0;
    zatOSWSysCreateMemPart(&partition, memory, sizeof memory);
    benchPair(
        state, 1000, [partition](int n) { allocateAndFree(partition, n); }, twoSemopPairs);
    zatOSWDeleteMemPart(partition);
}

int main(int count, char** arguments) {
    for (const uint32_t tasks : {1u, 100u, 1000u}) {
        const std::string row = "partition_0_" + std::to_string(tasks) + "_tasks";
        benchRow((row + "/floor").c_str(), [tasks](auto& s) { heap(s, tasks, floorOfHeap); });
        benchRow((row + "/malloc").c_str(), [tasks](auto& s) { heap(s, tasks, mallocAndFree); });
    }
    benchRow("explicit_partition_empty/two_semop_pairs", explicitPartition);
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
}
