// watch: two processes that watch the machine they run on.
//
// A sampler reads the kernel's figures and sends them through a named queue to a controller, which
// keeps the latest ones on a board in shared memory, reports whenever somebody asks by a named
// event, or once a second, and raises an alarm when processor use crosses a threshold. Readings and
// trouble are kept in logs in shared memory, which any process prints. The controller's process has
// a console. Either may be killed and started again while the other goes on. They run until EXIT is
// typed, until Ctrl-C, or for a given time; the last one removes all that they shared.

#include <signal.h>
#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>

#include "console.h"
#include "controller.h"
#include "logs.h"
#include "options.h"
#include "sampler.h"
#include "stop.h"
#include "trace.h"

// Has the controller report, and leaves the rest to it.
static bool askForReport() {
    ZatIpcHandle ask = 0;
    if (!made(zatOSWIpcCreateEventSem("watch.ask", &ask, 0, 0), "event")) return false;
    const bool asked = made(zatOSWIpcPostEventSem(ask), "request");
    zatOSWIpcDeleteEventSem(ask);
    return asked;
}

static bool showLogs(const Options& options) {
    if (options.saveAs != nullptr) return saveReadings(options.saveAs);
    printLogs();
    return true;
}

static bool run(const Options& options, const sigset_t& signals) {
    if (options.role == Role::Ask) return askForReport();
    if (!openLogs()) return false;
    if (options.role == Role::Log) return showLogs(options);
    if (options.role == Role::Sampler) {
        Sampler sampler;
        if (!sampler.start()) return false;
        waitForStop(signals, options.seconds);
        return true;
    }
    Controller controller(options.alarmPercent, options.reports);
    if (!controller.start()) return false;
    runConsole(controller, signals, options.seconds);
    return true;
}

// One process from start to end.
static int runProcess(const Options& options, const sigset_t& signals) {
    chooseLogs();
    if (zatOSWInit() != ZAT_OK) {
        fprintf(stderr, "The library does not come up\n");
        return 1;
    }
    openTrace();
    const bool ran = run(options, signals);
    // Not zatGENTrcTerm(): deleting a shared log stops it for those who still write.
    zatOSWTerm();
    return ran ? 0 : 1;
}

// Both processes. The library comes up in each of them after they have parted: a forked copy of a
// library that is up is of no use.
static int runBoth(Options options, const sigset_t& signals) {
    const pid_t sampler = fork();
    if (sampler < 0) {
        perror("fork");
        return 1;
    }
    options.role = sampler == 0 ? Role::Sampler : Role::Controller;
    if (sampler == 0) {
        if (options.seconds > 0) options.seconds += 2;  // ends by itself if it is left alone
        _exit(runProcess(options, signals));
    }
    const int result = runProcess(options, signals);
    kill(sampler, SIGTERM);
    waitpid(sampler, nullptr, 0);
    return result;
}

int main(int count, char** words) {
    Options options;
    if (!readOptions(count, words, options)) return 2;
    if (options.help) {
        printHelp(words[0]);
        return 0;
    }
    const sigset_t signals = blockStopSignals();
    const int result =
        options.role == Role::Both ? runBoth(options, signals) : runProcess(options, signals);
    if (result == 0 && options.role != Role::Ask && options.role != Role::Log)
        printf("Stopped; everything that was made is deleted.\n");
    return result;
}
