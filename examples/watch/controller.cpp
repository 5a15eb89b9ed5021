#include "controller.h"

#include <stdio.h>

#include <algorithm>

#include "report.h"

static constexpr uint32_t samplePeriodMs = 100;
static constexpr uint32_t reportPeriodMs = 1000;
static constexpr uint32_t taskStackBytes = 32768;
static constexpr uint32_t queueCapacity = 16;

// Holds a mutex for the length of a block.
class Hold {
  public:
    explicit Hold(ZatMutexSem mutex) : mutex_(mutex) { zatOSWRequestMutexSem(mutex, ZAT_FOREVER); }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;
    ~Hold() { zatOSWReleaseMutexSem(mutex_); }

  private:
    const ZatMutexSem mutex_;
};

static Controller* controllerOf(uint32_t word) {
    return reinterpret_cast<Controller*>(word);
}

static bool made(ZatStatus status, const char* what) {
    if (status == ZAT_OK) return true;
    fprintf(stderr, "Cannot make the %s: %s (%lx)\n", what, zatStatusText(status),
            static_cast<unsigned long>(status));
    return false;
}

void Second::add(float percent) {
    lowest = std::min(lowest, percent);
    highest = std::max(highest, percent);
    sum += percent;
    ++readings;
}

// Takes a reading every period until it is told to stop.
void Controller::sample() {
    Machine machine;
    Reading reading;
    machine.read(reading);
    while (zatOSWWaitEventSem(stop_, samplePeriodMs) == ZAT_TIMED_OUT) {
        if (!machine.read(reading)) continue;
        // Never waits: an old reading is worth nothing to a controller that is behind.
        if (zatOSWSendMsgQueue(readings_, &reading, sizeof reading, 0, 0) != ZAT_TIMED_OUT)
            continue;
        const Hold hold(mutex_);
        ++shared_.lost;
    }
}

void Controller::take(const Reading& reading) {
    const Hold hold(mutex_);
    shared_.latest = reading;
    shared_.running.add(reading.cpuPercent);
    const bool above = static_cast<double>(reading.cpuPercent) > alarmPercent_;
    if (above && !shared_.alarm) zatOSWPostEventSem(alarm_);
    shared_.alarm = above;
}

// Takes readings until the queue is deleted.
void Controller::control() {
    Reading reading;
    while (zatOSWReceiveMsgQueue(readings_, &reading, sizeof reading, ZAT_FOREVER) == ZAT_OK)
        take(reading);
}

void Controller::report() {
    Shared copy;
    {
        const Hold hold(mutex_);
        copy = shared_;
    }
    // The first second may not have been closed yet when the first report is due.
    if (copy.finished.readings == 0) copy.finished = copy.running;
    uint32_t waiting = 0;
    zatOSWQueryMsgQueue(readings_, &waiting);
    printReport(copy, waiting, queueCapacity);
}

uint32_t Controller::runSampler(uint32_t self, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                                uint32_t, uint32_t, uint32_t, uint32_t) {
    controllerOf(self)->sample();
    return 0;
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

// Starts itself again: a timer calls once per start.
void Controller::closeSecond(ZatTimer timer, uint32_t self, uint32_t, uint32_t, uint32_t,
                             uint32_t) {
    Controller* controller = controllerOf(self);
    zatOSWStartTimer(timer, reportPeriodMs, closeSecond, self);
    const Hold hold(controller->mutex_);
    controller->shared_.finished = controller->shared_.running;
    controller->shared_.running = {};
}

bool Controller::makeObjects() {
    return made(zatOSWCreateMutexSem(&mutex_, 0, 1), "mutex") &&
           made(zatOSWCreateMsgQueue(&readings_, queueCapacity, sizeof(Reading), 0), "queue") &&
           made(zatOSWCreateEventSem(&stop_, 0, 0), "stop event") &&
           made(zatOSWCreateEventSem(&alarm_, 0, 0), "alarm event") &&
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
           startTask("report", runReport) && startTask("sampler", runSampler) &&
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

// Deleting a queue or an event ends the tasks that wait on it: they get ZAT_FAILED.
Controller::~Controller() {
    stopEventTimer();
    if (secondTimer_ != 0) zatOSWDeleteTimer(secondTimer_);
    if (stop_ != 0) zatOSWPostEventSem(stop_);
    if (taskCount_ == maxTasks) zatOSWWaitTask(tasks_[--taskCount_], 1);  // the sampler
    if (readings_ != 0) zatOSWDeleteMsgQueue(readings_);
    if (alarm_ != 0) zatOSWDeleteEventSem(alarm_);
    if (reportDue_ != 0) zatOSWDeleteEventSem(reportDue_);
    while (taskCount_ > 0)
        zatOSWWaitTask(tasks_[--taskCount_], 1);
    if (stop_ != 0) zatOSWDeleteEventSem(stop_);
    if (mutex_ != 0) zatOSWDeleteMutexSem(mutex_);
}
