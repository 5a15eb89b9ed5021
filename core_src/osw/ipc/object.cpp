/*
 * Find or create, and release: from a name to an entry of the table and this process's handle.
 *
 * What the table says is written last, so that a process that is killed on the way leaves no entry
 * that leads nowhere.
 */

#include "osw/ipc/names_private.h"
#include "osw/ipc/object_private.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <sys/shm.h>

#include "clb/list_walk_private.h"
#include "osw/handle_private.h"
#include "osw/ipc/key.h"
#include "osw/ipc/key_private.h"
#include "osw/ipc/kind_private.h"
#include "osw/mem_part.h"

IpcTypeState oswIpcTypes[IPC_TYPES];
int oswIpcGlobalSem = -1;
uint32_t oswIpcProcess;

ZatStatus oswIpcLockGlobal(IpcLock& lock) {
    const ZatStatus status = lock.take(oswIpcGlobalSem);
    if (status != ZAT_OK || oswIpcFirstPage() != nullptr) return status;
    /* The layer went down while this thread waited. */
    lock.release();
    return ZAT_IPC_SEMOP_FAILED;
}

/* The record of a process-local object has an address of its own, which nobody is given. */
static IpcLocalObject* findLocal(uint32_t type, ZatHandle object) {
    const OswIndexNode* node = oswIndexFind(oswIpcTypes[type].byHandle, object);
    if (node == nullptr || oswWord(node->record) == object) return nullptr;
    return static_cast<IpcLocalObject*>(node->record);
}

bool oswIpcIsLocal(uint32_t type, ZatHandle handle) {
    return findLocal(type, handle) != nullptr;
}

void oswIpcAddLocal(uint32_t type, IpcLocalObject& local, ZatHandle object) {
    IpcTypeState& state = oswIpcTypes[type];
    local.object = object;
    zatCLBLstAdd(&state.locals, &local);
    oswIndexAdd(state.byHandle, local.byHandle, object, &local);
}

IpcLocalObject* oswIpcRemoveLocal(uint32_t type, ZatHandle object) {
    IpcTypeState& state = oswIpcTypes[type];
    IpcLocalObject* local = findLocal(type, object);
    if (local == nullptr) return nullptr;
    zatCLBLstDelete(&state.locals, local);
    oswIndexRemove(state.byHandle, local->byHandle);
    return local;
}

struct KeyName {
    char text[IpcObjectEntry::nameSize + 8];
};

/* Names are cut to what an entry holds. */
static KeyName keyName(const char* name, uint32_t type) {
    KeyName key;
    snprintf(key.text, sizeof key.text, "%.*s%s", static_cast<int>(IpcObjectEntry::nameSize - 1),
             name, ipcKindNames[type].suffix);
    return key;
}

/* Makes the System V objects of a new entry, and their key file if it is not there. */
static ZatStatus makeObjects(IpcObjectEntry& entry, const char* name, uint32_t type,
                             IpcHandle& handle, const IpcParameters& parameters) {
    const IpcKind& kind = oswIpcKinds[type];
    const KeyName file = keyName(name, type);
    uint32_t key = 0;
    bool fileIsNew = false;
    ZatStatus status = oswIpcFindKey(file.text, &key, &fileIsNew);
    if (status != ZAT_OK) return status;
    bool keyIsOurs = false;
    status = kind.make(entry, parameters, static_cast<key_t>(key), keyIsOurs);
    if (status == ZAT_OK && kind.attach != nullptr) status = kind.attach(handle, true);
    /* A key that is taken may be a living object's, whose name is the same once it is cut. */
    if (status != ZAT_OK && (keyIsOurs || fileIsNew)) zatOSWIpcRevokeServerIpcKey(file.text);
    return status;
}

static ZatStatus createEntry(IpcObjectEntry& entry, const char* name, uint32_t type,
                             IpcHandle& handle, const IpcParameters& parameters) {
    memset(&entry, 0, sizeof entry);
    const ZatStatus status = makeObjects(entry, name, type, handle, parameters);
    if (status != ZAT_OK) return status;
    strncpy(entry.name, name, sizeof entry.name - 1);
    entry.type = type;
    oswIpcPublish(entry.useCount, 1);
    return ZAT_OK;
}

