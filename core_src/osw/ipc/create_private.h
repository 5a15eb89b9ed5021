/*
 * The frame of the calls that create: the object of a name, or a process-local one without a name.
 */
#ifndef ZATOSW_OSW_IPC_CREATE_PRIVATE_H
#define ZATOSW_OSW_IPC_CREATE_PRIVATE_H

#include "osw/errno_private.h"
#include "osw/ipc/object_private.h"
#include "osw/lock_private.h"

/* Makes a process-local object with the words of a creating call. */
struct IpcLocalWords {
    uint32_t word[3];
};
using IpcMakeLocal = ZatStatus (*)(ZatHandle* object, const IpcLocalWords& words);

/*
 * Returns ZAT_FAILED for a null handle, ZAT_IPC_BAD_PARAMETERS for a null name where there is no
 * process-local form, or what opening or making the object ended in.
 */
ZatStatus oswIpcCreate(const char* name, uint32_t type, const IpcParameters& parameters,
                       ZatHandle* handle, IpcMakeLocal makeLocal, const IpcLocalWords& words);

/* What creating a named object holds, given up in the right order. */
struct IpcCreation {
    explicit IpcCreation(uint32_t type) : fresh(type) {}

    IpcNewHandle fresh;
    IpcLock global;
    IpcLock lock;
};

/* The part of it that is done under the locks, which are held when it returns ZAT_OK. */
ZatStatus oswIpcCreateNamed(IpcCreation& creation, const char* name, uint32_t type,
                            const IpcParameters& parameters, ZatHandle* handle);

/* A created handle of which the creator still has to take the object; deleted at the end of the
 * scope, which a deletion of the waiting task ends too, unless it was finished. */
class IpcCreated {
  public:
    explicit IpcCreated(ZatStatus (*remove)(ZatHandle handle)) : remove_(remove) {}
    IpcCreated(const IpcCreated&) = delete;
    IpcCreated& operator=(const IpcCreated&) = delete;
    ~IpcCreated() {
        if (handle != 0) remove_(handle);
    }

    ZatHandle finish() {
        const ZatHandle made = handle;
        handle = 0;
        return made;
    }

    ZatHandle handle = 0;

  private:
    ZatStatus (*const remove_)(ZatHandle handle);
};

/* What deleting begins with: both locks are held, and the handle found, if status is ZAT_OK and
 * object is not null. The deletion is not broken off. */
struct IpcClosing {
    IpcClosing(ZatHandle handle, uint32_t type)
        : status(oswIpcLockBoth(global, lock, type)),
          object(status == ZAT_OK ? oswIpcFind(type, handle) : nullptr) {}

    const OswKeepErrno keepErrno;
    const OswUncancellable uncancellable;
    IpcLock global;
    IpcLock lock;
    ZatStatus status;
    IpcHandle* object;
};

/* The frame of the calls that delete. */
ZatStatus oswIpcDelete(ZatHandle handle, uint32_t type);

/* Takes a create back that has come to nothing: what the caller holds by another create stays. */
ZatStatus oswIpcTakeBack(ZatHandle handle, uint32_t type);

/* Deletes the process-local object that a handle names; ZAT_IPC_NO_OBJECT when it names none. The
 * lock of the type is held, and released. */
ZatStatus oswIpcDeleteLocal(ZatHandle handle, uint32_t type, IpcLock& lock);

#endif
