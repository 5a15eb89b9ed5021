// Region logs saved in files.

#include <bit>
#include <iterator>

#include "gen/trace/captured.h"
#include "gen/trace/listing.h"

namespace {

constexpr int32_t region = 7;

ZatStatus save(const char* name) {
    const std::string path = std::string(getenv("TEST_TMPDIR")) + "/" + name;
    return static_cast<ZatStatus>(zatGENTrcCreateLogFile(region, path.c_str()));
}

/** Saves the region, and gives the records in the file. */
std::string saved() {
    EXPECT_EQ(save("log"), ZAT_OK);
    std::ifstream file(std::string(getenv("TEST_TMPDIR")) + "/log", std::ios::binary);
    ZatGenLogFileHead head = {};
    file.read(reinterpret_cast<char*>(&head), sizeof head);
    EXPECT_EQ(std::string(head.mark, 2), std::endian::native == std::endian::big ? "BB" : "LL");
    EXPECT_TRUE(head.version == 1 && head.clockOffset == 12);
    EXPECT_EQ(head.areaSize, zatGENGetRgnLogInfo(region)->header->size);
    ZatClock now;
    zatOSWGetClock(&now);
    EXPECT_LE(now.seconds - head.time.seconds, 60u);
    return {std::istreambuf_iterator<char>(file), {}};
}

/** The text tells its own length. */
void write(uint32_t length) {
    const ZatClock time = {length, 1};
    zatGENWriteRgnLog(region, &time, std::string(length, static_cast<char>(length)).data(), length);
}

TEST(LogFile, HoldsTheRecordsAsTheyAreRead) {
    uint32_t timesFull = 0;
    for (const int32_t size : {40, 256, 264, 2048}) {
        makeLog(region, size);
        for (uint32_t i = 0; i < 50; ++i) {
            ASSERT_EQ(saved(), bytesOf(region));
            write(i * 37 % static_cast<uint32_t>(size - 20) + 1);
            timesFull += zatGENGetRgnLogInfo(region)->header->full;
        }
        zatGENDeleteRgnLog(region);
    }
    EXPECT_GT(timesFull, 10u);
}

TEST(LogFile, IsOfOneMoment) {
    makeLog(region, 4000);
    Shared<int> ends;
    Worker writer([&] {
        for (uint32_t i = 0; ends == 0; ++i)
            write(i % 100 + 1);
        return ZatStatus{ZAT_OK};
    });
    for (int i = 0; i < (isSlow() ? 10 : 200) && !HasFailure(); ++i)
        for (const std::string& text : recordsIn(saved()))
            EXPECT_EQ(text, std::string(text.size(), static_cast<char>(text.size())));
    ends = 1;
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

}  // namespace
