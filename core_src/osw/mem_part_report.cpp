/* What a partition of this process holds: gathered under its semaphore, printed without. */

#include <algorithm>

#include "gen/trace/output.h"
#include "osw/errno_private.h"
#include "osw/handle_private.h"
#include "osw/mem_info.h"
#include "osw/mem_part.h"
#include "osw/mem_part_private.h"
#include "osw/part_report_private.h"
#include "osw/records_private.h"

/* An allocated block. */
struct BlockRow {
    uint32_t number; /* of all blocks, from 1 on */
    uint32_t offset; /* of the data, from the partition's start */
    uint32_t address;
    uint32_t size; /* without the tag */
};

static_assert(sizeof(BlockRow) == 16);

struct PartReport {
    OswPartUse use;
    OswPartSurvey seen;
    OswRecords<BlockRow> blocks;
};

/* Calls visit(tag, position, number) for each block up to the end marker; false when there is none.
 */
template <class Visit>
static bool walk(MemPartHead* part, Visit visit) {
    uint32_t number = 0;
    for (uint32_t at = memFirstBlock; at < part->end;) {
        const MemBlockTag* tag = memTagAt(part, at);
        if (tag->sizeFlags == 0) return true;
        const uint32_t size = memBlockSize(tag);
        if (size < memUnit || size > part->end - at) return false;
        visit(*tag, at, ++number);
        at += size;
    }
    return false;
}

static OswPartSurvey survey(MemPartHead* part) {
    OswPartSurvey seen = {};
    const bool isWhole = walk(part, [&seen](const MemBlockTag& tag, uint32_t, uint32_t) {
        if (memIsAllocated(&tag))
            oswCountAllocated(seen, memBlockSize(&tag));
        else
            seen.largestFree = std::max(seen.largestFree, memBlockSize(&tag));
    });
    seen.isBroken = !isWhole || seen.blocks > part->curBlocks;
    return seen;
}

/* The room is for blocks that are there: a spoilt count asks for no more. */
static ZatStatus look(MemPartHead* part, PartReport& report) {
    OswPartitionLock lock;
    if (const ZatStatus error = lock.take(part); error != ZAT_OK) return error;
    report.use = {oswWord(part),   part->end,       part->curBytes,
                  part->peakBytes, part->curBlocks, part->peakBlocks};
    report.seen = survey(part);
    if (!report.blocks.canHold(std::min(part->curBlocks, report.seen.blocks))) return oswNeedsRoom;
    walk(part, [&](const MemBlockTag& tag, uint32_t at, uint32_t number) {
        const uint32_t data = at + sizeof(MemBlockTag);
        if (memIsAllocated(&tag))
            report.blocks.add({number, data, oswWord(part) + data,
                               memBlockSize(&tag) - uint32_t{sizeof(MemBlockTag)}});
    });
    return ZAT_OK;
}

static void printBlocks(const OswReportOutput& to, const OswRecords<BlockRow>& blocks) {
    OSW_PRINT(to, "memory block offset & size:\n");
    OSW_PRINT(to, " blk-no blk-addr  offset  blk-size\n");
    OSW_PRINT(to, " ------ -------- -------- --------\n");
    if (blocks.isEmpty()) OSW_PRINT(to, "  < no memory block allocated >\n");
    for (const BlockRow& block : blocks)
        OSW_PRINT(to, " %6d %08lx %8d %8lu\n", static_cast<int>(block.number),
                  oswAsLong(block.address), static_cast<int>(block.offset), oswAsLong(block.size));
}

ZatStatus zatOSWShowMemPartBlockInfo(uint32_t component, uint32_t level, ZatPartition partition,
                                     uint32_t verbose) {
    const OswKeepErrno keepErrno;
    if (partition == 0) partition = __atomic_load_n(&sysPartId, __ATOMIC_ACQUIRE);
    if (partition == 0) return ZAT_FAILED;
    PartReport report = {};
    const ZatStatus status =
        oswGather(report.blocks, [&] { return look(oswRecord<MemPartHead>(partition), report); });
    if (status != ZAT_OK) return status;
    const OswReportOutput to = {component, level};
    if (verbose != 0) printBlocks(to, report.blocks);
    oswPrintPart(to, "           cur-used peak-used cur-blks peak-blks\n", report.use, report.seen);
    return ZAT_OK;
}

ZatStatus zatOSWShowMemPartInfo(ZatPartition partition, uint32_t verbose) {
    static constexpr uint32_t component = 0x2002;
    static constexpr uint32_t level = 15;
    return zatOSWShowMemPartBlockInfo(component, level, partition, verbose);
}
