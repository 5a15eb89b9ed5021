/*
 * Named timers. A request is a word in the entry and a wake-up of the serving process's control
 * task, which reads the word without the lock and hands it on to the local timer.
 */

#include "osw/ipc/timer.h"

#include <pthread.h>
#include <time.h>

#include "clb/list_walk_private.h"
#include "osw/errno_private.h"
#include "osw/handle_private.h"
#include "osw/ipc/block_private.h"
#include "osw/ipc/create_private.h"
#include "osw/ipc/process_private.h"
#include "osw/ipc/timer_private.h"
#include "osw/ipc/wait_private.h"
#include "osw/lock_private.h"
#include "osw/task.h"

enum TimerCommand : uint32_t {
    TIMER_START = 1,
    TIMER_STOP = 2,
    TIMER_RESET = 3,
    TIMER_EXIT = 4,
    TIMER_ENDED = 5,
};

static bool isServedHere(const IpcHandle& handle) {
    return handle.server.starter == oswIpcProcess && handle.server.controlTask != 0;
}

/* Says that a control task has ended, however it ends. */
class ControlTaskEnd {
  public:
    explicit ControlTaskEnd(IpcTimerBody& timer) : timer_(timer) {}
    ControlTaskEnd(const ControlTaskEnd&) = delete;
    ControlTaskEnd& operator=(const ControlTaskEnd&) = delete;
    ~ControlTaskEnd() { oswIpcPublish(timer_.command, TIMER_ENDED); }

  private:
    IpcTimerBody& timer_;
};

/* Waits for a request; false when the timer's semaphore is gone. */
static bool awaitRequest(IpcBlock& block, int semId) {
    for (;;) {
        block.arm();
        pthread_testcancel();
        switch (block.wait(semId, ipcWait)) {
        case IpcBlockEnd::Woken:
            return true;
        case IpcBlockEnd::Removed:
        case IpcBlockEnd::Failed:
            return false;
        default:
            break;
        }
    }
}

/* Keeps a handler and its argument together; the innermost lock here. */
static pthread_mutex_t handlerLock = PTHREAD_MUTEX_INITIALIZER;

static void restart(const IpcHandle& handle, uint32_t timeMs) {
    OswLock pair(handlerLock);
    const ZatTimerCallback handler = handle.server.handler;
    const uint32_t argument = handle.server.argument;
    pair.release();
    zatOSWStartTimer(handle.timer, timeMs, handler, argument);
}

static uint32_t controlTask(uint32_t word, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                            uint32_t, uint32_t, uint32_t, uint32_t) {
    IpcHandle& handle = *oswRecord<IpcHandle>(word);
    IpcTimerBody& timer = handle.entry->timer;
    const ControlTaskEnd end(timer);
    IpcBlock block(ZAT_FOREVER, IpcSignals::AsBefore);
    while (awaitRequest(block, timer.semId)) {
        switch (__atomic_load_n(&timer.command, __ATOMIC_ACQUIRE)) {
        case TIMER_START:
            restart(handle, timer.timeMs);
            break;
        case TIMER_STOP:
            zatOSWStopTimer(handle.timer);
            break;
        case TIMER_RESET:
            zatOSWResetTimer(handle.timer);
            break;
        case TIMER_EXIT:
            return 0;
        default:
            break;
        }
    }
    return 0;
}

/* Leaves a request for the control task, wherever it is. */
static ZatStatus request(IpcTimerBody& timer, TimerCommand command) {
    oswIpcPublish(timer.command, command);
    return oswSysvSetValue(timer.semId, 1) == 0 ? ZatStatus{ZAT_OK}
                                                : ZatStatus{ZAT_IPC_SEMCTL_FAILED};
}

static void noteStart(IpcTimerBody& timer, uint32_t timeMs) {
    timer.controller = oswIpcCaller();
    timer.timeMs = timeMs;
}

