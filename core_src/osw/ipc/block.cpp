/* Blocking on an object's semaphore; see block_private.h. */

#include "osw/ipc/block_private.h"

#include <errno.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include "osw/ipc/lock_private.h"
#include "osw/self_private.h"

static constexpr int64_t nsPerSecond = 1000000000;
static constexpr int64_t nsPerMs = 1000000;

/* A process that is killed may take a wake-up with it that was meant for another. Nobody notices,
 * so every waiter looks for itself from time to time. */
static constexpr int64_t lookAgainNs = nsPerSecond;

static OSW_THREAD_LOCAL IpcBlock* volatile current = nullptr;

static void onSignal(int) {
    if (IpcBlock* block = current) block->interrupt();
}

static bool isPrepared;

void oswIpcInterruptWait(ZatTaskId thread) {
    if (__atomic_load_n(&isPrepared, __ATOMIC_ACQUIRE) && thread != oswSelf())
        pthread_kill(thread, SIGUSR1);
}

void oswIpcPrepareSignal() {
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigaction(SIGUSR1, &action, nullptr);
    __atomic_store_n(&isPrepared, true, __ATOMIC_RELEASE);
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

int64_t oswIpcClockNs(clockid_t clock) {
    timespec now;
    clock_gettime(clock, &now);
    return now.tv_sec * nsPerSecond + now.tv_nsec;
}

IpcBlock::IpcBlock(ZatTimeoutMs timeoutMs, IpcSignals signals)
    : deadlineNs_(timeoutMs == ZAT_FOREVER ? never
                                           : oswIpcClockNs(CLOCK_MONOTONIC) + timeoutMs * nsPerMs),
      outer_(current) {
    current = this;
    sigset_t set;
    if (signals == IpcSignals::None) {
        sigfillset(&set);
        sigdelset(&set, SIGUSR1);
        pthread_sigmask(SIG_SETMASK, &set, &signalsBefore_);
    } else {
        sigemptyset(&set);
        sigaddset(&set, SIGUSR1);
        pthread_sigmask(SIG_UNBLOCK, &set, &signalsBefore_);
    }
}

IpcBlock::~IpcBlock() {
    current = outer_;
    pthread_sigmask(SIG_SETMASK, &signalsBefore_, nullptr);
}

void IpcBlock::arm() {
    remainingNs_ = hasDeadline() ? deadlineNs_ - oswIpcClockNs(CLOCK_MONOTONIC) : never;
    if (remainingNs_ < 0) remainingNs_ = 0;
    const int64_t sliceNs = remainingNs_ < lookAgainNs ? remainingNs_ : lookAgainNs;
    interrupted_ = 0;
    time_.seconds = static_cast<int32_t>(sliceNs / nsPerSecond);
    time_.nanoseconds = static_cast<int32_t>(sliceNs % nsPerSecond);
}

void IpcBlock::interrupt() {
    interrupted_ = 1;
    time_.seconds = 0;
    time_.nanoseconds = 0;
}

IpcBlockEnd IpcBlock::wait(int semId, sembuf operation) {
    /* Not the C library's call, which copies the time-out before the kernel reads it. */
    static constexpr int semTimedOperation = 4;
    const long result = syscall(SYS_ipc, semTimedOperation, semId, 1, 0, &operation, &time_);
    if (result == 0) return IpcBlockEnd::Woken;
    switch (errno) {
    case EINTR:
        return IpcBlockEnd::Interrupted;
    case EAGAIN:
        if (interrupted_ != 0) return IpcBlockEnd::Interrupted;
        return remainingNs_ <= lookAgainNs ? IpcBlockEnd::TimedOut : IpcBlockEnd::LookAgain;
    case EIDRM:
    case EINVAL:
        return IpcBlockEnd::Removed;
    default:
        return IpcBlockEnd::Failed;
    }
}
