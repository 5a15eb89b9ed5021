/*
 * soak SECONDS: two processes use objects of all kinds, their own and shared ones, and one of them
 * is killed again and again. After a warm-up the other one must not grow: not in memory, open files
 * or threads, nor the System V objects of both. Prints the figures each ten seconds.
 */

#include <signal.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>

#include "osw/ipc/load.h"
#include "osw/ipc/peer.h"

namespace {

/** Bytes that the C library may keep back more or less of, in kilobytes. */
constexpr long playKb = 1024;

uint32_t entry(uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
               uint32_t, uint32_t) {
    return 0;
}

void useTask() {
    ZatTaskId task = 0;
    zatOSWCreateJoinTask(&task, "soaked", ZAT_INHERIT_PRIORITY, 16384, entry, 1, 0, 0, 0, 0, 0, 0,
                         0, 0, 0, 0);
    zatOSWWaitJoinableTask(task, 1, nullptr);
}

void useOwnQueue() {
    ZatMsgQueue queue = 0;
    char message[messageSize] = "a message";
    zatOSWCreateMsgQueue(&queue, capacity, messageSize, ZAT_MSG_QUEUE_GROWABLE);
    for (uint32_t i = 0; i < 2 * capacity; ++i)
        zatOSWSendMsgQueue(queue, message, messageSize, 0, 0);
    zatOSWReceiveMsgQueue(queue, message, messageSize, 0);
    zatOSWDeleteMsgQueue(queue);
}

void useTimer() {
    ZatTimer timer = 0;
    ZatEventSem event = 0, cancel = 0;
    zatOSWCreateTimer(&timer, 16384);
    zatOSWStartTimer(timer, 1, onTimer, 0);
    zatOSWCreateEventSem(&event, 0, 0);
    zatOSWStartEventTimer(&cancel, 1, event);
    zatOSWWaitEventSem(event, 1000);
    zatOSWPostEventSem(cancel);
    zatOSWDeleteEventSem(event);
    zatOSWDeleteTimer(timer);
}

void createRegion(int32_t id, bool isShared) {
    zatGENCreateRgnLog(id, "soak", 0xFFFF, 1000, 0, 1, isShared, 0);
    zatGENStartRgnLog(id);
}

void writeRegion(int32_t id) {
    const ZatClock time = {1, 2};
    zatGENWriteRgnLog(id, &time, "a line", 6);
}

void useOwnRegion() {
    createRegion(7, false);
    writeRegion(7);
    zatGENDeleteRgnLog(7);
}

void useAny(const Objects& shared, ZatTaskPool pool, uint32_t choice) {
    switch (choice % 64) {
    case 0:
        return useTask();
    case 1:
        return useOwnQueue();
    case 2:
        return useTimer();
    case 3:
        return useOwnRegion();
    case 4:
        return writeRegion(8);
    case 5:
        zatOSWQueueTaskPool(pool, "job", entry, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
        return;
    default:
        return useOne(shared, choice / 64);
    }
}

/** There as long as the process that is to be killed is at work. */
const std::string sign = std::string(getenv("TMPDIR")) + "/at-work";

/** Uses everything for a time; one without end is ended by a signal. What is shared is made first:
 * a killed user counts for ever. */
void work(uint32_t seed, uint64_t limitMs) {
    Objects shared("soak");
    createRegion(8, true);
    if (limitMs == UINT64_MAX) std::ofstream(sign) << '\n';
    ZatTaskPool pool = 0;
    zatOSWCreateTaskPool(&pool, "pool", ZAT_INHERIT_PRIORITY, 16384, 1, 0, 3, 0, 0);
    std::mt19937 random(seed);
    for (const Stopwatch watch; watch.elapsedMs() < limitMs;)
        useAny(shared, pool, uint32_t(random()));
    zatOSWDeleteTaskPool(pool);
    zatGENDeleteRgnLog(8);
    shared.close();
}

const SelfRole worker("soak-worker", [](const std::vector<std::string>& arguments) {
    work(uint32_t(std::stoul(arguments[0])), UINT64_MAX);
    return 0;
});

struct Figures {
    long memoryKb, files, threads, systemV;

    bool exceeds(const Figures& others) const {
        return (!isSlow() && memoryKb > others.memoryKb + playKb) || files > others.files ||
               threads > others.threads || systemV > others.systemV;
    }
};

long entriesOf(const char* directory) {
    return std::distance(std::filesystem::directory_iterator(directory), {});
}

Figures measure() {
    /* Tasks end in their own time. */
    static const long threads = entriesOf("/proc/self/task");
    waitFor([] { return entriesOf("/proc/self/task") <= threads; }, 3000);
    std::ifstream status("/proc/self/status");
    std::string word;
    while (status >> word && word != "VmRSS:") {
    }
    Figures now = {0, entriesOf("/proc/self/fd"), entriesOf("/proc/self/task"), systemVObjects()};
    status >> now.memoryKb;
    return now;
}

/** Both at work, until one of them is killed and the other one has done. */
void runRound(std::mt19937& random) {
    const pid_t other = spawnSelf("soak-worker", {std::to_string(uint32_t(random()))});
    work(uint32_t(random()), 500 + random() % 1000);
    EXPECT_TRUE(waitFor([] { return std::filesystem::exists(sign); }));
    killAndReap(other);
    std::filesystem::remove(sign);
}

}  // namespace

int main(int argc, char** argv) {
    if (const int status = runRole(argc, argv); status >= 0) return status;
    const uint64_t limitMs = 1000 * strtoull(argc > 1 ? argv[1] : "300", nullptr, 10);
    std::mt19937 random(testSeed());
    Figures first = measure(), now = first;
    const Stopwatch watch;
    uint64_t nextMs = 0;
    for (int kills = 1; watch.elapsedMs() < limitMs && !testing::Test::HasFailure(); ++kills) {
        runRound(random);
        now = measure();
        const bool isWarm = watch.elapsedMs() > limitMs / 4 && kills > 1;
        if (!isWarm) first = now;
        if (watch.elapsedMs() < nextMs) continue;
        nextMs += 10000;
        printf("%4d s: memory %ld kB, files %ld, threads %ld, System V %ld, kills %d%s\n",
               int(watch.elapsedMs() / 1000), now.memoryKb, now.files, now.threads, now.systemV,
               kills, isWarm ? "" : " (warming up)");
        fflush(stdout);
        if (isWarm && now.exceeds(first)) break;
    }
    const bool grows = now.exceeds(first);
    puts(grows ? "It grows." : "It does not grow.");
    return grows || testing::Test::HasFailure();
}
