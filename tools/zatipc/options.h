// What the user asked for on the command line.
#ifndef ZATIPC_OPTIONS_H
#define ZATIPC_OPTIONS_H

#include <stdint.h>

#include <string>

enum class Command { List, Show, Watch, Check, Clean };

struct Options {
    Command command = Command::List;
    std::string name;       // of the object to show
    std::string directory;  // prefix of the key files
    uint32_t waitMs = 200;  // for a lock semaphore
    uint32_t intervalMs = 1000;
    uint32_t count = 0;  // looks of watch; 0 = no end
    bool json = false;
    bool yes = false;
    bool help = false;
    bool version = false;
};

// Reads the command line; false, after a message on standard error, when it makes no sense.
bool readOptions(int count, char** words, Options& options);

// The text of --help.
extern const char helpText[];

#endif