/* A process that begins to serve; undone at the end of the scope unless it was finished. */
class ServingMaker {
  public:
    explicit ServingMaker(IpcHandle& handle) : handle_(&handle) {}
    ServingMaker(const ServingMaker&) = delete;
    ServingMaker& operator=(const ServingMaker&) = delete;
    ~ServingMaker() {
        if (handle_ == nullptr) return;
        oswIpcPublish(handle_->entry->timer.command, TIMER_EXIT);
        /* It was never started: its task is idle and joined at once. */
        if (handle_->timer != 0) zatOSWDeleteTimer(handle_->timer);
        handle_->timer = 0;
        handle_->server = {};
    }

    void finish() { handle_ = nullptr; }

  private:
    IpcHandle* handle_;
};

static ZatStatus serve(IpcHandle& handle, uint32_t timeMs, ZatTimerCallback handler,
                       uint32_t argument) {
    IpcTimerBody& timer = handle.entry->timer;
    const OswUncancellable uncancellable;
    ServingMaker maker(handle);
    /* A request that came too late for the process that served before. */
    oswSysvSetValue(timer.semId, 0);
    handle.server = {handler, argument, oswIpcProcess, 0};
    ZatStatus status = zatOSWCreateTimer(&handle.timer, timer.created);
    if (status == ZAT_OK)
        status = zatOSWCreateJoinTask(&handle.server.controlTask, "oswipctmr", ZAT_INHERIT_PRIORITY,
                                      timer.created, controlTask, 1, oswWord(&handle), 0, 0, 0, 0,
                                      0, 0, 0, 0, 0);
    if (status == ZAT_OK && handle.server.controlTask == 0) status = ZAT_IPC_NO_MEMORY;
    if (status != ZAT_OK) return status;
    maker.finish();
    noteStart(timer, timeMs);
    timer.command = TIMER_START;
    oswIpcPublish(timer.server, oswIpcProcess);
    /* Last: from here on the handler may run, and wait for the lock. */
    return zatOSWStartTimer(handle.timer, timeMs, handler, argument);
}

/* Whether the process that served was killed: nobody else would ever serve. */
static bool isOrphaned(const IpcTimerBody& timer) {
    return timer.server != oswIpcProcess && !oswIpcIsAlive(timer.server);
}

struct TimerStart {
    uint32_t timeMs;
    ZatTimerCallback handler;
    uint32_t argument;
};

static ZatStatus start(IpcHandle& handle, void* data) {
    const auto& wanted = *static_cast<const TimerStart*>(data);
    IpcTimerBody& timer = handle.entry->timer;
    if (wanted.handler == nullptr) {
        if (timer.server == 0) return ZAT_IPC_TIMER_IDLE;
    } else {
        if (timer.server == 0 || isOrphaned(timer))
            return serve(handle, wanted.timeMs, wanted.handler, wanted.argument);
        if (timer.server != oswIpcProcess || !isServedHere(handle)) return ZAT_IPC_TIMER_ELSEWHERE;
        const OswLock pair(handlerLock);
        handle.server.handler = wanted.handler;
        handle.server.argument = wanted.argument;
    }
    noteStart(timer, wanted.timeMs);
    return request(timer, TIMER_START);
}

static ZatStatus startLocal(ZatHandle timer, void* data) {
    const auto& wanted = *static_cast<const TimerStart*>(data);
    return zatOSWStartTimer(timer, wanted.timeMs, wanted.handler, wanted.argument);
}

static ZatStatus command(IpcHandle& handle, TimerCommand command) {
    IpcTimerBody& timer = handle.entry->timer;
    if (timer.server == 0) return ZAT_IPC_TIMER_IDLE;
    timer.controller = oswIpcCaller();
    return request(timer, command);
}

static ZatStatus stop(IpcHandle& handle, void*) {
    return command(handle, TIMER_STOP);
}

static ZatStatus stopLocal(ZatHandle timer, void*) {
    return zatOSWStopTimer(timer);
}

static ZatStatus reset(IpcHandle& handle, void*) {
    return command(handle, TIMER_RESET);
}

static ZatStatus resetLocal(ZatHandle timer, void*) {
    return zatOSWResetTimer(timer);
}

