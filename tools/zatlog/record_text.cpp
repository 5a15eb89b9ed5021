#include "record_text.h"

#include <stdarg.h>
#include <stdio.h>

#include "calendar.h"
#include "gen/dump_line_private.h"

// Kinds of binary records, by their first word.
static constexpr uint32_t kindTrace = 0;
static constexpr uint32_t kindError = 1;
static constexpr uint32_t kindDump = 2;
static constexpr uint32_t kindWarning = 3;
static constexpr uint32_t kindCount = 4;
static constexpr size_t kindSize = 4;
static constexpr size_t headSizes[kindCount] = {76, 60, 56, 60};

// Their fields.
static constexpr size_t componentOffset = 4;
static constexpr size_t fileNameOffset = 8;
static constexpr size_t fileNameSize = 32;
static constexpr size_t lineOffset = 40;
static constexpr size_t taskOffset = 44;
static constexpr size_t threadOffset = 48;
static constexpr size_t detailOffset = 52;  // arguments, codes or a size
static constexpr size_t argumentCount = 6;

static const struct {
    uint32_t id;
    const char* name;
} components[] = {{0x0000, "SYSTEM"}, {0x0030, "IPC"}, {0x2000, "GEN"}, {0x2001, "CLB"},
                  {0x2002, "OSW"},    {0x2003, "TTR"}, {0x2004, "EVT"}, {0x2007, "TOL"}};

static const char* componentName(uint32_t id) {
    for (const auto& component : components)
        if (component.id == id) return component.name;
    return "OTHERS";
}

// Adds what fits into a line of binary records, which is never longer.
[[gnu::format(printf, 2, 3)]] static void append(std::string& text, const char* format, ...) {
    char line[512];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    text += line;
}

// A C string ends at its first NUL, here also without one.
static std::string_view untilNul(std::string_view text) {
    return text.substr(0, text.find('\0'));
}

std::string timeText(uint32_t seconds, uint32_t nanoseconds, const LineStyle& style) {
    const tm time = calendarTime(seconds, style.utc);
    char clock[64];
    strftime(clock, sizeof clock, style.date ? "%Y-%m-%d %H:%M:%S" : "%H:%M:%S", &time);
    std::string text;
    append(text, "%s.%06lu", clock, static_cast<unsigned long>(nanoseconds / 1000));
    return text;
}

static void appendDump(std::string& text, const std::string& time, std::string_view bytes) {
    genForDumpLines(reinterpret_cast<const uint8_t*>(bytes.data()),
                    static_cast<uint32_t>(bytes.size()), GenDumpGroup::OfOne,
                    [&](const GenDumpLine& line, const uint8_t*) {
                        append(text, "%s %s | %s\n", time.c_str(), line.hex, line.characters);
                        return true;
                    });
}

// The line of a record of a known kind, whose head is whole.
static std::string binaryLine(std::string_view payload, bool bigEndian, const std::string& time) {
    const auto word = [=](size_t offset) { return numberAt(payload, offset, 4, bigEndian); };
    const auto number = [=](size_t offset) { return static_cast<int>(word(offset)); };
    const uint32_t kind = word(0);
    const uint32_t component = word(componentOffset);
    const std::string fileName(untilNul(payload.substr(fileNameOffset, fileNameSize)));
    std::string text;
    append(text, "%s %s(0x%x):(%d:%lu)", time.c_str(), componentName(component), component,
           number(taskOffset), static_cast<unsigned long>(word(threadOffset)));
    if (kind == kindError || kind == kindWarning) {
        append(text, ":<%s>(0x%08x:0x%08x):%s:%d\n", kind == kindError ? "Error" : "Warning",
               word(detailOffset), word(detailOffset + 4), fileName.c_str(), number(lineOffset));
        return text;
    }
    append(text, ":%s:%d:", fileName.c_str(), number(lineOffset));
    if (kind == kindDump) append(text, "dump(size=%d)", number(detailOffset));
    for (size_t i = 0; kind == kindTrace && i < argumentCount; ++i) {
        const size_t offset = detailOffset + 4 * i;
        append(text, "%s%d(0x%x)", i == 0 ? "args=" : ",", number(offset), word(offset));
    }
    return text + '\n';
}

// The kind of a binary record that has its head; kindCount when it is none of these.
static uint32_t kindOf(std::string_view payload, bool bigEndian) {
    if (payload.size() < kindSize) return kindCount;
    const uint32_t kind = numberAt(payload, 0, kindSize, bigEndian);
    return kind < kindCount && payload.size() >= headSizes[kind] ? kind : kindCount;
}

static std::string binaryText(std::string_view payload, bool bigEndian, const std::string& time) {
    const uint32_t kind = kindOf(payload, bigEndian);
    std::string text;
    if (kind != kindCount) {
        text = binaryLine(payload, bigEndian, time);
        if (kind == kindDump) appendDump(text, time, payload.substr(headSizes[kind]));
        return text;
    }
    // Of another kind, the first word is the head; a head that was cut is shown as it is.
    const bool isOther =
        payload.size() >= kindSize && numberAt(payload, 0, kindSize, bigEndian) >= kindCount;
    appendDump(text, time, payload.substr(isOther ? kindSize : 0));
    return text;
}

// Text never begins with a word that small, and hardly ever has one of these lengths.
static bool looksBinary(std::string_view payload, bool bigEndian) {
    const uint32_t kind = kindOf(payload, bigEndian);
    if (kind == kindCount) return false;
    const size_t rest = payload.size() - headSizes[kind];
    // The log may have cut a long dump.
    return rest == 0 || (kind == kindDump && rest <= numberAt(payload, detailOffset, 4, bigEndian));
}

std::string recordText(const LogRecord& record, bool bigEndian, const LineStyle& style) {
    const std::string time = timeText(record.seconds, record.nanoseconds, style);
    if (style.format == RecordFormat::Binary ||
        (style.format == RecordFormat::Auto && looksBinary(record.payload, bigEndian)))
        return binaryText(record.payload, bigEndian, time);
    std::string text = time + ' ';
    text += untilNul(record.payload);
    if (text.back() != '\n') text += '\n';
    return text;
}
