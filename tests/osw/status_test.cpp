#include "osw/status.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <map>
#include <set>
#include <string>

namespace {

struct Row {
    std::string name;
    ZatStatus code;
    const char* text;
};

#define ROW(name, code, text) Row{#name, code, text},
const Row rows[] = {ZAT_STATUS_TABLE(ROW)};
#undef ROW

TEST(Status, HasOneNameAndOneTextPerCode) {
    std::set<ZatStatus> codes;
    std::set<std::string> texts;
    for (const Row& row : rows) {
        EXPECT_TRUE(codes.insert(row.code).second) << row.name;
        EXPECT_TRUE(texts.insert(row.text).second) << row.name;
        EXPECT_STREQ(zatStatusText(row.code), row.text);
        EXPECT_STRNE(row.text, "");
    }
    EXPECT_EQ(codes.size(), 65u);
}

// The prefix of a name tells the module, whose id is the code's high half.
TEST(Status, CarriesItsModuleInTheHighHalf) {
    const std::map<std::string, uint32_t> modules = {{"ZAT_GEN", 0x2000},
                                                     {"ZAT_CLB", 0x2001},
                                                     {"ZAT_OSW", 0x2002},
                                                     {"ZAT_IPC", 0x2002},
                                                     {"ZAT_DIS", 0x2003}};
    for (const Row& row : rows) {
        if (row.code == ZAT_OK || row.code == ZAT_TIMED_OUT || row.code == ZAT_FAILED) continue;
        const auto module = modules.find(row.name.substr(0, 7));
        ASSERT_NE(module, modules.end()) << row.name;
        EXPECT_EQ(row.code >> 16, module->second) << row.name;
        EXPECT_NE(row.code & 0xFF, 0u) << row.name;
    }
}

TEST(Status, KeepsTheNumbersThatCallersTest) {
    EXPECT_EQ(ZAT_OK, 0u);
    EXPECT_EQ(ZAT_TIMED_OUT, uint32_t{ETIMEDOUT});
    EXPECT_EQ(ZAT_FAILED, 0xFFFFFFFFu);
    EXPECT_EQ(ZAT_OSW_NO_TASK, 0x20020016u);
    EXPECT_EQ(ZAT_OSW_PART_EXHAUSTED, 0x20020101u);
    EXPECT_EQ(ZAT_OSW_PART_BAD_SIZE, 0x20020103u);
    EXPECT_EQ(ZAT_OSW_PART_BAD_ALIGNMENT, 0x20020104u);
    EXPECT_EQ(ZAT_OSW_PART_BAD_ADDRESS, 0x20020105u);
    EXPECT_EQ(ZAT_IPC_KEY_DIR_FAILED, 0x20020216u);
    EXPECT_EQ(ZAT_IPC_KEY_CREATE_FAILED, 0x20020217u);
    EXPECT_EQ(ZAT_IPC_KEY_STAT_FAILED, 0x20020218u);
    EXPECT_EQ(ZAT_IPC_KEY_RENAME_FAILED, 0x20020219u);
}

TEST(Status, CallsWhatIsNotItsOwnASystemError) {
    for (ZatStatus status : {1u, 22u, 0x20020109u, 0x20020207u, 0x20020211u, 0x20030101u,
                             0x20030103u, 0x20030104u, 0x20030105u, 0xFFFFFFFEu})
        EXPECT_STREQ(zatStatusText(status), "system error") << status;
}

}  // namespace
