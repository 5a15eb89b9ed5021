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

/* What a walk over the blocks sees; sizes with tags. */
struct Survey {
    static constexpr uint32_t classCount = 9;

    uint32_t bytes; /* in allocated blocks */
    uint32_t blocks;
    uint32_t largestFree;
    uint32_t classes[classCount]; /* allocated blocks of up to 8, 16, ... 1024 bytes, and larger */
    bool isBroken;
};

struct PartReport {
    IpcMemPartSnap snap;
    Survey seen;
    OswRecords<IpcMemPartBlock> blocks;
};

struct ListReport {
    uint32_t shmBytes;
    uint32_t shmPeak;
    OswRecords<IpcMemPartSnap> parts;
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

static uint32_t sizeClass(uint32_t blockSize) {
    uint32_t index = 0;
    while (index < Survey::classCount - 1 && blockSize > 8u << index)
        ++index;
    return index;
}

static Survey survey(const ShmHeap& heap) {
    Survey seen = {};
    seen.largestFree = shmHeapLargestFree(heap);
    ShmBlockWalk walk(heap);
    while (walk.next()) {
        if (!shmIsAllocated(walk.tag())) continue;
        seen.bytes += walk.size();
        seen.blocks += 1;
        seen.classes[sizeClass(walk.size())] += 1;
    }
    /* The figures are those of another partition if there are more blocks than they count. */
    seen.isBroken = walk.isBroken() || seen.blocks > shmHeadOf(heap).curBlocks;
    return seen;
}

static void addBlocks(const ShmHeap& heap, OswRecords<IpcMemPartBlock>& blocks) {
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
    auto& report = *static_cast<PartReport*>(data);
    const ShmHeap heap = oswIpcHeapOf(handle);
    report.snap = takeSnap(handle);
    report.seen = survey(heap);
    if (!report.blocks.canHold(std::min(report.snap.used.curBlocks, report.seen.blocks)))
        return oswNeedsRoom;
    addBlocks(heap, report.blocks);
    return ZAT_OK;
}

static ZatStatus lookAtNamed(const char* name, PartReport& report) {
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

struct Output {
    uint32_t component;
    uint32_t selector;
};

/* The formats name their numbers as longs. */
static unsigned long asLong(uint32_t word) {
    return word;
}

static void printBlocks(const Output& to, const OswRecords<IpcMemPartBlock>& blocks) {
    zatGENTrcPrintf(to.component, IPC_PART_TRACE, to.selector, "memory block offset & size:\n");
    zatGENTrcPrintf(to.component, IPC_PART_TRACE, to.selector,
                    " blk-no blk-id  offset  req-size blk-size\n");
    zatGENTrcPrintf(to.component, IPC_PART_TRACE, to.selector,
                    " ------ ------ -------- -------- --------\n");
    if (blocks.isEmpty())
        zatGENTrcPrintf(to.component, IPC_PART_TRACE, to.selector,
                        "  < no memory block allocated >\n");
    for (const IpcMemPartBlock& block : blocks)
        zatGENTrcPrintf(to.component, IPC_PART_TRACE, to.selector, " %6d %6d %8d %8lu %8d\n",
                        block.number, block.id, block.offset, asLong(block.reqSize), block.size);
}

static void printUse(const Output& to, const IpcMemPartSnap& snap, uint32_t largestFree) {
    zatGENTrcPrintf(to.component, IPC_PART_TRACE, to.selector,
                    "                 address  mem size max free\n");
    zatGENTrcPrintf(to.component, IPC_PART_TRACE, to.selector,
                    "               ---------- -------- --------\n");
    zatGENTrcPrintf(to.component, IPC_PART_TRACE, to.selector, "mem part info: 0x%08lx %8lu %8lu\n",
                    asLong(snap.address), asLong(snap.size), asLong(largestFree));
    zatGENTrcPrintf(to.component, IPC_PART_TRACE, to.selector,
                    "           cur-used peek-used cur-blks peek-blks\n");
    zatGENTrcPrintf(to.component, IPC_PART_TRACE, to.selector,
                    "           -------- --------- -------- ---------\n");
    zatGENTrcPrintf(to.component, IPC_PART_TRACE, to.selector, "mem usage: %8lu  %8lu %8lu  %8lu\n",
                    asLong(snap.used.curBytes), asLong(snap.used.peakBytes),
                    asLong(snap.used.curBlocks), asLong(snap.used.peakBlocks));
}

static void printClasses(const Output& to, const uint32_t (&classes)[Survey::classCount]) {
    zatGENTrcPrintf(to.component, IPC_PART_TRACE, to.selector,
                    "            current block number\n");
    zatGENTrcPrintf(to.component, IPC_PART_TRACE, to.selector,
                    " blk-size -    8byte   16byte   32byte   64byte  128byte\n");
    zatGENTrcPrintf(to.component, IPC_PART_TRACE, to.selector,
                    "            -------- -------- -------- -------- -------- \n");
    zatGENTrcPrintf(to.component, IPC_PART_TRACE, to.selector,
                    "mem blocks: %8lu %8lu %8lu %8lu %8lu\n", asLong(classes[0]),
                    asLong(classes[1]), asLong(classes[2]), asLong(classes[3]), asLong(classes[4]));
    zatGENTrcPrintf(to.component, IPC_PART_TRACE, to.selector,
                    " blk-size -  256byte  512byte   1Kbyte Ovr1Kbyte\n");
    zatGENTrcPrintf(to.component, IPC_PART_TRACE, to.selector,
                    "            -------- -------- -------- --------\n");
    zatGENTrcPrintf(to.component, IPC_PART_TRACE, to.selector, "mem blocks: %8lu %8lu %8lu %8lu\n",
                    asLong(classes[5]), asLong(classes[6]), asLong(classes[7]), asLong(classes[8]));
}

static void print(const Output& to, const PartReport& report, bool verbose) {
    if (verbose) printBlocks(to, report.blocks);
    const ShmHeapHead& used = report.snap.used;
    if (report.seen.bytes != used.curBytes || report.seen.blocks != used.curBlocks)
        zatGENTrcPrintf(to.component, IPC_PART_TRACE, to.selector,
                        "!! Memory block count mismatch !!\n");
    if (report.seen.isBroken)
        zatGENTrcPrintf(to.component, IPC_PART_TRACE, to.selector,
                        "!! Broken memory block chain !!\n");
    printUse(to, report.snap, report.seen.largestFree);
    printClasses(to, report.seen.classes);
}

static void printList(const Output& to, const ListReport& report) {
    zatGENTrcPrintf(to.component, IPC_PART_TRACE, to.selector, "            cur-used peak-used\n");
    zatGENTrcPrintf(to.component, IPC_PART_TRACE, to.selector, "           --------- ---------\n");
    zatGENTrcPrintf(to.component, IPC_PART_TRACE, to.selector, "shm usage: %9lu %9lu\n",
                    asLong(report.shmBytes), asLong(report.shmPeak));
    zatGENTrcPrintf(to.component, IPC_PART_TRACE, to.selector,
                    " part-id       part-name              mem-size mem-used mem-peak\n");
    zatGENTrcPrintf(to.component, IPC_PART_TRACE, to.selector,
                    "-------- ---------------------------- -------- -------- --------\n");
    if (report.parts.isEmpty())
        zatGENTrcPrintf(to.component, IPC_PART_TRACE, to.selector,
                        " <no shared memory partition created>\n");
    for (const IpcMemPartSnap& snap : report.parts)
        zatGENTrcPrintf(to.component, IPC_PART_TRACE, to.selector, "%8lx %28.*s %8lu %8lu %8lu\n",
                        asLong(snap.part), static_cast<int>(sizeof snap.name), snap.name,
                        asLong(snap.size), asLong(snap.used.curBytes), asLong(snap.used.peakBytes));
}

ZatStatus zatOSWIpcShowMemPartInfo(ZatIpcHandle part, uint32_t verbose) {
    static constexpr IpcChange change = {IPC_PARTITION, lookAtPart, nullptr};
    static constexpr Output to = {IPC_PART_COMPONENT, 15};
    const OswKeepErrno keepErrno;
    PartReport report = {};
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
    PartReport report = {};
    if (name != nullptr &&
        oswGather(report.blocks, [&] { return lookAtNamed(name, report); }) == ZAT_OK)
        print({component, selector}, report, true);
    else
        zatGENTrcPrintf(component, IPC_PART_TRACE, selector,
                        " <shared memory partition not found>\n");
}
