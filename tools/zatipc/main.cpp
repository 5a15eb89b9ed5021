// zatipc: looks at the objects that processes share by name, and clears away what the dead left.

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <new>

#include "check.h"
#include "clean.h"
#include "options.h"
#include "print.h"
#include "table.h"
#include "zatlog/output.h"

enum ExitStatus { FINE = 0, FOUND = 1, FAILED = 2 };

static ExitStatus fail(const std::string& what, const char* why) {
    flushOutput();
    fprintf(stderr, "zatipc: %s: %s\n", what.c_str(), why);
    return FAILED;
}

static ExitStatus failDirectory(const Options& options, int error) {
    return fail(options.directory, strerror(error));
}

// Behind what was printed: what keeps it from being the whole truth.
static ExitStatus sayFaults(const Table& table) {
    flushOutput();
    const std::vector<std::string> locks = lockFaults(table);
    for (const std::string& fault : locks)
        fprintf(stderr, "zatipc: %s; read without it\n", fault.c_str());
    for (const std::string& fault : table.damage)
        fprintf(stderr, "zatipc: damaged: %s\n", fault.c_str());
    return locks.empty() && table.damage.empty() ? FINE : FOUND;
}

static ExitStatus list(const KeyDirectory& directory, const Options& options) {
    const Table table = readTable(directory, {options.waitMs, false});
    if (table.error != 0) return failDirectory(options, table.error);
    writeText(options.json ? listJson(directory, table) + '\n' : listText(directory, table));
    return sayFaults(table);
}

static ExitStatus show(const KeyDirectory& directory, const Options& options) {
    Table table = readTable(directory, {options.waitMs, true});
    if (table.error != 0) return failDirectory(options, table.error);
    std::erase_if(table.entries,
                  [&](const TableEntry& object) { return nameOf(object.entry) != options.name; });
    if (options.json) writeText(listJson(directory, table) + '\n');
    for (size_t i = 0; !options.json && i < table.entries.size(); ++i)
        writeText((i > 0 ? "\n" : "") + detailsText(table.entries[i]));
    const ExitStatus status = sayFaults(table);
    if (!table.entries.empty()) return status;
    if (!options.json)
        fprintf(stderr, "zatipc: no object is called %s\n", shownName(options.name).c_str());
    return FOUND;
}

static ExitStatus watch(const KeyDirectory& directory, const Options& options) {
    const bool isTerminal = isatty(STDOUT_FILENO) != 0 && !options.json;
    ExitStatus status = FINE;
    for (uint32_t look = 1;; ++look) {
        // Not by way of writeText(), which keeps such things from a terminal.
        if (isTerminal) fputs("\033[H\033[J", stdout);
        const ExitStatus now = list(directory, options);
        if (now != FINE) status = now;
        if (flushOutput() != 0 || now == FAILED || look == options.count) return status;
        pauseFor(options.intervalMs);
        if (!isTerminal && !options.json) writeText("\n");
    }
}

static ExitStatus check(const KeyDirectory& directory, const Options& options) {
    const Findings findings = checkObjects(directory, options.waitMs);
    if (findings.error != 0) return failDirectory(options, findings.error);
    if (options.json) {
        writeText("{\"findings\":" + jsonOf(findings.wrong) +
                  ",\"notes\":" + jsonOf(findings.notes) + "}\n");
    } else {
        for (const std::string& text : findings.wrong)
            writeText(text + '\n');
        for (const std::string& text : findings.notes)
            writeText("note: " + text + '\n');
        if (findings.wrong.empty()) writeText("nothing is wrong\n");
    }
    return findings.wrong.empty() ? FINE : FOUND;
}

static bool isWanted() {
    writeText("Remove these? [y/N] ");
    flushOutput();
    const int letter = getchar();
    if (letter == EOF) writeText("\n");
    return letter == 'y' || letter == 'Y';
}

static ExitStatus clean(const KeyDirectory& directory, const Options& options) {
    std::vector<Leftover> plan;
    std::string refusal;
    if (const int error = planCleaning(directory, options.waitMs, plan, refusal); error != 0)
        return failDirectory(options, error);
    if (!refusal.empty()) return fail("nothing is removed", refusal.c_str());
    if (plan.empty()) {
        writeText("nothing to remove\n");
        return FINE;
    }
    if (!options.yes) {
        for (const Leftover& leftover : plan)
            writeText(describe(leftover) + '\n');
        if (!isWanted()) {
            writeText("nothing is removed\n");
            return FOUND;
        }
    }
    const Cleaning cleaning = cleanUp(directory, options.waitMs, plan);
    for (const std::string& text : cleaning.removed)
        writeText("removed: " + text + '\n');
    if (!cleaning.failure.empty()) return fail("not all is removed", cleaning.failure.c_str());
    // What came into use meanwhile is none of ours.
    return cleaning.removed.size() == plan.size() ? FINE : FOUND;
}

static ExitStatus run(const Options& options) {
    static constexpr ExitStatus (*commands[])(const KeyDirectory&, const Options&) = {
        list, show, watch, check, clean};
    const KeyDirectory directory(options.directory);
    ExitStatus status = FINE;
    if (options.help)
        writeText(helpText);
    else if (options.version)
        writeText("zatipc " ZATIPC_VERSION "\n");
    else
        status = commands[static_cast<size_t>(options.command)](directory, options);
    const int failure = flushOutput();
    return failure == 0 ? status : fail("standard output", strerror(failure));
}

int main(int count, char** words) {
    std::set_new_handler([] {
        fputs("zatipc: out of memory\n", stderr);
        _exit(FAILED);
    });
    Options options;
    return readOptions(count, words, options) ? run(options) : FAILED;
}
