/* Child processes: all that takes memory is done before the fork. */

#include "osw/process.h"

#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include "osw/errno_private.h"
#include "osw/lock_private.h"
#include "osw/mem_part.h"

/* A block of partition 0, for the life of a scope. */
class ProcessBlock {
  public:
    ProcessBlock() = default;
    ProcessBlock(const ProcessBlock&) = delete;
    ProcessBlock& operator=(const ProcessBlock&) = delete;
    ~ProcessBlock() { zatOSWOrgFreeMemPart(0, block_); }

    ZatStatus allocate(size_t size) {
        return zatOSWOrgAllocMemPart(0, &block_, static_cast<uint32_t>(size));
    }

    char* text() const { return static_cast<char*>(block_); }
    char** words() const { return static_cast<char**>(block_); }

  private:
    void* block_ = nullptr;
};

/* The environment of this process, then the variables. They are only read. */
static ZatStatus buildEnvironment(const char* variables, ProcessBlock& block) {
    size_t count = 0;
    for (char** own = environ; own != nullptr && *own != nullptr; ++own)
        ++count;
    for (const char* more = variables; more != nullptr && *more != '\0'; more += strlen(more) + 1)
        ++count;
    if (count == 0) return ZAT_FAILED;
    if (const ZatStatus status = block.allocate((count + 1) * sizeof(char*)); status != ZAT_OK)
        return status;
    char** word = block.words();
    char** const end = word + count;
    for (char** own = environ; own != nullptr && *own != nullptr && word < end; ++own)
        *word++ = *own;
    for (const char* more = variables; more != nullptr && *more != '\0' && word < end;
         more += strlen(more) + 1)
        *word++ = const_cast<char*>(more);
    *word = nullptr;
    return ZAT_OK;
}

static ZatStatus buildCommand(const char* command, const char* root, bool inTerminal,
                              ProcessBlock& block) {
    static constexpr char terminal[] = "/usr/bin/gnome-terminal --execute %s/.term-command %s %s";
    const size_t size = sizeof terminal + 2 * strlen(root) + strlen(command);
    if (const ZatStatus status = block.allocate(size); status != ZAT_OK) return status;
    if (inTerminal)
        snprintf(block.text(), size, terminal, root, root, command);
    else
        memcpy(block.text(), command, strlen(command) + 1);
    return ZAT_OK;
}

/* Whether a blank splits here; keeps count of the quotes. */
static bool splits(char character, bool& isQuoted) {
    if (character == '"') isQuoted = !isQuoted;
    return character == ' ' && !isQuoted;
}

/* Cuts the command up in place. */
static ZatStatus buildArguments(char* command, ProcessBlock& block) {
    size_t count = 1;
    bool isQuoted = false;
    for (const char* at = command; *at != '\0'; ++at)
        count += splits(*at, isQuoted);
    if (const ZatStatus status = block.allocate((count + 1) * sizeof(char*)); status != ZAT_OK)
        return status;
    char** word = block.words();
    *word++ = command;
    isQuoted = false;
    for (char* at = command; *at != '\0'; ++at) {
        if (!splits(*at, isQuoted)) continue;
        *at = '\0';
        *word++ = at + 1;
    }
    *word = nullptr;
    return ZAT_OK;
}

/* In the child, whose other threads are gone with whatever they had locked: system calls only. */
[[noreturn]] static void runProgram(const char* directory, char** arguments, char** environment) {
    static constexpr int cannotRun = 127;
    sigset_t own;
    sigemptyset(&own);
    sigaddset(&own, SIGUSR1);
    sigprocmask(SIG_UNBLOCK, &own, nullptr);
    if (directory == nullptr || chdir(directory) == 0) execve(arguments[0], arguments, environment);
    _exit(cannotRun);
}

static ZatStatus start(int32_t& process, const char* directory, char** arguments,
                       char** environment) {
    const pid_t child = fork();
    if (child == 0) runProgram(directory, arguments, environment);
    process = child;
    return child < 0 ? ZatStatus{ZAT_FAILED} : ZatStatus{ZAT_OK};
}

ZatStatus zatOSWCreateProcess(int32_t* process, const char* command, const char* variables,
                              const char* directory, uint32_t flags) {
    const OswKeepErrno keepErrno;
    if (command == nullptr) return ZAT_FAILED;
    ProcessBlock environment;
    ZatStatus status = buildEnvironment(variables, environment);
    if (status != ZAT_OK) return status;
    const char* root = getenv("FRAMEWORKROOT");
    if (root == nullptr) return ZAT_OK;
    const bool inTerminal = (flags & ZAT_PROCESS_IN_TERMINAL) != 0;
    ProcessBlock text;
    ProcessBlock arguments;
    status = buildCommand(command, root, inTerminal, text);
    if (status == ZAT_OK) status = buildArguments(text.text(), arguments);
    int32_t child = 0;
    if (status == ZAT_OK) status = start(child, directory, arguments.words(), environment.words());
    if (status != ZAT_OK) return status;
    if (inTerminal) zatOSWWaitProcess(child, 1, nullptr);
    if (process != nullptr) *process = inTerminal ? 0 : child;
    return ZAT_OK;
}

ZatStatus zatOSWWaitProcess(int32_t process, uint32_t wait, int32_t* status) {
    const OswKeepErrno keepErrno;
    /* Numbers that are not above 0 mean any child. */
    if (process <= 0) return ZAT_FAILED;
    int state = 0;
    pid_t ended = 0;
    do {
        ended = waitpid(process, &state, wait != 0 ? 0 : WNOHANG);
    } while (ended < 0 && errno == EINTR);
    if (ended < 0) return ZAT_FAILED;
    if (ended == 0) return ZAT_TIMED_OUT;
    if (WIFEXITED(state) && status != nullptr) *status = WEXITSTATUS(state);
    return ZAT_OK;
}
