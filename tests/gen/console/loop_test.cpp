// The console's loop: menus and functions of the application, standard input, and its end.

#include <sys/ioctl.h>

#include "session.h"
#include "support/selfstart.h"

namespace {

std::string calls;
uint32_t result;  // of menu 5

template <char name>
uint32_t menu(char* buffer, uint32_t size) {
    memset(buffer, name, size);
    calls += name;
    return name == '5' || size != 128 ? result : 0;
}

void addMenus(ZatStatus (*add)(ZatGenMenuFunc)) {
    for (const auto function : {menu<'0'>, menu<'1'>, menu<'2'>, menu<'3'>, menu<'4'>, menu<'5'>})
        EXPECT_EQ(add(function), ZAT_OK);
}

void keep(char* line) {
    calls += std::string(line) + "|";
    line[0] = '!';
    zatGENAddCommandProcess([](char* copy) { calls += "+" + std::string(copy) + "|"; });
}

TEST_F(Console, CallsTheApplicationsFunctions) {
    const std::string header = "===== commands =====\n", menus = header + "please input command:\n";
    addMenus(zatGENAddUserCommandMenu);
    zatGENAddUserCommandMenu(menu<'2'>);
    EXPECT_EQ(zatGENRemoveUserCommandMenu(menu<'2'>), ZAT_OK);
    EXPECT_EQ(session("M"), menus + menus);
    EXPECT_EQ(session("m") + calls, "013452013452") << "they end with their console";
    addMenus(zatGENAddUserCommandMenu);
    EXPECT_EQ(zatGENRemoveUserCommandMenu(menu<'2'>), ZAT_OK);
    EXPECT_EQ(zatGENRemoveUserCommandMenu(menu<'2'>), ZAT_OK);
    addMenus(zatGENAddCtrlCommandMenu);
    zatGENAddCtrlCommandMenu(menu<'6'>);
    zatGENAddCommandProcess(keep);
    EXPECT_EQ(zatGENRemoveCtrlCommandMenu(menu<'6'>), ZAT_OK);
    EXPECT_EQ(zatGENRemoveCommandProcess(keep), ZAT_OK);
    EXPECT_TRUE(session("?").ends_with("  P: Play  EXIT: Exit\nplease input control command:\n"));
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 51 + 2);
    result = 7;
    addMenus(zatGENAddCtrlCommandMenu);
    zatGENAddCommandProcess(keep);
    EXPECT_TRUE(session("?\n\t Do  it\r\n\necho on").ends_with("on\n"));
    addMenus(zatGENAddUserCommandMenu);
    EXPECT_EQ(session("echo never"), header);
    EXPECT_EQ(calls, "01345201345201345012345012345Do  it|+Do  it||+|+|012345");
}

/** Tells what came; a child that is forked tells the rest first, in a console of its own. */
void answer(char* line) {
    dprintf(1, "<%s>%s\n", line, isRegistered("inputStdin") ? "" : " read by nobody");
    if (strcmp(line, "last") == 0) queueLines("EXIT");
    if (strcmp(line, "fork") != 0) return;
    const pid_t child = fork();
    if (child == 0) {
        zatGENTermTaskControl();
        zatGENStartTaskControl(1, component, "child", nullptr, nullptr);
        _exit(0);
    }
    waitForExit(child);
}

/** Runs a console, or ends one inside a line, which goes on when another one has begun. */
int runConsoles(const Lines& arguments) {
    zatOSWInit();
    zatGENMonTrcAll(ZAT_GEN_SYSTEM);
    zatGENMonTrcAll(component);
    zatGENSetPrintFunc([](auto, auto, auto, const char* text) { dprintf(1, "%s", text); });
    if (arguments[0] == "end") {
        const Worker ender([] {
            int unread = 1;
            waitFor([&] { return ioctl(0, FIONREAD, &unread) == 0 && unread == 0; });
            return zatGENSendControlMessage("EXIT", 4);
        });
        zatGENStartTaskControl(1, component, "c", nullptr, answer);
        std::ofstream("/proc/self/fd/0") << arguments[1];
    }
    if (!arguments.back().empty()) zatGENStartTaskControl(1, component, "c", nullptr, answer);
    return 0;
}

const SelfRole role("console", runConsoles);

