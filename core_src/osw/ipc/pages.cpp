/* The chain of pages that all processes share; see page_private.h. */

#include "osw/ipc/names_private.h"
#include "osw/ipc/page_private.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <sys/shm.h>

#include "clb/list_walk_private.h"
#include "osw/ipc/key.h"
#include "osw/ipc/key_private.h"
#include "osw/ipc/kind_private.h"
#include "osw/mem_part.h"

static constexpr int openFlags = 0666;

static ClbLstHead pages;

void* oswIpcAttach(int segmentId) {
    void* address = shmat(segmentId, nullptr, 0);
    return address == reinterpret_cast<void*>(-1) ? nullptr : address;
}

/* Attaches a page and puts it at the end of the list. Memory that is missing is not fatal here: the
 * message would be written under a lock semaphore. */
static ZatStatus attachPage(int segmentId, IpcPageRecord** record) {
    auto* made = static_cast<IpcPageRecord*>(zatOSWOrgMalloc(sizeof(IpcPageRecord)));
    if (made == nullptr) return ZAT_IPC_NO_MEMORY;
    void* page = oswIpcAttach(segmentId);
    if (page == nullptr) {
        zatOSWOrgFree(made);
        return ZAT_IPC_SHMAT_FAILED;
    }
    *made = {{}, static_cast<IpcGlobalPage*>(page), segmentId};
    zatCLBLstAdd(&pages, made);
    *record = made;
    return ZAT_OK;
}

static void detachPage(IpcPageRecord& record) {
    zatCLBLstDelete(&pages, &record);
    shmdt(record.page);
    zatOSWOrgFree(&record);
}

static void removePage(int segmentId, const char* name) {
    shmctl(segmentId, IPC_RMID, nullptr);
    zatOSWIpcRevokeServerIpcKey(name);
}

bool oswIpcTableIsComplete() {
    return oswIpcFirstPage()->pageCount > 0;
}

void oswIpcCompleteTable() {
    if (!oswIpcTableIsComplete()) oswIpcPublish(oswIpcFirstPage()->pageCount, 1);
}

/* Makes a new page under its name and attaches it, or leaves nothing. */
static ZatStatus makePage(const char* name, uint32_t key, IpcPageRecord** record) {
    const int id = shmget(static_cast<key_t>(key), sizeof(IpcGlobalPage), ipcCreateFlags);
    if (id < 0) return ZAT_IPC_SHMGET_FAILED;
    const ZatStatus status = attachPage(id, record);
    if (status != ZAT_OK) {
        removePage(id, name);
        return status;
    }
    memset((*record)->page, 0, sizeof(IpcGlobalPage));
    (*record)->page->nextShmId = -1;
    return ZAT_OK;
}

static ZatStatus openFirstPage(uint32_t key, IpcPageRecord** record) {
    const int id = shmget(static_cast<key_t>(key), sizeof(IpcGlobalPage), openFlags);
    if (id < 0) return ZAT_IPC_SHMGET_FAILED;
    const ZatStatus status = attachPage(id, record);
    if (status != ZAT_OK) return status;
    if (!oswIpcTableIsComplete()) (*record)->page->nextShmId = -1;
    return ZAT_OK;
}

/*
 * Takes processes off the count that were killed: every living one that is counted has page 0
 * attached, and only the kernel notices when it ends. Children of fork() may be more.
 */
static void countLiving(const IpcPageRecord& first) {
    shmid_ds state;
    if (shmctl(first.segmentId, IPC_STAT, &state) != 0) return;
    const uint32_t attached = static_cast<uint32_t>(state.shm_nattch);
    if (first.page->processCount > attached) first.page->processCount = attached;
}

static IpcPageRecord* firstRecord() {
    return reinterpret_cast<IpcPageRecord*>(pages.first);
}

/* Opening comes first: that is what all processes but one do. */
ZatStatus oswIpcJoinPages(uint32_t key) {
    IpcPageRecord* record = nullptr;
    ZatStatus status = openFirstPage(key, &record);
    if (status == ZAT_IPC_SHMGET_FAILED && errno == ENOENT)
        status = makePage(ipcTableName, key, &record);
    if (status != ZAT_OK) return status;
    ++record->page->processCount;
    return ZAT_OK;
}

