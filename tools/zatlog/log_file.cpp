#include "log_file.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <utility>

static constexpr size_t largestFile = size_t{256} << 20;
static constexpr size_t headerSize = 20;
static constexpr uint32_t knownVersion = 1;
static constexpr uint32_t clockOffset = 12;

// A record: sizes of the one before and of this one, time stamp, length of the payload.
static constexpr size_t sizeOffset = 4;
static constexpr size_t clockWordsEnd = 16;
static constexpr size_t headSize = 20;
static constexpr size_t mostFaults = 1000;      // that are told one by one
static constexpr uint32_t smallestRecord = 24;  // the head, rounded up to a multiple of 8

uint32_t numberAt(std::string_view bytes, size_t offset, size_t size, bool bigEndian) {
    uint32_t number = 0;
    for (size_t i = 0; i < size; ++i) {
        const size_t at = offset + (bigEndian ? i : size - 1 - i);
        number = number << 8 | static_cast<unsigned char>(bytes[at]);
    }
    return number;
}

int readWhole(const char* path, std::string& bytes) {
    FILE* const file = strcmp(path, "-") == 0 ? stdin : fopen(path, "rb");
    if (file == nullptr) return errno;
    int error = 0;
    char piece[65536];
    while (const size_t count = fread(piece, 1, sizeof piece, file)) {
        bytes.append(piece, count);
        if (bytes.size() <= largestFile) continue;
        bytes.clear();
        error = EFBIG;
        break;
    }
    if (error == 0 && ferror(file) != 0) error = errno;
    if (file != stdin) fclose(file);
    return error;
}

static uint32_t wordAt(const LogFile& log, size_t offset) {
    return numberAt(log.bytes, offset, 4, log.bigEndian);
}

static void note(LogFile& log, size_t offset, const char* what, size_t found = 0,
                 const char* rule = nullptr, size_t limit = 0) {
    if (++log.faultCount > mostFaults) return;
    log.faults.push_back(
        {offset, what, static_cast<uint32_t>(found), rule, static_cast<uint32_t>(limit)});
}

// Says whether there is a way on from the header to the records.
static bool readHeader(LogFile& log) {
    const std::string_view mark = std::string_view(log.bytes).substr(0, 2);
    log.bigEndian = mark == "BB";
    if (mark.size() == 2 && !log.bigEndian && mark != "LL") {
        note(log, 0, "no log file: the byte order mark is neither BB nor LL");
        return false;
    }
    if (log.bytes.size() < headerSize) {
        note(log, log.bytes.size(), "cut: header bytes", log.bytes.size(), "of", headerSize);
        return false;
    }
    log.version = numberAt(log.bytes, 2, 2, log.bigEndian);
    log.ringSize = wordAt(log, 4);
    log.seconds = wordAt(log, clockOffset);
    log.nanoseconds = wordAt(log, clockOffset + 4);
    if (log.version != knownVersion) {
        note(log, 2, "format version", log.version, "known is", knownVersion);
        return false;
    }
    if (log.ringSize == 0) note(log, 4, "ring size", 0, "must be at least", 8);
    const uint32_t clock = wordAt(log, 8);
    if (clock != clockOffset) note(log, 8, "offset of the clock", clock, "must be", clockOffset);
    return true;
}

// A ring with less room than a head holds one record without a length.
static bool isBare(const LogFile& log, uint32_t size) {
    return (size == 8 || size == 16) && log.bytes.size() == headerSize + size;
}

// The size of a record, 0 after a note when there is no way on from it.
static uint32_t soundSize(LogFile& log, size_t offset) {
    const size_t left = log.bytes.size() - offset;
    if (left < sizeOffset + 4) {
        note(log, offset, "cut: bytes of a record", left, "its head has", headSize);
        return 0;
    }
    const uint32_t size = wordAt(log, offset + sizeOffset);
    if (size % 8 != 0)
        note(log, offset, "record size", size, "must be a multiple of", 8);
    else if (size < smallestRecord && !isBare(log, size))
        note(log, offset, "record size", size, "must be at least", smallestRecord);
    else if (size > left)
        note(log, offset, "cut: record size", size, "bytes that are left:", left);
    else
        return size;
    return 0;
}

static void findRecords(LogFile& log) {
    uint32_t before = 0;
    size_t offset = headerSize;
    while (offset < log.bytes.size()) {
        const uint32_t size = soundSize(log, offset);
        if (size == 0) return;
        const uint32_t prev = wordAt(log, offset);
        if (!log.records.empty() && prev != before)
            note(log, offset, "size of the record before", prev, "but that one has", before);
        if (!isBare(log, size)) {
            const uint32_t length = wordAt(log, offset + clockWordsEnd);
            const size_t room = size - headSize;
            if (length > room) note(log, offset, "payload length", length, "has room for", room);
        }
        log.records.push_back(static_cast<uint32_t>(offset));
        before = size;
        offset += size;
    }
    if (offset - headerSize > log.ringSize)
        note(log, 4, "ring size", log.ringSize, "bytes of records:", offset - headerSize);
    if (log.records.empty() || isBare(log, before)) return;
    const uint32_t newest = wordAt(log, headerSize);
    if (newest != before)
        note(log, headerSize, "size of the newest record", newest, "but the last one has", before);
}

LogFile parseLog(std::string bytes) {
    LogFile log;
    log.bytes = std::move(bytes);
    log.readable = readHeader(log);
    if (log.readable) findRecords(log);
    return log;
}

LogRecord recordAt(const LogFile& log, size_t offset) {
    const uint32_t size = wordAt(log, offset + sizeOffset);
    LogRecord record = {0, 0, {}};
    if (size >= clockWordsEnd) {
        record.seconds = wordAt(log, offset + 8);
        record.nanoseconds = wordAt(log, offset + 12);
    }
    if (size >= smallestRecord) {
        const size_t length = wordAt(log, offset + clockWordsEnd);
        record.payload = std::string_view(log.bytes).substr(offset + headSize,
                                                            std::min(length, size - headSize));
    }
    return record;
}