/** What such a process says, while some text, and perhaps the end of input, waits for it. */
std::string runProcess(const Lines& arguments, const std::string& typed, bool ends = false) {
    int in[2];
    EXPECT_TRUE(pipe(in) == 0 && write(in[1], typed.data(), typed.size()) > 0);
    if (ends) close(in[1]);
    dup2(in[0], 0);
    std::string line, all;
    for (const std::string& word : selfCommand("console", arguments))
        line += "'" + word + "' ";
    FILE* output = popen(line.c_str(), "r");
    for (char text[100]; fgets(text, sizeof text, output) != nullptr;)
        all += text;
    EXPECT_EQ(pclose(output), 0);
    return all;
}

TEST_F(Console, ReadsStandardInput) {
    const std::string part(127, 'l'), lines = part + part + "l\na" + '\0' + "b\n\nx";
    EXPECT_EQ(runProcess({"", "--no-stdin", "--c", "zero", "--stdin"}, lines + "\nlast", true),
              "c>\n<zero>\nc>\n<" + part + ">\nc>\n<" + part +
                  ">\nc>\n<l>\nc>\n<a>\nc>\n<>\nc>\n<x>\nc>\n<last>\nc>\n");
    EXPECT_EQ(runProcess({"", "--c", "echo a b,,x,EXIT", "--no-stdin"}, "last\n"),
              "c>\na b\nc>\n<x> read by nobody\nc>\n");
    EXPECT_EQ(runProcess({"end", ""}, "par"), "c>\n");
    EXPECT_TRUE(runProcess({"end", "tial\necho two\nlast\n"}, "par")
                    .ends_with("c>\ntwo\nc>\n<last>\nc>\n"));
    if (emulated()) GTEST_SKIP() << "the emulator ends a forked child that makes a thread";
    EXPECT_EQ(runProcess({"-"}, "fork\none\nlast\n"),
              "c>\n<fork>\nchild>\n<one>\nchild>\n<last>\nchild>\n"
              "c>\n<one>\nc>\n<last>\nc>\n");
}

TEST_F(Console, StopsRepeatingWhenALineIsTyped) {
    std::ofstream("tape") << "echo a\nS\n";
    for (const std::string answers : {"0\n1", "1\n1\n\n\ng"}) {
        const std::string all = runProcess({"-"}, "P tape\n" + answers + "\ntyped\nlast\n");
        EXPECT_TRUE(all.ends_with("a\nc>\n>>>> Exit play mode >>>>\n<>\nc>\n<last>\nc>\n"));
        EXPECT_EQ(all.find("typed"), std::string::npos);
    }
}

TEST_F(Console, IsTakenAwayWhileItWaits) {
    SKIP_IF_THREADS_ARE_FOLLOWED();
    const auto files = openFiles();
    for (int time = 0; time < 20; ++time) {
        zatGENInitTaskControl(0);
        queueLines("R tape");
        said = "";
        Worker loop([] { return zatGENStartTaskControl(0, component, nullptr, nullptr, nullptr); });
        EXPECT_TRUE(waitFor([&] { return openFiles() > files && allOthersSleep(); }));
        char line[20] = "";
        if (time % 2 == 0) {
            loop.remove();
            queueLines("too  long");
            EXPECT_STREQ(zatGENGetInput(line, 6), "too  ");
        }
        EXPECT_EQ(zatGENTermTaskControl(), ZAT_OK);
        loop.join();
        EXPECT_EQ(said, time % 2 == 0 ? "" : "< ERROR > during data input.\n");
        ASSERT_TRUE(zatGENGetInput(line, sizeof line) == nullptr && openFiles() == files);
    }
}

Shared<int> plays;

TEST_F(Console, EndsWhileItPlaysWhatNeverWaits) {
    SKIP_IF_THREADS_ARE_FOLLOWED();
    std::ofstream("tape") << "count\nS\n";
    const std::string all = session("P tape\n0\n1", ">>>> Enter play mode >>>>\n");
    EXPECT_TRUE(all.ends_with(">>>> Enter play mode >>>>\n< ERROR > during data input.\n"));
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP()
        << "the sanitizer takes what unwinding leaves of frames without destructors for overflows";
#endif
    const auto files = openFiles();
    lastWords = "";
    zatGENInitTaskControl(0);
    queueLines("P tape\n0\n1");
    const auto count = [](char*) { ++plays; };
    Worker loop([=] { return zatGENStartTaskControl(0, component, nullptr, nullptr, count); });
    EXPECT_TRUE(waitFor([] { return plays > 1; }));
    loop.remove();
    zatGENTermTaskControl();
    EXPECT_EQ(openFiles(), files);
}

}  // namespace
