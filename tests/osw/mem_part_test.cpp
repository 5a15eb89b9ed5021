// Partitions of the caller's own memory. What the default partitions add, and the fatal failures,
// are looked at elsewhere.

#include "osw/mem_part.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/sem.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "osw/mem_checker.h"
#include "support/selfstart.h"

/** Called after each semaphore operation of the library that succeeded. */
static std::function<void(const sembuf&)> afterOperation;
static int operationsToInterrupt;

extern "C" int semop(int set, sembuf* operations, size_t count) {
    static const auto next =
        reinterpret_cast<int (*)(int, sembuf*, size_t)>(dlsym(RTLD_NEXT, "semop"));
    if (operationsToInterrupt > 0) {
        --operationsToInterrupt;
        errno = EINTR;
        return -1;
    }
    const int result = next(set, operations, count);
    if (result == 0 && afterOperation) afterOperation(operations[0]);
    return result;
}

namespace {

/** The value of a partition's semaphore: 1 when nobody holds it; -1 when it is gone. */
int semaphoreOf(const MemPartHead& head) {
    return semctl(head.semId, 0, GETVAL);
}

/** A partition in memory that related processes share, until the end of the process. */
struct Partition {
    Partition() {
        const uint32_t length = 8192;
        void* memory =
            mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        EXPECT_EQ(zatOSWSysCreateMemPart(&id, memory, length), ZAT_OK);
    }

    uint8_t* low(uint32_t size) const {
        void* block = nullptr;
        EXPECT_EQ(zatOSWSysAllocMemPart(id, &block, size), ZAT_OK);
        return static_cast<uint8_t*>(block);
    }
    uint8_t* high(uint32_t size) const {
        void* block = nullptr;
        EXPECT_EQ(zatOSWSysAllocBottomMemPart(id, &block, size), ZAT_OK);
        return static_cast<uint8_t*>(block);
    }
    void free(void* block) const { EXPECT_EQ(zatOSWSysFreeMemPart(id, block), ZAT_OK); }
    uint32_t largestFree() const {
        uint32_t size = 0xDEAD;
        EXPECT_EQ(zatOSWSysFindMaxFreeMemPart(id, &size), ZAT_OK);
        return size;
    }

    ZatPartition id = 0;
};

uint32_t sizeOf(ZatPartition partition, const void* block) {
    uint32_t size = 0xDEAD;
    EXPECT_EQ(zatOSWSysGetAllocSizeMemPart(partition, block, &size), ZAT_OK);
    return size;
}

/** Runs a child that stops without the clean-up of a test program; 0 if nothing failed in it. */
pid_t forkChild(const std::function<void()>& work) {
    const pid_t child = fork();
    if (child != 0) return child;
    work();
    _exit(testing::Test::HasFailure() ? 1 : 0);
}

TEST(CreatePartition, NeedsMoreThanTheRoundingAndFortyBytes) {
    alignas(8) uint8_t memory[128] = {};
    for (uint32_t offset = 0; offset < 8; ++offset) {
        const uint32_t pad = (8 - offset) % 8;
        ZatPartition partition = 7;
        for (uint32_t length : {0u, pad, pad + 40})
            EXPECT_EQ(zatOSWSysCreateMemPart(&partition, memory + offset, length), ZAT_FAILED);
        EXPECT_EQ(partition, 7u);
        for (uint32_t length : {41u, 48u, 49u, 96u}) {
            ASSERT_EQ(zatOSWSysCreateMemPart(&partition, memory + offset, pad + length), ZAT_OK);
            EXPECT_EQ(partition, reinterpret_cast<uint32_t>(memory + offset + pad));
            const uint32_t size = (length - 1) / 8 * 8 - 24;
            EXPECT_EQ(headOf(partition)->end, size + 32);
            EXPECT_EQ(blocksOf(partition), (std::vector<PartBlock>{{24, size, false}}));
            EXPECT_EQ(zatOSWDeleteMemPart(partition), ZAT_OK);
        }
    }
}

TEST(CreatePartition, FailsUntilTheLibraryHasItsKeyDirectory) {
    const std::string usual = getenv("GEN_MSGQ_PATH");
    setenv("GEN_MSGQ_PATH", "/dev/null/keys/", 1);
    alignas(8) uint8_t memory[64];
    ZatPartition partition = 0;
    EXPECT_EQ(zatOSWSysCreateMemPart(&partition, memory, sizeof memory), ZAT_FAILED);
    setenv("GEN_MSGQ_PATH", usual.c_str(), 1);
    EXPECT_EQ(zatOSWSysCreateMemPart(&partition, memory, sizeof memory), ZAT_OK);
    EXPECT_EQ(zatOSWSysCreateMemPart(&partition, nullptr, sizeof memory), ZAT_FAILED);
    EXPECT_EQ(zatOSWSysCreateMemPart(nullptr, memory, sizeof memory), ZAT_FAILED);
}

// The names of the semaphores count up per process, so those of two processes meet.
TEST(CreatePartition, TakesTheSemaphoreThatAnotherProcessMadeUnderTheName) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t child = forkChild([&] {
        alignas(8) static uint8_t memory[64];
        ZatPartition partition = 0;
        EXPECT_EQ(zatOSWSysCreateMemPart(&partition, memory, sizeof memory), ZAT_OK);
        EXPECT_EQ(write(ends[1], &headOf(partition)->semId, 4), 4);
    });
    ASSERT_EQ(waitForExit(child), 0);
    int theirs = -1;
    ASSERT_EQ(read(ends[0], &theirs, 4), 4);
    const Partition first, second;
    EXPECT_EQ(headOf(first.id)->semId, theirs);
    EXPECT_NE(headOf(second.id)->semId, theirs);
    EXPECT_NE(first.low(8), nullptr);
}

