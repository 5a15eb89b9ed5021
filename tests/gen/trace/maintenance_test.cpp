// Maintenance logs: what is recorded of events, errors and memory.

#include <gtest/gtest.h>

#include "gen/trace/captured.h"

namespace {

const std::string tail = "last thirty-two characters.cpp.h";
const std::string longName = "dropped/" + tail;
const char* const data = "memory";

template <class... Words>
std::string wordsOf(Words... words) {
    const uint32_t array[] = {static_cast<uint32_t>(words)...};
    return {reinterpret_cast<const char*>(array), sizeof array};
}

std::string headOf(uint32_t kind, std::string file) {
    file.resize(32, '\0');
    return wordsOf(kind, component) + file + wordsOf(-7, gettid(), pthread_self());
}

TEST(Maintenance, RecordsEventsErrorsAndMemory) {
    makeLog(3);
    makeLog(4);
    zatGENTrcMcLog(component, longName.c_str(), -7, 1, -2, 3, 4, 5, 6);
    zatGENTrcMcLog(component, nullptr, -7, 1, -2, 3, 4, 5, 6);
    zatGENTrcMcLogError(component, 1, tail.c_str(), -7, 8, 9);
    zatGENTrcMcLogError(component, 3, "short", -7, 8, 9);
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

TEST(Maintenance, FiltersDumpsByTheirComponent) {
    makeLog(4);
    zatGENAddUserMcDump([](auto, auto, auto, auto, auto, auto) { return ZatStatus{1}; });
    zatGENAddUserMcDump([](auto, auto, auto, auto, auto, auto) { return ZatStatus{2}; });
    const auto passes = [](uint32_t id) {
        const size_t before = recordsOf(4).size();
        const ZatStatus status = zatGENTrcMcDump(id, "f", 1, data, 6, 4);
        EXPECT_EQ(status, recordsOf(4).size() > before ? 2 : id) << "the last user's";
        return recordsOf(4).size() > before;
    };
    zatGENTrcMcDumpMaskSet(7);
    EXPECT_TRUE(passes(8)) << "it is off";
    zatGENTrcMcDumpMaskEnable();
    EXPECT_TRUE(passes(7) && !passes(8));
    const uint32_t memory = heldMemory();
    zatGENTrcMcDumpMaskClr(7);
    EXPECT_FALSE(passes(7) || passes(0)) << "a free node names nobody";
    zatGENTrcMcDumpMaskSet(8);
    EXPECT_EQ(heldMemory(), memory) << "the free node";
    zatGENTrcMcDumpMaskSet(6);
    EXPECT_TRUE(passes(8) && !passes(7) && passes(6));
}

}  // namespace
