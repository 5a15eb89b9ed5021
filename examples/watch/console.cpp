#include "console.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "stop.h"
#include "trace.h"

static constexpr uint32_t taskStackBytes = 32768;

// The commands are called with nothing but their line.
static Controller* controlled;

static uint32_t showMenu(char*, uint32_t) {
    say(ZAT_GEN_PRINT, levelConsole,
        " READ: latest readings    ALARM: threshold (ALARM percent)\n");
    say(ZAT_GEN_PRINT, levelConsole,
        " SAMPLER: start and stop the sampler (SAMPLER START, SAMPLER STOP)\n");
    say(ZAT_GEN_PRINT, levelConsole, " REPORT: report every second (REPORT ON, REPORT OFF)\n");
    return 0;
}

static bool is(const char* word, const char* other) {
    return word != nullptr && zatCLBCompStrCase(word, other) == 0;
}

static void runAlarm(const char* word) {
    char* end = nullptr;
    const double percent = word == nullptr ? -1.0 : strtod(word, &end);
    if (word != nullptr && end != word && *end == '\0' && percent >= 0.0 && percent <= 100.0)
        controlled->setAlarmPercent(percent);
    say(ZAT_GEN_TRACE, levelConsole, "alarm above %.1f %%\n", controlled->alarmPercent());
}

static void runSampler(const char* word) {
    if (is(word, "START")) controlled->setSampling(true);
    if (is(word, "STOP")) controlled->setSampling(false);
    say(ZAT_GEN_TRACE, levelConsole, "sampler %s\n", controlled->isSampling() ? "runs" : "stands");
}

static void runReport(const char* word) {
    if (is(word, "ON")) controlled->setReporting(true);
    if (is(word, "OFF")) controlled->setReporting(false);
}

// Gets every line that is no command of the library's console.
static void runCommand(char* line) {
    char* rest = nullptr;
    const char* command = zatCLBGetWord(line, &rest);
    if (command == nullptr) return;
    const char* word = zatCLBGetWord(nullptr, &rest);
    if (is(command, "READ"))
        controlled->showReading();
    else if (is(command, "ALARM"))
        runAlarm(word);
    else if (is(command, "SAMPLER"))
        runSampler(word);
    else if (is(command, "REPORT"))
        runReport(word);
    else
        say(ZAT_GEN_TRACE, levelConsole, "No such command: %s; ? lists them, M shows the menu\n",
            command);
}

struct Stop {
    const sigset_t& signals;
    unsigned seconds;
};

// Ends the console from outside, also while it plays a file, when EXIT is refused.
static uint32_t awaitStop(uint32_t word, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                          uint32_t, uint32_t, uint32_t) {
    static constexpr char command[] = "EXIT";
    static constexpr uint32_t patienceMs = 1000;
    const Stop& stop = *reinterpret_cast<const Stop*>(word);
    waitForStop(stop.signals, stop.seconds);
    zatGENSendControlMessage(command, sizeof command);
    zatOSWSleep(patienceMs);
    zatGENTermTaskControl();
    return 0;
}

void runConsole(Controller& controller, const sigset_t& signals, unsigned seconds) {
    controlled = &controller;
    Stop stop = {signals, seconds};
    ZatTaskId task = 0;
    if (!made(zatOSWCreateJoinTask(&task, "stop", ZAT_INHERIT_PRIORITY, taskStackBytes, awaitStop,
                                   1, reinterpret_cast<uint32_t>(&stop), 0, 0, 0, 0, 0, 0, 0, 0, 0),
              "task that waits for a signal"))
        return;
    zatGENStartTaskControl(1, watchComponent, "watch", showMenu, runCommand);
    zatOSWDeleteTask(task);
    zatOSWWaitTask(task, 1);
}
