/*
 * Blocking in the kernel on an object's semaphore, in a way that no wake-up by SIGUSR1 misses.
 *
 * SIGUSR1 is blocked in the library's threads; a wait lets it through. It may arrive before the
 * thread has reached the kernel: its handler then sets the time-out that the system call is about
 * to read to zero, so that the call does not block. That holds from arm() on, which a waiter
 * calls under the lock under which others see it and signal it.
 */
#ifndef ZATOSW_OSW_IPC_BLOCK_PRIVATE_H
#define ZATOSW_OSW_IPC_BLOCK_PRIVATE_H

#include <signal.h>
#include <sys/sem.h>
#include <time.h>

#include "osw/types.h"

/* Installs the handler of SIGUSR1 and blocks the signal in the calling thread. */
void oswIpcPrepareSignal();

/* Lets another thread of this process look up from its wait, if it is in one. */
void oswIpcInterruptWait(ZatTaskId thread);

/* What a clock of the kernel shows. */
int64_t oswIpcClockNs(clockid_t clock);

/* Which other signals may interrupt a wait. */
enum class IpcSignals { AsBefore, None };

enum class IpcBlockEnd {
    Woken,
    Interrupted, /* by a signal: something may have happened to the object or the thread */
    LookAgain,   /* nothing happened for long: time for a look */
    TimedOut,
    Removed, /* the semaphore is gone */
    Failed,
};

/* The calling thread's readiness to block, for the duration of a scope. */
class IpcBlock {
  public:
    IpcBlock(ZatTimeoutMs timeoutMs, IpcSignals signals);
    IpcBlock(const IpcBlock&) = delete;
    IpcBlock& operator=(const IpcBlock&) = delete;
    ~IpcBlock();

    /* Starts over with what is left of the time. */
    void arm();

    /* Blocks until the operation succeeds or something else ends the wait. */
    IpcBlockEnd wait(int semId, sembuf operation);

    /* In the handler of SIGUSR1. */
    void interrupt();

  private:
    bool hasDeadline() const { return deadlineNs_ != never; }

    static constexpr int64_t never = INT64_MAX;

    int64_t deadlineNs_;
    int64_t remainingNs_ = 0;
    /* What the kernel reads; the handler writes it. */
    struct {
        volatile int32_t seconds;
        volatile int32_t nanoseconds;
    } time_ = {};
    volatile sig_atomic_t interrupted_ = 0;
    IpcBlock* outer_;
    sigset_t signalsBefore_;
};

#endif
