// Maintenance logs: what is recorded of events, errors and memory, and who else learns of it.

#include "gen/trace/captured.h"

namespace {

const std::string tail = "last thirty-two characters.cpp.h";
const std::string longName = "dropped/" + tail;
const char* const data = "memory";
std::string said; /* by the user functions */

template <class... Words>
std::string wordsOf(Words... words) {
    const uint32_t array[] = {uint32_t(words)...};
    return {reinterpret_cast<const char*>(array), sizeof array};
}

std::string headOf(uint32_t kind, std::string file) {
    file.resize(32, '\0');
    return wordsOf(kind, component) + file + wordsOf(-7, gettid(), pthread_self());
}

template <uint32_t status, class... Arguments>
ZatStatus say(uint32_t id, const char* file, Arguments... arguments) {
    said += std::string(file == nullptr ? "null" : file) + wordsOf(status, id, arguments...);
    return status;
}

ZatStatus logEvent(const char* file) {
    return zatGENTrcMcLog(component, file, -7, 1, -2, 3, 4, 5, 6);
}

ZatStatus logError(uint32_t kind, const char* file) {
    return zatGENTrcMcLogError(component, kind, file, -7, 8, 9);
}

class Maintenance : public testing::Test {
  protected:
    void SetUp() override {
        listen();
        for (const int32_t id : {1, 3, 4})
            makeLog(id);
    }
};

TEST_F(Maintenance, RecordsEventsErrorsAndMemory) {
    logEvent(longName.c_str());
    logEvent(nullptr);
    logError(1, tail.c_str());
    logError(3, "short");
    const std::string event = wordsOf(1, -2, 3, 4, 5, 6);
    const std::string error = wordsOf(8, 9);
    EXPECT_EQ(recordsOf(3), (Lines{headOf(0, tail) + event, headOf(0, "") + event,
                                   headOf(1, tail) + error, headOf(3, "short") + error}));
    const int32_t sizes[][3] = {{6, 9, 6}, {6, 2, 2}, {6, 0, 0}, {6, -1, 0}, {-9, 6, 0}};
    for (const auto& [size, maxSize, length] : sizes) {
        EXPECT_EQ(zatGENTrcMcDump(component, "f", -7, data, size, maxSize), ZAT_OK);
        EXPECT_EQ(recordsOf(4).back(), headOf(2, "f") + wordsOf(length) +
                                           std::string(data, static_cast<uint32_t>(length)));
    }
    zatGENTrcMcDump(component, "null", -7, nullptr, 6, 6);
    EXPECT_EQ(recordsOf(4).back(), headOf(2, "null") + wordsOf(0));
}

TEST_F(Maintenance, HandsItsArgumentsToUserFunctionsInOrder) {
    zatGENAddUserMcLog(say<1>);
    zatGENAddUserMcLog(say<2>);
    zatGENAddUserMcLogError(say<1>);
    zatGENAddUserMcLogError(say<2>);
    zatGENAddUserMcDump(say<1>);
    zatGENAddUserMcDump(say<2>);
    const auto check = [](ZatStatus last) {
        Lines expected(3);
        for (uint32_t i = 1; i <= last; ++i) {
            expected[0] += longName + wordsOf(i, component, -7, 1, -2, 3, 4, 5, 6);
            expected[1] += "null" + wordsOf(i, component, -7, 8, 9);
            expected[2] += "f" + wordsOf(i, component, -7, data, 4, 4);
        }
        said.clear();
        EXPECT_EQ(logEvent(longName.c_str()), last);
        EXPECT_EQ(logError(1, nullptr), last);
        EXPECT_EQ(zatGENTrcMcDump(component, "f", -7, data, 6, 4), last);
        EXPECT_EQ(said, expected[0] + expected[1] + expected[2]);
    };
    check(2);
    zatGENTermRgnLog();
    check(2);
    zatGENTrcTerm();
    check(1);  // the first ones stay
}

TEST_F(Maintenance, FiltersDumpsByTheirComponent) {
    const auto passes = [](uint32_t id) {
        const size_t before = recordsOf(4).size();
        const ZatStatus status = zatGENTrcMcDump(id, "f", 1, data, 6, 6);
        EXPECT_EQ(status, recordsOf(4).size() > before ? ZatStatus{ZAT_OK} : id);
        return recordsOf(4).size() > before;
    };
    const uint32_t before = heldMemory();
    zatGENTrcMcDumpMaskSet(0x2002);
    const uint32_t one = heldMemory() - before;
    EXPECT_TRUE(passes(0x2000)) << "it is off";
    zatGENTrcMcDumpMaskEnable();
    EXPECT_TRUE(passes(0x2002) && !passes(0x2000));
    zatGENTrcMcDumpMaskClr(0x2002);
    EXPECT_FALSE(passes(0x2002) || passes(0)) << "a free node names nobody";
    for (const uint32_t id : {0x2000, 5, 6, 5})
        EXPECT_EQ(zatGENTrcMcDumpMaskSet(id), ZAT_OK);
    EXPECT_EQ(heldMemory(), before + 3 * one) << "the first one takes the free node";
    zatGENTrcMcDumpMaskClr(5);
    EXPECT_TRUE(passes(0x2000) && !passes(5) && passes(6));
    zatGENTrcMcDumpMaskDisable();
    EXPECT_TRUE(passes(5) && passes(0));
    zatGENTrcMcDumpMaskEnable();
    zatGENTrcTerm();
    EXPECT_FALSE(passes(6));
}

TEST_F(Maintenance, SaysTheSameAsText) {
    const Lines lines = printedBy([] {
        zatGENTrcMcLogToTrc(component, longName.c_str(), -7, 1, -2, 3, 4, 5, 6);
        zatGENTrcMcLogErrorToTrc(component, 1, "f", 7, 8, 0xFFFFFFFF);
        zatGENTrcMcLogErrorToTrc(component, 3, longName.c_str(), 7, 8, 9);
        zatGENTrcMcDumpToTrc(component, longName.c_str(), 7, data, 6, 4);
        hookLines.at(4).erase(0, 10);
    });
    const std::string error = "<Error>(0x00000008:0xffffffff):f:7\n";
    const std::string warning = "<Warning>(0x00000008:0x00000009):" + tail + ":7\n";
    EXPECT_EQ(
        lines,
        (Lines{tail + ":-7:args=1,-2,3,4,5,6\n", error, warning, tail + ":7:dump(size=4)\n",
               "6D65 6D6F" + std::string(30, ' ') + " | memo\n", " ...<no more print>...\n"}));
    EXPECT_EQ(hookChannel, 0x020201u);
    EXPECT_EQ(recordsOf(1), (Lines{"OSW:" + error, "OSW:" + warning})) << "those of level 0";
}

}  // namespace
