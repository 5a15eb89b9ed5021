/**
 * @file
 * A load on one shared object of each kind, whose users may be killed at any time.
 */
#ifndef ZATOSW_TESTS_OSW_IPC_LOAD_H
#define ZATOSW_TESTS_OSW_IPC_LOAD_H

#include <gtest/gtest.h>
#include <zatosw/zatosw.h>

#include <atomic>
#include <iterator>
#include <string>

inline constexpr uint32_t messageSize = 16;
inline constexpr uint32_t capacity = 4;
inline constexpr uint32_t memorySize = 4096;
inline constexpr ZatTimeoutMs shortly = 3;

struct Objects {
    ZatIpcHandle mutex = 0, count = 0, event = 0, lock = 0, queue = 0, timer = 0, memory = 0;

    explicit Objects(const std::string& round) {
        const char* name = round.c_str();
        EXPECT_EQ(zatOSWIpcCreateMutexSem(name, &mutex, 0, 1), ZAT_OK);
        EXPECT_EQ(zatOSWIpcCreateCountSem(name, &count, 0, 1), ZAT_OK);
        EXPECT_EQ(zatOSWIpcCreateEventSem(name, &event, 0, 0), ZAT_OK);
        EXPECT_EQ(zatOSWIpcCreateSELock(name, &lock, 0, ZAT_SE_LOCK_FREE), ZAT_OK);
        EXPECT_EQ(zatOSWIpcCreateMsgQueue(name, &queue, capacity, messageSize, 0), ZAT_OK);
        EXPECT_EQ(zatOSWIpcCreateTimer(name, &timer, 16384), ZAT_OK);
        EXPECT_EQ(zatOSWIpcCreateMemPart(&memory, name, memorySize), ZAT_OK);
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

inline std::atomic<uint32_t> fired;

inline void onTimer(ZatTimer, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t) {
    ++fired;
}

inline void useMutex(const Objects& objects, uint32_t) {
    if (zatOSWIpcRequestMutexSem(objects.mutex, shortly) == ZAT_OK)
        zatOSWIpcReleaseMutexSem(objects.mutex);
}

inline void useLock(const Objects& objects, uint32_t choice) {
    const bool isShared = choice % 2 == 0;
    if (isShared && zatOSWIpcRequestSharedLock(objects.lock, shortly) == ZAT_OK)
        zatOSWIpcReleaseSharedLock(objects.lock);
    if (!isShared && zatOSWIpcRequestExclusiveLock(objects.lock, shortly) == ZAT_OK)
        zatOSWIpcReleaseExclusiveLock(objects.lock);
}

inline void useQueue(const Objects& objects, uint32_t choice) {
    char message[messageSize] = "a message";
    if (choice % 2 == 0)
        zatOSWIpcSendMsgQueue(objects.queue, message, sizeof message, shortly, 0);
    else
        zatOSWIpcReceiveMsgQueue(objects.queue, message, sizeof message, shortly);
}

inline void useMemory(const Objects& objects, uint32_t choice) {
    void* block = nullptr;
    if (zatOSWIpcAllocMemPart(objects.memory, &block, choice % 200 + 1) == ZAT_OK)
        zatOSWIpcFreeMemPart(objects.memory, block);
    if (choice % 5 == 0) zatOSWIpcStartTimer(objects.timer, 1, onTimer, 0);
}

/* One call, or a pair, that has a time-out of its own. */
inline void useOne(const Objects& objects, uint32_t choice) {
    static constexpr void (*uses[])(const Objects& objects, uint32_t choice) = {
        useMutex,
        useMutex,
        useLock,
        useLock,
        useQueue,
        useQueue,
        useMemory,
        [](const Objects& all, uint32_t) { zatOSWIpcWaitCountSem(all.count, shortly); },
        [](const Objects& all, uint32_t) { zatOSWIpcPostCountSem(all.count); },
        [](const Objects& all, uint32_t) { zatOSWIpcWaitEventSem(all.event, shortly); },
        [](const Objects& all, uint32_t) { zatOSWIpcPostEventSem(all.event); },
        [](const Objects& all, uint32_t) { zatOSWIpcFlushEventSem(all.event); },
    };
    uses[choice % std::size(uses)](objects, choice / std::size(uses));
}

#endif
