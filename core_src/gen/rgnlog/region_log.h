/**
 * @file
 * Region logs: numbered, named rings of time-stamped records, in the memory of the process or
 * shared with others, that are written cheaply and printed later.
 *
 * A region is made stopped: it records what is written between zatGENStartRgnLog() and
 * zatGENStopRgnLog(). A write copies the caller's bytes into the ring, over the oldest records when
 * it is full; it formats nothing and allocates nothing.
 *
 * Regions 0 to 4 are the standard, error, performance, maintenance and dump logs of the trace, and
 * the region of a component has the component's id. Id -1 names no region.
 *
 * All calls may be made from any task. A call on a region waits while another task, or with a
 * shared region another process, is inside a write, or holds the region by zatGENLockRgnLog(). A
 * process that was killed inside a write is noticed within a tenth of a second: the next one to
 * come takes the region over, and the record that was under way is lost.
 */
#ifndef ZATOSW_GEN_RGNLOG_REGION_LOG_H
#define ZATOSW_GEN_RGNLOG_REGION_LOG_H

#include <stddef.h>

#include "../../osw/clock.h"
#include "../../osw/status.h"

ZATOSW_BEGIN_DECLS

#define ZAT_GEN_TEXT_LOG 0u /**< format of a region: its records are text */
#define ZAT_GEN_BINARY_LOG \
    1u /**< format of a region: its records are those of the maintenance log */

/** Position from which zatGENReadRgnLog() begins with the oldest record. */
#define ZAT_GEN_OLDEST 0xFFFFFFFFu
/** Length by which zatGENReadRgnLog() says that nothing is left. */
#define ZAT_GEN_LOG_END 0xFFFFFFFFu

/** The head of a ring; in a shared region it is shared, too. The processor's byte order. */
typedef struct RgnLogHeader {
    uint32_t run;     /**< 1 = writes are recorded, 0 = they are dropped */
    int32_t maxEntry; /**< bytes of a record's payload at most; not above 0 = no limit */
    uint32_t size;    /**< bytes of the ring, a multiple of 8 */
    uint32_t cur;     /**< offset of the record that the next write fills */
    uint32_t full;    /**< 1 = that record is the oldest one, 0 = it is free */
} RgnLogHeader;

ZATOSW_STATIC_ASSERT(offsetof(RgnLogHeader, size) == 8 && offsetof(RgnLogHeader, full) == 16 &&
                         sizeof(RgnLogHeader) == 20,
                     "processes share it");

/** A region as this process knows it. */
typedef struct RgnLogInfo {
    int32_t id;             /**< -1 = that of no region */
    ZatHandle lock;         /**< mutex: shared, of this process, or 0 = none */
    uint32_t mask;          /**< bit n lets writers that ask write at level n; 16 bits are used */
    uint8_t* data;          /**< the ring */
    RgnLogHeader* header;   /**< its head */
    ZatIpcHandle partition; /**< shared partition with header and ring; 0 = none */
    uint32_t shm;           /**< 1 = shared */
    uint32_t fmt;           /**< ZAT_GEN_TEXT_LOG or ZAT_GEN_BINARY_LOG */
    const char* name;       /**< not to be freed */
} RgnLogInfo;

ZATOSW_STATIC_ASSERT(offsetof(RgnLogInfo, mask) == 8 && offsetof(RgnLogInfo, header) == 16 &&
                         offsetof(RgnLogInfo, fmt) == 28 && offsetof(RgnLogInfo, name) == 32,
                     "applications read it");

/** A piece of a record. */
typedef struct RgnLogPiece {
    const void* address; /**< may be null when length is 0 */
    uint32_t length;     /**< bytes */
} RgnLogPiece;

