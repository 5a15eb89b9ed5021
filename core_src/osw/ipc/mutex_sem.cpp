/* Named mutex semaphores. An entry's value is the recursion depth; it is written last. */

#include "osw/ipc/mutex_sem.h"

#include "osw/ipc/create_private.h"
#include "osw/ipc/kind_private.h"
#include "osw/ipc/mutex_sem_private.h"
#include "osw/ipc/process_private.h"
#include "osw/ipc/wait_private.h"
#include "osw/mutex_sem.h"

static bool isOwn(const IpcSemBody& mutex) {
    return oswIpcIsSame(mutex.owner, oswIpcCaller());
}

static ZatStatus look(IpcHandle& handle, IpcComer) {
    const IpcSemBody& mutex = handle.entry->sem;
    return mutex.value == 0 || isOwn(mutex) ? ZatStatus{ZAT_OK} : ZatStatus{IPC_UNAVAILABLE};
}

static ZatStatus take(IpcHandle& handle, void*) {
    IpcSemBody& mutex = handle.entry->sem;
    mutex.owner = oswIpcCaller();
    handle.held = 1;
    oswIpcPublish(mutex.value, mutex.value + 1);
    return ZAT_OK;
}

static ZatStatus wakeOne(const IpcHandle& handle) {
    const IpcSemBody& mutex = handle.entry->sem;
    if (mutex.value > 0 || mutex.waiters == 0) return ZAT_OK;
    return oswIpcLetOnePass(*handle.entry, IPC_WAITS_EXCLUSIVELY);
}

static void wake(IpcHandle& handle) {
    wakeOne(handle);
}

static ZatStatus free(IpcHandle& handle) {
    handle.held = 0;
    oswIpcPublish(handle.entry->sem.value, 0);
    return wakeOne(handle);
}

static ZatStatus release(IpcHandle& handle, void*) {
    IpcSemBody& mutex = handle.entry->sem;
    if (mutex.value == 0 || !isOwn(mutex)) return ZAT_IPC_NOT_OWNER;
    mutex.releaser = oswIpcCaller();
    if (mutex.value > 1) {
        --mutex.value;
        return ZAT_OK;
    }
    return free(handle);
}

static ZatStatus inherit(IpcHandle& handle, void*) {
    IpcSemBody& mutex = handle.entry->sem;
    if (mutex.value == 0 || oswIpcIsAlive(mutex.owner.process)) return ZAT_TIMED_OUT;
    oswIpcPublish(mutex.value, 0);
    return take(handle, nullptr);
}

static bool mayDelete(const IpcHandle& handle) {
    return handle.held == 0 || isOwn(handle.entry->sem);
}

static ZatStatus giveBackAll(IpcHandle& handle) {
    return handle.held == 0 ? ZatStatus{ZAT_OK} : free(handle);
}

static ZatStatus giveBackOwn(IpcHandle& handle) {
    const IpcSemBody& mutex = handle.entry->sem;
    return mutex.value > 0 && isOwn(mutex) ? free(handle) : ZatStatus{ZAT_OK};
}

static ZatStatus requestLocal(ZatHandle mutex, ZatTimeoutMs timeoutMs, void*) {
    return zatOSWRequestMutexSem(mutex, timeoutMs);
}

static ZatStatus releaseLocal(ZatHandle mutex, void*) {
    return zatOSWReleaseMutexSem(mutex);
}

static constexpr IpcWaitKind mutexWait =
    oswIpcSemaphoreWait(IPC_MUTEX, IPC_WAITS_EXCLUSIVELY, look, take, requestLocal);

constexpr IpcUse oswIpcMutexUse = {wake, mayDelete, giveBackAll, giveBackOwn};
static constexpr IpcChange mutexRelease = {IPC_MUTEX, release, releaseLocal};
static constexpr IpcChange mutexInheritance = {IPC_MUTEX, inherit, nullptr};

static ZatStatus makeLocal(ZatHandle* mutex, const IpcLocalWords& words) {
    return zatOSWCreateMutexSem(mutex, words.word[0], words.word[1]);
}

ZatStatus zatOSWIpcCreateMutexSem(const char* name, ZatIpcHandle* handle, uint32_t options,
                                  uint32_t initialState) {
    if (initialState > 1) return ZAT_IPC_BAD_PARAMETERS;
    if (handle == nullptr) return ZAT_FAILED;
    IpcCreated created([](ZatHandle made) { return oswIpcTakeBack(made, IPC_MUTEX); });
    ZatStatus status =
        oswIpcCreate(name, IPC_MUTEX, {}, &created.handle, makeLocal, {{options, initialState}});
    if (status == ZAT_OK && name != nullptr && initialState == 0)
        status = zatOSWIpcRequestMutexSem(created.handle, ZAT_FOREVER);
    if (status == ZAT_OK) *handle = created.finish();
    return status;
}

ZatStatus zatOSWIpcRequestMutexSem(ZatIpcHandle handle, ZatTimeoutMs timeoutMs) {
    return oswIpcWait(handle, timeoutMs, mutexWait);
}

ZatStatus zatOSWIpcReleaseMutexSem(ZatIpcHandle handle) {
    return oswIpcApply(handle, mutexRelease);
}

ZatStatus oswIpcInheritMutexSem(ZatIpcHandle handle) {
    return oswIpcApply(handle, mutexInheritance);
}

ZatStatus zatOSWIpcDeleteMutexSem(ZatIpcHandle handle) {
    return oswIpcDelete(handle, IPC_MUTEX);
}
