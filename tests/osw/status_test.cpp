#include "osw/status.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

namespace {

// The prefix of a name tells the module, whose id is the code's high half.
TEST(Status, HasATextOfItsOwnAndItsModuleInTheHighHalf) {
    struct Row {
        std::string name;
        ZatStatus code;
        const char* text;
    };
#define ROW(name, code, text) Row{#name, code, text},
    std::set<std::string> texts;
    std::map<std::string, std::set<uint32_t>> modules;
    for (const Row& row : {ZAT_STATUS_TABLE(ROW)}) {
        EXPECT_TRUE(texts.insert(row.text).second) << row.name;
        EXPECT_STREQ(zatStatusText(row.code), row.text);
        modules[row.name.substr(0, 7)].insert(row.code >> 16);
    }
    for (const auto& [prefix, module] : std::map<std::string, uint32_t>{{"ZAT_GEN", 0x2000},
                                                                        {"ZAT_CLB", 0x2001},
                                                                        {"ZAT_OSW", 0x2002},
                                                                        {"ZAT_IPC", 0x2002},
                                                                        {"ZAT_DIS", 0x2003}})
        EXPECT_EQ(modules[prefix], std::set{module}) << prefix;
    for (ZatStatus other : {1u, 22u, 0x20020109u, 0x20020207u, 0x20020211u, 0x20030101u})
        EXPECT_STREQ(zatStatusText(other), "system error") << other;
}

}  // namespace
