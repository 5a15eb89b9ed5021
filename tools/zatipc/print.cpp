#include "print.h"

#include <stdio.h>

#include <algorithm>

#include "object.h"
#include "processes.h"

static constexpr std::string ListRow::*columns[] = {
    &ListRow::name, &ListRow::type,  &ListRow::uses,    &ListRow::process,
    &ListRow::task, &ListRow::state, &ListRow::waiters, &ListRow::value};

// Left-aligned but for the numbers; the last column is not filled up.
static std::string lineOf(const ListRow& row, const std::vector<size_t>& widths) {
    std::string line;
    for (size_t i = 0; i < std::size(columns); ++i) {
        const std::string& cell = row.*columns[i];
        const std::string room(widths[i] - cell.size(), ' ');
        const bool isNumber = i == 2 || i == 3 || i == 4 || i == 6;
        line += isNumber ? room + cell : cell + (i + 1 < std::size(columns) ? room : "");
        line += i + 1 < std::size(columns) ? "  " : "\n";
    }
    return line;
}

static std::string headText(const KeyDirectory& directory, const Table& table) {
    if (!isReadable(table)) return "no table in " + directory.prefix() + '\n';
    const auto figure = [](const char* what, size_t value) {
        return std::string(what) + ' ' + std::to_string(value);
    };
    return directory.prefix() + figure(": objects", table.entries.size()) +
           figure(", pages", table.segments.size()) +
           figure("; processes counted", table.head.processCount) +
           figure(", attached", table.attached) +
           figure("; bytes in partitions", table.head.shmBytes) +
           figure(", at most", table.head.shmPeak) + '\n';
}

// Behind the head, which counts those that may not be looked at as well.
static std::string processText(const Table& table) {
    std::string text;
    for (const Process& process : processesWith(table.segments[0]))
        text += (text.empty() ? "used by " : ", ") + std::to_string(process.number) + ' ' +
                shownName(process.name);
    return text.empty() ? text : text + '\n';
}

std::string listText(const KeyDirectory& directory, const Table& table) {
    std::string text = headText(directory, table);
    if (table.attached > 0 && isReadable(table)) text += processText(table);
    if (table.entries.empty()) return text;
    std::vector<ListRow> rows = {
        {"NAME", "TYPE", "USES", "PROCESS", "TASK", "STATE", "WAITERS", "VALUE"}};
    for (const TableEntry& object : table.entries)
        rows.push_back(rowOf(object));
    std::vector<size_t> widths(std::size(columns));
    for (const ListRow& row : rows)
        for (size_t i = 0; i < widths.size(); ++i)
            widths[i] = std::max(widths[i], (row.*columns[i]).size());
    for (const ListRow& row : rows)
        text += lineOf(row, widths);
    return text;
}

std::string detailsText(const TableEntry& object) {
    std::string text;
    for (const Field& field : fieldsOf(object)) {
        std::string label = field.label + ':';
        label.resize(std::max<size_t>(label.size() + 1, 24), ' ');
        text += label + shownName(field.text) + '\n';
    }
    return text;
}

std::string jsonOf(const std::string& text) {
    std::string json = "\"";
    for (const char letter : text) {
        const auto byte = static_cast<unsigned char>(letter);
        if (byte == '"' || byte == '\\') json += '\\';
        if (byte >= ' ' && byte < 0x7f) {
            json += letter;
            continue;
        }
        char escaped[8];
        snprintf(escaped, sizeof escaped, "\\u%04x", byte);
        json += escaped;
    }
    return json + '"';
}

std::string jsonOf(const std::vector<std::string>& texts) {
    std::string json;
    for (const std::string& text : texts)
        json += (json.empty() ? "" : ",") + jsonOf(text);
    return '[' + json + ']';
}

// "last owner process" is "lastOwnerProcess".
static std::string keyOf(const std::string& label) {
    std::string key;
    bool upper = false;
    for (const char letter : label) {
        if (letter != ' ') key += upper ? static_cast<char>(letter - 'a' + 'A') : letter;
        upper = letter == ' ';
    }
    return jsonOf(key);
}

static std::string jsonOf(const TableEntry& object) {
    std::string json;
    for (const Field& field : fieldsOf(object))
        json += (json.empty() ? "" : ",") + keyOf(field.label) + ':' +
                (field.isNumber ? field.text : jsonOf(field.text));
    return '{' + json + '}';
}

static std::string processJson(const Table& table) {
    std::string json;
    if (table.attached > 0 && isReadable(table))
        for (const Process& process : processesWith(table.segments[0]))
            json += (json.empty() ? "" : ",") + std::string("{\"process\":") +
                    std::to_string(process.number) + ",\"name\":" + jsonOf(process.name) + '}';
    return '[' + json + ']';
}

std::string listJson(const KeyDirectory& directory, const Table& table) {
    std::string objects;
    for (const TableEntry& object : table.entries)
        objects += (objects.empty() ? "" : ",") + jsonOf(object);
    const auto member = [](const char* key, uint32_t value) {
        return ",\"" + std::string(key) + "\":" + std::to_string(value);
    };
    return "{\"directory\":" + jsonOf(directory.prefix()) +
           ",\"table\":" + (isReadable(table) ? "true" : "false") +
           member("pages", static_cast<uint32_t>(table.segments.size())) +
           member("processes", table.head.processCount) + member("attached", table.attached) +
           member("sharedBytes", table.head.shmBytes) + member("sharedPeak", table.head.shmPeak) +
           ",\"usedBy\":" + processJson(table) + ",\"locks\":" + jsonOf(lockFaults(table)) +
           ",\"damage\":" + jsonOf(table.damage) + ",\"objects\":[" + objects + "]}";
}