TEST(DeletePartition, RemovesTheSemaphoreOnlySoThatCallsDoNothing) {
    const Partition partition;
    uint8_t* block = partition.low(8);
    const MemPartHead before = *headOf(partition.id);
    EXPECT_EQ(zatOSWDeleteMemPart(partition.id), ZAT_OK);
    EXPECT_EQ(semaphoreOf(before), -1);
    EXPECT_EQ(zatOSWDeleteMemPart(partition.id), ZAT_FAILED);
    EXPECT_EQ(zatOSWDeleteMemPart(0), ZAT_FAILED);
    errno = 4711;
    EXPECT_EQ(zatOSWSysFreeMemPart(partition.id, block), ZAT_OK);
    EXPECT_EQ(zatOSWOrgFreeMemPart(partition.id, block), ZAT_OK);
    EXPECT_EQ(errno, 4711);
    EXPECT_EQ(partition.largestFree(), 0xDEADu) << "nothing is written";
    uint32_t size = 0xDEAD;
    EXPECT_NE(zatOSWSysGetAllocSizeMemPart(partition.id, block, &size), ZAT_OK);
    EXPECT_EQ(size, 0xDEADu);
    EXPECT_EQ(memcmp(headOf(partition.id), &before, sizeof before), 0);
    EXPECT_EQ(blocksOf(partition.id)[0], (PartBlock{24, 16, true}));
}

TEST(Allocation, IsQuietWhenNothingFitsHoweverLarge) {
    const Partition partition;
    void* block = nullptr;
    for (const uint32_t size : {partition.largestFree() + 1, 0x7FFFFFF9u, 0xFFFFFFE0u, 0xFFFFFFF1u,
                                0xFFFFFFF9u, 0xFFFFFFFFu}) {
        for (const uint32_t alignment : {0u, 1u, 8u, 64u, 0x80000000u}) {
            block = &block;
            EXPECT_EQ(alignment == 0
                          ? zatOSWOrgAllocMemPart(partition.id, &block, size)
                          : zatOSWSysAlignAllocMemPart(partition.id, &block, alignment, size),
                      ZAT_OSW_PART_EXHAUSTED)
                << size << " aligned " << alignment;
            EXPECT_EQ(block, nullptr);
        }
    }
}

TEST(Queries, LookOnlyAtAllocatedBlocksInsideThePartition) {
    const Partition partition;
    uint8_t* block = partition.low(20);
    partition.free(block);
    EXPECT_EQ(sizeOf(partition.id, block), 0xDEADu) << "a free block's size is not told";
    uint32_t size = 0xDEAD;
    auto* base = reinterpret_cast<uint8_t*>(partition.id);
    for (uint8_t* outside :
         {base - 8, base, base + 24, base + 31, base + headOf(partition.id)->end})
        EXPECT_EQ(zatOSWSysGetAllocSizeMemPart(partition.id, outside, &size),
                  ZAT_OSW_PART_BAD_ADDRESS);
    EXPECT_EQ(zatOSWSysGetAllocSizeMemPart(0, block, &size), ZAT_OSW_PART_BAD_ADDRESS);
    EXPECT_EQ(zatOSWSysFindMaxFreeMemPart(0, &size), ZAT_OSW_PART_BAD_ADDRESS);
    EXPECT_EQ(size, 0xDEADu);
}

TEST(AlignedBlocks, LeaveTheEndMarkerAtTheirOldFront) {
    const Partition partition;
    void* block = nullptr;
    ASSERT_EQ(zatOSWSysAlignAllocBottomMemPart(partition.id, &block, 256, 100), ZAT_OK);
    EXPECT_EQ(reinterpret_cast<uint32_t>(block) % 256, 0u);
    EXPECT_EQ(sizeOf(partition.id, block), 256u) << "rounded up to the alignment";
    EXPECT_EQ(headOf(partition.id)->peakBytes, 256u + 255u + 1u + 8u) << "before it was trimmed";
    EXPECT_EQ(blocksOf(partition.id, true).size(), 3u);
    EXPECT_EQ(namedByEnd(partition.id) + partition.id + 8, reinterpret_cast<uint32_t>(block));
    EXPECT_LT(partition.high(16), block) << "the piece behind it is not seen from the high end";
    partition.free(block);
    EXPECT_EQ(blocksOf(partition.id).size(), 3u);
}

