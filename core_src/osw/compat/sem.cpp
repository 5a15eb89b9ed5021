/*
 * Kernel-style semaphores: a handle that names one of three kinds and the semaphore behind it.
 *
 * The handle is freed by whoever deletes the semaphore, also while others wait in it: a call reads
 * the handle when it enters, and never again.
 */

#include <stddef.h>

#include <utility>

#include "osw/compat/compat.h"
#include "osw/compat/wait_private.h"
#include "osw/count_sem.h"
#include "osw/event_sem.h"
#include "osw/handle_private.h"
#include "osw/init.h"
#include "osw/mem_part.h"
#include "osw/mutex_sem.h"

struct CompatSemHandle {
    int32_t kind;
    ZatHandle sem;
};

static_assert(sizeof(CompatSemHandle) == 8 && offsetof(CompatSemHandle, sem) == 4);

enum : int32_t { binary, mutualExclusion, counting };

struct KernelSemKind {
    ZatStatus (*remove)(ZatHandle sem);
    ZatStatus (*give)(ZatHandle sem);
    ZatStatus (*take)(ZatHandle sem, ZatTimeoutMs timeoutMs);
};

static constexpr KernelSemKind kinds[] = {
    {zatOSWDeleteEventSem, zatOSWPostEventSem, zatOSWWaitEventSem},
    {zatOSWDeleteMutexSem, zatOSWReleaseMutexSem, zatOSWRequestMutexSem},
    {zatOSWDeleteCountSem, zatOSWPostCountSem, zatOSWWaitCountSem},
};

/* Null for a kind that nobody knows. */
static const KernelSemKind* findKind(int32_t kind) {
    return kind >= binary && kind <= counting ? &kinds[kind] : nullptr;
}

/* A handle whose semaphore is being made; undone at the end of the scope unless it is given out. */
struct KernelSemMaker {
    CompatSemHandle* handle;

    explicit KernelSemMaker(void* memory) : handle(static_cast<CompatSemHandle*>(memory)) {}
    KernelSemMaker(const KernelSemMaker&) = delete;
    KernelSemMaker& operator=(const KernelSemMaker&) = delete;
    ~KernelSemMaker() { zatOSWOrgFreeMemPart(0, handle); }
    ZatKernelSem finish() { return oswWord(std::exchange(handle, nullptr)); }
};

/* Initialised first: the handle is charged to a task that is registered then. */
template <class Create>
static ZatKernelSem make(int32_t kind, Create create) {
    if (zatOSWInit() != ZAT_OK) return 0;
    void* memory = nullptr;
    if (zatOSWOrgAllocMemPart(0, &memory, sizeof(CompatSemHandle)) != ZAT_OK) return 0;
    KernelSemMaker maker(memory);
    *maker.handle = {kind, 0};
    /* No memory for a mutex is success without one. */
    if (create(&maker.handle->sem) != ZAT_OK || maker.handle->sem == 0) return 0;
    return maker.finish();
}

ZatKernelSem semBCreate(uint32_t options, uint32_t initialState) {
    return make(binary, [=](ZatEventSem* event) {
        return zatOSWCreateEventSem(event, options, initialState);
    });
}

ZatKernelSem semMCreate(uint32_t options) {
    static constexpr uint32_t free = 1;
    return make(mutualExclusion,
                [=](ZatMutexSem* mutex) { return zatOSWCreateMutexSem(mutex, options, free); });
}

ZatKernelSem semCCreate(uint32_t options, int32_t initialCount) {
    return make(counting, [=](ZatCountSem* semaphore) {
        return zatOSWCreateCountSem(semaphore, options, initialCount);
    });
}

ZatStatus semDelete(ZatKernelSem semaphore) {
    auto* handle = oswRecord<CompatSemHandle>(semaphore);
    if (handle == nullptr) return ZAT_FAILED;
    const KernelSemKind* kind = findKind(handle->kind);
    const ZatStatus status = kind == nullptr ? ZatStatus{ZAT_OK} : kind->remove(handle->sem);
    if (status == ZAT_OK) zatOSWOrgFreeMemPart(0, handle);
    return status;
}

ZatStatus semGive(ZatKernelSem semaphore) {
    const auto* handle = oswRecord<const CompatSemHandle>(semaphore);
    if (handle == nullptr) return ZAT_FAILED;
    const KernelSemKind* kind = findKind(handle->kind);
    return kind == nullptr ? ZatStatus{ZAT_OK} : kind->give(handle->sem);
}

ZatStatus semTake(ZatKernelSem semaphore, ZatTicks timeout) {
    const auto* handle = oswRecord<const CompatSemHandle>(semaphore);
    if (handle == nullptr) return ZAT_FAILED;
    const KernelSemKind* kind = findKind(handle->kind);
    if (kind == nullptr) return ZAT_OK;
    return compatWaited(kind->take(handle->sem, compatTimeout(timeout)));
}

ZatStatus semFlush(ZatKernelSem semaphore) {
    const auto* handle = oswRecord<const CompatSemHandle>(semaphore);
    if (handle == nullptr || handle->kind != binary) return ZAT_FAILED;
    return zatOSWFlushEventSem(handle->sem);
}
