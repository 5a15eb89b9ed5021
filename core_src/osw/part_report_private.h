/* What the reports of partitions have in common, be their blocks shared or not. */
#ifndef ZATOSW_OSW_PART_REPORT_PRIVATE_H
#define ZATOSW_OSW_PART_REPORT_PRIVATE_H

#include <stdint.h>

/* What a partition says of itself. */
struct OswPartUse {
    uint32_t address;
    uint32_t size;
    uint32_t curBytes;
    uint32_t peakBytes;
    uint32_t curBlocks;
    uint32_t peakBlocks;
};

/* What a walk over the blocks sees; sizes with tags. */
struct OswPartSurvey {
    static constexpr uint32_t classCount = 9;

    uint32_t bytes; /* in allocated blocks */
    uint32_t blocks;
    uint32_t largestFree;
    uint32_t classes[classCount]; /* allocated blocks of up to 8, 16, ... 1024 bytes, and larger */
    bool isBroken;
};

void oswCountAllocated(OswPartSurvey& seen, uint32_t blockSize);

/* Where reports go, as type 0x102. */
struct OswReportOutput {
    uint32_t component;
    uint32_t level;
};

#define OSW_PRINT(to, ...) \
    zatGENTrcPrintf((to).component, ZAT_GEN_TRACE | ZAT_GEN_MONITOR, (to).level, __VA_ARGS__)

/* The formats name their numbers as longs. */
inline unsigned long oswAsLong(uint32_t word) {
    return word;
}

/* Prints what does not fit together, the sizes under their headers, and the blocks by class. */
void oswPrintPart(const OswReportOutput& to, const char* useHeader, const OswPartUse& use,
                  const OswPartSurvey& seen);

#endif
