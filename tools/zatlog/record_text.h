// Records as lines of text, the same that the controller prints.
#ifndef ZATLOG_RECORD_TEXT_H
#define ZATLOG_RECORD_TEXT_H

#include <string>

#include "log_file.h"

enum class RecordFormat {
    Auto,  // binary where the payload has the shape of such a record, else text
    Text,
    Binary,
};

// What the user wants lines to look like.
struct LineStyle {
    RecordFormat format = RecordFormat::Auto;
    bool utc = false;   // instead of local time
    bool date = false;  // before the time of day
};

// The beginning of each line.
std::string timeText(uint32_t seconds, uint32_t nanoseconds, const LineStyle& style);

// The record's lines, each with its newline; empty for a binary record without anything to show.
std::string recordText(const LogRecord& record, bool bigEndian, const LineStyle& style);

#endif
