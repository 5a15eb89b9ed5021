// Fills region logs, prints them, and saves them in files: write_logs DIRECTORY. What is printed
// goes to standard error, newest records first, then oldest first.

#include <zatosw/zatosw.h>

#include <cstdio>
#include <cstring>
#include <string>

static void keep(int32_t id, const std::string& directory) {
    zatGENPrintRgnLog(id, 0);
    zatGENPrintRgnLog(id, 1);
    const std::string path = directory + "/" + zatGENGetRgnLogInfo(id)->name;
    if (zatGENTrcCreateLogFile(id, path.c_str()) != 0) perror(path.c_str());
}

static void makeLog(int32_t id, const char* name, int32_t num, int32_t len) {
    zatGENInitRgnLog(id, name, 0xFFFF, num, len, 1, 0);
    zatGENStartRgnLog(id);
}

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
    makeLog(10, "empty", 4096, 0);
    makeLog(11, "part", 64000, 0);
    makeLog(12, "full", 1000, 0);
    makeLog(13, "cut", 20, 16);
    makeLog(3, "events", 900, -1);
    makeLog(4, "dumps", 100000, -1);
    for (const int32_t id : {11, 12, 13})
        writeTexts(id, 100);
    writeRecords();
    for (const int32_t id : {10, 11, 12, 13, 3, 4})
        keep(id, words[1]);
    zatGENTrcTerm();
}
