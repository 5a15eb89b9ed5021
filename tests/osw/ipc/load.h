/**
 * @file
 * A load on one shared object of each kind, whose users may be killed at any time.
 */
#ifndef ZATOSW_TESTS_OSW_IPC_LOAD_H
#define ZATOSW_TESTS_OSW_IPC_LOAD_H

#include <gtest/gtest.h>
#include <zatosw/zatosw.h>

#include <string>

inline constexpr uint32_t messageSize = 16;
inline constexpr uint32_t capacity = 4;
inline constexpr uint32_t memorySize = 4096;
inline constexpr ZatTimeoutMs shortly = 3;

struct Objects {
    ZatIpcHandle mutex = 0, count = 0, event = 0, lock = 0, queue = 0, timer = 0, memory = 0;

    explicit Objects(const std::string& round) {
        const char* name = round.c_str();
        const ZatStatus made[] = {
            zatOSWIpcCreateMutexSem(name, &mutex, 0, 1),
            zatOSWIpcCreateCountSem(name, &count, 0, 1),
            zatOSWIpcCreateEventSem(name, &event, 0, 0),
            zatOSWIpcCreateSELock(name, &lock, 0, ZAT_SE_LOCK_FREE),
            zatOSWIpcCreateMsgQueue(name, &queue, capacity, messageSize, 0),
            zatOSWIpcCreateTimer(name, &timer, 16384),
            zatOSWIpcCreateMemPart(&memory, name, memorySize),
        };
        for (const ZatStatus status : made)
            EXPECT_EQ(status, ZAT_OK);
    }

    void close() {
        EXPECT_EQ(zatOSWIpcDeleteMutexSem(mutex), ZAT_OK);
        EXPECT_EQ(zatOSWIpcDeleteCountSem(count), ZAT_OK);
        EXPECT_EQ(zatOSWIpcDeleteEventSem(event), ZAT_OK);
        EXPECT_EQ(zatOSWIpcDeleteSELock(lock), ZAT_OK);
        EXPECT_EQ(zatOSWIpcDeleteMsgQueue(queue), ZAT_OK);
        EXPECT_EQ(zatOSWIpcDeleteTimer(timer), ZAT_OK);
        EXPECT_EQ(zatOSWIpcDeleteMemPart(memory), ZAT_OK);
    }
};

inline uint32_t fired;

inline void onTimer(ZatTimer, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t) {
    __atomic_add_fetch(&fired, 1, __ATOMIC_RELAXED);
}

inline void useMemory(ZatIpcHandle memory, uint32_t size) {
    void* block = nullptr;
    if (zatOSWIpcAllocMemPart(memory, &block, size) == ZAT_OK) zatOSWIpcFreeMemPart(memory, block);
}

inline void useQueue(ZatIpcHandle queue, bool send) {
    char message[messageSize] = "a message";
    if (send)
        zatOSWIpcSendMsgQueue(queue, message, sizeof message, shortly, 0);
    else
        zatOSWIpcReceiveMsgQueue(queue, message, sizeof message, shortly);
}

inline void useLock(ZatIpcHandle lock, bool shared) {
    if (shared && zatOSWIpcRequestSharedLock(lock, shortly) == ZAT_OK)
        zatOSWIpcReleaseSharedLock(lock);
    if (!shared && zatOSWIpcRequestExclusiveLock(lock, shortly) == ZAT_OK)
        zatOSWIpcReleaseExclusiveLock(lock);
}

/* One call, or a pair, that has a time-out of its own. */
inline void useOne(const Objects& objects, uint32_t choice) {
    switch (choice % 12) {
    case 0:
    case 1:
        if (zatOSWIpcRequestMutexSem(objects.mutex, shortly) == ZAT_OK)
            zatOSWIpcReleaseMutexSem(objects.mutex);
        break;
    case 2:
        zatOSWIpcWaitCountSem(objects.count, shortly);
        break;
    case 3:
        zatOSWIpcPostCountSem(objects.count);
        break;
    case 4:
        zatOSWIpcWaitEventSem(objects.event, shortly);
        break;
    case 5:
        zatOSWIpcPostEventSem(objects.event);
        break;
    case 6:
        zatOSWIpcFlushEventSem(objects.event);
        break;
    case 7:
    case 8:
        useLock(objects.lock, choice % 12 == 7);
        break;
    case 9:
    case 10:
        useQueue(objects.queue, choice % 12 == 9);
        break;
    default:
        useMemory(objects.memory, choice / 12 % 200 + 1);
        if (choice % 5 == 0) zatOSWIpcStartTimer(objects.timer, 1, onTimer, 0);
        break;
    }
}

#endif
