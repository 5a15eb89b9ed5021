// watch: two processes that watch the machine they run on.
//
// A sampler reads the kernel's figures and sends them through a named queue to a controller, which
// keeps the latest ones on a board in shared memory, reports once a second and whenever somebody
// posts a named event, and raises an alarm when processor use crosses a threshold. Readings and
// trouble are kept in logs in shared memory, which any process prints. Either may be killed and
// started again while the other goes on. They run until Ctrl-C or for a given time; the last one
// removes all that they shared.

#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include "controller.h"
#include "logs.h"
#include "options.h"
#include "sampler.h"
#include "trace.h"

// The signals that end the program wait for the main task alone.
static sigset_t blockStopSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signals;
}

static void waitForStop(const sigset_t& signals, unsigned seconds) {
    if (seconds == 0) {
        int signal = 0;
        sigwait(&signals, &signal);
        return;
    }
    const timespec limit = {static_cast<time_t>(seconds), 0};
    while (sigtimedwait(&signals, nullptr, &limit) < 0 && errno == EINTR) {
    }
}

template <class Part>
static bool runUntilStopped(Part& part, const sigset_t& signals, unsigned seconds) {
    if (!part.start()) return false;
    waitForStop(signals, seconds);
    return true;
}

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
        return runUntilStopped(sampler, signals, options.seconds);
    }
    Controller controller(options.alarmPercent);
    return runUntilStopped(controller, signals, options.seconds);
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
