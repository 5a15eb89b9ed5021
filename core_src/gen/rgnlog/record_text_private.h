/* Records of region logs as lines. */
#ifndef ZATOSW_GEN_RGNLOG_RECORD_TEXT_PRIVATE_H
#define ZATOSW_GEN_RGNLOG_RECORD_TEXT_PRIVATE_H

#include "gen/rgnlog/ring_private.h"

/* Where lines go. */
struct GenChannel {
    uint32_t component;
    uint32_t level;
};

void genPrintTextRecord(const GenChannel& channel, const GenRingEntry& entry);
void genPrintBinaryRecord(const GenChannel& channel, const GenRingEntry& entry);

#endif
