// A log file as a whole: its header, where its records are, and what is wrong with it.
//
// The file is kept in memory as it was read. The sizes of records lead from one to the next, so an
// impossible one ends the walk; every other fault is noted, and the walk goes on.
#ifndef ZATLOG_LOG_FILE_H
#define ZATLOG_LOG_FILE_H

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <string_view>
#include <vector>

// One fault in words: "<what> <found>, <rule> <limit>"; without a rule it is only <what>.
struct LogFault {
    size_t offset;  // in the file
    const char* what;
    uint32_t found;
    const char* rule;
    uint32_t limit;
};

struct LogFile {
    std::string bytes;
    bool readable = false;  // the header is there, and of the known version
    bool bigEndian = false;
    uint32_t version = 0;
    uint32_t ringSize = 0;          // bytes
    uint32_t seconds = 0;           // when the file was written, since 1970
    uint32_t nanoseconds = 0;       // and the rest of it
    std::vector<uint32_t> records;  // where each begins, oldest first
    std::vector<LogFault> faults;   // the first of them
    size_t faultCount = 0;
};

struct LogRecord {
    uint32_t seconds;
    uint32_t nanoseconds;
    std::string_view payload;  // what of it lies inside the record
};

// A number of two or four bytes at an offset that is inside.
uint32_t numberAt(std::string_view bytes, size_t offset, size_t size, bool bigEndian);

// Reads a file whole, standard input for "-". Returns 0 or an error number, EFBIG for a file above
// 256 MiB; after any other error, what was read before it is there.
int readWhole(const char* path, std::string& bytes);

// Finds header, records and faults in bytes that may hold anything.
LogFile parseLog(std::string bytes);

// The record that begins at one of the offsets of `records`.
LogRecord recordAt(const LogFile& log, size_t offset);

#endif