bool oswIpcLeaveProcesses() {
    const IpcPageRecord& first = *firstRecord();
    countLiving(first);
    return --first.page->processCount == 0;
}

IpcGlobalPage* oswIpcFirstPage() {
    const IpcPageRecord* first = firstRecord();
    return first == nullptr ? nullptr : first->page;
}

/* The page behind a record's, attached if it is not yet; null at the end of the chain. */
static ZatStatus nextPage(IpcPageRecord& record, IpcPageRecord** next) {
    *next = reinterpret_cast<IpcPageRecord*>(record.links.next);
    if (*next != nullptr || record.page->nextShmId == -1) return ZAT_OK;
    return attachPage(record.page->nextShmId, next);
}

static ZatStatus addPage(IpcPageRecord& last, IpcPageRecord** added) {
    IpcGlobalPage& first = *oswIpcFirstPage();
    char name[sizeof ipcTableName + 12];
    snprintf(name, sizeof name, "%s%ld", ipcTableName, static_cast<long>(first.pageCount));
    uint32_t key = 0;
    bool fileIsNew = false;
    ZatStatus status = oswIpcFindKey(name, &key, &fileIsNew);
    if (status != ZAT_OK) return status;
    status = makePage(name, key, added);
    if (status != ZAT_OK) {
        if (fileIsNew) zatOSWIpcRevokeServerIpcKey(name);
        return status;
    }
    /* Linked when it is complete: a process that is killed here leaves a chain that holds. */
    ++first.pageCount;
    last.page->nextShmId = (*added)->segmentId;
    return ZAT_OK;
}

/* Looks through one page; notes the first free entry that it sees. Whether the object is there. */
static bool searchPage(IpcGlobalPage& page, const char* name, uint32_t type, IpcPlace& place) {
    for (IpcObjectEntry& entry : page.entries) {
        if (entry.useCount == 0) {
            if (place.entry == nullptr) place.entry = &entry;
        } else if (entry.type == type && strcmp(entry.name, name) == 0) {
            place = {&entry, true};
            return true;
        }
    }
    return false;
}

ZatStatus oswIpcFindPlace(const char* name, uint32_t type, IpcPlace* place) {
    *place = {};
    IpcPageRecord* record = firstRecord();
    for (;;) {
        if (searchPage(*record->page, name, type, *place)) return ZAT_OK;
        IpcPageRecord* next = nullptr;
        if (const ZatStatus status = nextPage(*record, &next); status != ZAT_OK) return status;
        if (next == nullptr) break;
        record = next;
    }
    if (place->entry != nullptr) return ZAT_OK;
    IpcPageRecord* added = nullptr;
    const ZatStatus status = addPage(*record, &added);
    if (status == ZAT_OK) place->entry = &added->page->entries[0];
    return status;
}

void oswIpcAttachAllPages() {
    IpcPageRecord* record = firstRecord();
    while (record != nullptr) {
        IpcPageRecord* next = nullptr;
        nextPage(*record, &next);
        record = next;
    }
}

void oswIpcWalkEntries(void (*visit)(IpcObjectEntry& entry)) {
    for (IpcPageRecord* record : zatWalk<IpcPageRecord>(&pages))
        for (IpcObjectEntry& entry : record->page->entries)
            if (entry.useCount > 0) visit(entry);
}

void oswIpcDetachPages() {
    for (IpcPageRecord* record : zatWalk<IpcPageRecord>(&pages))
        detachPage(*record);
}

void oswIpcRemovePages() {
    char name[sizeof ipcTableName + 12];
    snprintf(name, sizeof name, "%s%ld", ipcTableName,
             static_cast<long>(oswIpcFirstPage()->pageCount));
    for (IpcPageRecord* record : zatWalk<IpcPageRecord>(&pages)) {
        const int id = record->segmentId;
        detachPage(*record);
        /* No page has this name: the key files of the further pages stay, as they always have. */
        removePage(id, name);
    }
}
