// zatlog: prints the log files of a controller on the desk.

#include <ctype.h>
#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <new>
#include <utility>

#include "calendar.h"
#include "log_file.h"
#include "options.h"
#include "output.h"
#include "record_text.h"

static bool contains(const std::string& text, const Options& options) {
    const auto same = [&](unsigned char a, unsigned char b) {
        return a == b || (options.ignoreCase && tolower(a) == tolower(b));
    };
    const std::string& part = options.grep;
    return part.empty() ||
           std::search(text.begin(), text.end(), part.begin(), part.end(), same) != text.end();
}

static void printHeader(const char* name, const LogFile& log, LineStyle style) {
    style.date = true;
    writeText("file:       " + std::string(name) +
              "\nbyte order: " + (log.bigEndian ? "big-endian" : "little-endian") +
              "\nversion:    " + std::to_string(log.version) +
              "\nring size:  " + std::to_string(log.ringSize) + " bytes" +
              "\nwritten:    " + timeText(log.seconds, log.nanoseconds, style) +
              "\nrecords:    " + std::to_string(log.records.size()) + '\n');
}

static void printRecords(const LogFile& log, const Options& options) {
    const bool utc = options.style.utc;
    int64_t since = INT64_MIN;
    int64_t until = INT64_MAX;
    if (options.since != nullptr) readLimit(options.since, log.seconds, utc, false, since);
    if (options.until != nullptr) readLimit(options.until, log.seconds, utc, true, until);
    const size_t count = log.records.size();
    for (size_t i = 0; i < count; ++i) {
        const LogRecord record =
            recordAt(log, log.records[options.newestFirst ? count - 1 - i : i]);
        // As exact as what is printed, so that a printed time is a limit that includes its record.
        const int64_t time = int64_t{record.seconds} * 1000000 + record.nanoseconds / 1000;
        if (time < since || time > until) continue;
        const std::string text = recordText(record, log.bigEndian, options.style);
        if (contains(text, options) && !writeText(text)) return;
    }
}

static void complain(const char* name, const LogFault& fault) {
    fprintf(stderr, "zatlog: %s: byte %zu: %s", name, fault.offset, fault.what);
    if (fault.rule != nullptr) fprintf(stderr, " %u, %s %u", fault.found, fault.rule, fault.limit);
    fputc('\n', stderr);
}

// One file; what is wrong with it is said after what can be read. False when it is damaged.
static bool showFile(const char* path, const Options& options) {
    const char* name = strcmp(path, "-") == 0 ? "standard input" : path;
    std::string bytes;
    const int error = readWhole(path, bytes);
    LogFile log;
    if (error == 0 || !bytes.empty()) log = parseLog(std::move(bytes));
    if (log.readable && options.header)
        printHeader(name, log, options.style);
    else if (log.readable)
        printRecords(log, options);
    flushOutput();
    for (const LogFault& fault : log.faults)
        complain(name, fault);
    if (log.faultCount > log.faults.size())
        fprintf(stderr, "zatlog: %s: %zu faults more\n", name, log.faultCount - log.faults.size());
    if (error != 0) {
        fprintf(stderr, "zatlog: %s: %s\n", name,
                error == EFBIG ? "larger than 256 MiB" : strerror(error));
    }
    return error == 0 && log.faults.empty();
}

static int run(const Options& options) {
    int status = 0;
    if (options.help)
        writeText(helpText);
    else if (options.version)
        writeText("zatlog " ZATLOG_VERSION "\n");
    else
        for (char** file = options.files; *file != nullptr && flushOutput() == 0; ++file)
            if (!showFile(*file, options)) status = 1;
    const int failure = flushOutput();
    if (failure == 0) return status;
    fprintf(stderr, "zatlog: standard output: %s\n", strerror(failure));
    return 1;
}

int main(int count, char** words) {
    std::set_new_handler([] {
        fputs("zatlog: out of memory\n", stderr);
        _exit(1);
    });
    Options options;
    return readOptions(count, words, options) ? run(options) : 2;
}
