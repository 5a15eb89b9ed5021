// Partitions in shared memory: the heap against a model, several processes, and what is printed.

#include "osw/ipc/mem_part.h"

#include <stdarg.h>
#include <sys/ptrace.h>
#include <sys/shm.h>
#include <sys/wait.h>

#include <map>

#include "osw/ipc/ipc_init.h"
#include "osw/ipc/ipc_status.h"
#include "osw/ipc/shared_part.h"
#include "osw/worker.h"
#include "support/selfstart.h"

static std::string printed;

/** The trace, whatever its masks would say. */
extern "C" void zatGENTrcPrintf(uint32_t component, uint32_t type, uint32_t, const char* format,
                                ...) {
    EXPECT_TRUE(component == 0x30 && type == 0x102) << component << " " << type;
    char text[200];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    printed += text;
}

namespace {

struct Live {
    uint32_t asked;
    int32_t id;
    uint8_t pattern;
};

/** Whether the allocated blocks are those of the model, no larger than need be, and unspoilt. */
void check(const Part& part, const std::map<uint32_t, Live>& model) {
    size_t count = 0;
    for (const ShmBlockTag* tag : part.blocks()) {
        if (!shmIsAllocated(tag)) continue;
        const auto live = model.find(shmDataOffset(part.heap, tag));
        ASSERT_NE(live, model.end());
        const uint32_t size = shmBlockSize(tag) - 16;
        ASSERT_EQ(tag->reqSize, live->second.asked);
        ASSERT_EQ(tag->blockId, live->second.id);
        ASSERT_LT(size - (tag->reqSize + 7) / 8 * 8, 16u);
        for (uint32_t i = 0; i < size; ++i)
            ASSERT_EQ(part.heap.base[live->first + i], live->second.pattern) << live->first;
        ++count;
    }
    ASSERT_EQ(count, model.size());
}

TEST(MemPart, FollowsAModelThroughRandomSteps) {
    std::mt19937 random(testSeed());
    const auto below = [&](uint32_t limit) { return static_cast<uint32_t>(random() % limit); };
    const Part part(4101 + below(2) * 16000);
    std::map<uint32_t, Live> model;
    for (int i = 0; i < (emulated() ? 800 : 6000) && !testing::Test::HasFatalFailure(); ++i) {
        const auto some = model.lower_bound(below(part.heap.end));
        if (some == model.end() || below(10) < (i / 150 % 2 == 0 ? 6 : 3)) {
            const auto blocks = part.blocks();
            const uint32_t near = shmBlockSize(blocks[below(uint32_t(blocks.size()))]);
            const uint32_t sizes[] = {1 + below(200), near - 17 + below(3), ~below(40)};
            const uint32_t size = std::max(1u, sizes[below(3)]);
            const auto fit = std::find_if(blocks.begin(), blocks.end(), [=](ShmBlockTag* tag) {
                return !shmIsAllocated(tag) && tag->sizeFlags >= (uint64_t{size} + 7) / 8 * 8 + 16;
            });
            const bool fits = fit != blocks.end();
            const uint32_t offset = part.take(size, fits ? ZAT_OK : ZAT_OSW_PART_EXHAUSTED);
            ASSERT_EQ(offset, fits ? shmDataOffset(part.heap, *fit) : 0) << "the lowest that fits";
            if (!fits) continue;
            model[offset] = {size, -1, uint8_t(below(256))};
            memset(part.heap.base + offset, model[offset].pattern, shmBlockSize(*fit) - 16);
        } else if (const int id = 1 + int(below(12)); below(4) == 0) {
            const auto owner = std::find_if(model.begin(), model.end(),
                                            [=](auto& live) { return live.second.id == id; });
            const bool isNew = owner == model.end();
            EXPECT_EQ(part.find(id), isNew ? 0 : owner->first);
            EXPECT_EQ(part.number(some->first, id), isNew ? ZAT_OK : ZAT_OSW_PART_BLOCK_ID_EXISTS);
            if (isNew) some->second.id = id;
        } else {
            EXPECT_EQ(part.free(some->first), ZAT_OK);
            model.erase(some);
        }
        check(part, model);
    }
}

TEST(MemPart, RefusesSizesAndAddressesThatCannotBe) {
    ZatIpcHandle none = 4711;
    for (const uint32_t size : {0u, 31u})
        EXPECT_EQ(zatOSWIpcCreateMemPart(&none, "small", size), ZAT_IPC_BAD_PARAMETERS);
    EXPECT_EQ(none, 4711u);
    Part(32, "small").take(1, ZAT_OSW_PART_EXHAUSTED);
    const Part part;
    for (const uint32_t size : {4065u, 0xFFFFFFE8u, 0xFFFFFFE9u, 0xFFFFFFF8u, 0xFFFFFFFFu})
        part.take(size, ZAT_OSW_PART_EXHAUSTED);
    part.take(0, ZAT_OSW_PART_BAD_SIZE);
    part.take(1);
    const std::vector<uint8_t> before(part.heap.base, part.heap.base + 4096);
    const auto refuse = [&](uint32_t offset, ZatStatus freed, ZatStatus asked) {
        uint32_t size = 0;
        EXPECT_EQ(part.free(offset), freed) << offset;
        EXPECT_EQ(zatOSWIpcGetAllocSizeMemPart(part.id, part.at(offset), &size), asked);
        EXPECT_EQ(part.number(offset, 1), asked) << offset;
    };
    EXPECT_EQ(part.maxFree(), 4096u - 16 - 24 - 16);
    for (const uint32_t offset : {0u, 15u, 4096u, 4097u, 0x7FFFFFFFu, ~0u, 0u - 16, 0u - 4096})
        refuse(offset, ZAT_OSW_PART_BAD_ADDRESS, ZAT_OSW_PART_BAD_ADDRESS);
    for (const uint32_t offset : {16u, 31u, 33u, 36u, 56u, 4088u, 4095u})
        refuse(offset, ZAT_OSW_PART_NOT_ALLOCATED, ZAT_OSW_PART_BLOCK_FREE);
    EXPECT_TRUE(std::equal(before.begin(), before.end(), part.heap.base));
}

template <class Call>
std::string printedBy(Call call) {
    printed.clear();
    call();
    return printed;
}

TEST(MemPartReport, FollowsAFreeThatFails) {
    const Part part;
    part.take(9);
    part.take(2000);
    EXPECT_EQ(part.number(32, 7), ZAT_OK);
    EXPECT_EQ(part.free(64), ZAT_OK);
    const std::string text =
        printedBy([&] { EXPECT_EQ(part.free(64), ZAT_OSW_PART_NOT_ALLOCATED); });
    EXPECT_EQ(text,
              "<Fatal>:zatOSWIpcFreeOffsetMemPart():RC=0x20020111\n"
              "memory block offset & size:\n"
              " blk-no blk-id  offset  req-size blk-size\n"
              " ------ ------ -------- -------- --------\n"
              "      1      7       32        9       16\n"
              "                 address  mem size max free\n"
              "               ---------- -------- --------\n" +
                  format("mem part info: 0x%08x     4096     4048\n", oswWord(part.heap.base)) +
                  "           cur-used peek-used cur-blks peek-blks\n"
                  "           -------- --------- -------- ---------\n"
                  "mem usage:       32      2048        1         2\n"
                  "            current block number\n"
                  " blk-size -    8byte   16byte   32byte   64byte  128byte\n"
                  "            -------- -------- -------- -------- -------- \n"
                  "mem blocks:        0        0        1        0        0\n"
                  " blk-size -  256byte  512byte   1Kbyte Ovr1Kbyte\n"
                  "            -------- -------- -------- --------\n"
                  "mem blocks:        0        0        0        0\n");
}

TEST(MemPartReport, TellsOfDamage) {
    const Part part;
    const std::string mismatch = "!! Memory block count mismatch !!\n";
    const auto info = [&] { EXPECT_EQ(zatOSWIpcShowMemPartInfo(part.id, 0), ZAT_OK); };
    EXPECT_EQ(part.take(8) + part.take(8), 32u + 56);
    part.tagAt(16)->reqSize = 0xFFFFFFFF;
    printedBy([&] { EXPECT_EQ(part.free(32), ZAT_OSW_PART_BAD_BLOCK); });
    EXPECT_EQ(part.tagAt(16)->sizeFlags, 24u) << "marked free";
    EXPECT_EQ(printedBy(info).find(mismatch + "          "), 0u);
    shmHeadOf(part.heap).curBlocks = 0;
    EXPECT_EQ(printedBy(info).find(mismatch + "!! Broken"), 0u) << "more than are counted";
    part.tagAt(40)->sizeFlags = 4097;
    printedBy([&] { EXPECT_EQ(part.free(56), ZAT_OSW_PART_BAD_BLOCK); });
    for (const uint32_t size : {15u, 4096u, 0xFFFFFFFEu}) {
        part.tagAt(40)->sizeFlags = size;
        EXPECT_EQ(printedBy(info).find(mismatch + "!! Broken memory block chain !!\n  "), 0u);
        part.take(16, ZAT_OSW_PART_EXHAUSTED);
        EXPECT_EQ(part.maxFree(), 8u);
    }
}

/** In another process: finds a block by its number, frees it by its offset, leaves another one. */
int useBlocks(const std::vector<std::string>&) {
    const Part part;
    const uint32_t offset = part.find(5);
    EXPECT_STREQ(static_cast<char*>(part.at(offset)), "greetings");
    EXPECT_EQ(part.free(offset), ZAT_OK);
    EXPECT_EQ(part.number(part.take(2000), 6), ZAT_OK);
    EXPECT_EQ(zatOSWIpcDeleteMemPart(part.id), ZAT_OK);
    return testing::Test::HasFailure();
}
SelfRole useBlocksRole("use-blocks", useBlocks);

TEST(MemPart, IsSharedUntilTheLastDelete) {
    const uint32_t bytesBefore = get_curr();
    const Part part;
    const uint32_t first = part.take(10);
    strcpy(static_cast<char*>(part.at(first)), "greetings");
    EXPECT_EQ(part.number(first, 5), ZAT_OK);
    ZatIpcHandle other = 0;
    EXPECT_EQ(zatOSWIpcCreateMemPart(&other, "part", 4088), ZAT_IPC_BAD_PARAMETERS);
    EXPECT_EQ(Part().id, part.id) << "with its blocks";
    EXPECT_EQ(get_curr(), bytesBefore + 4096);
    EXPECT_GE(get_max(), get_curr());
    ASSERT_EQ(waitForExit(spawnSelf("use-blocks")), 0);
    EXPECT_EQ(part.find(5), 0u);
    EXPECT_EQ(part.find(6), first);
    EXPECT_EQ(part.blocks().size(), 2u);
    EXPECT_EQ(zatOSWIpcDeleteMemPart(part.id), ZAT_OK);
    EXPECT_EQ(part.find(6), first);
    EXPECT_EQ(zatOSWIpcDeleteMemPart(part.id), ZAT_OK);
    shmid_ds state;
    EXPECT_EQ(shmctl(part.segment, IPC_STAT, &state), -1);
    EXPECT_EQ(get_curr(), bytesBefore);
    uint32_t size = 0;
    EXPECT_EQ(zatOSWIpcFindMaxFreeMemPart(part.id, &size), ZAT_IPC_NO_OBJECT);
    EXPECT_EQ(zatOSWIpcGetOffsetMemPart(part.id, &size, &size), ZAT_IPC_NO_OBJECT);
    EXPECT_EQ(zatOSWIpcShowMemPartInfo(part.id, 1), ZAT_IPC_NO_OBJECT);
    EXPECT_EQ(zatOSWIpcDeleteMemPart(part.id), ZAT_IPC_NO_OBJECT);
    EXPECT_EQ(Part().blocks().size(), 1u) << "a new one";
}

TEST(MemPartReport, ListsThePartitionsOfTheProcess) {
    const auto show = [] { zatOSWIpcShowMemPartBlock(0x30, 15, "b"); };
    const auto list = [] { zatOSWIpcShowMemPartList(0x30, 15); };
    const auto isIn = [](const std::string& text, const char* line) {
        return text.find(line) != std::string::npos;
    };
    ASSERT_EQ(zatOSWInit(), ZAT_OK);
    EXPECT_TRUE(isIn(printedBy(list), "\n <no shared memory partition created>\n"));
    const Part part(4096, "a");
    EXPECT_EQ(printedBy(show), " <shared memory partition not found>\n");
    const Part other(8192, "b");
    EXPECT_TRUE(isIn(printedBy(show), "\n  < no memory block allocated >\n"));
    const uint32_t first = other.take(8);
    other.take(100);
    EXPECT_EQ(other.free(first), ZAT_OK);
    EXPECT_TRUE(isIn(printedBy(show), "\n      2     -1       56      100      104\n"));
    EXPECT_EQ(printedBy(list),
              "            cur-used peak-used\n           --------- ---------\n"
              "shm usage:     12288     12288\n"
              " part-id       part-name              mem-size mem-used mem-peak\n"
              "-------- ---------------------------- -------- -------- --------\n" +
                  format("%8x %28s     4096        0        0\n", part.id, "a") +
                  format("%8x %28s     8192      120      144\n", other.id, "b"));
    zatOSWIpcTerm();
    EXPECT_EQ(printedBy(list), " <failed to get shared memory partition information>\n");
}

TEST(MemPart, SurvivesAKillAtAnyInstruction) {
    if (emulated() || isRunBy("valgrind")) GTEST_SKIP() << "no single steps there";
    const Part part(400);
    const pid_t child = fork();
    if (child == 0) {
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        raise(SIGSTOP);
        for (const uint32_t size : {8u, 40u, 8u, 40u, 8u})
            part.take(size);
        for (const uint32_t offset : {56u, 136u, 112u, 32u, 192u})
            part.free(offset);
        _exit(0);
    }
    int status = 0;
    int steps = 0;
    while (waitpid(child, &status, 0) == child && WIFSTOPPED(status)) {
        ASSERT_TRUE(part.isWhole()) << "after " << steps << " steps";
        ASSERT_EQ(ptrace(PTRACE_SINGLESTEP, child, nullptr, nullptr), 0);
        ++steps;
    }
    EXPECT_EQ(status, 0);
    EXPECT_GT(steps, 1000);
    EXPECT_EQ(part.blocks().size(), 1u);
    /* As if two frees were not ended: the third one merges them all. */
    for (int i = 0; i < 3; ++i)
        part.take(8);
    for (const uint32_t at : {16u, 40u})
        part.tagAt(at)->sizeFlags &= ~shmAllocated;
    EXPECT_EQ(part.free(80), ZAT_OK);
    EXPECT_EQ(part.maxFree(), 400u - 16 - 16);
}

}  // namespace
