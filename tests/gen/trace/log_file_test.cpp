// Region logs saved in files, and those that the environment asks for, for real.

#include <gtest/gtest.h>

#include <bit>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "gen/trace/captured.h"
#include "gen/trace/listing.h"
#include "osw/mutex_sem_private.h"

namespace {

constexpr int32_t region = 7;

ZatStatus save(const char* name) {
    const std::string path = std::string(getenv("TEST_TMPDIR")) + "/" + name;
    return static_cast<ZatStatus>(zatGENTrcCreateLogFile(region, path.c_str()));
}

void write(uint32_t length) {
    const ZatClock time = {length, 1};
    const std::string text(length, static_cast<char>('A' + length % 50));
    zatGENWriteRgnLog(region, &time, text.data(), length);
}

/* Its head; then the ring, the oldest record first. Of a ring that is not full, the first word is
 * the size of the newest record. */
void checkFile() {
    std::ifstream file(std::string(getenv("TEST_TMPDIR")) + "/log", std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(file), {}};
    const RgnLogInfo& info = *zatGENGetRgnLogInfo(region);
    ZatGenLogFileHead head;
    ASSERT_GE(content.size(), sizeof head);
    memcpy(&head, content.data(), sizeof head);
    EXPECT_EQ(std::string(head.mark, 2), std::endian::native == std::endian::big ? "BB" : "LL");
    EXPECT_TRUE(head.version == 1 && head.areaSize == info.header->size && head.clockOffset == 12);
    ZatClock now;
    zatOSWGetClock(&now);
    EXPECT_LE(now.seconds - head.time.seconds, 60u);
    std::string ring(reinterpret_cast<const char*>(info.data), info.header->size);
    ring = ring.substr(info.header->cur) + ring.substr(0, info.header->cur);
    if (info.header->full == 0) {
        uint32_t words[2];
        memcpy(words, ring.data(), sizeof words);
        ring.erase(0, words[1]);
        if (!ring.empty()) memcpy(ring.data(), words, 4);
    }
    EXPECT_EQ(content.substr(sizeof head), ring);
}

TEST(LogFile, HoldsTheRingAsItIsRead) {
    uint32_t timesFull = 0;
    for (const int32_t size : {40, 256, 264, 2048}) {
        makeLog(region, size);
        for (uint32_t i = 0; i < 50; ++i) {
            ASSERT_EQ(save("log"), ZAT_OK);
            checkFile();
            write(i * 37 % static_cast<uint32_t>(size - 20) + 1);
            timesFull += zatGENGetRgnLogInfo(region)->header->full;
        }
        zatGENDeleteRgnLog(region);
    }
    EXPECT_GT(timesFull, 10u);
}

TEST(LogFile, SaysWhenItCannotBeWritten) {
    EXPECT_EQ(save("log"), 0xFFFFFFFF) << "no region";
    makeLog(region);
    EXPECT_EQ(save("no/directory"), 0xFFFFFFFF);
    for (const uint32_t length : {0, 7000}) {  // less and more than a buffer
        write(length);
        errno = 4711;
        EXPECT_EQ(zatGENTrcCreateLogFile(region, "/dev/full"), -1);
        EXPECT_EQ(errno, 4711);
    }
}

TEST(LogFile, WaitsForWhoeverHoldsTheRegion) {
    makeLog(region);
    zatGENLockRgnLog(region);
    Worker saver([] { return save("log"); });
    EXPECT_TRUE(waitersReach(recordOf<OswMutexSem>(zatGENGetRgnLogInfo(region)->lock), 1));
    write(20);
    zatGENUnlockRgnLog(region);
    EXPECT_EQ(saver.join(), ZAT_OK);
    checkFile();
}

TEST(LogEnvironment, MakesLogsThatTakeMessages) {
    setenv("GEN_STDLOG_ENV", "100,80,STD", 1);
    setenv("GEN_ERRLOG_ENV", "500,200,ERR", 1);
    setenv("GEN_MCLOG_ENV", "4000,-1,MC", 1);
    setenv("GEN_USRLOG_ENV", "osw,200,100/ipc", 1);
    setenv("GEN_LOG_ENV", "", 1);
    zatOSWInit();
    zatGENTrcPrintf(component, 0x102, 0, "an error");
    zatGENTrcPrintf(0x30, 2, 14, "forwarded");
    zatGENTrcMcLog(component, "f", 1, 1, 2, 3, 4, 5, 6);
    EXPECT_EQ(recordsOf(0), (Lines{"OSW:an error\n", "IPC:forwarded\n"}));
    EXPECT_EQ(recordsOf(1), Lines{"OSW:an error\n"});
    EXPECT_EQ(recordsOf(component), Lines{"OSW:an error\n"});
    EXPECT_EQ(recordsOf(0x30), Lines{"IPC:forwarded\n"});
    EXPECT_EQ(recordsOf(3).size(), 1u);
    const RgnLogInfo& info = *zatGENGetRgnLogInfo(component);
    EXPECT_EQ(info.name, std::string("osw_LOG"));
    EXPECT_TRUE(info.shm == 1 && info.header->size == 24000 && info.header->maxEntry == 100);
}

}  // namespace
