#include "options.h"

#include <getopt.h>
#include <stdio.h>
#include <stdlib.h>

#include <iterator>

const char helpText[] =
    "Usage: zatipc [OPTION...] [COMMAND]\n"
    "Looks at the objects that processes share by name.\n"
    "\n"
    "  list                 all objects (also without a command)\n"
    "  show NAME            all that is known of the objects with this name\n"
    "  watch                list again and again\n"
    "  check                what is held by the dead, damaged, or nobody's\n"
    "  clean                remove what a dead system left behind, after a question\n"
    "\n"
    "  -d, --directory=DIR  key directory, instead of GEN_MSGQ_PATH or /tmp/.zat-msgq/\n"
    "  -j, --json           print JSON (list, show, watch, check)\n"
    "  -w, --wait=MS        wait so long for each lock semaphore, at most 60000; default 200\n"
    "  -i, --interval=MS    pause between two looks of watch; default 1000\n"
    "  -n, --count=NUMBER   end watch after so many looks\n"
    "  -y, --yes            clean without a question\n"
    "  -h, --help           print this text\n"
    "  -V, --version        print the version\n"
    "\n"
    "The exit status is 1 when something was found: a lock semaphore that was not free, damage,\n"
    "findings of check, no object of the name, an answer of no; 2 for wrong usage and failures.\n";

static const option longOptions[] = {{"directory", required_argument, nullptr, 'd'},
                                     {"json", no_argument, nullptr, 'j'},
                                     {"wait", required_argument, nullptr, 'w'},
                                     {"interval", required_argument, nullptr, 'i'},
                                     {"count", required_argument, nullptr, 'n'},
                                     {"yes", no_argument, nullptr, 'y'},
                                     {"help", no_argument, nullptr, 'h'},
                                     {"version", no_argument, nullptr, 'V'},
                                     {nullptr, 0, nullptr, 0}};

static bool refuse(const char* what, const char* word) {
    if (what != nullptr) fprintf(stderr, "zatipc: %s: %s\n", what, word);
    fputs("Try zatipc --help\n", stderr);
    return false;
}

static bool readNumber(const char* text, uint32_t most, uint32_t& number) {
    char* end = nullptr;
    if (text[0] < '0' || text[0] > '9') return false;
    const unsigned long long value = strtoull(text, &end, 10);
    if (*end != '\0' || value > most) return false;
    number = static_cast<uint32_t>(value);
    return true;
}

static bool readOption(int letter, Options& options) {
    constexpr uint32_t hourMs = 3600 * 1000;
    switch (letter) {
    case 'd':
        options.directory = optarg;
        if (!options.directory.ends_with('/')) options.directory += '/';
        return true;
    case 'w':
        return readNumber(optarg, 60000, options.waitMs);
    case 'i':
        return readNumber(optarg, hourMs, options.intervalMs);
    case 'n':
        return readNumber(optarg, UINT32_MAX, options.count);
    default:
        break;
    }
    bool& flag = letter == 'j'   ? options.json
                 : letter == 'y' ? options.yes
                 : letter == 'h' ? options.help
                                 : options.version;
    flag = true;
    return true;
}

static bool readCommand(char** words, int count, Options& options) {
    static const char* const commands[] = {"list", "show", "watch", "check", "clean"};
    if (count == 0) return true;
    const std::string word = words[0];
    size_t i = 0;
    while (i < std::size(commands) && word != commands[i])
        ++i;
    if (i == std::size(commands)) return refuse("no command", words[0]);
    options.command = static_cast<Command>(i);
    const int arguments = options.command == Command::Show ? 1 : 0;
    if (count - 1 < arguments) return refuse("which object", "show NAME");
    if (count - 1 > arguments) return refuse("one word too many", words[arguments + 1]);
    if (arguments == 1) options.name = words[1];
    if (options.json && options.command == Command::Clean) return refuse("no JSON", words[0]);
    return true;
}

bool readOptions(int count, char** words, Options& options) {
    // As the library reads it: a plain prefix, which may be empty.
    const char* chosen = getenv("GEN_MSGQ_PATH");
    options.directory = chosen != nullptr ? chosen : "/tmp/.zat-msgq/";
    int letter = 0;
    while ((letter = getopt_long(count, words, "d:jw:i:n:yhV", longOptions, nullptr)) != -1) {
        if (letter == '?') return refuse(nullptr, nullptr);  // getopt_long() has said why
        if (!readOption(letter, options)) return refuse("no number, or too large", optarg);
    }
    return readCommand(words + optind, count - optind, options);
}
