/* The binary records of the maintenance logs, as they are written and printed. The processor's byte
 * order. */
#ifndef ZATOSW_GEN_TRACE_MAINTENANCE_RECORD_PRIVATE_H
#define ZATOSW_GEN_TRACE_MAINTENANCE_RECORD_PRIVATE_H

#include <stddef.h>

#include "gen/trace/maintenance_log.h"

constexpr uint32_t genMcFileSize = 32;

/* What all records begin with. */
struct GenMcHead {
    uint32_t kind;
    uint32_t component;
    char file[genMcFileSize]; /* without a terminator when it is full */
    int32_t line;
    int32_t kernelThread;
    uint32_t thread;
};

struct GenMcEvent {
    GenMcHead head;
    int32_t arguments[6];
};

struct GenMcError {
    GenMcHead head;
    uint32_t values[2];
};

struct GenMcDump {
    GenMcHead head;
    int32_t length; /* of the bytes that follow */
};

static_assert(offsetof(GenMcHead, file) == 8 && offsetof(GenMcHead, line) == 40 &&
              offsetof(GenMcHead, thread) == 48 && sizeof(GenMcHead) == 52 &&
              sizeof(GenMcEvent) == 76 && sizeof(GenMcError) == 60 && sizeof(GenMcDump) == 56);

#endif
