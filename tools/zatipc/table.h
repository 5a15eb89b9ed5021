// A copy of the table that all processes share, made without leaving a trace in it.
//
// The global semaphore keeps objects from coming and going while pages are attached, a type's lock
// keeps its entries still while they are copied. Each is waited for as long as the user allows and
// then done without. Page 0 is attached under the global semaphore where that can be had: whoever
// leaves counts the processes that have it attached.
#ifndef ZATIPC_TABLE_H
#define ZATIPC_TABLE_H

#include <array>
#include <string>
#include <vector>

#include "directory.h"
#include "names.h"
#include "osw/ipc/shm_heap_private.h"
#include "timed_lock.h"

// What a partition's segment holds.
struct PartUse {
    bool isKnown = false;
    ShmHeapHead head = {};
    uint32_t attached = 0;
    // With a survey only:
    uint32_t allocatedBlocks = 0;
    uint32_t freeBlocks = 0;
    uint32_t allocatedBytes = 0;
    uint32_t largestFree = 0;
    bool isBroken = false;
};

struct TableEntry {
    uint32_t page;
    uint32_t index;
    IpcObjectEntry entry;
    PartUse part;
};

struct Table {
    bool exists = false;
    bool isWhole = false;  // all pages of the chain are there
    int error = 0;         // why page 0 cannot be read
    int globalSem = -1;
    bool isDead = false;      // it is there, and the kernel knows of nobody who has it attached
    uint32_t attached = 0;    // how many times processes have page 0
    IpcGlobalPage head = {};  // of page 0; its entries are those of before the locks
    std::vector<int> segments;
    std::vector<TableEntry> entries;  // those in use
    std::vector<std::string> damage;
    std::array<LockState, IPC_TYPES + 1> locks;  // of the types; the last is the global one
};

struct ReadHow {
    uint32_t waitMs;
    bool survey;               // of the blocks in partitions
    bool holdsGlobal = false;  // the caller does
};

Table readTable(const KeyDirectory& directory, const ReadHow& how);

// "lock semaphore zatoswipcmsem is held ...", a line for each that was not taken as it should be.
std::vector<std::string> lockFaults(const Table& table);

// Whether the table can be read at all.
inline bool isReadable(const Table& table) {
    return table.exists && !table.segments.empty();
}

// "events.ready (event)"
std::string describe(const IpcObjectEntry& entry);

#endif
