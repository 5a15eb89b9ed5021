/**
 * @file
 * What a partition must hold, read from its tags, and a plain model of its blocks that random steps
 * are checked against after each.
 */
#ifndef ZATOSW_TESTS_OSW_MEM_CHECKER_H
#define ZATOSW_TESTS_OSW_MEM_CHECKER_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "osw/mem_part.h"
#include "osw/mem_part_private.h"
#include "support/support.h"

inline bool isRunBy(const char* tool) {
    const char* runner = std::getenv("ZATOSW_TEST_RUNNER");
    return runner != nullptr && std::strstr(runner, tool) != nullptr;
}

/** Whether a tool stands between the program and its memory, with an allocator of its own. */
inline bool memoryIsChecked() {
#ifdef __SANITIZE_ADDRESS__
    return true;
#else
    return isRunBy("valgrind");
#endif
}

/** For a test whose threads are kept apart by what the race checker does not know. */
#define SKIP_IF_RACES_ARE_CHECKED() \
    if (isRunBy("--tool=drd"))      \
    GTEST_SKIP() << "the race checker knows neither atomic words nor System V semaphores"

struct PartBlock {
    uint32_t at;
    uint32_t size;
    bool allocated;
    uint8_t pattern = 0; /**< fills an allocated block of the model */

    bool operator==(const PartBlock& other) const {
        return at == other.at && size == other.size && allocated == other.allocated;
    }
};

inline std::ostream& operator<<(std::ostream& stream, const PartBlock& block) {
    return stream << block.at << "+" << block.size << (block.allocated ? "*" : "");
}

inline MemPartHead* headOf(ZatPartition partition) {
    return reinterpret_cast<MemPartHead*>(partition);
}

/** The position of the block that the end marker names as the one before it. */
inline uint32_t namedByEnd(ZatPartition partition) {
    MemPartHead* head = headOf(partition);
    const uint32_t at = head->end - static_cast<uint32_t>(sizeof(MemBlockTag));
    return at - memTagAt(head, at)->prevSize;
}

/**
 * Reads a partition's blocks and checks tags, chain, sums and counters.
 *
 * @param endMayLag  after an aligned allocation at the end, the end marker may name an earlier
 *                   block than the last, but always a block
 */
inline std::vector<PartBlock> blocksOf(ZatPartition partition, bool endMayLag = false) {
    MemPartHead* head = headOf(partition);
    const uint32_t endMarker = head->end - static_cast<uint32_t>(sizeof(MemBlockTag));
    std::vector<PartBlock> blocks;
    uint32_t bytes = 0;
    uint32_t count = 0;
    uint32_t previous = 0;
    for (uint32_t at = memFirstBlock; at != endMarker; at += previous) {
        const MemBlockTag* tag = memTagAt(head, at);
        const PartBlock block = {at, memBlockSize(tag), memIsAllocated(tag)};
        EXPECT_EQ(tag->prevSize, previous) << block;
        if (block.size < memUnit || block.size % memUnit != 0 || block.size > endMarker - at) {
            ADD_FAILURE() << "broken chain at " << block;
            return blocks;
        }
        EXPECT_TRUE(blocks.empty() || block.allocated || blocks.back().allocated)
            << "not merged: " << blocks.back() << block;
        bytes += block.allocated ? block.size : 0;
        count += block.allocated;
        previous = block.size;
        blocks.push_back(block);
    }
    EXPECT_EQ(memTagAt(head, endMarker)->sizeFlags, 0u);
    EXPECT_TRUE(endMayLag || namedByEnd(partition) == blocks.back().at) << namedByEnd(partition);
    EXPECT_TRUE(
        std::any_of(blocks.begin(), blocks.end(),
                    [&](const PartBlock& block) { return block.at == namedByEnd(partition); }))
        << "the end marker names no block: " << namedByEnd(partition);
    EXPECT_EQ(head->curBytes, bytes);
    EXPECT_EQ(head->curBlocks, count);
    return blocks;
}

/** Random calls on a fresh partition, each foretold by a list of blocks. */
class PartitionModel {
  public:
    PartitionModel(ZatPartition partition, bool withAligned)
        : partition_(partition),
          withAligned_(withAligned),
          random_(testSeed()),
          blocks_(blocksOf(partition)) {}

    void step() {
        if (below(64) == 0) filling_ = !filling_;
        if (below(8) < (filling_ ? 1 : 6)) {
            release();
        } else {
            const MemSide side = below(3) == 0 ? MemSide::High : MemSide::Low;
            allocate(side, withAligned_ && below(3) == 0 ? 1u << below(9) : 0);
        }
        check();
    }

  private:
    static constexpr size_t none = SIZE_MAX;

    uint32_t below(uint32_t limit) { return static_cast<uint32_t>(random_() % limit); }

    uint32_t someSize() {
        const uint32_t kind = below(32);
        if (kind == 0) return 0xFFFFFFFFu - below(600);
        if (kind < 8) return exactSize();
        return 1 + below(kind == 8 ? headOf(partition_)->end : 150);
    }

    /** What a block that is there would serve exactly. */
    uint32_t exactSize() {
        const uint32_t size = blocks_[below(static_cast<uint32_t>(blocks_.size()))].size;
        return size > memUnit ? size - memUnit : 1;
    }

    uint8_t* dataOf(const PartBlock& block) const {
        return reinterpret_cast<uint8_t*>(partition_) + block.at + sizeof(MemBlockTag);
    }

    static uint64_t blockFor(uint64_t size) { return (size + 7) / 8 * 8 + 8; }

