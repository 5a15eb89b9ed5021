/* Region logs saved in files. */

#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <bit>
#include <utility>

#include "gen/file_private.h"
#include "gen/rgnlog/region_log.h"
#include "gen/trace/listing.h"
#include "osw/errno_private.h"
#include "osw/freed_private.h"
#include "osw/lock_private.h"
#include "osw/mem_part.h"

/* A region that is locked until the end of the scope. */
class LockedLog {
  public:
    explicit LockedLog(int32_t id) : id_(id), isHeld_(zatGENLockRgnLog(id) == ZAT_OK) {}
    LockedLog(const LockedLog&) = delete;
    LockedLog& operator=(const LockedLog&) = delete;
    ~LockedLog() {
        if (isHeld_) zatGENUnlockRgnLog(id_);
    }

    bool isHeld() const { return isHeld_; }

  private:
    const int32_t id_;
    const bool isHeld_;
};

static bool write(FILE* file, const void* bytes, size_t length) {
    return fwrite(bytes, 1, length, file) == length;
}

static bool writeHead(FILE* file, int32_t id) {
    ZatGenLogFileHead head = {};
    memcpy(head.mark,
           std::endian::native == std::endian::big ? ZAT_GEN_LOG_FILE_BIG_ENDIAN
                                                   : ZAT_GEN_LOG_FILE_LITTLE_ENDIAN,
           sizeof head.mark);
    head.version = ZAT_GEN_LOG_FILE_VERSION;
    RgnLogHeader ring = {};
    zatGENGetRgnHeader(id, &ring);
    head.areaSize = ring.size;
    head.clockOffset = offsetof(ZatGenLogFileHead, time);
    zatOSWGetClock(&head.time);
    return write(file, &head, sizeof head);
}

/* The records of a region, as they were at one moment. */
struct Records {
    OswFreed<uint8_t> bytes;
    uint32_t length;
};

/* Reads into room for as much as the ring holds. */
static bool readAll(int32_t id, uint32_t room, Records& records) {
    static constexpr uint32_t pieceSize = 256;
    uint32_t position = ZAT_GEN_OLDEST;
    for (uint32_t length = 0; records.length < room; records.length += length) {
        const uint32_t piece = std::min(pieceSize, room - records.length);
        if (zatGENReadRgnLog(id, records.bytes.get() + records.length, piece, &length, &position) !=
            0)
            return false;
        if (length == ZAT_GEN_LOG_END) break;
    }
    return true;
}

/* Under the region's lock, which is given back before anything is written: a file may be slow. */
static bool readRecords(int32_t id, Records& records) {
    RgnLogHeader ring = {};
    if (zatGENGetRgnHeader(id, &ring) != ZAT_OK) return false;
    records.length = 0;
    records.bytes.reset(static_cast<uint8_t*>(zatOSWOrgMalloc(ring.size)));
    if (records.bytes == nullptr) return false;
    const LockedLog log(id);
    return log.isHeld() && readAll(id, ring.size, records);
}

int32_t zatGENTrcCreateLogFile(int32_t logId, const char* path) {
    if (path == nullptr) return -1;
    const OswKeepErrno keepErrno;
    /* Files are where a task can be deleted, and a file half written is of no use. */
    const OswUncancellable uncancellable;
    GenFile file = genOpenFile(path, "wb+");
    if (file == nullptr || !writeHead(file.get(), logId)) return -1;
    Records records;
    if (!readRecords(logId, records) || !write(file.get(), records.bytes.get(), records.length))
        return -1;
    return genCloseWritten(std::move(file)) ? 0 : -1;
}