/* A handler knows its timer by the local timer only. */
static ZatHandle handleOf(ZatHandle handle) {
    const OswKeepErrno keepErrno;
    IpcLock lock;
    if (handle == 0 || oswIpcLockType(lock, IPC_TIMER) != ZAT_OK) return handle;
    for (const IpcHandle* timer : zatWalk<IpcHandle>(&oswIpcTypes[IPC_TIMER].handles))
        if (timer->timer == handle) return oswWord(timer);
    return handle;
}

static ZatStatus apply(ZatHandle handle, const IpcChange& change, void* data = nullptr) {
    const ZatStatus status = oswIpcApply(handle, change, data);
    if (status != ZAT_IPC_NO_OBJECT) return status;
    const ZatHandle found = handleOf(handle);
    return found == handle ? status : oswIpcApply(found, change, data);
}

void oswIpcStopServing(IpcHandle& handle) {
    if (!isServedHere(handle)) return;
    IpcTimerBody& timer = handle.entry->timer;
    const ZatTaskId task = handle.server.controlTask;
    IpcLock lock;
    /* The task is asked, not the word: it may have been deleted before it had begun. */
    while (zatOSWWaitTask(task, 0) != ZAT_OK) {
        if (oswIpcLockType(lock, IPC_TIMER) != ZAT_OK) {
            zatOSWDeleteTask(task);
            break;
        }
        /* Others may have replaced the request: the timer is theirs until it is marked. */
        if (timer.command != TIMER_EXIT && timer.command != TIMER_ENDED) request(timer, TIMER_EXIT);
        lock.release();
        static constexpr timespec moment = {0, 1000};
        nanosleep(&moment, nullptr);
    }
    zatOSWWaitTask(task, 1);
    if (oswIpcLockType(lock, IPC_TIMER) != ZAT_OK) return;
    timer.command = TIMER_ENDED;
    timer.server = 0;
}

static ZatStatus makeLocal(ZatHandle* timer, const IpcLocalWords& words) {
    return zatOSWCreateTimer(timer, words.word[0]);
}

ZatStatus zatOSWIpcCreateTimer(const char* name, ZatIpcHandle* handle, uint32_t stackSizeBytes) {
    return oswIpcCreate(name, IPC_TIMER, {stackSizeBytes, 0}, handle, makeLocal,
                        {{stackSizeBytes}});
}

ZatStatus zatOSWIpcStartTimer(ZatIpcHandle handle, uint32_t timeMs, ZatTimerCallback handler,
                              uint32_t argument) {
    static constexpr IpcChange change = {IPC_TIMER, start, startLocal};
    TimerStart wanted = {timeMs, handler, argument};
    return apply(handle, change, &wanted);
}

ZatStatus zatOSWIpcStopTimer(ZatIpcHandle handle) {
    static constexpr IpcChange change = {IPC_TIMER, stop, stopLocal};
    return apply(handle, change);
}

ZatStatus zatOSWIpcResetTimer(ZatIpcHandle handle) {
    static constexpr IpcChange change = {IPC_TIMER, reset, resetLocal};
    return apply(handle, change);
}

ZatStatus zatOSWIpcDeleteTimer(ZatIpcHandle handle) {
    IpcClosing closing(handle, IPC_TIMER);
    if (closing.status != ZAT_OK) return closing.status;
    IpcHandle* timer = closing.object;
    if (timer == nullptr) {
        closing.global.release();
        return oswIpcDeleteLocal(handle, IPC_TIMER, closing.lock);
    }
    if (timer->localRefs == 0) return ZAT_IPC_NO_REFERENCE;
    if (timer->localRefs > 1) {
        oswIpcCloseObject(*timer);
        return ZAT_OK;
    }
    oswIpcForgetHandle(*timer);
    closing.lock.release();
    oswIpcStopServing(*timer);
    const ZatStatus status = oswIpcLockType(closing.lock, IPC_TIMER);
    if (status == ZAT_OK) oswIpcDropUse(*timer->entry);
    closing.lock.release();
    closing.global.release();
    oswIpcDispose(timer);
    return status;
}