/**
 * Makes a region, given in records or in bytes.
 *
 * @param id    region id; not -1
 * @param name  name, copied; of a shared region at most 31 characters
 * @param mask  bit n for level n; the low 16 bits count
 * @param num   len above 0: the number of records; else the bytes of the ring
 * @param len   above 0: a text region whose records hold up to len bytes; 0: a text region without
 *              that limit; below 0: a binary region without it
 * @param lck   1 = a lock of its own, which a region needs that several tasks write; a shared one
 *              has one in any case
 * @param shm   1 = shared under its name with all processes that make it so; it has the records
 * that they have written, their limit of a record and their run state
 *
 * @return ZAT_OK                  the region exists, stopped unless it is shared and was started
 * @return ZAT_GEN_LOG_EXISTS      there is a region with the id
 * @return ZAT_FAILED              id is -1, name is null, or the ring would have no bytes, or more
 *                                 than 2147483392
 * @return ZAT_OSW_PART_EXHAUSTED  no memory for the record or the ring
 * @return ZAT_IPC_BAD_PARAMETERS  the shared region has another size
 * @return a status of zatOSWInit(), zatOSWCreateMutexSem(), zatOSWIpcCreateMutexSem(),
 *         zatOSWIpcRequestMutexSem(), zatOSWIpcCreateMemPart(), zatOSWIpcAllocMemPart() or
 *         zatOSWIpcRegisterBlockIdMemPart()
 *
 * A failure leaves nothing behind. A ring takes 20 bytes of a record besides its payload, rounded
 * up to a multiple of 8; one of less than 24 bytes keeps no payload.
 */
ZATOSW_API ZatStatus zatGENInitRgnLog(int32_t id, const char* name, uint32_t mask, int32_t num,
                                      int32_t len, uint32_t lck, uint32_t shm);

/**
 * Makes a region, given in bytes; otherwise as zatGENInitRgnLog().
 *
 * @param areaSizeBytes  bytes of the ring, rounded up to a multiple of 8
 * @param maxEntry       bytes of a record's payload at most; not above 0 = no limit
 * @param fmt            ZAT_GEN_TEXT_LOG or ZAT_GEN_BINARY_LOG
 */
ZATOSW_API ZatStatus zatGENCreateRgnLog(int32_t id, const char* name, uint32_t mask,
                                        int32_t areaSizeBytes, int32_t maxEntry, uint32_t lck,
                                        uint32_t shm, uint32_t fmt);

/**
 * Stops and deletes the region of a name and makes it anew, empty and stopped, with the same id,
 * mask and format and another size; the arguments are those of zatGENCreateRgnLog().
 *
 * @return ZAT_GEN_NO_LOG  no region of the process has the name
 * @return ZAT_FAILED      name is null, or the size is refused; the region stays as it is
 * @return a status of zatGENCreateRgnLog(); the region is gone then
 */
ZATOSW_API ZatStatus zatGENReallocRgnLog(const char* name, int32_t areaSizeBytes, int32_t maxEntry,
                                         uint32_t lck, uint32_t shm);

/**
 * Stops a region, a shared one for all processes, and deletes it, a shared one for this process.
 *
 * @return ZAT_OK          deleted
 * @return ZAT_GEN_NO_LOG  there is no such region
 *
 * Waits until no call uses the region any more. Its information record reads as that of no region
 * from now on.
 */
ZATOSW_API ZatStatus zatGENDeleteRgnLog(int32_t id);

/** Deletes all regions, the highest id first, and the lock of their table; ZAT_OK always. Regions
 *  can be made again. */
ZATOSW_API ZatStatus zatGENTermRgnLog(void);

/**
 * Has writes recorded from now on.
 *
 * @return ZAT_OK          started
 * @return ZAT_GEN_NO_LOG  there is no such region
 * @return a status of zatOSWRequestMutexSem(), of a shared region zatOSWIpcRequestMutexSem()
 */
ZATOSW_API ZatStatus zatGENStartRgnLog(int32_t id);

/** Has writes dropped from now on; otherwise as zatGENStartRgnLog(). */
ZATOSW_API ZatStatus zatGENStopRgnLog(int32_t id);

/** Takes a region's lock, if it has one: until the caller gives it back, nobody else writes, and
 *  nobody deletes the region but the caller. The same task may take it again, and use the region
 *  meanwhile. A task that is deleted while it holds the lock leaves it taken, for as long as its
 *  process lives. Statuses as zatGENStartRgnLog(). */
ZATOSW_API ZatStatus zatGENLockRgnLog(int32_t id);

