// Regions that processes share: several writers and a reader, and writers that are killed.

#include "gen/rgnlog/records.h"
#include "osw/ipc/peer.h"

#include <atomic>

static ZatStatus make(uint32_t area, const char* name) {
    return zatGENCreateRgnLog(1, name, 0xFFFF, int32_t(area), 0, 0, 1, 0);
}
static uint32_t start(uint32_t area, uint32_t) {
    return make(area, "shared") + zatGENStartRgnLog(1);
}
/** Leaves what a writer does that is killed before it has shortened its record. */
static uint32_t lockAndSpoil(uint32_t, uint32_t) {
    const ZatStatus status = zatGENLockRgnLog(1);
    const RgnLogInfo& info = *zatGENGetRgnLogInfo(1);
    auto* words = reinterpret_cast<uint32_t*>(info.data);
    const uint32_t size = info.header->size, cur = info.header->cur;
    const uint32_t newest = (cur + size - words[cur / 4]) % size;
    if (info.header->full == 0) words[newest / 4 + 1] += words[cur / 4 + 1];
    return status;
}
static uint32_t runs(uint32_t, uint32_t) {
    return zatGENGetRgnLogInfo(1)->header->run;
}
static uint32_t end(uint32_t, uint32_t) {
    return zatGENDeleteRgnLog(1);
}
/** Each text tells its own length. */
static uint32_t write(uint32_t count, uint32_t) {
    uint32_t failures = 0;
    const ZatClock time = {1, 2};
    for (uint32_t i = 0; i < count; ++i) {
        const std::string text(1 + i % 120, char(1 + i % 120));
        failures += zatGENWriteRgnLog(1, &time, text.data(), uint32_t(text.size())) != ZAT_OK;
    }
    return failures;
}
static uint32_t writeForEver(uint32_t area, uint32_t) {
    return start(area, 0) + write(~0u, 0);
}

/** The number of records, which must be whole. */
static size_t look() {
    EXPECT_EQ(zatGENLockRgnLog(1), ZAT_OK);
    const auto records = recordsOf(1);
    EXPECT_EQ(zatGENUnlockRgnLog(1), ZAT_OK);
    for (const std::string& text : records)
        EXPECT_EQ(text, std::string(text.size(), char(text.size())));
    return records.size();
}

/** System V objects that stay when all has ended: the lock of the system partition. */
static int objectsToStay() {
    Peer peer;
    EXPECT_EQ(peer(start, 8) + peer(end), ZAT_OK);
    peer.leave();
    return systemVObjects();
}

TEST(SharedRegion, IsWhatItsFirstCreatorMade) {
    const int toStay = objectsToStay();
    Peer peer;
    ASSERT_EQ(peer(start, 1001) + peer(write, 10), 0u);
    ZatIpcHandle memory = 0;
    ASSERT_EQ(zatOSWIpcCreateMemPart(&memory, "other", 64), ZAT_OK);
    const int objects = systemVObjects();
    const auto files = keyFiles();
    for (const char* name : {"shared", "other"})
        EXPECT_EQ(make(1016, name), ZAT_IPC_BAD_PARAMETERS);
    EXPECT_TRUE(systemVObjects() == objects && keyFiles() == files) << "nothing is left";
    ASSERT_EQ(make(1008, "shared"), ZAT_OK) << "its rounded size";
    EXPECT_EQ(look(), 10u);
    EXPECT_EQ(zatGENStopRgnLog(1) + peer(write, 9), 0u);
    EXPECT_EQ(look(), 10u);
    EXPECT_EQ(zatGENStartRgnLog(1) + peer(write, 1) + peer(end), 0u);
    EXPECT_TRUE(look() == 11 && runs(0, 0) == 0) << "the others' is stopped";
    EXPECT_EQ(end(0, 0) + zatOSWIpcDeleteMemPart(memory) + peer(start, 64), 0u) << "a new one";
    peer.leave();
    EXPECT_TRUE(zatOSWTerm() == ZAT_OK && systemVObjects() == toStay);
}

