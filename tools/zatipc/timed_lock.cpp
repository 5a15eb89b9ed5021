#include "timed_lock.h"

#include <errno.h>
#include <string.h>
#include <time.h>

#include "osw/ipc/lock_private.h"
#include "osw/ipc/process_private.h"

static int64_t nowMs() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

static timespec timeOf(int64_t ms) {
    return {static_cast<time_t>(ms / 1000), static_cast<long>(ms % 1000 * 1000000)};
}

void pauseFor(uint32_t ms) {
    const timespec time = timeOf(ms);
    nanosleep(&time, nullptr);
}

// Takes it once, within a time; returns 0 or the error number.
static int takeWithin(int semId, uint32_t waitMs) {
    const int64_t deadline = nowMs() + waitMs;
    for (int64_t left = waitMs;; left = deadline - nowMs()) {
        if (left < 0) left = 0;
        const timespec limit = timeOf(left);
        sembuf operation = ipcTake;
        if (semtimedop(semId, &operation, 1, &limit) == 0) return 0;
        if (errno != EINTR) return errno;
    }
}

LockState TimedLock::take(int semId, uint32_t waitMs) {
    if (semId < 0) return {};
    const int error = takeWithin(semId, waitMs);
    if (error == 0) {
        semId_ = semId;
        return {LockResult::Held, 0, oswSysvValue(semId, 0), 0};
    }
    if (error == EIDRM || error == EINVAL) return {};
    if (error != EAGAIN) return {LockResult::Failed, 0, 0, error};
    return {LockResult::Busy, oswSysvLastProcess(semId), 0, 0};
}

void TimedLock::release() {
    if (semId_ >= 0) oswIpcSemop(semId_, ipcGive);
    semId_ = -1;
}

bool isAlive(uint32_t process) {
    constexpr uint32_t mostProcesses = 4194304;  // the kernel's own limit
    return process > 0 && process <= mostProcesses && oswIpcIsAlive(process);
}

std::string lockText(const LockState& state) {
    switch (state.result) {
    case LockResult::Held:
        return state.excess > 0 ? "was given back more often than taken" : "";
    case LockResult::Missing:
        return "is missing";
    case LockResult::Failed:
        return std::string("cannot be taken: ") + strerror(state.error);
    case LockResult::Busy:
        break;
    }
    if (state.process == 0) return "is taken, by nobody that the kernel knows";
    return "is held, last taken by process " + std::to_string(state.process) +
           (isAlive(state.process) ? " (alive)" : " (dead)");
}