static ZatStatus openEntry(IpcObjectEntry& entry, IpcHandle& handle,
                           const IpcParameters& parameters) {
    const IpcKind& kind = oswIpcKinds[entry.type];
    if (!kind.matches(entry, parameters)) return ZAT_IPC_BAD_PARAMETERS;
    if (kind.attach != nullptr) {
        if (const ZatStatus status = kind.attach(handle, false); status != ZAT_OK) return status;
    }
    ++entry.useCount;
    return ZAT_OK;
}

IpcNewHandle::IpcNewHandle(uint32_t type)
    : handle_(static_cast<IpcHandle*>(zatOSWSubAllocMem(sizeof(IpcHandle)))) {
    if (handle_ == nullptr) return;
    memset(handle_, 0, sizeof *handle_);
    handle_->localRefs = 1;
    handle_->type = type;
}

IpcNewHandle::~IpcNewHandle() {
    if (handle_ != nullptr) oswIpcDispose(handle_);
}

IpcHandle* IpcNewHandle::finish() {
    IpcHandle* made = handle_;
    handle_ = nullptr;
    IpcTypeState& state = oswIpcTypes[made->type];
    made->generation = ++state.generation;
    zatCLBLstAdd(&state.handles, made);
    oswIndexAdd(state.byHandle, made->byAddress, oswWord(made), made);
    return made;
}

static ZatStatus makeHandle(const char* name, uint32_t type, const IpcParameters& parameters,
                            IpcNewHandle& fresh, IpcHandle** handle) {
    if (fresh.get() == nullptr) return ZAT_IPC_NO_MEMORY;
    IpcPlace place;
    ZatStatus status = oswIpcFindPlace(name, type, &place);
    if (status != ZAT_OK) return status;
    fresh.get()->entry = place.entry;
    status = place.exists ? openEntry(*place.entry, *fresh.get(), parameters)
                          : createEntry(*place.entry, name, type, *fresh.get(), parameters);
    if (status == ZAT_OK) *handle = fresh.finish();
    return status;
}

ZatStatus oswIpcOpenObject(const char* name, uint32_t type, const IpcParameters& parameters,
                           IpcNewHandle& fresh, IpcHandle** handle) {
    for (IpcHandle* known : zatWalk<IpcHandle>(&oswIpcTypes[type].handles)) {
        if (strcmp(known->entry->name, name) != 0) continue;
        if (!oswIpcKinds[type].matches(*known->entry, parameters)) return ZAT_IPC_BAD_PARAMETERS;
        ++known->localRefs;
        ++known->entry->useCount;
        *handle = known;
        return ZAT_OK;
    }
    return makeHandle(name, type, parameters, fresh, handle);
}

void oswIpcRetireEntry(IpcObjectEntry& entry) {
    /* Where the global semaphore is not held, an object of another type may take the entry as soon
     * as it is free: what goes with it is removed after a copy. */
    IpcObjectEntry gone = entry;
    oswIpcPublish(entry.useCount, 0);
    oswIpcKinds[gone.type].remove(gone);
    zatOSWIpcRevokeServerIpcKey(keyName(gone.name, gone.type).text);
}

void oswIpcForgetHandle(IpcHandle& handle) {
    IpcTypeState& state = oswIpcTypes[handle.type];
    zatCLBLstDelete(&state.handles, &handle);
    oswIndexRemove(state.byHandle, handle.byAddress);
}

void oswIpcDropUse(IpcObjectEntry& entry) {
    if (entry.useCount > 1)
        --entry.useCount;
    else
        oswIpcRetireEntry(entry);
}

bool oswIpcCloseObject(IpcHandle& handle) {
    oswIpcDropUse(*handle.entry);
    if (--handle.localRefs > 0) return false;
    oswIpcForgetHandle(handle);
    return true;
}

void oswIpcDispose(IpcHandle* handle) {
    if (handle->timer != 0) zatOSWDeleteTimer(handle->timer);
    if (handle->type == IPC_QUEUE) zatOSWOrgFree(handle->queue.transfer);
    if (handle->type == IPC_PARTITION && handle->part.address != nullptr)
        shmdt(handle->part.address);
    if (handle->type == IPC_SE_LOCK)
        for (IpcSharedHolder* holder : zatWalk<IpcSharedHolder>(&handle->lock.sharedHolders))
            zatOSWOrgFree(holder);
    zatOSWOrgFreeMemPart(0, handle);
}
