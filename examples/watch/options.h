// What the user asked for on the command line.
#ifndef WATCH_OPTIONS_H
#define WATCH_OPTIONS_H

enum class Role {
    Both,        // a sampler and a controller, a process each
    Sampler,     // only the sampler
    Controller,  // only the controller
    Ask,         // asks a controller for a report
    Log,         // prints the logs, or saves one
};

struct Options {
    Role role = Role::Both;
    double alarmPercent = 90.0;    // processor use that raises the alarm
    unsigned seconds = 0;          // how long to run; 0 = until Ctrl-C
    const char* saveAs = nullptr;  // file for the log of readings
    bool reports = false;          // report once a second from the beginning
    bool help = false;
};

// Reads the command line; false, after a message on standard error, when it makes no sense.
bool readOptions(int count, char** words, Options& options);

void printHelp(const char* program);

#endif
