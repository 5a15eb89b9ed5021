// The calls on regions: sizes, states, masks, names, failures, and tasks that use them at once.

#include "gen/rgnlog/records.h"
#include "osw/ipc/peer.h"
#include "osw/mutex_sem_private.h"

namespace {

using namespace std::string_literals;

ZatStatus make(int32_t id, const std::string& name = "log", uint32_t shm = 0, uint32_t fmt = 0) {
    return zatGENCreateRgnLog(id, name.c_str(), 0xFFFF, 256, 8, 1, shm, fmt) +
           zatGENStartRgnLog(id);
}
ZatStatus write(int32_t id, const std::string& text) {
    const ZatClock time = {1, 2};
    const RgnLogPiece pieces[] = {
        {text.data(), 1}, {nullptr, 0}, {text.data() + 1, text.size() - 1}};
    return zatGENWriteRgnLogs(id, &time, pieces, text.empty() ? 0 : 3);
}
bool isAwaited(int32_t id, int32_t count) {
    return waitersReach(recordOf<OswMutexSem>(zatGENGetRgnLogInfo(id)->lock), count);
}

TEST(Region, HasTheSizeThatIsAskedFor) {
    for (const auto& [num, len, size, fmt] :
         {std::array{10, 44, 640, 0}, {10, -1, 16, 1}, {64, 0, 64, 0}, {1, 1, 24, 0}}) {
        ASSERT_EQ(zatGENInitRgnLog(-5, "log", 0x4711FFFE, num, len, 0, 0), ZAT_OK);
        const RgnLogInfo info = *zatGENGetRgnLogInfo(-5);
        RgnLogHeader header = {};
        EXPECT_EQ(zatGENGetRgnHeader(-5, &header), ZAT_OK);
        EXPECT_TRUE(info.id == -5 && info.mask == 0xFFFE && int(info.fmt) == fmt && !info.lock);
        EXPECT_TRUE(int(header.size) == size && header.run + header.cur + header.full == 0);
        EXPECT_EQ(std::max(header.maxEntry, 0), std::max(len, 0));
        EXPECT_EQ(zatGENDeleteRgnLog(-5), ZAT_OK);
    }
    const uint32_t held = heldMemory();
    for (const int32_t num : {0, -1, INT32_MIN, INT32_MAX, 0x10000000})
        for (const int32_t len : {44, INT32_MAX, num == 0x10000000 ? 44 : 0})
            EXPECT_EQ(zatGENInitRgnLog(5, "log", 0, num, len, 1, num & 1), ZAT_FAILED) << num;
    EXPECT_EQ(zatGENInitRgnLog(-1, "log", 0, 64, 0, 1, 0), ZAT_FAILED);
    EXPECT_TRUE(heldMemory() == held && zatGENGetRgnLogInfo(5)->id == -1);
}

TEST(Region, RecordsWhileItIsStarted) {
    uint32_t word = 0, position = ZAT_GEN_OLDEST, length = 4711;
    ASSERT_EQ(zatGENCreateRgnLog(7, "log", 0, 256, 8, 0, 0, 0) + write(7, "dropped"), ZAT_OK);
    for (const int32_t size : {256, 0})
        EXPECT_EQ(zatGENCreateRgnLog(7, "other", 0, size, 8, 0, 0, 0), ZAT_GEN_LOG_EXISTS);
    EXPECT_EQ(zatGENStartRgnLog(7) + write(7, "one") + write(7, "two and three"), ZAT_OK);
    EXPECT_EQ(write(7, "") + zatGENStopRgnLog(7) + write(7, "dropped") + write(8, "x"), ZAT_OK);
    EXPECT_EQ(recordsOf(7), (Lines{"one", "two and "}));
    EXPECT_EQ(zatGENReadRgnLog(7, &word, 3, &length, &position), 0);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(zatGENReadRgnLog(8, &word, 4, &length, &position), -1);
    for (const auto call :
         {zatGENStartRgnLog, zatGENStopRgnLog, zatGENLockRgnLog, zatGENUnlockRgnLog,
          zatGENDeleteRgnLog, zatGENSetAllRgnLogMask, zatGENClrZeroRgnLogMask})
        EXPECT_EQ(call(8), ZAT_GEN_NO_LOG);
    EXPECT_EQ(zatGENSetRgnLogMask(8, 16), ZAT_GEN_NO_LOG);
}

TEST(Region, HasAMaskAndAName) {
    for (const int32_t id : {3, INT32_MIN, 0x2002, 0, INT32_MAX, -2})
        ASSERT_EQ(make(id, id == 3 || id == 0 ? "same" : "other", 0, id == 0), ZAT_OK);
    for (const int32_t id : {INT32_MIN, -2, 0, 3, 0x2002, INT32_MAX})
        EXPECT_EQ(zatGENGetRgnLogInfo(id)->id, id);
    int32_t found = 4711;
    EXPECT_EQ(zatGENGetRgnIDByName(&found, "none"), ZAT_GEN_NO_LOG);
    EXPECT_EQ(zatGENGetRgnIDByName(&found, "same") + uint32_t(found), ZAT_OK);
    const RgnLogInfo& info = *zatGENGetRgnLogInfo(0);
    EXPECT_TRUE(zatGENClrRgnLogMask(0, 15) == ZAT_OK && info.mask == 0x7FFF);
    EXPECT_EQ(zatGENClrZeroRgnLogMask(0) + zatGENSetRgnLogMask(0, 4), ZAT_OK);
    for (const uint32_t bit : {16u, 31u, 32u, 36u, ~0u}) {
        EXPECT_TRUE(zatGENSetRgnLogMask(0, bit) == ZAT_OK && info.mask == 0x10) << bit;
        EXPECT_TRUE(zatGENClrRgnLogMask(0, bit) == ZAT_OK && info.mask == 0x10) << bit;
    }
    EXPECT_EQ(zatGENReallocRgnLog("same", 0, 5, 0, 0), ZAT_FAILED);
    EXPECT_EQ(info.header->size, 256u) << "it stays";
    EXPECT_EQ(write(0, "gone") + zatGENReallocRgnLog(info.name, 50, 5, 0, 0), ZAT_OK);
    const RgnLogInfo now = *zatGENGetRgnLogInfo(0);
    EXPECT_TRUE(now.mask == 0x10 && now.lock == 0 && now.fmt == 1 && now.name == "same"s);
    EXPECT_TRUE(now.header->size == 56 && now.header->run == 0 && recordsOf(0).empty());
    EXPECT_TRUE(zatGENDeleteRgnLog(0) == ZAT_OK && info.id == -1 && info.mask == 0);
    EXPECT_TRUE(zatGENTermRgnLog() == ZAT_OK && zatGENGetRgnLogInfo(3)->id == -1);
}

TEST(Region, LeavesNothingBehindButARecordForAnother) {
    const std::string names[] = {"short", std::string(5000, 'n'), std::string(5000, 'm')};
    for (const std::string& name : names) {
        const uint32_t held = heldMemory();
        EXPECT_EQ(make(1, name) + write(1, "a text"), ZAT_OK);
        EXPECT_EQ(zatGENGetRgnLogInfo(1)->name, name);
        EXPECT_EQ(recordsOf(1), Lines{"a text"});
        EXPECT_EQ(zatGENTermRgnLog(), ZAT_OK);
        EXPECT_TRUE(name != names[2] || heldMemory() == held);
    }
}

TEST(RegionLock, IsHeldUntilEachTakeIsGivenBack) {
    ASSERT_EQ(make(1) + zatGENLockRgnLog(1) + zatGENLockRgnLog(1), ZAT_OK);
    Worker writer([] { return write(1, "after"); });
    EXPECT_EQ(write(1, "before") + zatGENUnlockRgnLog(1), ZAT_OK);
    EXPECT_TRUE(isAwaited(1, 1) && recordsOf(1).size() == 1);
    EXPECT_EQ(zatGENUnlockRgnLog(1) + writer.join(), ZAT_OK);
    EXPECT_EQ(zatGENUnlockRgnLog(1), ZAT_FAILED) << "not taken";
    EXPECT_EQ(recordsOf(1), (Lines{"before", "after"}));
}

TEST(RegionLock, OfADeletedRegionIsWaitedForNoMore) {
    alarm(10);
    ASSERT_EQ(make(1) + zatGENLockRgnLog(1), ZAT_OK);
    Worker writer([] { return write(1, "dropped"); });
    Worker locker([] { return zatGENLockRgnLog(1); });
    EXPECT_TRUE(isAwaited(1, 2));
    EXPECT_EQ(zatGENDeleteRgnLog(1) + writer.join(), ZAT_OK) << "by its holder";
    EXPECT_NE(locker.join(), ZAT_OK);
}

TEST(RegionLock, IsNotKeptByDeletedTasks) {
    SKIP_IF_THREADS_ARE_FOLLOWED();
    alarm(100);
    ASSERT_EQ(make(1) + zatGENLockRgnLog(1), ZAT_OK);
    Worker waiting([] { return write(1, "never"); });
    EXPECT_TRUE(isAwaited(1, 1));
    waiting.remove();
    EXPECT_TRUE(zatGENUnlockRgnLog(1) == ZAT_OK && recordsOf(1).empty());
    for (int i = 0; i < (memoryIsChecked() || emulated() ? 30 : 300); ++i) {
        const auto work = []() -> ZatStatus {
            for (;; pthread_testcancel())
                write(1, "whole");
        };
        Worker one(work), two(work);
        waitFor([] { return zatGENGetRgnLogInfo(1)->header->cur != 0; });
        one.remove();
        EXPECT_EQ(write(1, "mine"), ZAT_OK);
        two.remove();
        ASSERT_EQ(zatGENDeleteRgnLog(1) + make(1), ZAT_OK);
    }
}

/* One of the calls, on regions that others make and delete. */
ZatStatus useSome(uint32_t choice, int32_t id) {
    if (choice == 0) return zatGENTermRgnLog();
    if (choice < 3) return zatGENDeleteRgnLog(id);
    if (choice < 5) return zatGENReallocRgnLog("log", 128, 0, 1, 0);
    if (choice < 30) return make(id, "log", id == 0);
    if (choice < 80) return write(id, "a text");
    if (choice < 90) return zatGENSetRgnLogMask(zatGENGetRgnLogInfo(id)->id, 3);
    if (zatGENLockRgnLog(id) != ZAT_OK) return ZAT_FAILED;
    EXPECT_LE(recordsOf(id).size(), 8u);
    return zatGENUnlockRgnLog(id);
}

TEST(Region, IsUsedMadeAndDeletedByManyAtOnce) {
    SKIP_IF_RACES_ARE_CHECKED();
    alarm(100);
    {
        const auto work = [] {
            std::mt19937 random(testSeed() + uint32_t(gettid()));
            for (int i = 0; i < (memoryIsChecked() || emulated() ? 1000 : 20000); ++i)
                useSome(uint32_t(random() % 100), int32_t(random() % 3));
            return ZatStatus{ZAT_OK};
        };
        Worker one(work), two(work), three(work);
    }
    EXPECT_EQ(zatGENTermRgnLog() + make(1) + write(1, "a text"), ZAT_OK);
    EXPECT_EQ(recordsOf(1), Lines{"a text"});
}

}  // namespace
