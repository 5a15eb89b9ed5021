/* Maintenance records and dumps; see maintenance_log.h. */

#include "gen/trace/maintenance_log.h"

#include <string.h>
#include <unistd.h>

#include <algorithm>

#include "gen/trace/dump.h"
#include "gen/trace/dump_filter_private.h"
#include "gen/trace/hook_private.h"
#include "gen/trace/maintenance_record_private.h"
#include "gen/trace/output.h"
#include "gen/trace/trace_logs_private.h"
#include "osw/errno_private.h"
#include "osw/self_private.h"

static constexpr uint32_t traceType = ZAT_GEN_TRACE | ZAT_GEN_MONITOR;

/* Where a file is tells less than what it is called. */
static const char* fileTail(const char* file) {
    if (file == nullptr) return "";
    const size_t length = strlen(file);
    return length > genMcFileSize ? file + length - genMcFileSize : file;
}

static GenMcHead headOf(uint32_t kind, uint32_t component, const char* file, int32_t line) {
    GenMcHead head = {};
    head.kind = kind;
    head.component = component;
    const char* tail = fileTail(file);
    memcpy(head.file, tail, strlen(tail));
    head.line = line;
    head.kernelThread = gettid();
    head.thread = oswSelf();
    return head;
}

static int32_t lengthOf(const void* data, int32_t size, int32_t maxSize) {
    return data == nullptr ? 0 : std::max(std::min(size, maxSize), 0);
}

ZatStatus zatGENTrcMcLog(uint32_t component, const char* file, int32_t line, int32_t a1, int32_t a2,
                         int32_t a3, int32_t a4, int32_t a5, int32_t a6) {
    const OswKeepErrno keepErrno;
    const GenMcEvent event = {headOf(ZAT_GEN_MC_EVENT, component, file, line),
                              {a1, a2, a3, a4, a5, a6}};
    const ZatStatus status = genWriteLog(GEN_MAINTENANCE_LOG, &event, sizeof event, nullptr, 0);
    return genAskUsers<ZatGenMcLogFunc>(status, GenUserKind::McLog, component, file, line, a1, a2,
                                        a3, a4, a5, a6);
}

ZatStatus zatGENTrcMcLogError(uint32_t component, uint32_t kind, const char* file, int32_t line,
                              uint32_t value1, uint32_t value2) {
    const OswKeepErrno keepErrno;
    const GenMcError error = {headOf(kind, component, file, line), {value1, value2}};
    const ZatStatus status = genWriteLog(GEN_MAINTENANCE_LOG, &error, sizeof error, nullptr, 0);
    return genAskUsers<ZatGenMcLogErrorFunc>(status, GenUserKind::McLogError, component, file, line,
                                             value1, value2);
}

ZatStatus zatGENTrcMcDump(uint32_t component, const char* file, int32_t line, const void* data,
                          int32_t sizeBytes, int32_t maxSizeBytes) {
    if (!genDumpPasses(component)) return component;
    const OswKeepErrno keepErrno;
    const GenMcDump dump = {headOf(ZAT_GEN_MC_DUMP, component, file, line),
                            lengthOf(data, sizeBytes, maxSizeBytes)};
    const ZatStatus status = genWriteLog(GEN_MAINTENANCE_DUMP, &dump, sizeof dump, data,
                                         static_cast<uint32_t>(dump.length));
    return genAskUsers<ZatGenMcDumpFunc>(status, GenUserKind::McDump, component, file, line, data,
                                         std::min(sizeBytes, maxSizeBytes), maxSizeBytes);
}

ZatStatus zatGENTrcMcLogToTrc(uint32_t component, const char* file, int32_t line, int32_t a1,
                              int32_t a2, int32_t a3, int32_t a4, int32_t a5, int32_t a6) {
    zatGENTrcPrintf(component, traceType, 1, "%s:%d:args=%d,%d,%d,%d,%d,%d", fileTail(file), line,
                    a1, a2, a3, a4, a5, a6);
    return ZAT_OK;
}

ZatStatus zatGENTrcMcLogErrorToTrc(uint32_t component, uint32_t kind, const char* file,
                                   int32_t line, uint32_t value1, uint32_t value2) {
    const unsigned long first = value1;
    const unsigned long second = value2;
    if (kind == ZAT_GEN_MC_ERROR)
        zatGENTrcPrintf(component, traceType, 0, "<Error>(0x%08lx:0x%08lx):%s:%d", first, second,
                        fileTail(file), line);
    else
        zatGENTrcPrintf(component, traceType, 0, "<Warning>(0x%08lx:0x%08lx):%s:%d", first, second,
                        fileTail(file), line);
    return ZAT_OK;
}

ZatStatus zatGENTrcMcDumpToTrc(uint32_t component, const char* file, int32_t line, const void* data,
                               int32_t sizeBytes, int32_t maxSizeBytes) {
    zatGENTrcPrintf(component, traceType, 1, "%s:%d:dump(size=%d)", fileTail(file), line,
                    std::min(sizeBytes, maxSizeBytes));
    return zatGENTraceDump(component, traceType, 1, data, sizeBytes, maxSizeBytes, 1);
}

ZatStatus zatGENAddUserMcLog(ZatGenMcLogFunc function) {
    return genAddUserFunction(GenUserKind::McLog, reinterpret_cast<GenUserFunction>(function));
}

ZatStatus zatGENAddUserMcLogError(ZatGenMcLogErrorFunc function) {
    return genAddUserFunction(GenUserKind::McLogError, reinterpret_cast<GenUserFunction>(function));
}

ZatStatus zatGENAddUserMcDump(ZatGenMcDumpFunc function) {
    return genAddUserFunction(GenUserKind::McDump, reinterpret_cast<GenUserFunction>(function));
}
