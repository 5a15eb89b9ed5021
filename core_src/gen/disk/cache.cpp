/* The kernel's buffers: flushing, and its parameters. */

#include "gen/disk/cache.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <stdio.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <utility>

#include "gen/disk/disk_private.h"

static constexpr char flushFile[] = "/proc/sys/vm/bdflush";
static constexpr char flushFormat[] = "%d %lu %d %d %d %d %d %d";

/* The numbers of that file, in their order. */
struct FlushNumbers {
    int first;
    unsigned long second;
    int more[6];
};

ZatStatus zatGENFlushDiskCache(const char* device) {
    const DiskCall call;
    if (device == nullptr) return ZAT_DISK_BAD_ARGUMENT;
    const int file = open(device, O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (file < 0) return ZAT_DISK_NO_DEVICE;
    const bool isFlushed = ioctl(file, BLKFLSBUF, 0) == 0;
    close(file);
    return isFlushed ? ZatStatus{ZAT_OK} : ZatStatus{ZAT_DISK_FLUSH_FAILED};
}

static bool readNumbers(FILE* file, FlushNumbers& numbers) {
    int* const more = numbers.more;
    return fscanf(file, flushFormat, &numbers.first, &numbers.second, &more[0], &more[1], &more[2],
                  &more[3], &more[4], &more[5]) == 8;
}

/* The kernel says what it thinks of them when the file, whose buffer holds them, is closed. */
static bool writeNumbers(GenFile file, const FlushNumbers& numbers) {
    const int* const more = numbers.more;
    const bool isWritten = fprintf(file.get(), flushFormat, numbers.first, numbers.second, more[0],
                                   more[1], more[2], more[3], more[4], more[5]) > 0;
    return genCloseWritten(std::move(file)) && isWritten;
}

ZatStatus zatGENGetSysCacheParam(GenCacheParam* parameters) {
    const DiskCall call;
    if (parameters == nullptr) return ZAT_DISK_BAD_ARGUMENT;
    const GenFile file = genOpenFile(flushFile, "re");
    if (file == nullptr) return ZAT_DISK_NO_CACHE_FILE;
    FlushNumbers numbers = {};
    if (!readNumbers(file.get(), numbers)) return ZAT_DISK_BAD_ARGUMENT;
    *parameters = {static_cast<uint32_t>(numbers.first), static_cast<uint32_t>(numbers.second),
                   static_cast<uint32_t>(numbers.more[4]), static_cast<uint32_t>(numbers.more[5])};
    return ZAT_OK;
}

ZatStatus zatGENSetSysCacheParam(const GenCacheParam* parameters) {
    const DiskCall call;
    if (parameters == nullptr) return ZAT_DISK_BAD_ARGUMENT;
    GenFile file = genOpenFile(flushFile, "r+e");
    if (file == nullptr) return ZAT_DISK_NO_CACHE_FILE;
    FlushNumbers numbers = {};
    if (!readNumbers(file.get(), numbers)) return ZAT_DISK_BAD_ARGUMENT;
    rewind(file.get());
    numbers.first = static_cast<int>(parameters->value1);
    numbers.second = parameters->value2;
    numbers.more[4] = static_cast<int>(parameters->value7);
    numbers.more[5] = static_cast<int>(parameters->value8);
    return writeNumbers(std::move(file), numbers) ? ZatStatus{ZAT_OK}
                                                  : ZatStatus{ZAT_DISK_BAD_ARGUMENT};
}
