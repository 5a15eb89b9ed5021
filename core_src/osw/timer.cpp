/*
 * Callback timers: a task each, three events, and a record that the timer lock guards.
 *
 * The timer's task owns the events and deletes them when it ends, however it ends. The record is
 * freed by whoever deletes the timer, after the task; the task reads it only when it finds it in
 * the list.
 *
 * Whether the timer is started and whether its countdown is to end stands in the record. The events
 * wake the task to look: a post may be taken before or after the next call, and one that is left
 * over means nothing.
 */

#include "osw/timer.h"

#include <pthread.h>
#include <stdio.h>

#include "clb/list_walk_private.h"
#include "osw/event_sem.h"
#include "osw/handle_private.h"
#include "osw/init.h"
#include "osw/lock_private.h"
#include "osw/mem_part.h"
#include "osw/self_private.h"
#include "osw/task.h"
#include "osw/task_private.h"
#include "osw/task_registry.h"
#include "osw/timer_private.h"

static pthread_mutex_t timerLock = PTHREAD_MUTEX_INITIALIZER;
static ClbLstHead timers;

/* Three events that are deleted at the end of the scope, in the reverse order of their making. */
class TimerEvents {
  public:
    TimerEvents() = default;
    TimerEvents(ZatEventSem start, ZatEventSem stop, ZatEventSem exit)
        : events_{start, stop, exit} {}
    TimerEvents(const TimerEvents&) = delete;
    TimerEvents& operator=(const TimerEvents&) = delete;
    ~TimerEvents() {
        for (int i = 2; i >= 0; --i)
            if (events_[i] != 0) zatOSWDeleteEventSem(events_[i]);
    }

    ZatStatus create() {
        for (ZatEventSem& event : events_)
            if (const ZatStatus status = zatOSWCreateEventSem(&event, 0, 0); status != ZAT_OK)
                return status;
        return ZAT_OK;
    }

    void finish() { events_[0] = events_[1] = events_[2] = 0; }

    ZatEventSem start() const { return events_[0]; }
    ZatEventSem stop() const { return events_[1]; }
    ZatEventSem exit() const { return events_[2]; }

  private:
    ZatEventSem events_[3] = {};
};

/* Frees a record at the end of the scope unless it was finished. */
struct TimerMemory {
    OswTimerRecord* record = nullptr;

    TimerMemory() = default;
    TimerMemory(const TimerMemory&) = delete;
    TimerMemory& operator=(const TimerMemory&) = delete;
    ~TimerMemory() { zatOSWOrgFreeMemPart(0, record); }
};

/* Under the timer lock: the timer of a handle, null when there is none. */
static OswTimerRecord* findTimer(ZatTimer handle) {
    for (auto* timer : zatWalk<OswTimerRecord>(&timers))
        if (oswWord(timer) == handle) return timer;
    return nullptr;
}

/* The same for the timer's task, which may be left over from a timer at the same address whose
 * deletion was itself cut short. */
static OswTimerRecord* findOwnTimer(ZatTimer handle, OswLock& lock) {
    if (lock.take(timerLock) != ZAT_OK) return nullptr;
    OswTimerRecord* timer = findTimer(handle);
    return timer != nullptr && timer->threadId == oswSelf() ? timer : nullptr;
}

struct Countdown {
    uint32_t interval;
    ZatTimerCallback callback;
    OswTimerWords words;
};

enum class CountdownStart { Armed, Idle, Deleted };

/* Begins a countdown with what the timer was started with, if it was. */
static CountdownStart beginCountdown(ZatTimer handle, const TimerEvents& events,
                                     Countdown& countdown) {
    OswLock lock;
    OswTimerRecord* timer = findOwnTimer(handle, lock);
    if (timer == nullptr) return CountdownStart::Deleted;
    zatOSWResetEventSem(events.stop());
    if (timer->armed == 0) return CountdownStart::Idle;
    timer->armed = 0;
    timer->counting = 1;
    countdown = {timer->interval, timer->callback, timer->words};
    return CountdownStart::Armed;
}

/* Whether a countdown that has run out is to call: a stop may have come in the last moment, and
 * also after the one that was consumed. Its post must not be left for the next countdown. */
static bool endCountdown(ZatTimer handle, const TimerEvents& events, bool consumedStop) {
    OswLock lock;
    OswTimerRecord* timer = findOwnTimer(handle, lock);
    if (timer == nullptr) return false;
    const bool wasStopped = timer->stopping != 0;
    timer->counting = timer->stopping = 0;
    if (wasStopped) zatOSWResetEventSem(events.stop());
    return !wasStopped && !consumedStop;
}

