/*
 * The table that all processes share: a chain of pages of System V shared memory, 48 object entries
 * each. The words of an entry are read and changed only under the lock semaphore of its type, the
 * head of a page only under the global semaphore. Nothing in a page is a pointer.
 */
#ifndef ZATOSW_OSW_IPC_PAGE_PRIVATE_H
#define ZATOSW_OSW_IPC_PAGE_PRIVATE_H

#include <stddef.h>
#include <stdint.h>

#include "clb/list.h"
#include "osw/status.h"

enum IpcType : uint32_t {
    IPC_MUTEX,
    IPC_COUNT,
    IPC_EVENT,
    IPC_QUEUE,
    IPC_TIMER,
    IPC_SE_LOCK,
    IPC_PARTITION,
    IPC_TYPES,
};

/* A thread of some process; thread ids alone repeat between processes. */
struct IpcThread {
    uint32_t process;
    uint32_t thread;
};

struct IpcSemBody {
    IpcThread owner;    /* who took it last */
    IpcThread releaser; /* who released or posted it last */
    uint32_t value;     /* recursion depth, count, or signals that may still be consumed */
    uint32_t broadcast; /* event: its waiters are being released */
    int32_t semId;
    uint32_t waiters;
    uint32_t created; /* the creation value */
};

struct IpcQueueBody {
    IpcThread sender;
    IpcThread receiver;
    uint32_t capacity;
    uint32_t messageSize;
    uint32_t messages;
    uint32_t senders;   /* blocked ones */
    uint32_t receivers; /* blocked ones */
    int32_t semId;      /* semaphore 0 blocks senders, 1 receivers */
    int32_t queueId;
};

struct IpcTimerBody {
    uint32_t server; /* process that serves it; 0 = not started */
    IpcThread controller;
    uint32_t timeMs;
    uint32_t created; /* stack size of the control task and of the local timer */
    uint32_t command;
    int32_t semId;
};

struct IpcLockBody {
    IpcThread owner;
    IpcThread acquirer;
    int32_t semId;  /* semaphore 0 blocks exclusive requesters, 1 shared ones */
    uint32_t depth; /* of the exclusive owner */
    uint32_t sharedHolds;
    uint32_t exclusiveWaiters;
    uint32_t sharedWaiters;
};

struct IpcPartBody {
    int32_t segmentId;
    uint32_t size;
};

struct IpcObjectEntry {
    static constexpr uint32_t nameSize = 32;

    char name[nameSize];
    uint32_t useCount; /* handles in all processes; 0 = the entry is free, its name left over */
    uint32_t type;
    union {
        IpcSemBody sem;
        IpcQueueBody queue;
        IpcTimerBody timer;
        IpcLockBody lock;
        IpcPartBody part;
        uint32_t word[11];
    };
};

static_assert(sizeof(IpcObjectEntry) == 84 && offsetof(IpcObjectEntry, useCount) == 32 &&
              offsetof(IpcObjectEntry, type) == 36 && offsetof(IpcObjectEntry, word) == 40);
static_assert(offsetof(IpcObjectEntry, sem.releaser) == 48 &&
              offsetof(IpcObjectEntry, sem.value) == 56 &&
              offsetof(IpcObjectEntry, sem.broadcast) == 60 &&
              offsetof(IpcObjectEntry, sem.semId) == 64 &&
              offsetof(IpcObjectEntry, sem.waiters) == 68 &&
              offsetof(IpcObjectEntry, sem.created) == 72);
static_assert(offsetof(IpcObjectEntry, queue.capacity) == 56 &&
              offsetof(IpcObjectEntry, queue.messages) == 64 &&
              offsetof(IpcObjectEntry, queue.senders) == 68 &&
              offsetof(IpcObjectEntry, queue.semId) == 76 &&
              offsetof(IpcObjectEntry, queue.queueId) == 80);
static_assert(offsetof(IpcObjectEntry, timer.controller) == 44 &&
              offsetof(IpcObjectEntry, timer.timeMs) == 52 &&
              offsetof(IpcObjectEntry, timer.created) == 56 &&
              offsetof(IpcObjectEntry, timer.command) == 60 &&
              offsetof(IpcObjectEntry, timer.semId) == 64);
static_assert(offsetof(IpcObjectEntry, lock.acquirer) == 48 &&
              offsetof(IpcObjectEntry, lock.semId) == 56 &&
              offsetof(IpcObjectEntry, lock.depth) == 60 &&
              offsetof(IpcObjectEntry, lock.sharedHolds) == 64 &&
              offsetof(IpcObjectEntry, lock.exclusiveWaiters) == 68 &&
              offsetof(IpcObjectEntry, lock.sharedWaiters) == 72);
static_assert(offsetof(IpcObjectEntry, part.segmentId) == 40 &&
              offsetof(IpcObjectEntry, part.size) == 44);

struct IpcGlobalPage {
    static constexpr uint32_t entryCount = 48;

    uint32_t pageCount;    /* page 0 only, like the next three */
    uint32_t processCount; /* processes that have initialised the layer */
    uint32_t shmBytes;     /* sizes of all shared partitions */
    uint32_t shmPeak;
    int32_t nextShmId; /* segment of the next page, -1 at the end */
    IpcObjectEntry entries[entryCount];
    uint8_t reserved[44];
};

static_assert(sizeof(IpcGlobalPage) == 4096 && offsetof(IpcGlobalPage, processCount) == 4 &&
              offsetof(IpcGlobalPage, shmBytes) == 8 && offsetof(IpcGlobalPage, shmPeak) == 12 &&
              offsetof(IpcGlobalPage, nextShmId) == 16 && offsetof(IpcGlobalPage, entries) == 20 &&
              offsetof(IpcGlobalPage, reserved) == 4052);

/* A page that this process has attached; on a list in the order of the chain. */
struct IpcPageRecord {
    ClbLstNode links;
    IpcGlobalPage* page;
    int segmentId;
};

/* A place in the table, and whether an object of the wanted name and type lives there. */
struct IpcPlace {
    IpcObjectEntry* entry;
    bool exists;
};

/* The calls below run under the global semaphore. Statuses: ZAT_OK, ZAT_IPC_SHMGET_FAILED,
 * ZAT_IPC_SHMAT_FAILED, ZAT_IPC_NO_MEMORY or one of zatOSWIpcGetServerIpcKey(). */

/* Opens page 0, whose name has the key, or makes it, and counts this process in it. */
ZatStatus oswIpcJoinPages(uint32_t key);

/* Whether page 0 and the type locks are all there. A maker that is killed on the way leaves a table
 * without the count of its pages, which is written last. */
bool oswIpcTableIsComplete();
void oswIpcCompleteTable();

/* Takes this process off the count; whether it was the last one. The pages stay attached. */
bool oswIpcLeaveProcesses();

/* Page 0 as this process sees it; null while the layer is down. */
IpcGlobalPage* oswIpcFirstPage();

/* Finds an object's entry, or a free one for it, adding a page when all are full. */
ZatStatus oswIpcFindPlace(const char* name, uint32_t type, IpcPlace* place);

/* Attaches every page of the chain, as far as that is possible. */
void oswIpcAttachAllPages();

/* Visits every entry in use, in the pages that are attached. */
void oswIpcWalkEntries(void (*visit)(IpcObjectEntry& entry));

/* Detaches all pages; the second one also removes them. */
void oswIpcDetachPages();
void oswIpcRemovePages();

/* Attaches a segment: its address, or null. */
void* oswIpcAttach(int segmentId);

#endif