TEST(SharedRegion, GoesWithTheLibraryAndRunsOnForOthers) {
    SKIP_IF_THREADS_ARE_FOLLOWED(); /* the checker does not follow the lock that they share */
    Peer peer;
    ASSERT_EQ(start(1000, 0) + peer(start, 1000) + peer(write, 3), 0u);
    std::atomic<bool> ends{false};
    Worker writer([&] {
        while (!ends)
            write(100, 0);
        return ZatStatus{ZAT_OK};
    });
    EXPECT_TRUE(waitFor([] { return look() > 3; }));
    EXPECT_EQ(zatOSWTerm(), ZAT_OK);
    EXPECT_EQ(zatGENGetRgnLogInfo(1)->id, -1);
    ends = true;
    EXPECT_EQ(writer.join(), ZAT_OK);
    EXPECT_EQ(peer(runs), 1u);
    EXPECT_EQ(peer(end), ZAT_OK);
}

TEST(SharedRegion, IsLeftAsItIsByADeletedCreatorOrDeleter) {
    SKIP_IF_THREADS_ARE_FOLLOWED();
    alarm(100);
    ASSERT_EQ(start(1000, 0) + zatGENLockRgnLog(1), 0u);
    const int objects = systemVObjects();
    const auto calls = {+[] { return zatGENCreateRgnLog(2, "shared", 0, 1000, 0, 0, 1, 0); },
                        +[] { return zatGENDeleteRgnLog(1); }};
    for (const auto call : calls) {
        Worker waiting(call);
        EXPECT_TRUE(blockedReach(zatGENGetRgnLogInfo(1)->lock, ZAT_IPC_TYPE_MUTEX, 1));
        waiting.remove();
        EXPECT_EQ(zatGENGetRgnLogInfo(2)->id, -1);
    }
    EXPECT_EQ(systemVObjects(), objects);
    EXPECT_EQ(zatGENUnlockRgnLog(1) + write(3, 0), 0u);
    EXPECT_EQ(look(), 3u);
    EXPECT_EQ(end(0, 0), 0u);
}

TEST(SharedRegion, IsNotMadeOfSomebodyElsesBlocks) {
    ZatIpcHandle memory = 0;
    ASSERT_EQ(zatOSWIpcCreateMemPart(&memory, "shared", 1128), ZAT_OK);
    for (const auto& [size, numbers] : {std::pair(20u, 2), {1000u, 2}, {20u, 1}, {20u, 0}}) {
        void* blocks[2];
        for (int32_t i = 0; i < 2; ++i) {
            const uint32_t wanted = i == 0 ? size : 1020 - size;
            ASSERT_EQ(zatOSWIpcAllocMemPart(memory, &blocks[i], wanted - 8), ZAT_OK);
            if (i < numbers) zatOSWIpcRegisterBlockIdMemPart(memory, blocks[i], i);
        }
        EXPECT_EQ(make(1000, "shared"), numbers == 0 ? ZAT_OK : ZatStatus{ZAT_IPC_BAD_PARAMETERS})
            << size << ", " << numbers << " numbered: those of a creator that was killed are freed";
        for (void* block : blocks)
            zatOSWIpcFreeMemPart(memory, block);
    }
}

TEST(SharedRegion, OutlivesKilledWriters) {
    std::mt19937 random(testSeed());
    /* Room for the longest text: one that was cut would not tell its length. */
    const auto area = static_cast<uint32_t>(144 + random() % 60 * 8);
    const int toStay = objectsToStay();
    ASSERT_EQ(start(area, 0), 0u);
    Peer other;
    other.begin(writeForEver, area);
    for (int i = 0; i < (isSlow() ? 12 : 200) && !HasFailure(); ++i) {
        Peer writer;
        if (i % 4 < 2) {
            EXPECT_EQ(writer(start, area) + writer(lockAndSpoil), 0u);
        } else {
            writer.begin(writeForEver, area);
            usleep(useconds_t(random() % (isSlow() ? 400000 : 20000)));
        }
        const bool isReaped = i % 2 == 0;
        isReaped ? writer.kill() : writer.signal(SIGKILL);
        const Stopwatch stopwatch;
        EXPECT_EQ(write(1, 0), 0u);
        EXPECT_GT(look(), 0u);
        EXPECT_LT(stopwatch.elapsedMs(), isSlow() ? 8000u : 2000u);
        if (!isReaped) writer.kill();
    }
    other.kill();
    EXPECT_EQ(write(1, 0) + end(0, 0) + zatOSWTerm(), 0u);
    EXPECT_EQ(systemVObjects(), toStay);
}
