/* The frames of all creations and deletions; see create_private.h. */

#include "osw/ipc/create_private.h"

#include "osw/errno_private.h"
#include "osw/handle_private.h"
#include "osw/init.h"
#include "osw/ipc/kind_private.h"
#include "osw/ipc/wait_private.h"
#include "osw/lock_private.h"
#include "osw/mem_part.h"

/* The record of a process-local object; freed at the end of the scope unless it is in use. */
class LocalMaker {
  public:
    LocalMaker()
        : local_(static_cast<IpcLocalObject*>(zatOSWSubAllocMem(sizeof(IpcLocalObject)))) {}
    explicit LocalMaker(IpcLocalObject* local) : local_(local) {}
    LocalMaker(const LocalMaker&) = delete;
    LocalMaker& operator=(const LocalMaker&) = delete;
    ~LocalMaker() { zatOSWOrgFreeMemPart(0, local_); }

    bool isMade() const { return local_ != nullptr; }

    void remember(uint32_t type, ZatHandle object) {
        oswIpcAddLocal(type, *local_, object);
        local_ = nullptr;
    }

  private:
    IpcLocalObject* local_;
};

/* Made without a lock: a process-local object may take its time, or fail with a message. */
static ZatStatus createLocal(uint32_t type, ZatHandle* handle, IpcMakeLocal makeLocal,
                             const IpcLocalWords& words) {
    if (makeLocal == nullptr) return ZAT_IPC_BAD_PARAMETERS;
    LocalMaker maker;
    if (!maker.isMade()) return ZAT_IPC_NO_MEMORY;
    IpcCreated object(oswIpcKinds[type].deleteLocal);
    ZatStatus status = makeLocal(&object.handle, words);
    if (status != ZAT_OK) return status;
    /* Some of them answer ZAT_OK without an object when there is no memory. */
    if (object.handle == 0) return ZAT_IPC_NO_MEMORY;
    IpcLock lock;
    status = oswIpcLockType(lock, type);
    if (status != ZAT_OK) return status;
    maker.remember(type, object.handle);
    *handle = object.finish();
    return ZAT_OK;
}

ZatStatus oswIpcCreateNamed(IpcCreation& creation, const char* name, uint32_t type,
                            const IpcParameters& parameters, ZatHandle* handle) {
    const OswUncancellable uncancellable;
    ZatStatus status = oswIpcLockBoth(creation.global, creation.lock, type);
    if (status != ZAT_OK) return status;
    IpcHandle* object = nullptr;
    status = oswIpcOpenObject(name, type, parameters, creation.fresh, &object);
    if (status == ZAT_OK) *handle = oswWord(object);
    return status;
}

/* After a lock could not be given back: whoever has removed it, nobody can hold it any more. */
static void closeAgain(ZatHandle handle, uint32_t type, IpcCreation& creation) {
    const OswUncancellable uncancellable;
    IpcLock lock;
    oswIpcLockType(lock, type);
    IpcHandle* object = oswIpcFind(type, handle);
    if (object == nullptr) return;
    if (object->localRefs == 1) oswIpcDismissWaiters(*object);
    const bool isGone = oswIpcCloseObject(*object);
    lock.release();
    creation.global.release();
    if (isGone) oswIpcDispose(object);
}

ZatStatus oswIpcCreate(const char* name, uint32_t type, const IpcParameters& parameters,
                       ZatHandle* handle, IpcMakeLocal makeLocal, const IpcLocalWords& words) {
    const OswKeepErrno keepErrno;
    ZatStatus status = zatOSWInit();
    if (status != ZAT_OK) return status;
    if (handle == nullptr) return ZAT_FAILED;
    if (name == nullptr) return createLocal(type, handle, makeLocal, words);
    IpcCreation creation(type);
    ZatHandle made = 0;
    status = oswIpcCreateNamed(creation, name, type, parameters, &made);
    if (status != ZAT_OK) return status;
    status = creation.lock.release();
    if (status == ZAT_OK) status = creation.global.release();
    if (status == ZAT_OK)
        *handle = made;
    else
        closeAgain(made, type, creation);
    return status;
}

ZatStatus oswIpcDeleteLocal(ZatHandle handle, uint32_t type, IpcLock& lock) {
    IpcLocalObject* local = oswIpcRemoveLocal(type, handle);
    lock.release();
    if (local == nullptr) return ZAT_IPC_NO_OBJECT;
    LocalMaker record(local);
    const ZatStatus status = oswIpcKinds[type].deleteLocal(handle);
    /* A refusal leaves the object as it is, and its handle good. */
    if (status != ZAT_OK && oswIpcLockType(lock, type) == ZAT_OK) record.remember(type, handle);
    return status;
}

/* Gives back what a delete is to give back; a wake-up that fails does not keep the handle. */
static ZatStatus letGo(IpcHandle& handle, const IpcUse& use) {
    if (handle.localRefs > 1)
        return use.giveBackOwn == nullptr ? ZatStatus{ZAT_OK} : use.giveBackOwn(handle);
    oswIpcDismissWaiters(handle);
    return use.giveBackAll == nullptr ? ZatStatus{ZAT_OK} : use.giveBackAll(handle);
}

/* With the last create of this process the handle is disposed of without the type's lock: a timer
 * is joined, whose task may be waiting for it. */
static void close(IpcHandle& handle, IpcLock& lock) {
    if (!oswIpcCloseObject(handle)) return;
    lock.release();
    oswIpcDispose(&handle);
}

ZatStatus oswIpcTakeBack(ZatHandle handle, uint32_t type) {
    IpcClosing closing(handle, type);
    if (closing.status != ZAT_OK) return closing.status;
    IpcHandle* object = closing.object;
    if (object == nullptr) return ZAT_IPC_NO_OBJECT;
    if (object->localRefs == 1) oswIpcDismissWaiters(*object);
    close(*object, closing.lock);
    return ZAT_OK;
}

ZatStatus oswIpcDelete(ZatHandle handle, uint32_t type) {
    IpcClosing closing(handle, type);
    if (closing.status != ZAT_OK) return closing.status;
    IpcHandle* object = closing.object;
    if (object == nullptr) {
        closing.global.release();
        return oswIpcDeleteLocal(handle, type, closing.lock);
    }
    if (object->localRefs == 0) return ZAT_IPC_NO_REFERENCE;
    const IpcUse& use = *oswIpcKinds[type].use;
    if (object->localRefs == 1 && use.mayDelete != nullptr && !use.mayDelete(*object))
        return ZAT_IPC_DEADLOCK;
    const ZatStatus status = letGo(*object, use);
    close(*object, closing.lock);
    return status;
}
