/* Named counting semaphores. An entry's value is the count. */

#include "osw/ipc/count_sem.h"

#include "osw/count_sem.h"
#include "osw/ipc/create_private.h"
#include "osw/ipc/kind_private.h"
#include "osw/ipc/wait_private.h"

static ZatStatus look(IpcHandle& handle, IpcComer) {
    return handle.entry->sem.value > 0 ? ZatStatus{ZAT_OK} : ZatStatus{IPC_UNAVAILABLE};
}

static ZatStatus take(IpcHandle& handle, void*) {
    IpcSemBody& sem = handle.entry->sem;
    sem.owner = oswIpcCaller();
    --sem.value;
    return ZAT_OK;
}

static void wake(IpcHandle& handle) {
    const IpcSemBody& sem = handle.entry->sem;
    if (sem.value > 0 && sem.waiters > 0) oswIpcPostOne(*handle.entry, IPC_WAITS_EXCLUSIVELY);
}

/* The unit before the wake-up: a process that is killed in between leaves a unit to be found. */
static ZatStatus post(IpcHandle& handle, void*) {
    IpcSemBody& sem = handle.entry->sem;
    sem.releaser = oswIpcCaller();
    ++sem.value;
    return sem.waiters == 0 ? ZatStatus{ZAT_OK}
                            : oswIpcPostOne(*handle.entry, IPC_WAITS_EXCLUSIVELY);
}

static ZatStatus waitLocal(ZatHandle sem, ZatTimeoutMs timeoutMs, void*) {
    return zatOSWWaitCountSem(sem, timeoutMs);
}

static ZatStatus postLocal(ZatHandle sem, void*) {
    return zatOSWPostCountSem(sem);
}

static constexpr IpcWaitKind countWait =
    oswIpcSemaphoreWait(IPC_COUNT, IPC_WAITS_EXCLUSIVELY, look, take, waitLocal);

constexpr IpcUse oswIpcCountUse = {wake, nullptr, nullptr, nullptr};
static constexpr IpcChange countPost = {IPC_COUNT, post, postLocal};

static ZatStatus makeLocal(ZatHandle* sem, const IpcLocalWords& words) {
    return zatOSWCreateCountSem(sem, words.word[0], static_cast<int32_t>(words.word[1]));
}

ZatStatus zatOSWIpcCreateCountSem(const char* name, ZatIpcHandle* handle, uint32_t options,
                                  uint32_t initialCount) {
    return oswIpcCreate(name, IPC_COUNT, {initialCount, 0}, handle, makeLocal,
                        {{options, initialCount}});
}

ZatStatus zatOSWIpcWaitCountSem(ZatIpcHandle handle, ZatTimeoutMs timeoutMs) {
    return oswIpcWait(handle, timeoutMs, countWait);
}

ZatStatus zatOSWIpcPostCountSem(ZatIpcHandle handle) {
    return oswIpcApply(handle, countPost);
}

ZatStatus zatOSWIpcDeleteCountSem(ZatIpcHandle handle) {
    return oswIpcDelete(handle, IPC_COUNT);
}