/* Runs the countdown of a start, if that still stands; whether the timer lives on. */
static bool countDown(ZatTimer handle, const TimerEvents& events) {
    Countdown countdown;
    const CountdownStart start = beginCountdown(handle, events, countdown);
    if (start != CountdownStart::Armed) return start == CountdownStart::Idle;
    const ZatStatus stopped = zatOSWWaitEventSem(events.stop(), countdown.interval);
    if (stopped != ZAT_OK && stopped != ZAT_TIMED_OUT) return false;
    if (!endCountdown(handle, events, stopped == ZAT_OK))
        return zatOSWWaitEventSem(events.exit(), 0) == ZAT_TIMED_OUT;
    const uint32_t* a = countdown.words.word;
    countdown.callback(handle, a[0], a[1], a[2], a[3], a[4]);
    return true;
}

/*
 * A task that ends otherwise than by the deletion of its timer (it exits from the callback, or is
 * itself deleted) leaves a record behind, which must not lead to the events any more: the calls on
 * the timer then find no events, and its deletion has only the task to join.
 */
class TimerTaskEnd {
  public:
    explicit TimerTaskEnd(ZatTimer handle) : handle_(handle) {}
    TimerTaskEnd(const TimerTaskEnd&) = delete;
    TimerTaskEnd& operator=(const TimerTaskEnd&) = delete;
    ~TimerTaskEnd() {
        OswLock lock;
        OswTimerRecord* timer = findOwnTimer(handle_, lock);
        if (timer == nullptr) return;
        timer->startEvent = timer->stopEvent = timer->exitEvent = 0;
    }

  private:
    const ZatTimer handle_;
};

static uint32_t timerTask(uint32_t handle, uint32_t start, uint32_t stop, uint32_t exit, uint32_t,
                          uint32_t, uint32_t, uint32_t, uint32_t, uint32_t) {
    const TimerEvents events(start, stop, exit);
    const TimerTaskEnd end(handle);
    while (zatOSWWaitEventSem(events.start(), ZAT_FOREVER) == ZAT_OK && countDown(handle, events)) {
    }
    return 0;
}

struct TimerTaskName {
    char text[ZAT_TASK_NAME_BUFFER_SIZE];
};

static TimerTaskName timerTaskName(const char* name) {
    TimerTaskName result;
    if (name != nullptr) {
        snprintf(result.text, sizeof result.text, "%s", name);
        return result;
    }
    char own[ZAT_TASK_NAME_BUFFER_SIZE] = "";
    zatOSWGetTaskNameSelf(own);
    snprintf(result.text, sizeof result.text, "%.8s%s", own, "OswTimer");
    return result;
}

/* Makes the timer's task, which owns the events from then on. */
static ZatStatus startTask(OswTimerRecord& timer, TimerEvents& events, const char* name,
                           int32_t priority, uint32_t stackSize) {
    timer.startEvent = events.start();
    timer.stopEvent = events.stop();
    timer.exitEvent = events.exit();
    ZatTaskId task = 0;
    const ZatStatus created = zatOSWCreateJoinTask(
        &task, timerTaskName(name).text, priority, stackSize, timerTask, 1, oswWord(&timer),
        events.start(), events.stop(), events.exit(), 0, 0, 0, 0, 0, 0);
    if (const ZatStatus status = oswCreated(created, task); status != ZAT_OK) return status;
    timer.threadId = task;
    events.finish();
    return ZAT_OK;
}

ZatStatus zatOSWCreateTimerEx(ZatTimer* timer, const char* name, int32_t priority,
                              uint32_t stackSizeBytes) {
    if (const ZatStatus status = zatOSWInit(); status != ZAT_OK) return status;
    if (timer == nullptr) return ZAT_FAILED;
    void* block = nullptr;
    ZatStatus status = zatOSWOrgAllocMemPart(0, &block, sizeof(OswTimerRecord));
    if (status != ZAT_OK) return status;
    TimerMemory memory;
    memory.record = static_cast<OswTimerRecord*>(block);
    *memory.record = {};
    TimerEvents events;
    status = events.create();
    if (status != ZAT_OK) return status;
    status = startTask(*memory.record, events, name, priority, stackSizeBytes);
    if (status != ZAT_OK) return status;
    OswLock lock;
    status = lock.take(timerLock);
    if (status != ZAT_OK) {
        /* The record goes: the task finds it nowhere, ends and deletes the events. */
        zatOSWPostEventSem(memory.record->startEvent);
        zatOSWDetachTask(memory.record->threadId);
        return status;
    }
    zatCLBLstAdd(&timers, memory.record);
    *timer = oswWord(memory.record);
    memory.record = nullptr;
    return ZAT_OK;
}