    size_t find(MemSide side, uint64_t need) const {
        const auto fits = [&](size_t i) {
            return !blocks_[i].allocated && blocks_[i].size >= need;
        };
        if (side == MemSide::Low) {
            for (size_t i = 0; i < blocks_.size(); ++i)
                if (fits(i)) return i;
            return none;
        }
        for (size_t i = blocks_.size(); i-- > 0;)
            if (blocks_[i].at <= namedByEnd(partition_) && fits(i)) return i;
        return none;
    }

    /** Cuts a block in two; the parts keep its state. */
    void split(size_t i, uint32_t firstSize) {
        PartBlock rest = blocks_[i];
        rest.at += firstSize;
        rest.size -= firstSize;
        blocks_[i].size = firstSize;
        blocks_.insert(blocks_.begin() + static_cast<int>(i) + 1, rest);
    }

    /** Frees a block and merges it with its free neighbours. */
    void setFree(size_t i) {
        blocks_[i].allocated = false;
        for (size_t first : {i, i - 1}) {
            if (first == none || first + 1 == blocks_.size() || blocks_[first].allocated ||
                blocks_[first + 1].allocated)
                continue;
            blocks_[first].size += blocks_[first + 1].size;
            blocks_.erase(blocks_.begin() + static_cast<int>(first) + 1);
        }
    }

    size_t place(MemSide side, size_t i, uint32_t need) {
        if (blocks_[i].size > need) {
            split(i, side == MemSide::Low ? need : blocks_[i].size - need);
            i += side == MemSide::High;
        }
        blocks_[i].allocated = true;
        return i;
    }

    /** @param alignment  0 = an allocation without one */
    void allocate(MemSide side, uint32_t alignment) {
        const uint32_t size = someSize();
        const uint64_t wanted =
            alignment == 0 ? size : (uint64_t{size} + alignment - 1) / alignment * alignment;
        const uint64_t need = blockFor(alignment == 0 ? wanted : wanted + alignment - 1);
        const MemPartHead headBefore = *headOf(partition_);
        size_t i = find(side, need);
        void* block = &block;
        const ZatStatus status = call(side, alignment, &block, size);
        if (i == none) {
            EXPECT_EQ(status, ZAT_OSW_PART_EXHAUSTED) << size << " aligned " << alignment;
            EXPECT_EQ(block, nullptr);
            return;
        }
        peakBytes_ = std::max(peakBytes_, headBefore.curBytes + static_cast<uint32_t>(need));
        peakBlocks_ = std::max(peakBlocks_, headBefore.curBlocks + 1);
        i = place(side, i, static_cast<uint32_t>(need));
        const uint32_t front =
            alignment == 0 ? 0 : -reinterpret_cast<uint32_t>(dataOf(blocks_[i])) % alignment;
        const uint32_t at = blocks_[i].at + front;
        if (front != 0) {
            split(i, front);
            setFree(i);
            i = 0;
            while (blocks_[i].at != at)
                ++i;
        }
        if (const auto keep = static_cast<uint32_t>(blockFor(wanted)); keep < blocks_[i].size) {
            split(i, keep);
            setFree(i + 1);
        }
        ASSERT_EQ(status, ZAT_OK) << size << " aligned " << alignment;
        ASSERT_EQ(block, dataOf(blocks_[i])) << size << " aligned " << alignment;
        blocks_[i].pattern = static_cast<uint8_t>(random_());
        std::memset(block, blocks_[i].pattern, blocks_[i].size - sizeof(MemBlockTag));
    }

    ZatStatus call(MemSide side, uint32_t alignment, void** block, uint32_t size) {
        const bool low = side == MemSide::Low;
        if (alignment == 0)
            return (low ? zatOSWSysAllocMemPart : zatOSWSysAllocBottomMemPart)(partition_, block,
                                                                               size);
        return (low ? zatOSWSysAlignAllocMemPart : zatOSWSysAlignAllocBottomMemPart)(
            partition_, block, alignment, size);
    }

    void release() {
        const size_t start = below(static_cast<uint32_t>(blocks_.size()));
        for (size_t n = 0; n < blocks_.size(); ++n) {
            const size_t i = (start + n) % blocks_.size();
            if (!blocks_[i].allocated) continue;
            EXPECT_EQ(zatOSWSysFreeMemPart(partition_, dataOf(blocks_[i])), ZAT_OK);
            return setFree(i);
        }
    }

    void check() {
        ASSERT_EQ(blocksOf(partition_, withAligned_), blocks_);
        ASSERT_EQ(headOf(partition_)->peakBytes, peakBytes_);
        ASSERT_EQ(headOf(partition_)->peakBlocks, peakBlocks_);
        uint32_t largest = sizeof(MemBlockTag);
        for (const PartBlock& block : blocks_) {
            if (!block.allocated) {
                largest = std::max(largest, block.size);
                continue;
            }
            const uint8_t* data = dataOf(block);
            uint32_t size = 0;
            ASSERT_EQ(zatOSWSysGetAllocSizeMemPart(partition_, data, &size), ZAT_OK);
            ASSERT_EQ(size, block.size - sizeof(MemBlockTag));
            const auto wrong = std::find_if(data, data + block.size - sizeof(MemBlockTag),
                                            [&](uint8_t byte) { return byte != block.pattern; });
            ASSERT_EQ(wrong, data + block.size - sizeof(MemBlockTag)) << "spoilt: " << block;
        }
        uint32_t found = 0;
        ASSERT_EQ(zatOSWSysFindMaxFreeMemPart(partition_, &found), ZAT_OK);
        ASSERT_EQ(found, largest - sizeof(MemBlockTag));
    }

    const ZatPartition partition_;
    const bool withAligned_;
    bool filling_ = true;
    std::mt19937 random_;
    std::vector<PartBlock> blocks_;
    uint32_t peakBytes_ = 0;
    uint32_t peakBlocks_ = 0;
};

#endif
