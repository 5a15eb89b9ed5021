/* Whole files into memory and back. */

#include "gen/console/file_data.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <utility>

#include "gen/console/console_private.h"
#include "gen/file_private.h"
#include "osw/freed_private.h"
#include "osw/mem_header_private.h"

static void sayNotOpened(const char* path) {
    genSay("< ERROR > could not open file : %s.\n", path);
}

void* zatGENReadFileData(const char* path, uint32_t* sizeBytes) {
    if (path == nullptr || sizeBytes == nullptr) return nullptr;
    struct statx facts;
    const GenFile file = genOpenFile(path, "rbe");
    if (file == nullptr || statx(fileno(file.get()), "", AT_EMPTY_PATH, STATX_SIZE, &facts) != 0) {
        sayNotOpened(path);
        return nullptr;
    }
    const auto size = static_cast<uint32_t>(facts.stx_size);
    void* memory = nullptr;
    /* The size that a file of more than the memory has may look like a smaller one. */
    const bool fits = facts.stx_size == size;
    if (fits && (!oswHasRoom(size) || zatOSWOrgAllocMemPart(0, &memory, size) != ZAT_OK))
        return nullptr;
    OswPartFreed<void> bytes(memory);
    const size_t length = fits ? fread(memory, 1, size, file.get()) : 0;
    if (length == 0) {
        genSay("< ERROR > could not read file: %s.\n", path);
        return nullptr;
    }
    *sizeBytes = static_cast<uint32_t>(length);
    genAnnounce("File: %s (size - %ld) \n", path, static_cast<long>(length));
    return bytes.release();
}

uint32_t zatGENWriteFileData(const char* path, const void* bytes, uint32_t lengthBytes) {
    if (path == nullptr || (bytes == nullptr && lengthBytes != 0)) return 0;
    GenFile file = genOpenFile(path, "wb+e");
    if (file == nullptr) {
        genSay("< ERROR > could not open file : %s. Error Code is %d\n", path, errno);
        return 0;
    }
    const size_t written = lengthBytes == 0 ? 0 : fwrite(bytes, 1, lengthBytes, file.get());
    if (genCloseWritten(std::move(file)) && written == lengthBytes) return 1;
    genSay("< ERROR > could not write file: %s.\n", path);
    return 0;
}
