/* What the host offers: libraries, child processes, sockets. */

#include <arpa/inet.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "gen/trace/captured.h"
#include "osw/library.h"
#include "osw/network.h"
#include "osw/process.h"

namespace {

std::string contentOf(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

TEST(Libraries, AreLoadedOnceAndListed) {
    listen();
    const auto list = [] { return printedBy([] { zatOSWShowLoadLibInfo(component, 3); }); };
    EXPECT_EQ(list().at(2), " < no library loaded >\n");
    ZatLibrary math = nullptr, again = nullptr;
    ASSERT_EQ(zatOSWLoadLibrary(&math, "libm.so.6"), ZAT_OK);
    EXPECT_EQ(zatOSWLoadLibrary(&again, "libm.so.6"), ZAT_OK);
    EXPECT_EQ(again, math);
    EXPECT_EQ(zatOSWLoadLibrary(&again, "libnowhere.so"), ZAT_FAILED);
    const Lines lines = list();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[2].substr(9), " libm.so.6\n");
    void* address = nullptr;
    EXPECT_EQ(zatOSWGetProcAddress(math, "nothing", &address), ZAT_FAILED);
    ASSERT_EQ(zatOSWGetProcAddress(math, "floor", &address), ZAT_OK);
    EXPECT_EQ(reinterpret_cast<double (*)(double)>(address)(2.5), 2.0);
    EXPECT_EQ(zatOSWFreeLibrary(&address), ZAT_OK) << "not one of them";
    EXPECT_EQ(zatOSWUnloadLibrary("libnowhere.so"), ZAT_OK);
    EXPECT_EQ(list(), lines);
    EXPECT_EQ(zatOSWUnloadLibrary("libm.so.6"), ZAT_OK);
    EXPECT_EQ(list().at(2), " < no library loaded >\n");
}

TEST(ChildProcess, HasItsArgumentsEnvironmentAndDirectory) {
    const std::string directory = getenv("TEST_TMPDIR");
    const std::string script = directory + "/script";
    std::ofstream(script)
        << "#!/bin/sh\n{ printf '<%s>' \"$@\"; echo \" $ONE $TWO $MINE $PWD\"; } >out\n"
           "[ $# -lt 4 ] || exit 255\nwhile [ ! -e go ]; do sleep 0.01; done\n";
    chmod(script.c_str(), 0700);
    setenv("MINE", "0", 1);
    int32_t child = -1;
    unsetenv("FRAMEWORKROOT");
    EXPECT_EQ(zatOSWCreateProcess(&child, script.c_str(), nullptr, nullptr, 0), ZAT_OK);
    EXPECT_EQ(child, -1) << "nothing is started";
    setenv("FRAMEWORKROOT", "/nowhere", 1);
    static const char more[] = "ONE=1\0TWO=2 3\0";
    const std::string command = script + " a  \"b c\" d";
    ASSERT_EQ(zatOSWCreateProcess(&child, command.c_str(), more, directory.c_str(), 0), ZAT_OK);
    int32_t status = -1;
    EXPECT_EQ(zatOSWWaitProcess(child, 1, &status), ZAT_OK);
    EXPECT_EQ(status, 255);
    EXPECT_EQ(contentOf(directory + "/out"), "<a><><\"b c\"><d> 1 2 3 0 " + directory + "\n");
    EXPECT_EQ(zatOSWWaitProcess(child, 1, &status), ZAT_FAILED);
    ASSERT_EQ(zatOSWCreateProcess(&child, script.c_str(), nullptr, directory.c_str(), 0), ZAT_OK);
    EXPECT_EQ(zatOSWWaitProcess(child, 0, &status), ZAT_TIMED_OUT);
    kill(child, SIGKILL);
    EXPECT_EQ(zatOSWWaitProcess(child, 1, &status), ZAT_OK);
    EXPECT_EQ(status, 255) << "left as it was";
    for (const char* in : {directory.c_str(), "/no/directory"}) {
        ASSERT_EQ(zatOSWCreateProcess(&child, "/no/program", nullptr, in, 0), ZAT_OK);
        EXPECT_EQ(zatOSWWaitProcess(child, 1, &status), ZAT_OK);
        EXPECT_EQ(status, 127);
    }
    EXPECT_EQ(zatOSWWaitProcess(-1, 0, nullptr), ZAT_FAILED);
}

TEST(OwnProcess, KnowsItsNameAndArguments) {
    char name[ZAT_PROCESS_NAME_BUFFER_SIZE];
    EXPECT_EQ(zatOSWGetProcessName(name), ZAT_OK);
    EXPECT_STREQ(name, "osw_host_services_test");
    char all[600], first[600];
    EXPECT_EQ(zatOSWGetProcessParams(all, 256), ZAT_OK);
    EXPECT_EQ(std::string(all).substr(0, 15), "--gtest_filter=");
    for (const uint32_t size : {1u, 10u}) {
        EXPECT_EQ(zatOSWGetProcessParams(first, size), ZAT_OK);
        EXPECT_EQ(std::string(all).substr(0, strlen(first)), first);
        EXPECT_EQ(strcspn(all, " "), strlen(first)) << "the one that reaches the size is whole";
    }
    EXPECT_EQ(zatOSWGetProcessParams(all, 0), ZAT_FAILED);
    listen();
    setenv("LAST", "one %s", 1);
    EXPECT_EQ(printedBy([] { zatOSWShowEnv(component, 3); }).back(), "LAST=one %s\n");
}

TEST(Sockets, AreWaitedFor) {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    EXPECT_EQ(zatOSWOS2Select(ends, 0, 0, 0, -1), -1);
    std::vector<int32_t> sockets = {ends[0], ends[1], ends[0], ends[1], ends[0]};
    EXPECT_EQ(zatOSWOS2Select(sockets.data(), 2, 0, 0, 10), 0);
    EXPECT_EQ(write(ends[1], "x", 1), 1);
    EXPECT_EQ(zatOSWOS2Select(sockets.data(), 2, 1, 2, -1), 3)
        << "what can be written is an exception";
    EXPECT_EQ(sockets, (std::vector<int32_t>{ends[0], -1, ends[0], -1, ends[0]}));
    int32_t tooHigh = 5000;
    EXPECT_EQ(zatOSWOS2Select(&tooHigh, 1, 0, 0, 0), -1);
}

TEST(Sockets, AreConnectedInTimeOrNot) {
    const int server = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    ASSERT_EQ(bind(server, generic, sizeof address), 0);
    ASSERT_EQ(getsockname(server, generic, &length), 0);
    int32_t client = socket(AF_INET, SOCK_STREAM, 0);
    EXPECT_EQ(zatOSWConnectWithTimeout(client, generic, length, -1), ZatStatus{ECONNREFUSED});
    EXPECT_EQ(zatOSWConnectTimedWait(&client, generic, length, 1000), ZatStatus{ECONNREFUSED});
    EXPECT_EQ(client, -1);
    ASSERT_EQ(::listen(server, 0), 0);
    ZatStatus status = ZAT_OK;
    for (int i = 0; i < 10 && status == ZAT_OK; ++i) {
        client = socket(AF_INET, SOCK_STREAM, 0);
        status = zatOSWConnectWithTimeout(client, generic, length, 100);
        EXPECT_EQ(fcntl(client, F_GETFL) & O_NONBLOCK, 0);
    }
    EXPECT_EQ(status, ZAT_TIMED_OUT) << "nobody accepts";
    char text[16];
    const uint32_t loopback = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(inet_ntoa_r(&loopback, text), ZAT_OK);
    EXPECT_STREQ(text, "127.0.0.1");
    Worker deleted([] {
        zatOSWDeleteTask(pthread_self());
        zatOSWGetHostId();
        pthread_testcancel();
        return ZatStatus{ZAT_OK};
    });
    EXPECT_EQ(deleted.join(), 0xFFFFFFFF) << "its deletion does not end the process";
    const uint32_t host = zatOSWGetHostId();
    EXPECT_NE(host, 0u);
}

}  // namespace
