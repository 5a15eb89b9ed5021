// What the user asked for on the command line.
#ifndef ZATLOG_OPTIONS_H
#define ZATLOG_OPTIONS_H

#include <string>

#include "record_text.h"

struct Options {
    LineStyle style;
    bool newestFirst = false;
    const char* since = nullptr;  // limits as calendar.h reads them
    const char* until = nullptr;
    std::string grep;  // only records whose lines contain it; empty = all
    bool ignoreCase = false;
    bool header = false;  // what the headers say, instead of records
    bool help = false;
    bool version = false;
    char** files = nullptr;  // up to a null pointer
};

// Reads the command line; false, after a message on standard error, when it makes no sense.
bool readOptions(int count, char** words, Options& options);

// The text of --help.
extern const char helpText[];

#endif
