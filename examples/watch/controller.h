// The controller: its tasks, what they share, and its life from start to stop.
#ifndef WATCH_CONTROLLER_H
#define WATCH_CONTROLLER_H

#include <atomic>

#include "shared.h"

class Controller {
  public:
    Controller(double alarmPercent, bool reports)
        : alarmPercent_(alarmPercent), reports_(reports) {}
    Controller(const Controller&) = delete;
    Controller& operator=(const Controller&) = delete;
    // Stops what runs and deletes everything.
    ~Controller();

    // False, after a message on standard error, when something could not be made.
    bool start();

    double alarmPercent();
    void setAlarmPercent(double percent);
    bool isSampling();
    void setSampling(bool samples);
    // Whether there is a report every second.
    void setReporting(bool reports) { reports_ = reports; }
    void showReading();

  private:
    static constexpr unsigned maxTasks = 3;

    bool makeObjects();
    bool startTask(const char* name, ZatTaskEntry entry);
    void stopEventTimer() const;

    static uint32_t runControl(uint32_t self, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                               uint32_t, uint32_t, uint32_t, uint32_t);
    static uint32_t runAlarm(uint32_t tenths, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                             uint32_t, uint32_t, uint32_t, uint32_t);
    static uint32_t runReport(uint32_t self, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                              uint32_t, uint32_t, uint32_t, uint32_t);
    static uint32_t runAnswer(uint32_t self, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                              uint32_t, uint32_t, uint32_t, uint32_t);
    static void closeSecond(ZatTimer timer, uint32_t self, uint32_t, uint32_t, uint32_t, uint32_t);

    void control();
    bool keep(const Reading& reading, double& threshold);
    void take(const Reading& reading);
    void report();
    Board copyBoard();

    Shared shared_;
    double alarmPercent_;  // guarded by the board's lock, like what it is held against
    std::atomic<bool> reports_;
    ZatTaskPool alarms_ = 0;       // the task that says that use has gone above the threshold
    ZatEventSem reportDue_ = 0;    // a report is to be printed
    ZatEventSem reportTimer_ = 0;  // cancel handle of what posts reportDue_
    ZatTimer secondTimer_ = 0;     // closes the second that is being measured
    ZatTaskId tasks_[maxTasks] = {};
    unsigned taskCount_ = 0;
};

#endif
