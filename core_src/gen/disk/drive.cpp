/* Which disk there is, and its drive letter. */

#include "gen/disk/drive.h"

#include <string.h>

#include "gen/disk/disk_private.h"

ZatStatus zatGENFindDisk(const char* device, uint32_t* kind) {
    const DiskCall call;
    if (device == nullptr || kind == nullptr) return ZAT_DISK_BAD_ARGUMENT;
    *kind = ZAT_DISK_UNKNOWN;
    const GenFile file = genOpenFile("/proc/ide/cf", "re");
    if (file == nullptr) return ZAT_DISK_NO_PROC_FILE;
    char line[24];
    if (!diskReadLine(file.get(), line) || strstr(line, "   device type ") == nullptr)
        return ZAT_DISK_BAD_ARGUMENT;
    if (strstr(line, "=cf") != nullptr)
        *kind = ZAT_DISK_CF;
    else if (strstr(line, "=md") != nullptr)
        *kind = ZAT_DISK_MD;
    return *kind == ZAT_DISK_UNKNOWN ? ZatStatus{ZAT_DISK_BAD_ARGUMENT} : ZatStatus{ZAT_OK};
}

/* Reads up to the first line about a drive that is the device; a comment is none, to its very end.
 */
template <size_t sizeBytes>
static bool readDriveLine(FILE* file, const char* pattern, char (&line)[sizeBytes]) {
    bool isInside = false;
    bool isComment = false;
    while (diskReadLine(file, line)) {
        isComment = (isInside && isComment) || line[0] == '#';
        isInside = strchr(line, '\n') == nullptr;
        if (!isComment && strstr(line, "drive") != nullptr && strstr(line, pattern) != nullptr)
            return true;
    }
    return false;
}

/* Cuts the line up. */
static char findLetter(char* line) {
    bool isDrive = false;
    char* rest = nullptr;
    for (char* word = strtok_r(line, " ,\t", &rest); word != nullptr;
         word = strtok_r(nullptr, " ,\t", &rest)) {
        if (isDrive && word[1] == ':') return word[0];
        isDrive = isDrive || strcmp(word, "drive") == 0;
    }
    return ZAT_DISK_NO_LETTER;
}

static ZatStatus complainAboutDrive(int site) {
    printf("zatGENGetDrvLetter %d [error]\n", site);
    return ZAT_DISK_NO_DRIVE;
}

ZatStatus zatGENGetDiskDrvLetter(const char* device, char* letter) {
    static constexpr size_t aroundDevice = 10;
    const DiskCall call;
    if (device == nullptr || letter == nullptr) return ZAT_DISK_BAD_ARGUMENT;
    *letter = ZAT_DISK_NO_LETTER;
    const GenFile file = genOpenFile("/etc/mtools.conf", "re");
    if (file == nullptr) return ZAT_DISK_NO_MTOOLS_CONF;
    const size_t size = strlen(device) + aroundDevice;
    const DiskText pattern = diskAllocText(size);
    if (pattern == nullptr) return ZAT_DISK_BAD_ARGUMENT;
    snprintf(pattern.get(), size, "file=\"%s\"", device);
    char line[256];
    if (!readDriveLine(file.get(), pattern.get(), line)) return complainAboutDrive(268);
    *letter = findLetter(line);
    return *letter == ZAT_DISK_NO_LETTER ? complainAboutDrive(290) : ZatStatus{ZAT_OK};
}

ZatStatus diskFindDrive(const char* device, char& letter) {
    uint32_t kind = ZAT_DISK_UNKNOWN;
    const ZatStatus status = zatGENFindDisk(device, &kind);
    return status == ZAT_OK ? zatGENGetDiskDrvLetter(device, &letter) : status;
}

ZatStatus zatGENGetDiskInfo(void) {
    return ZAT_OK;
}

ZatStatus zatGENCheckDisk(void) {
    return ZAT_OK;
}
