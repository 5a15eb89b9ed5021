/* Reports of partitions; see part_report_private.h. */

#include "osw/part_report_private.h"

#include "gen/trace/output.h"

void oswCountAllocated(OswPartSurvey& seen, uint32_t blockSize) {
    uint32_t index = 0;
    while (index < OswPartSurvey::classCount - 1 && blockSize > 8u << index)
        ++index;
    seen.bytes += blockSize;
    seen.blocks += 1;
    seen.classes[index] += 1;
}

static void printClasses(const OswReportOutput& to,
                         const uint32_t (&classes)[OswPartSurvey::classCount]) {
    OSW_PRINT(to, "            current block number\n");
    OSW_PRINT(to, " blk-size -    8byte   16byte   32byte   64byte  128byte\n");
    OSW_PRINT(to, "            -------- -------- -------- -------- -------- \n");
    OSW_PRINT(to, "mem blocks: %8lu %8lu %8lu %8lu %8lu\n", oswAsLong(classes[0]),
              oswAsLong(classes[1]), oswAsLong(classes[2]), oswAsLong(classes[3]),
              oswAsLong(classes[4]));
    OSW_PRINT(to, " blk-size -  256byte  512byte   1Kbyte Ovr1Kbyte\n");
    OSW_PRINT(to, "            -------- -------- -------- --------\n");
    OSW_PRINT(to, "mem blocks: %8lu %8lu %8lu %8lu\n", oswAsLong(classes[5]), oswAsLong(classes[6]),
              oswAsLong(classes[7]), oswAsLong(classes[8]));
}

void oswPrintPart(const OswReportOutput& to, const char* useHeader, const OswPartUse& use,
                  const OswPartSurvey& seen) {
    if (seen.bytes != use.curBytes || seen.blocks != use.curBlocks)
        OSW_PRINT(to, "!! Memory block count mismatch !!\n");
    if (seen.isBroken) OSW_PRINT(to, "!! Broken memory block chain !!\n");
    OSW_PRINT(to, "                 address  mem size max free\n");
    OSW_PRINT(to, "               ---------- -------- --------\n");
    OSW_PRINT(to, "mem part info: 0x%08lx %8lu %8lu\n", oswAsLong(use.address), oswAsLong(use.size),
              oswAsLong(seen.largestFree));
    OSW_PRINT(to, "%s", useHeader);
    OSW_PRINT(to, "           -------- --------- -------- ---------\n");
    OSW_PRINT(to, "mem usage: %8lu  %8lu %8lu  %8lu\n", oswAsLong(use.curBytes),
              oswAsLong(use.peakBytes), oswAsLong(use.curBlocks), oswAsLong(use.peakBlocks));
    printClasses(to, seen.classes);
}
