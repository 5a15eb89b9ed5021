/*
 * What shared partitions hold, in print. Figures are copied under the lock of the type and printed
 * without it.
 */

#include <stddef.h>
#include <string.h>

#include <algorithm>

#include "clb/list_walk_private.h"
#include "gen/trace/output.h"
#include "osw/errno_private.h"
#include "osw/handle_private.h"
#include "osw/ipc/ipc_status.h"
#include "osw/ipc/mem_part.h"
#include "osw/ipc/mem_part_private.h"
#include "osw/ipc/wait_private.h"
#include "osw/mem_part.h"
#include "osw/part_report_private.h"
#include "osw/records_private.h"

struct IpcMemPartSnap {
    ZatIpcHandle part;
    uint32_t size;
    uint32_t address;
    char name[IpcObjectEntry::nameSize];
    ShmHeapHead used;
};

static_assert(sizeof(IpcMemPartSnap) == 60 && offsetof(IpcMemPartSnap, size) == 4 &&
              offsetof(IpcMemPartSnap, address) == 8 && offsetof(IpcMemPartSnap, name) == 12 &&
              offsetof(IpcMemPartSnap, used) == 44);

/* An allocated block; sizes without its tag. */
struct IpcMemPartBlock {
    uint32_t number; /* of all blocks, from 1 on */
    int32_t id;
    uint32_t offset; /* of the data, from the segment's start */
    uint32_t address;
    uint32_t reqSize;
    uint32_t size;
};

static_assert(sizeof(IpcMemPartBlock) == 24 && offsetof(IpcMemPartBlock, id) == 4 &&
              offsetof(IpcMemPartBlock, offset) == 8 && offsetof(IpcMemPartBlock, address) == 12 &&
              offsetof(IpcMemPartBlock, reqSize) == 16 && offsetof(IpcMemPartBlock, size) == 20);

using BlockRecords = OswRecords<IpcMemPartBlock, OswRoomFrom::Partition0>;

struct SharedPartReport {
    IpcMemPartSnap snap;
    OswPartSurvey seen;
    BlockRecords blocks;
};

struct ListReport {
    uint32_t shmBytes;
    uint32_t shmPeak;
    OswRecords<IpcMemPartSnap, OswRoomFrom::Partition0> parts;
};

static IpcMemPartSnap takeSnap(const IpcHandle& handle) {
    IpcMemPartSnap snap = {oswWord(&handle),
                           handle.part.size,
                           oswWord(handle.part.address),
                           {},
                           shmHeadOf(oswIpcHeapOf(handle))};
    strncpy(snap.name, handle.entry->name, sizeof snap.name);
    return snap;
}

static OswPartSurvey survey(const ShmHeap& heap) {
    OswPartSurvey seen = {};
    seen.largestFree = shmHeapLargestFree(heap);
    ShmBlockWalk walk(heap);
    while (walk.next()) {
        if (shmIsAllocated(walk.tag())) oswCountAllocated(seen, walk.size());
    }
    /* The figures are those of another partition if there are more blocks than they count. */
    seen.isBroken = walk.isBroken() || seen.blocks > shmHeadOf(heap).curBlocks;
    return seen;
}

static void addBlocks(const ShmHeap& heap, BlockRecords& blocks) {
    uint32_t number = 0;
    ShmBlockWalk walk(heap);
    while (walk.next()) {
        ++number;
        const ShmBlockTag* tag = walk.tag();
        if (!shmIsAllocated(tag)) continue;
        blocks.add({number, tag->blockId, shmDataOffset(heap, tag), oswWord(tag + 1), tag->reqSize,
                    shmDataSize(walk.size())});
    }
}

/* Under the lock. The room is for blocks that are there: a spoilt count asks for no more. */
static ZatStatus lookAtPart(IpcHandle& handle, void* data) {
    auto& report = *static_cast<SharedPartReport*>(data);
    const ShmHeap heap = oswIpcHeapOf(handle);
    report.snap = takeSnap(handle);
    report.seen = survey(heap);
    if (!report.blocks.canHold(std::min(report.snap.used.curBlocks, report.seen.blocks)))
        return oswNeedsRoom;
    addBlocks(heap, report.blocks);
    return ZAT_OK;
}

static ZatStatus lookAtNamed(const char* name, SharedPartReport& report) {
    IpcLock lock;
    if (const ZatStatus status = oswIpcLockType(lock, IPC_PARTITION); status != ZAT_OK)
        return status;
    for (IpcHandle* handle : zatWalk<IpcHandle>(&oswIpcTypes[IPC_PARTITION].handles))
        if (strcmp(handle->entry->name, name) == 0) return lookAtPart(*handle, &report);
    return ZAT_IPC_NO_OBJECT;
}

