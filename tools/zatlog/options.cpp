#include "options.h"

#include <getopt.h>
#include <stdio.h>

#include <string_view>

#include "calendar.h"

const char helpText[] =
    "Usage: zatlog [OPTION...] FILE...\n"
    "Prints log files that zatGENTrcCreateLogFile wrote, on a controller of either byte order.\n"
    "FILE - is standard input.\n"
    "\n"
    "  -n, --newest-first   begin with the newest record instead of the oldest\n"
    "  -S, --since=TIME     only records from this time on\n"
    "  -U, --until=TIME     only records up to this time\n"
    "  -g, --grep=TEXT      only records with TEXT in their lines\n"
    "  -i, --ignore-case    upper and lower case are the same to --grep\n"
    "  -u, --utc            universal time instead of local time\n"
    "  -d, --date           lines begin with the date\n"
    "  -f, --format=FORMAT  auto (told by each record's shape), text or binary\n"
    "  -H, --header         print what the files' headers say instead of their records\n"
    "  -h, --help           print this text\n"
    "  -V, --version        print the version\n"
    "\n"
    "TIME is \"YYYY-MM-DD HH:MM:SS\", YYYY-MM-DD, HH:MM:SS (on the day that the file was\n"
    "written) or @SECONDS since 1970; seconds may have a fraction.\n"
    "The exit status is 1 for a damaged or unreadable file, 2 for wrong usage.\n";

static const option longOptions[] = {
    {"newest-first", no_argument, nullptr, 'n'}, {"since", required_argument, nullptr, 'S'},
    {"until", required_argument, nullptr, 'U'},  {"grep", required_argument, nullptr, 'g'},
    {"ignore-case", no_argument, nullptr, 'i'},  {"utc", no_argument, nullptr, 'u'},
    {"date", no_argument, nullptr, 'd'},         {"format", required_argument, nullptr, 'f'},
    {"header", no_argument, nullptr, 'H'},       {"help", no_argument, nullptr, 'h'},
    {"version", no_argument, nullptr, 'V'},      {nullptr, 0, nullptr, 0}};

static bool refuse() {
    fputs("Try zatlog --help\n", stderr);
    return false;
}

// Sets what an option without an argument stands for; false for all others.
static bool setFlag(int letter, Options& options) {
    const struct {
        int letter;
        bool* flag;
    } flags[] = {{'n', &options.newestFirst}, {'i', &options.ignoreCase}, {'u', &options.style.utc},
                 {'d', &options.style.date},  {'H', &options.header},     {'h', &options.help},
                 {'V', &options.version}};
    for (const auto& known : flags) {
        if (known.letter != letter) continue;
        *known.flag = true;
        return true;
    }
    return false;
}

static bool readFormat(std::string_view word, RecordFormat& format) {
    format = word == "binary" ? RecordFormat::Binary
             : word == "text" ? RecordFormat::Text
                              : RecordFormat::Auto;
    return format != RecordFormat::Auto || word == "auto";
}

static bool readArgument(int letter, Options& options) {
    if (letter == 'g') {
        options.grep = optarg;
        return true;
    }
    if (letter == 'f') return readFormat(optarg, options.style.format);
    int64_t limit = 0;
    (letter == 'S' ? options.since : options.until) = optarg;
    return readLimit(optarg, 0, true, false, limit);
}

bool readOptions(int count, char** words, Options& options) {
    int letter = 0;
    while ((letter = getopt_long(count, words, "nS:U:g:iudf:HhV", longOptions, nullptr)) != -1) {
        if (letter == '?') return refuse();  // getopt_long() has said why
        if (setFlag(letter, options) || readArgument(letter, options)) continue;
        fprintf(stderr, "zatlog: no %s: %s\n", letter == 'f' ? "format" : "time", optarg);
        return refuse();
    }
    options.files = words + optind;
    if (optind < count || options.help || options.version) return true;
    fputs("zatlog: which file?\n", stderr);
    return refuse();
}
