#include "osw/status.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

namespace {

// The prefix of a name tells the module, whose id is the code's high half.
TEST(Status, HasOneTextPerCodeAndItsModuleInTheHighHalf) {
    struct Row {
        std::string name;
        ZatStatus code;
        const char* text;
    };
#define ROW(name, code, text) Row{#name, code, text},
    const Row rows[] = {ZAT_STATUS_TABLE(ROW)};
#undef ROW
    const std::map<std::string, uint32_t> modules = {{"ZAT_GEN", 0x2000},
                                                     {"ZAT_CLB", 0x2001},
                                                     {"ZAT_OSW", 0x2002},
                                                     {"ZAT_IPC", 0x2002},
                                                     {"ZAT_DIS", 0x2003}};
    std::set<ZatStatus> codes;
    std::set<std::string> texts;
    for (const Row& row : rows) {
        EXPECT_TRUE(codes.insert(row.code).second) << row.name;
        EXPECT_TRUE(texts.insert(row.text).second) << row.name;
        EXPECT_STREQ(zatStatusText(row.code), row.text);
        const auto module = modules.find(row.name.substr(0, 7));
        EXPECT_TRUE(module == modules.end() || row.code >> 16 == module->second) << row.name;
    }
    EXPECT_EQ(codes.size(), 65u);
    for (ZatStatus other : {1u, 22u, 0x20020109u, 0x20020207u, 0x20020211u, 0x20030101u})
        EXPECT_STREQ(zatStatusText(other), "system error") << other;
}

}  // namespace
