// Dumps of memory, and the list of components: what is shown of them, and where.

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

class Dumps : public testing::Test {
  protected:
    void SetUp() override {
        listen();
        makeLog(0);
        makeLog(component);
    }
};

TEST_F(Dumps, ShowAsMuchAsIsAskedForAndThere) {
    char address[20];
    snprintf(address, sizeof address, "%08x| ", wordOf(bytes + 16));
    EXPECT_EQ(dump(20, 20, 1), "||");
    EXPECT_EQ(hookLines[1], address + lines[1] + "\n");
    EXPECT_EQ(hookLines[0].substr(10), lines[0] + "\n");
    EXPECT_EQ(hookChannel, 0x020202u);
    dump(20, 20, 1, nullptr);
    EXPECT_EQ(hookLines, Lines{"No dump for null pointer!\n"});
    const int32_t cases[][4] = {{100, 0, 64, 4}, {40, 0, 64, 3},   {100, 0, 0, 0}, {100, -1, 0, 7},
                                {16, 17, 64, 1}, {100, 33, 64, 3}, {-5, 0, 64, 0}, {-5, -9, 64, 0},
                                {0, 16, 64, 0},  {-5, 16, 64, 0},  {100, 0, -1, 7}};
    for (const auto& [size, maxSize, dumpSize, count] : cases) {
        zatGENSetDumpSize(component, static_cast<uint32_t>(dumpSize));
        const std::string shape(static_cast<uint32_t>(count), '|');
        EXPECT_EQ(dump(size, maxSize, 1), shape + (16 * count < size ? ">" : "")) << maxSize;
        const size_t before = recordsOf(component).size();
        zatGENLogDump(component, 8, 2, bytes, size, maxSize, 0);
        EXPECT_EQ(recordsOf(component).size(), before + shape.size()) << size << " " << maxSize;
    }
}

TEST_F(Dumps, AskAfterEachPage) {
    EXPECT_EQ(dump(100, 100, 0), "|||||?||");
    zatGENSetDumpLines(2);
    EXPECT_EQ(dump(63, 63, 0), "||?||");
    EXPECT_EQ(dump(64, 64, 0), "||?||?");
    EXPECT_EQ(dump(100, 64, 1), "||||>");
    EXPECT_EQ(dump(100, 64, 0), "||?||?") << "whoever is asked knows";
    answers = {"\n", "Quit\n", "q"};
    EXPECT_EQ(dump(100, 100, 0), "||?||?");
    EXPECT_EQ(dump(100, 100, 0), "||?");
    zatGENSetTypeFunc(nullptr);
    EXPECT_EQ(dump(100, 100, 0), "||?||?||?|") << "nobody to ask";
    zatGENSetDumpLines(0x80000000);
    EXPECT_EQ(dump(100, 100, 0), "|||||||");
}

TEST_F(Dumps, AreForwardedInFullWhateverTheMasks) {
    const auto forward = [](uint32_t level, const void* data = bytes) {
        zatGENTraceDump(component, 2, level, data, 20, 1, 0);
        return recordsOf(0).size() * 10 + recordsOf(component).size();
    };
    EXPECT_EQ(forward(3), 0u) << "not yet";
    zatGENForwardTrcMsgToRgnLog();
    EXPECT_EQ(forward(15) + forward(3, nullptr), 0u);
    EXPECT_EQ(forward(0x103), 22u);
    EXPECT_EQ(recordsOf(component), lines);
    zatGENSetRgnLogMask(0, 1);
    EXPECT_EQ(forward(1), 42u) << "the other one does not take it";
    zatGENTraceDump(0, 2, 3, bytes, 20, 1, 0);
    EXPECT_EQ(recordsOf(0).size(), 6u) << "of SYSTEM, whose log it is, once";
    zatGENTermRgnLog();
    EXPECT_EQ(forward(3), 0u);
}

std::vector<uint32_t> words;

TEST_F(Dumps, OfTheLogChannelGoToTheLogAndUserFunctions) {
    zatGENAddUserLogDumpFunc([](auto a1, auto a2, auto a3, auto a4, auto a5, auto a6, auto a7) {
        words = {a1, a2, a3, wordOf(a4), a5, a6, a7};
    });
    size_t logged = 0;
    for (uint32_t i = 0; i < 16; ++i) {
        const uint32_t type = std::vector<uint32_t>{6, 0x106, 3, 0x103}[i / 4];
        for (const uint32_t id : {ZAT_GEN_SYSTEM, component}) {
            zatGENGetTrcMask(id)->logmask = (i & 1) ? 4 : 0xFFFB;
            zatGENGetTrcMask(id)->monlogmask = (i & 2) ? 4 : 0xFFFB;
        }
        words.clear();
        zatGENTrcLogDump(component, type, 2, bytes, 32, 20, 9);
        logged += i < 8 && (i & 1) ? 2 : 0;
        EXPECT_EQ(recordsOf(0).size(), logged) << i;
        const std::vector<uint32_t> given = {component, 6, 2, wordOf(bytes), 32, 20, 9};
        EXPECT_EQ(words, type == 0x106 && (i & 2) ? given : std::vector<uint32_t>()) << i;
    }
}

TEST_F(Dumps, AreNotTheOnlyLongListings) {
    static zatGENTrcComp more[22];
    for (uint32_t i = 0; i < 22; ++i)
        more[i] = {0x80000001 + i, 1, 0x23, 0x456, 0x789A, 0xBCDE, 0xF, 100000, "more"};
    const std::string title = "Component   prnmask trcmask logmask   dumpsize\n";
    const Lines top = {"    Id       " + title, std::string(62, '-') + "\n",
                       " -2147483647       more       0001    0023    0456        100000\n",
                       " 0x80000001                789a    bcde    000f\n"};
    for (const uint32_t count : {6u, 7u, 22u}) {  // with the built-in ones 15, 16 and 31
        zatGENAddTraceId(more, count);
        const Lines list = printedBy([] { zatGENShowComp(component, 5); });
        EXPECT_EQ(list.size(), 2 + 2 * (count + 9) + (count + 8) / 15 * 3);
        EXPECT_EQ(Lines(list.begin(), list.begin() + 4), top);
    }
    answers = {"\n", "Quit"};
    const Lines list = printedBy(zatGENShowComponent);
    EXPECT_EQ(list.size(), 2 * 32u + 2);
    EXPECT_EQ(Lines(list.begin() + 32, list.begin() + 35),
              (Lines{prompt, "    Id     " + title, std::string(60, '-') + "\n"}));
    EXPECT_EQ(hookChannel, 0x000200u);
}

}  // namespace
