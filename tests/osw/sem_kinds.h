/**
 * @file
 * The three kinds of semaphore, to be tested alike: busy when made, given by give(), had by whoever
 * wait() returns ZAT_OK to.
 */
#ifndef ZATOSW_TESTS_OSW_SEM_KINDS_H
#define ZATOSW_TESTS_OSW_SEM_KINDS_H

#include "osw/count_sem_private.h"
#include "osw/event_sem_private.h"
#include "osw/mutex_sem_private.h"
#include "osw/worker.h"

template <class SemRecord, uint32_t partitionMemory, auto make, auto await, auto post, auto destroy>
struct SemKind {
    using Record = SemRecord;
    static constexpr uint32_t memorySize = partitionMemory;

    static ZatHandle makeBusy() {
        ZatHandle handle = 0;
        EXPECT_EQ(make(&handle, 0, 0), ZAT_OK);
        return handle;
    }
    static ZatStatus wait(ZatHandle handle, ZatTimeoutMs timeoutMs) {
        return await(handle, timeoutMs);
    }
    static ZatStatus give(ZatHandle handle) { return post(handle); }
    static ZatStatus remove(ZatHandle handle) { return destroy(handle); }
};

/* Taken by the task that makes it; its memory is not from a partition. */
struct MutexKind : SemKind<OswMutexSem, 0, zatOSWCreateMutexSem, zatOSWRequestMutexSem,
                           zatOSWReleaseMutexSem, zatOSWDeleteMutexSem> {};

struct EventKind : SemKind<OswEventSem, sizeof(OswEventSem), zatOSWCreateEventSem,
                           zatOSWWaitEventSem, zatOSWPostEventSem, zatOSWDeleteEventSem> {};

struct CountKind : SemKind<OswCountSem, sizeof(OswCountSem), zatOSWCreateCountSem,
                           zatOSWWaitCountSem, zatOSWPostCountSem, zatOSWDeleteCountSem> {};

using SemKinds = testing::Types<MutexKind, EventKind, CountKind>;

#endif