// The block that the end marker still names may be merged into the one before it.
TEST(AlignedBlocks, LeaveTheEndMarkerAtABlockWhateverIsFreedLater) {
    for (const bool alignedFirst : {true, false}) {
        const Partition partition;
        void* block = nullptr;
        ASSERT_EQ(zatOSWSysAlignAllocBottomMemPart(partition.id, &block, 64, 64), ZAT_OK);
        uint8_t* before = partition.low(partition.largestFree());
        uint8_t* behind = partition.low(partition.largestFree());
        ASSERT_GT(behind, block);
        partition.free(alignedFirst ? block : before);
        partition.free(alignedFirst ? before : block);
        EXPECT_EQ(blocksOf(partition.id, true).size(), 2u);
        void* found = nullptr;
        zatOSWSysAllocBottomMemPart(partition.id, &found, 16);
        EXPECT_LT(found, behind);
        blocksOf(partition.id, true);
    }
}

class PartitionModels : public testing::TestWithParam<bool> {};
INSTANTIATE_TEST_SUITE_P(WithAligned, PartitionModels, testing::Bool());

TEST_P(PartitionModels, ForetellEveryBlock) {
    // Guard bytes on both sides of a base that is not aligned.
    std::vector<uint8_t> memory(4096, 0xA5);
    uint8_t* base = memory.data() + 32;
    const uint32_t offset = testSeed() % 8;
    ZatPartition partition = 0;
    ASSERT_EQ(zatOSWSysCreateMemPart(&partition, base + offset, 4000 + (8 - offset) % 8), ZAT_OK);
    PartitionModel model(partition, GetParam());
    for (uint32_t step = 0; step < 8000 && !HasFailure(); ++step)
        model.step();
    const uint8_t* end = reinterpret_cast<uint8_t*>(partition) + 4000;
    for (const uint8_t* guard = memory.data(); guard < memory.data() + memory.size(); ++guard)
        ASSERT_TRUE((guard >= base && guard < end) || *guard == 0xA5) << guard - base;
    zatOSWDeleteMemPart(partition);
}

TEST(SharedPartition, SerialisesProcesses) {
    const Partition partition;
    constexpr uint32_t count = 3;
    auto* ready = reinterpret_cast<uint32_t*>(partition.low(4));
    *ready = 0;
    std::vector<pid_t> children;
    for (uint8_t mark = 1; mark <= count; ++mark)
        children.push_back(forkChild([&] {
            __atomic_add_fetch(ready, 1, __ATOMIC_SEQ_CST);
            ASSERT_TRUE(waitFor([&] { return __atomic_load_n(ready, __ATOMIC_SEQ_CST) == count; }));
            std::mt19937 random(mark);
            std::vector<uint8_t*> held;
            for (int left = 10000; left > 0 || !held.empty(); --left) {
                if (left > 0 && held.size() < 8) {
                    held.push_back(partition.low(1 + random() % 100));
                    memset(held.back(), mark, sizeOf(partition.id, held.back()));
                    std::swap(held.back(), held[random() % held.size()]);
                } else {
                    const uint32_t size = sizeOf(partition.id, held.back());
                    ASSERT_EQ(std::count(held.back(), held.back() + size, mark), size);
                    partition.free(held.back());
                    held.pop_back();
                }
            }
        }));
    for (const pid_t child : children)
        EXPECT_EQ(waitForExit(child), 0);
    EXPECT_EQ(blocksOf(partition.id).size(), 2u);
    EXPECT_EQ(semaphoreOf(*headOf(partition.id)), 1) << "taken as often as given back";
}

TEST(SharedPartition, IsGivenBackWhenItsHolderIsKilled) {
    const Partition partition;
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t child = forkChild([&] {
        afterOperation = [&](const sembuf& operation) {
            if (operation.sem_op > 0) return;
            EXPECT_EQ(write(ends[1], "x", 1), 1);
            for (;;)
                pause();
        };
        partition.low(8);
    });
    char byte;
    ASSERT_EQ(read(ends[0], &byte, 1), 1);
    ASSERT_EQ(semaphoreOf(*headOf(partition.id)), 0);
    ASSERT_EQ(kill(child, SIGKILL), 0);
    ASSERT_EQ(waitForExit(child), 128 + SIGKILL);
    ASSERT_EQ(semaphoreOf(*headOf(partition.id)), 1);
    EXPECT_NE(partition.low(8), nullptr);
}

TEST(SharedPartition, IsTakenAgainAfterASignal) {
    const Partition partition;
    operationsToInterrupt = 3;
    EXPECT_NE(partition.low(8), nullptr);
    EXPECT_EQ(operationsToInterrupt, 0);
    EXPECT_EQ(semaphoreOf(*headOf(partition.id)), 1);
}

}  // namespace
