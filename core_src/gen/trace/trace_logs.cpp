/* What the trace asks of region logs; see trace_logs_private.h. */

#include "gen/trace/trace_logs_private.h"

#include <string.h>

#include "gen/rgnlog/region_log.h"

static int32_t regionOf(uint32_t id) {
    return static_cast<int32_t>(id);
}

/* Null when there is none: the record of no region is everybody's, and may hold anything. */
static const RgnLogInfo* infoOf(uint32_t id) {
    const RgnLogInfo* info = zatGENGetRgnLogInfo(regionOf(id));
    return id != ZAT_GEN_NO_LOG_ID && info->id == regionOf(id) ? info : nullptr;
}

bool genLogExists(uint32_t id) {
    return infoOf(id) != nullptr;
}

bool genLogTakes(uint32_t id, uint32_t level) {
    const RgnLogInfo* info = infoOf(id);
    return info != nullptr && (info->mask >> level & 1) != 0;
}

void genMakeLog(const zatGENTrcLogDef& log) {
    if (zatGENInitRgnLog(regionOf(log.id), log.name, log.mask, static_cast<int32_t>(log.lines),
                         static_cast<int32_t>(log.width), log.opt1, log.opt2) == ZAT_OK)
        zatGENStartRgnLog(regionOf(log.id));
}

void genMakeLog(const zatGENTrcLogDefEx& log) {
    if (zatGENCreateRgnLog(regionOf(log.id), log.name, log.mask, static_cast<int32_t>(log.arg1),
                           static_cast<int32_t>(log.arg2), log.arg3, log.arg4, log.arg5) == ZAT_OK)
        zatGENStartRgnLog(regionOf(log.id));
}

static ZatStatus write(uint32_t id, const RgnLogPiece* pieces, uint32_t count) {
    ZatClock time = {}; /* a clock that cannot be read is 0 */
    zatOSWGetClock(&time);
    return zatGENWriteRgnLogs(regionOf(id), &time, pieces, count);
}

static RgnLogPiece pieceOf(const char* text) {
    return {text, static_cast<uint32_t>(strlen(text))};
}

void genWriteLog(uint32_t id, const char* text) {
    const RgnLogPiece piece = pieceOf(text);
    write(id, &piece, 1);
}

void genWriteLog(uint32_t id, const char* prefix, const char* text) {
    const RgnLogPiece pieces[] = {pieceOf(prefix), pieceOf(text)};
    write(id, pieces, 2);
}

ZatStatus genWriteLog(uint32_t id, const void* head, uint32_t headSize, const void* data,
                      uint32_t size) {
    const RgnLogPiece pieces[] = {{head, headSize}, {data, size}};
    return write(id, pieces, 2);
}

void genEndLogs() {
    zatGENTermRgnLog();
}
