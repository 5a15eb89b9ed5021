/* What the calls on shared partitions and their reports have in common. */
#ifndef ZATOSW_OSW_IPC_MEM_PART_PRIVATE_H
#define ZATOSW_OSW_IPC_MEM_PART_PRIVATE_H

#include "gen/trace/output.h"
#include "osw/ipc/object_private.h"
#include "osw/ipc/shm_heap_private.h"

/* The trace component of the partitions' own messages, and the type of all of them. */
inline constexpr uint32_t IPC_PART_COMPONENT = 0x30;
inline constexpr uint32_t IPC_PART_TRACE = ZAT_GEN_TRACE | ZAT_GEN_MONITOR;

inline ShmHeap oswIpcHeapOf(const IpcHandle& handle) {
    return shmHeapIn(handle.part.address, handle.part.size);
}

#endif
