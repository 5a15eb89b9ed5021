/*
 * A shared partition beside its floor: two pairs of semaphore operations with undo, and a first-fit
 * walk with boundary tags, without handles, checks or care for killed processes.
 */

#include <zatosw/zatosw.h>

#include <algorithm>
#include <string>
#include <vector>

#include "ipc_floor.h"
#include "pair.h"
#include "threads.h"

static constexpr uint32_t blockSize = 64;
static constexpr uint32_t segmentSize = 128 * 1024;

/* The floor's heap: tags of four words, bit 0 of the size is set in an allocated block. */
struct FloorTag {
    uint32_t prevSize;
    uint32_t size;
    int32_t id;
    uint32_t asked;
};

class FloorPart {
  public:
    FloorPart() { *at(16) = {0, segmentSize - 16, -1, 0}; }

    __attribute__((noinline)) void* allocate(uint32_t asked) {
        lock_.lock();
        void* block = take((asked + 7) / 8 * 8 + 16, asked);
        lock_.unlock();
        return block;
    }

    __attribute__((noinline)) void free(void* block) {
        lock_.lock();
        give(static_cast<FloorTag*>(block) - 1);
        lock_.unlock();
    }

  private:
    FloorTag* at(uint32_t offset) { return reinterpret_cast<FloorTag*>(memory_ + offset); }
    FloorTag* behind(FloorTag* tag) {
        return reinterpret_cast<FloorTag*>(reinterpret_cast<char*>(tag) + (tag->size & ~1u));
    }
    FloorTag* end() { return at(segmentSize); }

    void* take(uint32_t need, uint32_t asked) {
        FloorTag* tag = at(16);
        while (tag != end() && ((tag->size & 1) != 0 || tag->size < need)) {
            if (tag->size < 16) return nullptr;
            tag = behind(tag);
        }
        if (tag == end()) return nullptr;
        if (const uint32_t rest = tag->size - need; rest >= 16) {
            tag->size = need;
            behind(tag)->prevSize = need;
            setSize(behind(tag), rest);
        }
        curBytes_ += tag->size;
        curBlocks_ += 1;
        peakBytes_ = std::max(peakBytes_, curBytes_);
        peakBlocks_ = std::max(peakBlocks_, curBlocks_);
        tag->asked = asked;
        tag->id = -1;
        tag->size |= 1;
        return tag + 1;
    }

    void give(FloorTag* tag) {
        tag->size &= ~1u;
        curBytes_ -= tag->size;
        curBlocks_ -= 1;
        if (tag->prevSize != 0) {
            auto* before =
                reinterpret_cast<FloorTag*>(reinterpret_cast<char*>(tag) - tag->prevSize);
            if ((before->size & 1) == 0) {
                setSize(before, before->size + tag->size);
                tag = before;
            }
        }
        FloorTag* next = behind(tag);
        if (next != end() && (next->size & 1) == 0) setSize(tag, tag->size + next->size);
    }

    void setSize(FloorTag* tag, uint32_t size) {
        tag->size = size;
        if (behind(tag) != end()) behind(tag)->prevSize = size;
    }

    const FloorSemaphores lock_{1, 1};
    uint32_t curBytes_ = 0;
    uint32_t curBlocks_ = 0;
    uint32_t peakBytes_ = 0;
    uint32_t peakBlocks_ = 0;
    alignas(4096) char memory_[segmentSize];
};

static void oursAllocateAndFree(ZatIpcHandle part, int operations) {
    for (int i = 0; i < operations; ++i) {
        void* block = nullptr;
        zatOSWIpcAllocMemPart(part, &block, blockSize);
        benchmark::DoNotOptimize(block);
        zatOSWIpcFreeMemPart(part, block);
    }
}

static void floorAllocateAndFree(FloorPart& part, int operations) {
    for (int i = 0; i < operations; ++i) {
        void* block = part.allocate(blockSize);
        benchmark::DoNotOptimize(block);
        part.free(block);
    }
}

/* Partitions that are open; the last one is used, behind blocks that are there. */
static void sharedPart(benchmark::State& state, uint32_t partitions, uint32_t blocks) {
    benchStayOn(0);
    std::vector<ZatIpcHandle> parts(partitions);
    for (uint32_t i = 0; i < partitions; ++i) {
        const uint32_t size = i + 1 < partitions ? 4096 : segmentSize;
        const std::string name = "bench" + std::to_string(i);
        if (zatOSWIpcCreateMemPart(&parts[i], name.c_str(), size) != ZAT_OK)
            state.SkipWithError("the partition cannot be made");
    }
    static FloorPart floor;
    std::vector<void*> floorBlocks;
    void* block = nullptr;
    for (uint32_t i = 1; i < blocks; ++i) {
        zatOSWIpcAllocMemPart(parts.back(), &block, blockSize);
        floorBlocks.push_back(floor.allocate(blockSize));
    }
    benchPair(
        state, 1000, [&](int n) { oursAllocateAndFree(parts.back(), n); },
        [](int n) { floorAllocateAndFree(floor, n); });
    for (void* taken : floorBlocks)
        floor.free(taken);
    for (const ZatIpcHandle part : parts)
        zatOSWIpcDeleteMemPart(part);
}

int main(int count, char** arguments) {
    for (const uint32_t many : {1u, 100u, 1000u}) {
        const std::string number = std::to_string(many);
        benchRow(("shared_part_" + number + "_blocks/floor").c_str(),
                 [many](auto& s) { sharedPart(s, 1, many); });
        if (many > 1)
            benchRow(("shared_part_" + number + "_partitions/floor").c_str(),
                     [many](auto& s) { sharedPart(s, many, 1); });
    }
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
}
