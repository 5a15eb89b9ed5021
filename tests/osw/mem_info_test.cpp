/* Reports: figures that are those of the tasks and blocks, in lines that people know. */

#include "osw/mem_info.h"

#include "gen/trace/captured.h"
#include "osw/event_sem_private.h"
#include "osw/mem_part.h"
#include "osw/mem_part_private.h"
#include "osw/task.h"
#include "osw/worker.h"

namespace {

uint32_t waitHere(uint32_t event, uint32_t) {
    return zatOSWWaitEventSem(event, ZAT_FOREVER);
}

const zatOSWTaskInfo& taskOf(const OswMemInfo& info, uint32_t place) {
    return reinterpret_cast<const zatOSWTaskInfo*>(&info + 1)[place];
}

TEST(MemInfo, HoldsAndPrintsTheFiguresOfEachTask) {
    listen();
    ZatEventSem event = 0;
    ASSERT_EQ(zatOSWCreateEventSem(&event, 0, 0), ZAT_OK);
    const ZatTaskId task = startTask(taskEntry<waitHere>, 1, "sixteen letters!", event, 0, 65536);
    EXPECT_TRUE(waitersReach(recordOf<OswEventSem>(event), 1));
    OswMemInfo* info = nullptr;
    ASSERT_EQ(zatOSWCreateMemInfo(&info), ZAT_OK);
    ASSERT_EQ(info->taskEntries, 2u);
    const zatOSWTaskInfo& waiter = taskOf(*info, 1);
    EXPECT_EQ(waiter.threadId, task);
    EXPECT_TRUE(waiter.stackPeak > 0 && waiter.stackPeak < 65536 && taskOf(*info, 0).stackTop == 0);
    EXPECT_EQ(info->stackUsage, (waiter.stackPeak + 4095) / 4096 * 4096);
    EXPECT_GE(info->stackTotal, 65536u);
    EXPECT_TRUE(info->taskPeak == 2 && info->stackTotalPeak == info->stackTotal);
    void* block = nullptr;
    ASSERT_EQ(zatOSWSysAllocMemPart(0, &block, 50), ZAT_OK);
    ASSERT_EQ(zatOSWSysFreeMemPart(0, block), ZAT_OK);
    ASSERT_EQ(zatOSWOrgAllocMemPart(0, &block, 100), ZAT_OK);
    OswMemInfo* later = nullptr;
    ASSERT_EQ(zatOSWCreateMemInfo(&later), ZAT_OK);
    EXPECT_EQ(later->memCurBytes - info->memCurBytes, 100u);
    EXPECT_EQ(later->memCurBlocks - info->memCurBlocks, 1u);
    EXPECT_EQ(taskOf(*later, 0).memSize - taskOf(*info, 0).memSize, 100u);
    const Lines lines = printedBy([] { zatOSWShowMemInfo(component, 0x102, 3); });
    ASSERT_EQ(lines.size(), 7u);
    EXPECT_EQ(lines[2],
              format("mem usage: %8u %9u %8u %9u     2     2 %8u %8u %8u %8u\n", later->memCurBytes,
                     later->memPeakBytes, later->memCurBlocks, later->memPeakBlocks,
                     later->stackTotal, later->stackTotal, later->stackUsage, later->stackUsage));
    EXPECT_EQ(lines[6],
              format("%8d %10u          0 sixteen letters!    0 %8u %8u 0x%08x %8u %8u %3u%%\n",
                     waiter.kernelTid, task, waiter.memSize, waiter.memPeak, waiter.stackTop,
                     waiter.stackRequested, waiter.stackPeak,
                     waiter.stackPeak * 100 / waiter.stackRequested));
    testing::internal::CaptureStdout();
    zatOSWSysShowMem();
    zatOSWSysShowStack();
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_NE(printed.find(format("mem usage: %8u  %8u %8u  %8u\n", later->memCurBytes,
                                  later->memPeakBytes, later->memCurBlocks, later->memPeakBlocks)),
              std::string::npos);
    EXPECT_NE(printed.find(format("%10u sixteen letters! %8u %8u 0x%08x", task, waiter.memSize,
                                  waiter.memPeak, waiter.stackTop)),
              std::string::npos);
    zatOSWDeleteMemInfo(info);
    zatOSWDeleteMemInfo(later);
    zatOSWDeleteMemInfo(nullptr);
    zatOSWOrgFreeMemPart(0, block);
    zatOSWPostEventSem(event);
    EXPECT_EQ(zatOSWWaitTask(task, 1), ZAT_OK);
    EXPECT_EQ(zatOSWCreateMemInfo(nullptr), ZAT_OK);
    uint32_t low = 0, high = 0, size = 0, here = 0;
    /* A checker may keep variables elsewhere. */
    const void* frame = __builtin_frame_address(0);
    EXPECT_EQ(zatOSWGetMemBlockMap(frame, &here, &low, &high, &size), ZAT_OK);
    EXPECT_TRUE(here == wordOf(frame) && low < here && here < high && size == high - low + 4095);
}

TEST(PartitionReport, ShowsBlocksFiguresAndFaults) {
    listen();
    EXPECT_EQ(zatOSWShowMemPartBlockInfo(component, 3, 0, 1), ZAT_FAILED);
    alignas(8) static uint8_t memory[4096];
    ZatPartition part = 0;
    ASSERT_EQ(zatOSWSysCreateMemPart(&part, memory, sizeof memory), ZAT_OK);
    const auto report = [=](uint32_t verbose) {
        return printedBy([=] { zatOSWShowMemPartBlockInfo(component, 3, part, verbose); });
    };
    const uint32_t peak = infoOf(0).memPeak;
    Lines lines = report(1);
    EXPECT_EQ(infoOf(0).memPeak, peak) << "what it takes itself is not counted";
    ASSERT_EQ(lines.size(), 17u);
    EXPECT_EQ(lines[3], "  < no memory block allocated >\n");
    EXPECT_EQ(lines[6], format("mem part info: 0x%08x     4096     4064\n", part));
    void* blocks[3];
    for (uint32_t i = 0; i < 3; ++i)
        ASSERT_EQ(zatOSWSysAllocMemPart(part, &blocks[i], 8 + i * 500), ZAT_OK);
    zatOSWSysFreeMemPart(part, blocks[1]);
    lines = report(1);
    ASSERT_EQ(lines.size(), 18u);
    EXPECT_EQ(lines[4], format("      3 %08x      568     1008\n", wordOf(blocks[2])));
    EXPECT_EQ(lines[10], "mem usage:     1032      1552        2         3\n");
    EXPECT_EQ(lines[14], "mem blocks:        0        1        0        0        0\n");
    EXPECT_EQ(lines[17], "mem blocks:        0        0        1        0\n");
    auto& head = *reinterpret_cast<MemPartHead*>(part);
    head.curBlocks = 1;
    lines = report(1);
    EXPECT_EQ(lines[4], "!! Memory block count mismatch !!\n") << "a line for one block only";
    EXPECT_EQ(lines[5], "!! Broken memory block chain !!\n");
    head.curBlocks = 2;
    auto* tag = static_cast<MemBlockTag*>(blocks[1]) - 1;
    for (const uint32_t size : {4u, 1u, 0xFFFFFFF8u, 4088u}) {
        tag->sizeFlags = size;
        EXPECT_EQ(report(0).at(1), "!! Broken memory block chain !!\n") << size;
    }
    EXPECT_EQ(zatOSWDeleteMemPart(part), ZAT_OK);
}

}  // namespace
