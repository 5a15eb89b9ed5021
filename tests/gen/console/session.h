/**
 * @file
 * A console in the test's own task: lines in, what it says out.
 */
#ifndef ZATOSW_TESTS_GEN_CONSOLE_SESSION_H
#define ZATOSW_TESTS_GEN_CONSOLE_SESSION_H

#include <filesystem>
#include <sstream>

#include "gen/trace/captured.h"

inline std::string said, lastWords; /**< after which the console is taken away */

inline void queueLines(const std::string& script) {
    std::istringstream lines(script);
    for (std::string line; std::getline(lines, line);)
        EXPECT_EQ(zatGENSendControlMessage(line.c_str(), line.size() + 1), ZAT_OK);
}

inline auto openFiles() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

/** What a console says to some lines, without its banners. It ends by EXIT, or when it has said
 *  some last words, as there is no input then. No file may stay open. */
inline std::string session(const std::string& script, const std::string& last = "") {
    const auto files = openFiles();
    EXPECT_EQ(zatGENInitTaskControl(0), ZAT_OK);
    queueLines(script + (last.empty() ? "\n exit \r" : ""));
    said.clear();
    lastWords = last;
    EXPECT_EQ(zatGENStartTaskControl(0, component, nullptr, nullptr, nullptr), ZAT_OK);
    EXPECT_EQ(openFiles(), files);
    return said;
}

class Console : public testing::Test {
    void SetUp() override {
        std::filesystem::current_path(getenv("TEST_TMPDIR"));
        listen();
        zatGENMonPrnAll(ZAT_GEN_SYSTEM);
        zatGENMonPrnAll(component);
        zatGENSetPrintFunc([](uint32_t, uint32_t type, uint32_t level, const char* text) {
            if (strncmp(text, ">>>>> ", 6) != 0) said += text;
            hookChannel = type << 8 | level;
            if (text == lastWords) zatGENTermTaskControl();
        });
    }
};

#endif