/* The global semaphore as well: the figures are in a page that a termination detaches. */
static ZatStatus lookAtList(ListReport& report) {
    IpcLock global;
    IpcLock lock;
    if (const ZatStatus status = oswIpcLockBoth(global, lock, IPC_PARTITION); status != ZAT_OK)
        return status;
    const ClbLstHead& handles = oswIpcTypes[IPC_PARTITION].handles;
    if (!report.parts.canHold(static_cast<uint32_t>(handles.count))) return oswNeedsRoom;
    for (const IpcHandle* handle : zatWalk<IpcHandle>(&handles))
        report.parts.add(takeSnap(*handle));
    report.shmBytes = get_curr();
    report.shmPeak = get_max();
    return ZAT_OK;
}

static void printBlocks(const OswReportOutput& to, const BlockRecords& blocks) {
    OSW_PRINT(to, "memory block offset & size:\n");
    OSW_PRINT(to, " blk-no blk-id  offset  req-size blk-size\n");
    OSW_PRINT(to, " ------ ------ -------- -------- --------\n");
    if (blocks.isEmpty()) OSW_PRINT(to, "  < no memory block allocated >\n");
    for (const IpcMemPartBlock& block : blocks)
        OSW_PRINT(to, " %6d %6d %8d %8lu %8d\n", block.number, block.id, block.offset,
                  oswAsLong(block.reqSize), block.size);
}

static void print(const OswReportOutput& to, const SharedPartReport& report, bool verbose) {
    if (verbose) printBlocks(to, report.blocks);
    const IpcMemPartSnap& snap = report.snap;
    const OswPartUse use = {snap.address,        snap.size,           snap.used.curBytes,
                            snap.used.peakBytes, snap.used.curBlocks, snap.used.peakBlocks};
    oswPrintPart(to, "           cur-used peek-used cur-blks peek-blks\n", use, report.seen);
}

static void printList(const OswReportOutput& to, const ListReport& report) {
    OSW_PRINT(to, "            cur-used peak-used\n");
    OSW_PRINT(to, "           --------- ---------\n");
    OSW_PRINT(to, "shm usage: %9lu %9lu\n", oswAsLong(report.shmBytes), oswAsLong(report.shmPeak));
    OSW_PRINT(to, " part-id       part-name              mem-size mem-used mem-peak\n");
    OSW_PRINT(to, "-------- ---------------------------- -------- -------- --------\n");
    if (report.parts.isEmpty()) OSW_PRINT(to, " <no shared memory partition created>\n");
    for (const IpcMemPartSnap& snap : report.parts)
        OSW_PRINT(to, "%8lx %28.*s %8lu %8lu %8lu\n", oswAsLong(snap.part),
                  static_cast<int>(sizeof snap.name), snap.name, oswAsLong(snap.size),
                  oswAsLong(snap.used.curBytes), oswAsLong(snap.used.peakBytes));
}

ZatStatus zatOSWIpcShowMemPartInfo(ZatIpcHandle part, uint32_t verbose) {
    static constexpr IpcChange change = {IPC_PARTITION, lookAtPart, nullptr};
    static constexpr OswReportOutput to = {IPC_PART_COMPONENT, 15};
    const OswKeepErrno keepErrno;
    SharedPartReport report = {};
    const ZatStatus status =
        oswGather(report.blocks, [&] { return oswIpcApply(part, change, &report); });
    if (status == ZAT_OK) print(to, report, verbose != 0);
    return status;
}

void zatOSWIpcShowMemPartList(uint32_t component, uint32_t selector) {
    const OswKeepErrno keepErrno;
    ListReport report = {};
    if (oswGather(report.parts, [&] { return lookAtList(report); }) == ZAT_OK)
        printList({component, selector}, report);
    else
        zatGENTrcPrintf(component, IPC_PART_TRACE, selector,
                        " <failed to get shared memory partition information>\n");
}

void zatOSWIpcShowMemPartBlock(uint32_t component, uint32_t selector, const char* name) {
    const OswKeepErrno keepErrno;
    SharedPartReport report = {};
    if (name != nullptr &&
        oswGather(report.blocks, [&] { return lookAtNamed(name, report); }) == ZAT_OK)
        print({component, selector}, report, true);
    else
        zatGENTrcPrintf(component, IPC_PART_TRACE, selector,
                        " <shared memory partition not found>\n");
}
