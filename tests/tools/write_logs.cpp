// Fills region logs, prints them, and saves them in files: write_logs DIRECTORY. What is printed
// goes to standard error, newest records first, then oldest first.

#include <zatosw/zatosw.h>

#include <cstdio>
#include <cstring>
#include <string>

static const struct {
    int32_t id;
    const char* name;
    int32_t num, len;
} logs[] = {{10, "empty", 4096, 0}, {11, "part", 64000, 0}, {12, "full", 1000, 0},
            {13, "cut", 20, 16},    {3, "events", 900, -1}, {4, "dumps", 100000, -1}};

static void writeTexts(int32_t id, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) {
        std::string text(i * 7 % 90, static_cast<char>('a' + i % 26));
        text += i % 2 == 0 ? "." : ".\n";
        const ZatClock time = {1700000000 + 5000 * i, 1001 * i};
        zatGENWriteRgnLog(id, &time, text.data(), static_cast<uint32_t>(text.size()));
    }
}

static void writeRecords() {
    static const char file[] = "a/path/that/is/longer/than/the/field/has/room/for.cpp";
    uint8_t bytes[40];
    for (uint32_t i = 0; i < sizeof bytes; ++i)
        bytes[i] = static_cast<uint8_t>(i * 13);
    for (int32_t i = 0; i < 9; ++i) {
        zatGENTrcMcLog(0x2002, file + i, i, i, -i, INT32_MIN, INT32_MAX, 0, i << 20);
        zatGENTrcMcLogError(0x4711, static_cast<uint32_t>(1 + 2 * (i % 2)), "short.cpp", -1, 7, 8);
        zatGENTrcMcDump(0x2000, nullptr, i, bytes, sizeof bytes, i * 5);
    }
}

int main(int, char** words) {
    zatOSWInit();
    zatGENTrcAll(ZAT_GEN_SYSTEM);
    zatGENTrcAll(0x2000);
    for (const auto& log : logs) {
        zatGENInitRgnLog(log.id, log.name, 0xFFFF, log.num, log.len, 1, 0);
        zatGENStartRgnLog(log.id);
    }
    for (const int32_t id : {11, 12, 13})
        writeTexts(id, 100);
    writeRecords();
    for (const auto& log : logs) {
        zatGENPrintRgnLog(log.id, 0);
        zatGENPrintRgnLog(log.id, 1);
        const std::string path = words[1] + std::string("/") + log.name;
        if (zatGENTrcCreateLogFile(log.id, path.c_str()) != 0) perror(path.c_str());
    }
    zatGENTrcTerm();
}
