/**
 * @file
 * A shared partition as tests use it, and a reader of its blocks that checks them.
 */
#ifndef ZATOSW_TESTS_OSW_IPC_SHARED_PART_H
#define ZATOSW_TESTS_OSW_IPC_SHARED_PART_H

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "osw/handle_private.h"
#include "osw/ipc/mem_part.h"
#include "osw/ipc/object_private.h"
#include "osw/ipc/shm_heap_private.h"

struct Part {
    explicit Part(uint32_t size = 4096, const char* name = "part") {
        EXPECT_EQ(zatOSWIpcCreateMemPart(&id, name, size), ZAT_OK);
        const IpcHandle& handle = *reinterpret_cast<IpcHandle*>(id);
        heap = shmHeapIn(handle.part.address, size);
        segment = handle.entry->part.segmentId;
    }

    /** Any address, also one outside the segment. */
    void* at(uint32_t offset) const { return oswRecord<void>(oswWord(heap.base) + offset); }

    ShmBlockTag* tagAt(uint32_t at) const { return reinterpret_cast<ShmBlockTag*>(heap.base + at); }

    /** Allocates; the block's offset, or 0. */
    uint32_t take(uint32_t size, ZatStatus expected = ZAT_OK) const {
        void* pointer = heap.base;
        uint32_t offset = 0;
        EXPECT_EQ(zatOSWIpcAllocOffsetMemPart(id, &pointer, &offset, size), expected) << size;
        EXPECT_EQ(pointer, heap.base + offset);
        void* same = nullptr;
        uint32_t back = 0;
        EXPECT_EQ(zatOSWIpcGetPointerMemPart(id, offset, &same), ZAT_OK);
        EXPECT_EQ(zatOSWIpcGetOffsetMemPart(id, same, &back), ZAT_OK);
        EXPECT_TRUE(same == pointer && back == offset);
        return offset;
    }

    /** Frees, in one of the two ways. */
    ZatStatus free(uint32_t offset) const {
        return offset % 16 == 0 ? zatOSWIpcFreeOffsetMemPart(id, offset)
                                : zatOSWIpcFreeMemPart(id, at(offset));
    }

    ZatStatus number(uint32_t offset, int32_t blockId) const {
        return zatOSWIpcRegisterBlockIdMemPart(id, at(offset), blockId);
    }

    /** The data of the block with a number, as an offset; 0 when there is none. */
    uint32_t find(int32_t blockId) const {
        void* pointer = heap.base;
        const ZatStatus status = zatOSWIpcGetBlockByIdMemPart(id, blockId, &pointer);
        EXPECT_EQ(status, pointer == heap.base ? ZAT_OSW_PART_NO_BLOCK_ID : ZAT_OK);
        return oswWord(pointer) - oswWord(heap.base);
    }

    uint32_t maxFree() const {
        uint32_t size = 4711;
        EXPECT_EQ(zatOSWIpcFindMaxFreeMemPart(id, &size), ZAT_OK);
        return size;
    }

    /** Reads the chain: it must fit in both directions, be merged, and add up to the figures. */
    std::vector<ShmBlockTag*> blocks() const {
        std::vector<ShmBlockTag*> found;
        uint32_t bytes = 0, count = 0, before = 0, largest = 16;
        bool mergeable = false;
        for (uint32_t at = 16; at != heap.end; at += before) {
            ShmBlockTag* tag = tagAt(at);
            EXPECT_EQ(tag->prevSize, before) << at;
            before = shmBlockSize(tag);
            if (before < 16 || before > heap.end - at) {
                ADD_FAILURE() << "broken chain at " << at;
                break;
            }
            EXPECT_FALSE(mergeable && !shmIsAllocated(tag)) << "not merged at " << at;
            mergeable = !shmIsAllocated(tag);
            (mergeable ? largest : bytes) = mergeable ? std::max(largest, before) : bytes + before;
            count += !mergeable;
            found.push_back(tag);
        }
        const ShmHeapHead& head = shmHeadOf(heap);
        EXPECT_TRUE(head.curBytes == bytes && head.curBlocks == count) << bytes << " " << count;
        EXPECT_TRUE(head.peakBytes >= bytes && head.peakBlocks >= count) << head.peakBytes;
        EXPECT_EQ(maxFree(), largest - 16);
        return found;
    }

    /** Whether a process may be killed now: the blocks can be walked, none names a free block in
     * front of it that is not one, and no fewer are counted than there are. */
    bool isWhole() const {
        uint32_t before = 0, bytes = 0, count = 0;
        for (uint32_t at = 16; at != heap.end; at += before) {
            const uint32_t distance = tagAt(at)->prevSize;
            if (distance != before && (distance % 8 != 0 || distance >= at ||
                                       tagAt(at - distance)->sizeFlags == distance))
                return false;
            before = shmBlockSize(tagAt(at));
            if (before < 16 || before > heap.end - at) return false;
            bytes += shmIsAllocated(tagAt(at)) ? before : 0;
            count += shmIsAllocated(tagAt(at));
        }
        return bytes <= shmHeadOf(heap).curBytes && count <= shmHeadOf(heap).curBlocks;
    }

    ZatIpcHandle id = 0;
    ShmHeap heap;
    int segment;
};

#endif
