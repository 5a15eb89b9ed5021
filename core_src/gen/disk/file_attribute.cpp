/* DOS attributes of files. */

#include "gen/disk/file_attribute.h"

#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include "gen/disk/command_private.h"
#include "gen/disk/disk_private.h"

/* A file as mtools knows it. */
struct DriveFile {
    char letter;
    const char* path;
};

static bool canBeRead(const char* path) {
    const int file = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (file < 0) return false;
    close(file);
    return true;
}

static ZatStatus findFile(const char* device, const char* directory, const char* path,
                          DriveFile& file) {
    const ZatStatus status = diskFindDrive(device, file.letter);
    if (status != ZAT_OK) return status;
    const size_t length = strlen(directory);
    if (strncmp(path, directory, length) != 0) return ZAT_DISK_PATH_OUTSIDE;
    if (!canBeRead(path)) return ZAT_DISK_NO_FILE;
    file.path = path + length;
    return ZAT_OK;
}

/* Makes the command, in so many bytes besides those of the path. */
static ZatStatus makeCommand(const char* words, size_t besidesPath, const DriveFile& file,
                             ZatStatus cannotBeSaid, DiskText& command) {
    const size_t size = strlen(file.path) + besidesPath;
    command = diskAllocText(size);
    if (command == nullptr) return ZAT_DISK_BAD_ARGUMENT;
    return diskWriteCommand(command.get(), size, words, file.letter, file.path) ? ZatStatus{ZAT_OK}
                                                                                : cannotBeSaid;
}

static uint8_t flagsIn(const char* answer) {
    uint32_t flags = 0;
    if (strchr(answer, 'D') != nullptr) flags |= ZAT_DISK_FILE_DIRECTORY;
    if (strchr(answer, 'A') != nullptr) flags |= ZAT_DISK_FILE_ARCHIVE;
    if (strchr(answer, 'H') != nullptr) flags |= ZAT_DISK_FILE_HIDDEN;
    if (strchr(answer, 'R') != nullptr) flags |= ZAT_DISK_FILE_READ_ONLY;
    return static_cast<uint8_t>(flags);
}

ZatStatus zatGENGetDiskFSAttribute(const char* device, const char* directory, const char* path,
                                   uint8_t* flags) {
    const DiskCall call;
    if (device == nullptr || directory == nullptr || path == nullptr || flags == nullptr)
        return ZAT_DISK_BAD_ARGUMENT;
    *flags = 0;
    DriveFile file = {};
    DiskText command;
    ZatStatus status = findFile(device, directory, path, file);
    if (status == ZAT_OK)
        status = makeCommand("mattrib -X ", 21, file, ZAT_DISK_ATTR_QUERY_FAILED, command);
    if (status != ZAT_OK) return status;
    const DiskAnswer answer = diskAsk(command.get());
    if (answer == nullptr) return ZAT_DISK_ATTR_QUERY_FAILED;
    char line[12];
    if (!diskReadLine(answer.get(), line)) {
        printf("zatGENGetDiskFSAttribute %d [error]\n", 775);
        return ZAT_DISK_ATTR_QUERY_FAILED;
    }
    *flags = flagsIn(line);
    return ZAT_OK;
}

ZatStatus zatGENSetDiskFSAttribute(const char* device, const char* directory, const char* path,
                                   uint8_t flags) {
    const DiskCall call;
    if (device == nullptr || directory == nullptr || path == nullptr) return ZAT_DISK_BAD_ARGUMENT;
    DriveFile file = {};
    ZatStatus status = findFile(device, directory, path, file);
    if (status != ZAT_OK) return status;
    const auto sign = [flags](uint32_t flag) { return (flags & flag) != 0 ? '+' : '-'; };
    char words[24];
    snprintf(words, sizeof words, "mattrib %cr %ch %ca ", sign(ZAT_DISK_FILE_READ_ONLY),
             sign(ZAT_DISK_FILE_HIDDEN), sign(ZAT_DISK_FILE_ARCHIVE));
    DiskText command;
    status = makeCommand(words, 25, file, ZAT_DISK_ATTR_FAILED, command);
    if (status != ZAT_OK) return status;
    return diskRun(command.get()) ? ZatStatus{ZAT_OK} : ZatStatus{ZAT_DISK_ATTR_FAILED};
}
