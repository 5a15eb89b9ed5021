#include "options.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

static constexpr unsigned secondsWithoutTerminal = 5;
static constexpr unsigned longestRun = 4000000;  // seconds, what fits in 32-bit milliseconds

void printHelp(const char* program) {
    printf(
        "Usage: %s [sampler | controller | ask | log] [--alarm PERCENT] [--seconds N]\n"
        "       [--report] [--c COMMANDS] [--no-stdin]\n"
        "       %s log [--save FILE]\n"
        "Watches this machine. A sampler reads its processors, memory and load ten times a "
        "second,\n"
        "a controller keeps the latest ones and has a console: two processes, of which either may\n"
        "be killed and started again while the other goes on. ? lists the console's commands.\n"
        "\n"
        "  sampler          run only the sampler\n"
        "  controller       run only the controller\n"
        "  ask              ask the controller that runs for a report, now\n"
        "  log              print the logs of those that run: trouble, errors, readings\n"
        "  --save FILE      do not print the readings but save them in a file for zatlog\n"
        "  --alarm PERCENT  processor use that raises the alarm (default 90)\n"
        "  --report         report once a second from the beginning\n"
        "  --c COMMANDS     what the console does first, separated by commas\n"
        "  --no-stdin       the console does not read standard input\n"
        "  --seconds N      how long to run; 0 = until Ctrl-C (default 0, but %u when standard\n"
        "                   input is no terminal)\n"
        "  --help           this text\n",
        program, program, secondsWithoutTerminal);
}

// The role that a word names; false when it names none.
static bool readRole(const char* word, Role& role) {
    static const struct {
        const char* name;
        Role role;
    } roles[] = {{"sampler", Role::Sampler},
                 {"controller", Role::Controller},
                 {"ask", Role::Ask},
                 {"log", Role::Log}};
    for (const auto& known : roles) {
        if (strcmp(word, known.name) != 0) continue;
        role = known.role;
        return true;
    }
    return false;
}

// The number after an option, in the given range.
static bool readNumber(const char* option, const char* word, double highest, double& number) {
    char* end = nullptr;
    number = word == nullptr ? -1.0 : strtod(word, &end);
    if (word != nullptr && end != word && *end == '\0' && number >= 0.0 && number <= highest)
        return true;
    fprintf(stderr, "%s needs a number from 0 to %.0f\n", option, highest);
    return false;
}

static bool readFile(const char* option, const char* word, const char*& file) {
    file = word;
    if (word == nullptr) fprintf(stderr, "%s needs a file\n", option);
    return word != nullptr;
}

static bool isConsoleOption(const char* word) {
    return strcmp(word, "--c") == 0 || strcmp(word, "--stdin") == 0 ||
           strcmp(word, "--no-stdin") == 0;
}

bool readOptions(int count, char** words, Options& options) {
    if (!isatty(STDIN_FILENO)) options.seconds = secondsWithoutTerminal;
    for (int i = 1; i < count; ++i) {
        const char* word = words[i];
        double number = 0.0;
        if (isConsoleOption(word)) {
            // The console looks for them itself; one of them has a value.
            if (strcmp(word, "--c") == 0 && i + 1 < count) ++i;
        } else if (strcmp(word, "--report") == 0) {
            options.reports = true;
        } else if (strcmp(word, "--help") == 0) {
            options.help = true;
        } else if (strcmp(word, "--save") == 0) {
            if (!readFile(word, words[++i], options.saveAs)) return false;
        } else if (strcmp(word, "--alarm") == 0) {
            if (!readNumber(word, words[++i], 100.0, options.alarmPercent)) return false;
        } else if (strcmp(word, "--seconds") == 0) {
            if (!readNumber(word, words[++i], longestRun, number)) return false;
            options.seconds = static_cast<unsigned>(number);
        } else if (!readRole(word, options.role)) {
            fprintf(stderr, "Unknown word %s; try --help\n", word);
            return false;
        }
    }
    return true;
}
