/* What this process is called, was given, and has in its environment. */

#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "gen/trace/output.h"
#include "osw/errno_private.h"
#include "osw/lock_private.h"
#include "osw/process.h"

/* The command line, as far as it is looked at: arguments, each with its NUL. */
struct CommandLine {
    static constexpr size_t longest = 255;
    char text[longest + 1];
    size_t length;

    const char* end() const { return text + length; }
};

static bool readCommandLine(CommandLine& line) {
    const OswUncancellable uncancellable;
    char path[32];
    snprintf(path, sizeof path, "/proc/%d/cmdline", static_cast<int>(getpid()));
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    if (file < 0) return false;
    const ssize_t length = read(file, line.text, CommandLine::longest);
    close(file);
    line.length = length < 0 ? 0 : static_cast<size_t>(length);
    line.text[line.length] = '\0';
    return length >= 0;
}

ZatStatus zatOSWGetProcessName(char* name) {
    const OswKeepErrno keepErrno;
    CommandLine line;
    if (name == nullptr || !readCommandLine(line)) return ZAT_FAILED;
    line.text[strcspn(line.text, " ")] = '\0';
    const char* slash = strrchr(line.text, '/');
    const char* own = slash == nullptr ? line.text : slash + 1;
    /* A dot of a directory is no extension. */
    const char* dot = strrchr(own, '.');
    const size_t length = dot == nullptr ? strlen(own) : static_cast<size_t>(dot - own);
    memcpy(name, own, length);
    name[length] = '\0';
    return ZAT_OK;
}

ZatStatus zatOSWGetProcessParams(char* parameters, uint32_t sizeBytes) {
    const OswKeepErrno keepErrno;
    CommandLine line;
    if (parameters == nullptr || sizeBytes == 0) return ZAT_FAILED;
    memset(parameters, 0, sizeBytes);
    if (!readCommandLine(line)) return ZAT_FAILED;
    const char* separator = "";
    size_t written = 0;
    for (const char* word = line.text + strlen(line.text) + 1; word < line.end();
         word += strlen(word) + 1) {
        const char* quote = strchr(word, ' ') != nullptr ? "\"" : "";
        written += static_cast<size_t>(
            sprintf(parameters + written, "%s%s%s%s", separator, quote, word, quote));
        if (written >= sizeBytes - 1) break;
        separator = " ";
    }
    return ZAT_OK;
}

ZatStatus zatOSWShowEnv(uint32_t component, uint32_t level) {
    const OswKeepErrno keepErrno;
    for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable)
        zatGENTrcPrintf(component, ZAT_GEN_TRACE | ZAT_GEN_MONITOR, level, "%s\n", *variable);
    return ZAT_OK;
}
