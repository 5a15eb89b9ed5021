// Dumps of memory: what is shown of them, and where.

#include <gtest/gtest.h>

#include "gen/trace/captured.h"

namespace {

char bytes[100] = "ABCDEFGHIJKLMNO~\x1F ~\x7F";
const Lines lines = {"4142 4344 4546 4748 494A 4B4C 4D4E 4F7E | ABCDEFGHIJKLMNO~",
                     "1F20 7E7F                               | . ~."};

/* A letter for each line: what a dump of that many bytes looks like. */
std::string dump(int32_t size, int32_t maxSize, uint32_t noPaging, const void* data = bytes) {
    std::string shape;
    hookLines.clear();
    zatGENTraceDump(component, 0x102, 2, data, size, maxSize, noPaging);
    for (const std::string& line : hookLines)
        shape += line == prompt ? '?' : line == " ...<no more print>...\n" ? '>' : line[8];
    return shape;
}

TEST(Dumps, ShowAsMuchAsIsAskedForAndThere) {
    listen();
    makeLog(component);
    char address[20];
    snprintf(address, sizeof address, "%08x| ", wordOf(bytes + 16));
    EXPECT_EQ(dump(20, 20, 1), "||");
    EXPECT_EQ(hookLines[1], address + lines[1] + "\n");
    EXPECT_EQ(hookLines[0].substr(10), lines[0] + "\n");
    dump(20, 20, 1, nullptr);
    EXPECT_EQ(hookLines, Lines{"No dump for null pointer!\n"});
    const int32_t cases[][4] = {{100, 0, 64, 4}, {40, 0, 64, 3},   {100, 0, 0, 0}, {100, -1, 0, 7},
                                {16, 17, 64, 1}, {100, 33, 64, 3}, {-5, 0, 64, 0}, {-5, -9, 64, 0}};
    for (const auto& [size, maxSize, dumpSize, count] : cases) {
        zatGENSetDumpSize(component, static_cast<uint32_t>(dumpSize));
        const std::string shape(static_cast<uint32_t>(count), '|');
        EXPECT_EQ(dump(size, maxSize, 1), shape + (16 * count < size ? ">" : "")) << maxSize;
        const size_t before = recordsOf(component).size();
        zatGENLogDump(component, 8, 2, bytes, size, maxSize, 0);
        EXPECT_EQ(recordsOf(component).size(), before + shape.size()) << size << " " << maxSize;
    }
    zatGENSetDumpLines(2);
    EXPECT_EQ(dump(64, 64, 0), "||?||?") << "no answer";
    answers = {"\n", "Quit\n"};
    EXPECT_EQ(dump(100, 100, 0), "||?||?");
    zatGENSetTypeFunc(nullptr);
    EXPECT_EQ(dump(100, 100, 0), "||?||?||?|") << "nobody to ask";
}

TEST(Dumps, AreForwardedInFullWhateverTheMasks) {
    makeLog(0);
    makeLog(component);
    zatGENForwardTrcMsgToRgnLog();
    for (const uint32_t level : {15, 1, 3})  // the logs do not take 1
        zatGENTraceDump(component, 2, level, bytes, 20, 1, 0);
    zatGENTraceDump(component, 2, 3, nullptr, 20, 1, 0);
    EXPECT_EQ(recordsOf(0), lines);
    EXPECT_EQ(recordsOf(component), lines);
}

}  // namespace
