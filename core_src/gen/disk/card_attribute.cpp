/* The card's attribute bytes. */

#include "gen/disk/card_attribute.h"

#include <string.h>

#include <algorithm>

#include "gen/disk/disk_private.h"

static constexpr char attributeFile[] = "/proc/ide/cf_attr";

/* Says on standard output where a call fails, and hands the status on. */
static ZatStatus complain(const char* where, int site, ZatStatus status) {
    printf("%s %d [error:%x]\n", where, site, status);
    return status;
}

static constexpr char attributeCall[] = "zatGENGetDiskAttributes";

ZatStatus zatGENGetDiskAttribLen(uint32_t selector, uint32_t* sizeBytes) {
    const DiskCall call;
    if (selector == 0 || sizeBytes == nullptr)
        return complain(attributeCall, 1475, ZAT_DISK_BAD_ARGUMENT);
    const GenFile file = genOpenFile(attributeFile, "re");
    if (file == nullptr) return ZAT_DISK_NO_PROC_FILE;
    char line[30];
    uint32_t size = 0;
    if (!diskReadLine(file.get(), line) || sscanf(line, "   attr_size   =%x", &size) != 1)
        return ZAT_DISK_BAD_ARGUMENT;
    *sizeBytes = size;
    return ZAT_OK;
}

/* Appends the text of lines, up to two digits for each byte. */
static void collectText(FILE* file, uint32_t count, char* text) {
    /* Less than 0 once a line is longer than what is left. */
    auto room = static_cast<int32_t>(2 * count);
    char line[40];
    for (uint32_t lines = count / 16 + 1; lines > 0 && room > 0; --lines) {
        if (!diskReadLine(file, line)) break;
        const auto length = static_cast<int32_t>(strcspn(line, "\n"));
        const auto used = static_cast<size_t>(std::min(length, room));
        memcpy(text, line, used);
        text += used;
        room -= length;
    }
    *text = '\0';
}

static ZatStatus readText(uint32_t count, char* text) {
    const GenFile file = genOpenFile(attributeFile, "re");
    if (file == nullptr) return ZAT_DISK_NO_PROC_FILE;
    char head[40];
    if (!diskReadLine(file.get(), head)) return ZAT_DISK_BAD_ARGUMENT;
    collectText(file.get(), count, text);
    return text[0] == '\0' ? ZatStatus{ZAT_DISK_BAD_ARGUMENT} : ZatStatus{ZAT_OK};
}

/* -1 for what is no digit. */
static int valueOf(char digit) {
    if (digit >= '0' && digit <= '9') return digit - '0';
    if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
    return -1;
}

static ZatStatus convert(const char* text, uint8_t* bytes) {
    if (strlen(text) % 2 != 0) return complain("zatGENhextobytes", 1702, ZAT_DISK_ATTR_ODD_DIGITS);
    for (; *text != '\0'; text += 2) {
        const int high = valueOf(text[0]);
        const int low = valueOf(text[1]);
        if (high < 0 || low < 0) return complain("zatGENctoi", 1649, ZAT_DISK_ATTR_NOT_HEX);
        *bytes++ = static_cast<uint8_t>(high << 4 | low);
    }
    return ZAT_OK;
}

ZatStatus zatGENGetDiskAttribute(uint32_t selector, uint8_t* bytes, uint32_t count) {
    /* Its digits are counted with a sign. */
    static constexpr uint32_t mostBytes = INT32_MAX / 2;
    const DiskCall call;
    if (selector == 0 || bytes == nullptr)
        return complain(attributeCall, 1549, ZAT_DISK_BAD_ARGUMENT);
    uint32_t published = 0;
    ZatStatus status = zatGENGetDiskAttribLen(selector, &published);
    if (status != ZAT_OK) return status;
    if (count == 0 || published == 0) return complain(attributeCall, 1557, ZAT_DISK_NO_LENGTH);
    if (count > mostBytes) return ZAT_DISK_BAD_ARGUMENT;
    const DiskText text = diskAllocText(2 * count + 1);
    if (text == nullptr) return ZAT_DISK_BAD_ARGUMENT;
    status = readText(count, text.get());
    return status == ZAT_OK ? convert(text.get(), bytes) : status;
}
