/* Records as lines; see record_text_private.h. */

#include "gen/rgnlog/record_text_private.h"

#include <stdio.h>
#include <string.h>
#include <time.h>

#include <algorithm>

#include "clb/local_time.h"
#include "gen/dump_line_private.h"
#include "gen/trace/component_private.h"
#include "gen/trace/maintenance_record_private.h"
#include "gen/trace/output.h"
#include "osw/wide_time_private.h"

static constexpr uint32_t type = ZAT_GEN_TRACE | ZAT_GEN_MONITOR;

struct TimeOfDay {
    tm time;
    unsigned long microseconds;
};

static TimeOfDay timeOf(const GenRingEntry& entry) {
    TimeOfDay result = {};
    const auto seconds = static_cast<time_t>(entry.time.seconds);
    zatCLBLocalTime_r(&seconds, &result.time);
    /* With 32 bits, a time beyond 2038 is one before 1970. */
    if (seconds < 0) oswLocalTime(entry.time.seconds, result.time);
    result.microseconds = entry.time.nanoseconds / 1000;
    return result;
}

#define TIME_FORMAT "%02d:%02d:%02d.%06lu "
#define TIME_ARGUMENTS(now) \
    (now).time.tm_hour, (now).time.tm_min, (now).time.tm_sec, (now).microseconds

void genPrintTextRecord(const GenChannel& channel, const GenRingEntry& entry) {
    const TimeOfDay now = timeOf(entry);
    const auto first = static_cast<int>(entry.firstLength);
    const auto second = static_cast<int>(entry.secondLength);
    const uint8_t* last = second > 0  ? entry.second + second - 1
                          : first > 0 ? entry.first + first - 1
                                      : nullptr;
    const char* end = last != nullptr && *last == '\n' ? "" : "\n";
    zatGENTrcPrintf(channel.component, type, channel.level, TIME_FORMAT "%.*s%.*s%s",
                    TIME_ARGUMENTS(now), first, entry.first, second, entry.second, end);
}

/* A record of the maintenance logs, joined, and what it is printed with. */
struct BinaryRecord {
    const GenChannel& channel;
    TimeOfDay now;
    uint32_t kind;
    union {
        GenMcHead head;
        GenMcEvent event;
        GenMcError error;
        GenMcDump dump;
    };
};

static uint32_t headSizeOf(uint32_t kind) {
    switch (kind) {
    case ZAT_GEN_MC_EVENT:
        return sizeof(GenMcEvent);
    case ZAT_GEN_MC_ERROR:
    case ZAT_GEN_MC_WARNING:
        return sizeof(GenMcError);
    case ZAT_GEN_MC_DUMP:
        return sizeof(GenMcDump);
    default:
        return sizeof kind;
    }
}

/* Copies bytes of the payload, which are there. */
static void copy(const GenRingEntry& entry, uint32_t offset, void* to, uint32_t length) {
    const uint32_t first =
        offset < entry.firstLength ? std::min(length, entry.firstLength - offset) : 0;
    if (first > 0) memcpy(to, entry.first + offset, first);
    if (first < length)
        memcpy(static_cast<uint8_t*>(to) + first,
               entry.second + (offset + first - entry.firstLength), length - first);
}

static void printArguments(const BinaryRecord& record, const char* lineHead) {
    const int32_t* a = record.event.arguments;
    char text[256];
    snprintf(text, sizeof text, "args=%d(0x%x),%d(0x%x),%d(0x%x),%d(0x%x),%d(0x%x),%d(0x%x)", a[0],
             static_cast<unsigned>(a[0]), a[1], static_cast<unsigned>(a[1]), a[2],
             static_cast<unsigned>(a[2]), a[3], static_cast<unsigned>(a[3]), a[4],
             static_cast<unsigned>(a[4]), a[5], static_cast<unsigned>(a[5]));
    zatGENTrcPrintf(record.channel.component, type, record.channel.level, "%s:%.*s:%d:%s\n",
                    lineHead, int{genMcFileSize}, record.head.file, record.head.line, text);
}

static void printLine(const BinaryRecord& record) {
    const GenMcHead& head = record.head;
    char lineHead[1280];
    snprintf(lineHead, sizeof lineHead, TIME_FORMAT "%s(0x%x):(%d:%lu)", TIME_ARGUMENTS(record.now),
             genComponent(head.component).name, head.component, head.kernelThread,
             static_cast<unsigned long>(head.thread));
    switch (record.kind) {
    case ZAT_GEN_MC_EVENT:
        printArguments(record, lineHead);
        return;
    case ZAT_GEN_MC_DUMP:
        zatGENTrcPrintf(record.channel.component, type, record.channel.level,
                        "%s:%.*s:%d:dump(size=%d)\n", lineHead, int{genMcFileSize}, head.file,
                        head.line, record.dump.length);
        return;
    default:
        zatGENTrcPrintf(record.channel.component, type, record.channel.level,
                        record.kind == ZAT_GEN_MC_ERROR ? "%s:<Error>(0x%08x:0x%08x):%.*s:%d\n"
                                                        : "%s:<Warning>(0x%08x:0x%08x):%.*s:%d\n",
                        lineHead, record.error.values[0], record.error.values[1],
                        int{genMcFileSize}, head.file, head.line);
    }
}

static void printDump(const BinaryRecord& record, const GenRingEntry& entry, uint32_t from) {
    while (from < entry.length()) {
        uint8_t bytes[genDumpLineBytes];
        const uint32_t count = std::min(entry.length() - from, genDumpLineBytes);
        copy(entry, from, bytes, count);
        GenDumpLine line;
        genFormatDumpLine(line, bytes, count, GenDumpGroup::OfOne);
        zatGENTrcPrintf(record.channel.component, type, record.channel.level,
                        TIME_FORMAT "%s | %s\n", TIME_ARGUMENTS(record.now), line.hex,
                        line.characters);
        from += count;
    }
}

void genPrintBinaryRecord(const GenChannel& channel, const GenRingEntry& entry) {
    BinaryRecord record = {channel, timeOf(entry), 0, {}};
    copy(entry, 0, &record.kind, std::min<uint32_t>(entry.length(), sizeof record.kind));
    const uint32_t headSize = headSizeOf(record.kind);
    /* Of a record that was cut there is no more than its bytes. */
    if (entry.length() < headSize) {
        printDump(record, entry, 0);
        return;
    }
    const bool isKnown = record.kind <= ZAT_GEN_MC_WARNING;
    if (isKnown) {
        copy(entry, 0, &record.event, headSize);
        printLine(record);
    }
    if (!isKnown || record.kind == ZAT_GEN_MC_DUMP) printDump(record, entry, headSize);
}