/**
 * Gives a take of a region's lock back, if it has one.
 *
 * @return ZAT_OK          given back
 * @return ZAT_GEN_NO_LOG  there is no such region
 * @return a status of zatOSWReleaseMutexSem(), of a shared region zatOSWIpcReleaseMutexSem()
 */
ZATOSW_API ZatStatus zatGENUnlockRgnLog(int32_t id);

/**
 * Writes a record, put together of pieces. The region's mask is not asked.
 *
 * @param id      region id
 * @param time    time stamp; two words
 * @param pieces  what the record consists of; cut to the region's limit, and to what its ring holds
 * @param count   number of pieces
 *
 * @return ZAT_OK      recorded; or dropped, because there is nothing to write, no such region, or
 * it is stopped
 * @return ZAT_FAILED  time, pieces, or the address of a piece with a length is null; nothing is
 *                     recorded
 * @return a status of zatOSWRequestMutexSem(), of a shared region zatOSWIpcRequestMutexSem()
 */
ZATOSW_API ZatStatus zatGENWriteRgnLogs(int32_t id, const ZatClock* time, const RgnLogPiece* pieces,
                                        uint32_t count);

/** Writes a record of one piece; otherwise as zatGENWriteRgnLogs(). */
ZATOSW_API ZatStatus zatGENWriteRgnLog(int32_t id, const ZatClock* time, const void* data,
                                       uint32_t lengthBytes);

/**
 * Reads a region's ring as it is, in pieces, from the oldest record on: two words (size of the
 * record before, own size), time stamp, length, payload, rounded up to 8 bytes each.
 *
 * The first word that comes from a ring that is not full is replaced: it is the size of the newest
 * record, as it is in a full ring anyway.
 *
 * @param id           region id
 * @param buffer       receives the bytes
 * @param bufferBytes  its size; less than 4 reads nothing
 * @param length       receives the number of bytes read, or ZAT_GEN_LOG_END when nothing is left
 * @param position     where to read on; ZAT_GEN_OLDEST to begin with, then what the last call left
 *
 * @return 0   read
 * @return -1  no such region, or a null pointer
 *
 * Does not take the region's lock: hold it from the first call to the last.
 */
ZATOSW_API int32_t zatGENReadRgnLog(int32_t id, void* buffer, uint32_t bufferBytes,
                                    uint32_t* length, uint32_t* position);

/** Copies the head of a region's ring; ZAT_FAILED when header is null, otherwise statuses as
 *  zatGENStartRgnLog(). */
ZATOSW_API ZatStatus zatGENGetRgnHeader(int32_t id, RgnLogHeader* header);

/**
 * Finds a region by its name: the one with the lowest id.
 *
 * @return ZAT_OK          id is written
 * @return ZAT_GEN_NO_LOG  no region of the process has the name
 * @return ZAT_FAILED      a null pointer
 */
ZATOSW_API ZatStatus zatGENGetRgnIDByName(int32_t* id, const char* name);

/** The information record of a region; of none, one with id -1 and mask 0. The pointer stays good
 *  for ever; what it points to is that of no region when the region is deleted, and may become that
 *  of another one. Do not follow header and data while somebody may delete the region. */
ZATOSW_API RgnLogInfo* zatGENGetRgnLogInfo(int32_t id);

/** Sets a bit of a region's mask; one above 15 changes nothing. ZAT_OK, or ZAT_GEN_NO_LOG when
 * there is no such region. */
ZATOSW_API ZatStatus zatGENSetRgnLogMask(int32_t id, uint32_t bit);
/** Clears a bit of a region's mask; otherwise as zatGENSetRgnLogMask(). */
ZATOSW_API ZatStatus zatGENClrRgnLogMask(int32_t id, uint32_t bit);
/** Sets all 16 bits; ZAT_OK, or ZAT_GEN_NO_LOG. */
ZATOSW_API ZatStatus zatGENSetAllRgnLogMask(int32_t id);
/** Clears all bits; ZAT_OK, or ZAT_GEN_NO_LOG. */
ZATOSW_API ZatStatus zatGENClrZeroRgnLogMask(int32_t id);

ZATOSW_END_DECLS

#endif
