#include "support/selfstart.h"

#include <limits.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <sstream>

#include "support/support.h"

extern char** environ;

static constexpr char kRoleOption[] = "--zatosw-role=";

static std::map<std::string, RoleMain>& roles() {
    static std::map<std::string, RoleMain> known;
    return known;
}

SelfRole::SelfRole(const char* name, RoleMain run) {
    roles()[name] = run;
}

// Resolved once: the path is that of the program, not of the emulator that interprets it, and
// /proc/self/exe would name the shell or emulator that is started next.
static std::string selfPath() {
    char path[PATH_MAX];
    ssize_t length = readlink("/proc/self/exe", path, sizeof path);
    return length > 0 ? std::string(path, static_cast<size_t>(length)) : std::string();
}

std::vector<std::string> selfCommand(const std::string& role,
                                     const std::vector<std::string>& arguments) {
    std::vector<std::string> command;
    if (const char* runner = std::getenv("ZATOSW_TEST_RUNNER")) {
        std::istringstream words(runner);
        for (std::string word; words >> word;)
            command.push_back(word);
    }
    command.push_back(selfPath());
    command.push_back(kRoleOption + role);
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
}

pid_t spawn(const std::vector<std::string>& command) {
    std::vector<char*> argv;
    for (const std::string& word : command)
        argv.push_back(const_cast<char*>(word.c_str()));
    argv.push_back(nullptr);
    pid_t child = -1;
    int error = posix_spawnp(&child, argv[0], nullptr, nullptr, argv.data(), environ);
    if (error != 0) {
        errno = error;
        return -1;
    }
    return child;
}

pid_t spawnSelf(const std::string& role, const std::vector<std::string>& arguments) {
    return spawn(selfCommand(role, arguments));
}

int waitForExit(pid_t child, uint64_t limitMs) {
    if (child <= 0) return -1;
    int status = 0;
    pid_t reaped = 0;
    bool ended = waitFor(
        [&] {
            reaped = waitpid(child, &status, WNOHANG);
            return reaped != 0 && !(reaped < 0 && errno == EINTR);
        },
        limitMs);
    if (!ended) {
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
        return -1;
    }
    if (reaped < 0) return -1;
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

void killAndReap(pid_t child) {
    if (child <= 0) return;
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
}

int runRole(int argc, char** argv) {
    if (argc < 2 || std::strncmp(argv[1], kRoleOption, sizeof kRoleOption - 1) != 0) return -1;
    auto role = roles().find(argv[1] + sizeof kRoleOption - 1);
    if (role == roles().end()) {
        std::fprintf(stderr, "%s: no such role: %s\n", argv[0], argv[1]);
        return 127;
    }
    return role->second(std::vector<std::string>(argv + 2, argv + argc));
}