ZatStatus zatOSWCreateTimer(ZatTimer* timer, uint32_t stackSizeBytes) {
    return zatOSWCreateTimerEx(timer, nullptr, ZAT_INHERIT_PRIORITY, stackSizeBytes);
}

/* Takes the timer lock and finds the timer. */
static ZatStatus enter(ZatTimer handle, OswLock& lock, OswTimerRecord*& timer) {
    if (const ZatStatus error = lock.take(timerLock); error != ZAT_OK) return error;
    timer = findTimer(handle);
    return timer == nullptr ? ZatStatus{ZAT_FAILED} : ZatStatus{ZAT_OK};
}

ZatStatus zatOSWStartTimerEx(ZatTimer timer, uint32_t intervalMs, ZatTimerCallback callback,
                             uint32_t a1, uint32_t a2, uint32_t a3, uint32_t a4, uint32_t a5) {
    if (callback == nullptr) return ZAT_FAILED;
    OswLock lock;
    OswTimerRecord* record = nullptr;
    ZatStatus status = enter(timer, lock, record);
    if (status != ZAT_OK) return status;
    record->interval = intervalMs;
    record->callback = callback;
    record->words = {{a1, a2, a3, a4, a5}};
    record->armed = 1;
    /* A stop that a running countdown has not seen yet is not forgotten. */
    if (record->stopping == 0) status = zatOSWResetEventSem(record->stopEvent);
    return status == ZAT_OK ? zatOSWPostEventSem(record->startEvent) : status;
}

ZatStatus zatOSWStartTimer(ZatTimer timer, uint32_t intervalMs, ZatTimerCallback callback,
                           uint32_t a1) {
    return zatOSWStartTimerEx(timer, intervalMs, callback, a1, 0, 0, 0, 0);
}

/* Ends a countdown that runs, once it is settled whether the timer is started from then on. */
template <class TreatStart>
static ZatStatus interrupt(ZatTimer timer, TreatStart treatStart) {
    OswLock lock;
    OswTimerRecord* record = nullptr;
    ZatStatus status = enter(timer, lock, record);
    if (status != ZAT_OK) return status;
    status = treatStart(*record);
    record->stopping = record->counting;
    return status == ZAT_OK ? zatOSWPostEventSem(record->stopEvent) : status;
}

ZatStatus zatOSWStopTimer(ZatTimer timer) {
    return interrupt(timer, [](OswTimerRecord& record) {
        record.armed = 0;
        return zatOSWResetEventSem(record.startEvent);
    });
}

ZatStatus zatOSWResetTimer(ZatTimer timer) {
    return interrupt(timer, [](OswTimerRecord& record) {
        if (record.counting != 0 && record.stopping == 0) record.armed = 1;
        return zatOSWPostEventSem(record.startEvent);
    });
}

/* Joins a timer's task; a deleter that is itself deleted meanwhile leaves the task to itself. */
class TimerTaskJoin {
  public:
    explicit TimerTaskJoin(ZatTaskId task) : task_(task) {}
    TimerTaskJoin(const TimerTaskJoin&) = delete;
    TimerTaskJoin& operator=(const TimerTaskJoin&) = delete;
    ~TimerTaskJoin() {
        if (task_ != 0) zatOSWDetachTask(task_);
    }

    void wait() {
        zatOSWWaitJoinableTask(task_, 1, nullptr);
        task_ = 0;
    }

  private:
    ZatTaskId task_;
};

ZatStatus zatOSWDeleteTimer(ZatTimer timer) {
    OswLock lock;
    TimerMemory memory;
    OswTimerRecord* record = nullptr;
    if (const ZatStatus status = enter(timer, lock, record); status != ZAT_OK) return status;
    zatOSWPostEventSem(record->startEvent);
    zatOSWPostEventSem(record->stopEvent);
    zatOSWPostEventSem(record->exitEvent);
    TimerTaskJoin task(record->threadId);
    zatCLBLstDelete(&timers, record);
    memory.record = record;
    lock.release();
    task.wait();
    return ZAT_OK;
}
