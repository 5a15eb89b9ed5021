// Region logs saved in files.

#include <gtest/gtest.h>

#include <bit>
#include <fstream>
#include <iterator>

#include "gen/trace/captured.h"

namespace {

constexpr int32_t region = 7;

const std::string path = testing::TempDir() + "/log";

void write(uint32_t length) {
    const std::string text(length, static_cast<char>('A' + length % 50));
    const ZatClock time = {length, 1};
    zatGENWriteRgnLog(region, &time, text.data(), length);
}

/* Its head; then the ring, the oldest record first. Of a ring that is not full, the first word is
 * the size of the newest record. */
void checkFile() {
    ZatGenLogFileHead head = {{'L', 'L'}, 1, 0, 12, {}};
    if (std::endian::native == std::endian::big) memcpy(head.mark, "BB", 2);
    zatOSWGetClock(&head.time);
    ASSERT_EQ(zatGENTrcCreateLogFile(region, path.c_str()), 0);
    std::ifstream file(path, std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(file), {}};
    const RgnLogInfo& info = *zatGENGetRgnLogInfo(region);
    head.areaSize = info.header->size;
    EXPECT_EQ(content.substr(0, 12), std::string(reinterpret_cast<char*>(&head), 12));
    uint32_t words[2];
    memcpy(words, content.data() + 12, sizeof words);
    EXPECT_LE(words[0] - head.time.seconds, 60u) << "now";
    std::string ring(reinterpret_cast<const char*>(info.data), head.areaSize);
    ring = ring.substr(info.header->cur) + ring.substr(0, info.header->cur);
    if (info.header->full == 0) {
        memcpy(words, ring.data(), sizeof words);
        ring.erase(0, words[1]);
        if (!ring.empty()) memcpy(ring.data(), words, 4);
    }
    EXPECT_EQ(content.substr(20), ring);
}

TEST(LogFile, HoldsTheRingAsItIsRead) {
    for (const int32_t size : {40, 256, 264, 2048}) {
        makeLog(region, size);
        for (uint32_t i = 0; i < 50; ++i) {
            checkFile();
            write(i * 37 % static_cast<uint32_t>(size - 20) + 1);
        }
        zatGENDeleteRgnLog(region);
    }
}

TEST(LogFile, SaysWhenItCannotBeWritten) {
    EXPECT_EQ(zatGENTrcCreateLogFile(region, path.c_str()), -1) << "no region";
    makeLog(region);
    for (const uint32_t length : {0, 7000}) {  // less and more than a buffer
        write(length);
        EXPECT_EQ(zatGENTrcCreateLogFile(region, "/dev/full"), -1);
        EXPECT_EQ(errno, ENOSPC);
    }
}

}  // namespace
