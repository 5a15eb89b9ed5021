/* Shared-memory partitions. The heap in a segment is shm_heap.cpp's; here it gets its lock. */

#include "osw/ipc/mem_part.h"

#include "gen/trace/output.h"
#include "osw/errno_private.h"
#include "osw/handle_private.h"
#include "osw/init.h"
#include "osw/ipc/create_private.h"
#include "osw/ipc/mem_part_private.h"
#include "osw/ipc/shm_heap_private.h"
#include "osw/ipc/wait_private.h"
#include "osw/lock_private.h"

/* Runs a step on a partition, under the lock of its type. */
template <class Step>
static ZatStatus onPart(ZatIpcHandle part, Step step) {
    static constexpr IpcChange change = {
        IPC_PARTITION,
        [](IpcHandle& handle, void* data) {
            return (*static_cast<Step*>(data))(oswIpcHeapOf(handle));
        },
        nullptr};
    return oswIpcApply(part, change, &step);
}

static uint32_t offsetIn(const ShmHeap& heap, const void* pointer) {
    return oswWord(pointer) - oswWord(heap.base);
}

/* The offset may lead anywhere: address words, not pointers, are added. */
static void* pointerIn(const ShmHeap& heap, uint32_t offset) {
    return oswRecord<void>(oswWord(heap.base) + offset);
}

ZatStatus zatOSWIpcCreateMemPart(ZatIpcHandle* part, const char* name, uint32_t sizeBytes) {
    if (part == nullptr) return ZAT_FAILED;
    if (sizeBytes < shmSmallestSegment) return ZAT_IPC_BAD_PARAMETERS;
    if (name == nullptr) return ZAT_IPC_BAD_PARAMETERS;
    const OswKeepErrno keepErrno;
    ZatStatus status = zatOSWInit();
    if (status != ZAT_OK) return status;
    IpcCreation creation(IPC_PARTITION);
    ZatIpcHandle made = 0;
    status = oswIpcCreateNamed(creation, name, IPC_PARTITION, {sizeBytes, 0}, &made);
    if (status != ZAT_OK) return status;
    const bool isNew = oswRecord<IpcHandle>(made)->entry->useCount == 1;
    if (creation.lock.release() != ZAT_OK && isNew) {
        /* The layer is broken; callers have always been told success, and no new object is made. */
        creation.global.forget();
        return ZAT_OK;
    }
    *part = made;
    return ZAT_OK;
}

/* The table has the lock of the type only: see oswIpcDropUse. */
static ZatStatus close(IpcHandle& handle, void* data) {
    if (oswIpcCloseObject(handle)) *static_cast<IpcHandle**>(data) = &handle;
    return ZAT_OK;
}

ZatStatus zatOSWIpcDeleteMemPart(ZatIpcHandle part) {
    static constexpr IpcChange change = {IPC_PARTITION, close, nullptr};
    const OswKeepErrno keepErrno;
    const OswUncancellable uncancellable;
    IpcHandle* gone = nullptr;
    const ZatStatus status = oswIpcApply(part, change, &gone);
    if (gone != nullptr) oswIpcDispose(gone);
    return status;
}

ZatStatus zatOSWIpcAllocMemPart(ZatIpcHandle part, void** pointer, uint32_t sizeBytes) {
    if (pointer == nullptr) return ZAT_FAILED;
    return onPart(part, [=](const ShmHeap& heap) {
        uint32_t offset = 0;
        const ZatStatus status = shmHeapAllocate(heap, sizeBytes, &offset);
        if (status == ZAT_OK) *pointer = pointerIn(heap, offset);
        return status;
    });
}

ZatStatus zatOSWIpcAllocOffsetMemPart(ZatIpcHandle part, void** pointer, uint32_t* offset,
                                      uint32_t sizeBytes) {
    if (pointer == nullptr || offset == nullptr) return ZAT_FAILED;
    return onPart(part, [=](const ShmHeap& heap) {
        const ZatStatus status = shmHeapAllocate(heap, sizeBytes, offset);
        if (status == ZAT_OK) *pointer = pointerIn(heap, *offset);
        return status;
    });
}

