#include "controller.h"

#include <math.h>

#include "report.h"
#include "trace.h"

static constexpr uint32_t reportPeriodMs = 1000;
static constexpr uint32_t taskStackBytes = 32768;

static Controller* controllerOf(uint32_t word) {
    return reinterpret_cast<Controller*>(word);
}

// Whether the reading raises the alarm.
bool Controller::keep(const Reading& reading, double& threshold) {
    const HoldBoard hold(shared_.lock());
    Board& board = shared_.board();
    board.latest = reading;
    board.running.add(reading.cpuPercent);
    threshold = alarmPercent_;
    const bool above = static_cast<double>(reading.cpuPercent) > threshold;
    const bool raised = above && board.alarm == 0;
    board.alarm = above;
    return raised;
}

void Controller::take(const Reading& reading) {
    double threshold = 0.0;
    if (!keep(reading, threshold)) return;
    // Whoever listens to alarms may be slow; readings go on coming.
    zatOSWQueueTaskPool(alarms_, "alarm", runAlarm, static_cast<uint32_t>(lround(threshold * 10.0)),
                        0, 0, 0, 0, 0, 0, 0, 0, 0);
}

// Takes readings until its task is deleted.
void Controller::control() {
    for (;;) {
        Reading reading;
        if (zatOSWIpcReceiveMsgQueue(shared_.readings(), &reading, sizeof reading, ZAT_FOREVER) ==
            ZAT_OK)
            take(reading);
    }
}

Board Controller::copyBoard() {
    const HoldBoard hold(shared_.lock());
    Board copy = shared_.board();
    // The first second may not have been closed yet when the first report is due.
    if (copy.finished.readings == 0) copy.finished = copy.running;
    return copy;
}

void Controller::showReading() {
    printReading(copyBoard());
}

void Controller::report() {
    uint32_t waiting = 0;
    zatOSWIpcQueryMsgQueue(shared_.readings(), &waiting);
    printReport(copyBoard(), waiting, Shared::queueCapacity);
}

double Controller::alarmPercent() {
    const HoldBoard hold(shared_.lock());
    return alarmPercent_;
}

void Controller::setAlarmPercent(double percent) {
    const HoldBoard hold(shared_.lock());
    alarmPercent_ = percent;
}

bool Controller::isSampling() {
    const HoldBoard hold(shared_.lock());
    return shared_.board().stands == 0;
}

void Controller::setSampling(bool samples) {
    const HoldBoard hold(shared_.lock());
    shared_.board().stands = samples ? 0 : 1;
}

uint32_t Controller::runControl(uint32_t self, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                                uint32_t, uint32_t, uint32_t, uint32_t) {
    controllerOf(self)->control();
    return 0;
}

uint32_t Controller::runAlarm(uint32_t tenths, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                              uint32_t, uint32_t, uint32_t, uint32_t) {
    printAlarm(tenths / 10.0);
    return 0;
}

uint32_t Controller::runReport(uint32_t self, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                               uint32_t, uint32_t, uint32_t, uint32_t) {
    Controller* controller = controllerOf(self);
    while (zatOSWWaitEventSem(controller->reportDue_, ZAT_FOREVER) == ZAT_OK)
        if (controller->reports_) controller->report();
    return 0;
}

// Reports whenever somebody, in any process, asks.
uint32_t Controller::runAnswer(uint32_t self, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                               uint32_t, uint32_t, uint32_t, uint32_t) {
    Controller* controller = controllerOf(self);
    for (;;)
        if (zatOSWIpcWaitEventSem(controller->shared_.ask(), ZAT_FOREVER) == ZAT_OK)
            controller->report();
    return 0;
}

// Starts itself again: a timer calls once per start.
void Controller::closeSecond(ZatTimer timer, uint32_t self, uint32_t, uint32_t, uint32_t,
                             uint32_t) {
    Controller* controller = controllerOf(self);
    zatOSWStartTimer(timer, reportPeriodMs, closeSecond, self);
    const HoldBoard hold(controller->shared_.lock());
    Board& board = controller->shared_.board();
    board.finished = board.running;
    board.running = Second();
}

bool Controller::makeObjects() {
    return shared_.open() &&
           made(zatOSWCreateTaskPool(&alarms_, "alarm", ZAT_INHERIT_PRIORITY, taskStackBytes, 1, 1,
                                     2, 0, 0),
                "pool for alarms") &&
           made(zatOSWCreateEventSem(&reportDue_, 0, 0), "report event");
}

bool Controller::startTask(const char* name, ZatTaskEntry entry) {
    ZatTaskId task = 0;
    const ZatStatus status =
        zatOSWCreateJoinTask(&task, name, ZAT_INHERIT_PRIORITY, taskStackBytes, entry, 1,
                             reinterpret_cast<uint32_t>(this), 0, 0, 0, 0, 0, 0, 0, 0, 0);
    if (!made(status, name)) return false;
    tasks_[taskCount_++] = task;
    return true;
}

bool Controller::start() {
    return makeObjects() && startTask("control", runControl) && startTask("report", runReport) &&
           startTask("answer", runAnswer) &&
           made(zatOSWCreateTimerEx(&secondTimer_, "secondTimer", ZAT_INHERIT_PRIORITY,
                                    taskStackBytes),
                "timer") &&
           made(zatOSWStartTimer(secondTimer_, reportPeriodMs, closeSecond,
                                 reinterpret_cast<uint32_t>(this)),
                "timer's start") &&
           made(zatOSWStartEventTimer(&reportTimer_, reportPeriodMs, reportDue_), "report timer");
}

// The event timer's task deletes its cancel handle and ends; the event it posts must outlive it.
void Controller::stopEventTimer() const {
    if (reportTimer_ == 0) return;
    zatOSWPostEventSem(reportTimer_);
    ZatTaskId task = 0;
    while (zatOSWGetTaskIdByName(&task, "eventTimer") == ZAT_OK)
        zatOSWSleep(1);
}

// Whoever waits for another process is deleted in the middle of its wait; it gives its place up.
Controller::~Controller() {
    stopEventTimer();
    if (secondTimer_ != 0) zatOSWDeleteTimer(secondTimer_);
    if (reportDue_ != 0) zatOSWDeleteEventSem(reportDue_);
    while (taskCount_ > 0) {
        const ZatTaskId task = tasks_[--taskCount_];
        zatOSWDeleteTask(task);
        zatOSWWaitTask(task, 1);
    }
    if (alarms_ != 0) zatOSWDeleteTaskPool(alarms_);
}
