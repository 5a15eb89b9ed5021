#include "controller.h"

#include "report.h"
#include "trace.h"

static constexpr uint32_t reportPeriodMs = 1000;
static constexpr uint32_t taskStackBytes = 32768;

static Controller* controllerOf(uint32_t word) {
    return reinterpret_cast<Controller*>(word);
}

void Controller::take(const Reading& reading) {
    const HoldBoard hold(shared_.lock());
    Board& board = shared_.board();
    board.latest = reading;
    board.running.add(reading.cpuPercent);
    const bool above = static_cast<double>(reading.cpuPercent) > alarmPercent_;
    if (above && board.alarm == 0) zatOSWPostEventSem(alarm_);
    board.alarm = above;
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

void Controller::report() {
    Board copy;
    {
        const HoldBoard hold(shared_.lock());
        copy = shared_.board();
    }
    // The first second may not have been closed yet when the first report is due.
    if (copy.finished.readings == 0) copy.finished = copy.running;
    uint32_t waiting = 0;
    zatOSWIpcQueryMsgQueue(shared_.readings(), &waiting);
    printReport(copy, waiting, Shared::queueCapacity);
}

uint32_t Controller::runControl(uint32_t self, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                                uint32_t, uint32_t, uint32_t, uint32_t) {
    controllerOf(self)->control();
    return 0;
}

uint32_t Controller::runAlarm(uint32_t self, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                              uint32_t, uint32_t, uint32_t, uint32_t) {
    Controller* controller = controllerOf(self);
    while (zatOSWWaitEventSem(controller->alarm_, ZAT_FOREVER) == ZAT_OK)
        printAlarm(controller->alarmPercent_);
    return 0;
}

uint32_t Controller::runReport(uint32_t self, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                               uint32_t, uint32_t, uint32_t, uint32_t) {
    Controller* controller = controllerOf(self);
    while (zatOSWWaitEventSem(controller->reportDue_, ZAT_FOREVER) == ZAT_OK)
        controller->report();
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
    return shared_.open() && made(zatOSWCreateEventSem(&alarm_, 0, 0), "alarm event") &&
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
    return makeObjects() && startTask("control", runControl) && startTask("alarm", runAlarm) &&
           startTask("report", runReport) && startTask("answer", runAnswer) &&
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
    if (alarm_ != 0) zatOSWDeleteEventSem(alarm_);
    if (reportDue_ != 0) zatOSWDeleteEventSem(reportDue_);
    while (taskCount_ > 0) {
        const ZatTaskId task = tasks_[--taskCount_];
        zatOSWDeleteTask(task);
        zatOSWWaitTask(task, 1);
    }
}