/* Tells of a free that failed; holds no lock. */
static ZatStatus reportFree(ZatIpcHandle part, const char* call, ZatStatus status) {
    if (status == ZAT_OK) return status;
    const OswKeepErrno keepErrno;
    zatGENTrcPrintf(IPC_PART_COMPONENT, IPC_PART_TRACE, 0, "<Fatal>:%s():RC=0x%08lx\n", call,
                    static_cast<unsigned long>(status));
    zatOSWIpcShowMemPartInfo(part, 1);
    return status;
}

ZatStatus zatOSWIpcFreeMemPart(ZatIpcHandle part, void* pointer) {
    const ZatStatus status = onPart(
        part, [=](const ShmHeap& heap) { return shmHeapFree(heap, offsetIn(heap, pointer)); });
    return reportFree(part, "zatOSWIpcFreeMemPart", status);
}

ZatStatus zatOSWIpcFreeOffsetMemPart(ZatIpcHandle part, uint32_t offset) {
    const ZatStatus status =
        onPart(part, [=](const ShmHeap& heap) { return shmHeapFree(heap, offset); });
    return reportFree(part, "zatOSWIpcFreeOffsetMemPart", status);
}

ZatStatus zatOSWIpcGetPointerMemPart(ZatIpcHandle part, uint32_t offset, void** pointer) {
    if (pointer == nullptr) return ZAT_FAILED;
    return onPart(part, [=](const ShmHeap& heap) {
        *pointer = pointerIn(heap, offset);
        return ZatStatus{ZAT_OK};
    });
}

ZatStatus zatOSWIpcGetOffsetMemPart(ZatIpcHandle part, const void* pointer, uint32_t* offset) {
    if (offset == nullptr) return ZAT_FAILED;
    return onPart(part, [=](const ShmHeap& heap) {
        *offset = offsetIn(heap, pointer);
        return ZatStatus{ZAT_OK};
    });
}

ZatStatus zatOSWIpcGetAllocSizeMemPart(ZatIpcHandle part, const void* pointer,
                                       uint32_t* sizeBytes) {
    if (sizeBytes == nullptr) return ZAT_FAILED;
    return onPart(part, [=](const ShmHeap& heap) {
        ShmBlockTag* tag = nullptr;
        const ZatStatus status = shmHeapFind(heap, offsetIn(heap, pointer), &tag);
        if (status == ZAT_OK) *sizeBytes = shmDataSize(shmBlockSize(tag));
        return status;
    });
}

ZatStatus zatOSWIpcFindMaxFreeMemPart(ZatIpcHandle part, uint32_t* sizeBytes) {
    if (sizeBytes == nullptr) return ZAT_FAILED;
    return onPart(part, [=](const ShmHeap& heap) {
        *sizeBytes = shmDataSize(shmHeapLargestFree(heap));
        return ZatStatus{ZAT_OK};
    });
}

ZatStatus zatOSWIpcRegisterBlockIdMemPart(ZatIpcHandle part, const void* pointer, int32_t blockId) {
    return onPart(part, [=](const ShmHeap& heap) {
        if (shmHeapFindId(heap, blockId) != nullptr) return ZatStatus{ZAT_OSW_PART_BLOCK_ID_EXISTS};
        ShmBlockTag* tag = nullptr;
        const ZatStatus status = shmHeapFind(heap, offsetIn(heap, pointer), &tag);
        if (status == ZAT_OK) tag->blockId = blockId;
        return status;
    });
}

ZatStatus zatOSWIpcGetBlockByIdMemPart(ZatIpcHandle part, int32_t blockId, void** pointer) {
    if (pointer == nullptr) return ZAT_FAILED;
    return onPart(part, [=](const ShmHeap& heap) {
        ShmBlockTag* tag = shmHeapFindId(heap, blockId);
        if (tag == nullptr) return ZatStatus{ZAT_OSW_PART_NO_BLOCK_ID};
        *pointer = tag + 1;
        return ZatStatus{ZAT_OK};
    });
}
