// watch: a small controller that watches the machine it runs on.
//
// A sampler task reads the kernel's figures and sends them through a message queue to a control
// task; timers drive a report a second; an alarm event fires when processor use crosses a
// threshold. It runs until Ctrl-C or for a given time, and deletes all that it made.

#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <time.h>

#include "controller.h"
#include "options.h"

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

int main(int count, char** words) {
    Options options;
    if (!readOptions(count, words, options)) return 2;
    if (options.help) {
        printHelp(words[0]);
        return 0;
    }
    const sigset_t signals = blockStopSignals();
    if (zatOSWInit() != ZAT_OK) {
        fprintf(stderr, "The library does not come up\n");
        return 1;
    }
    bool running = false;
    {
        Controller controller(options.alarmPercent);
        running = controller.start();
        if (running) waitForStop(signals, options.seconds);
    }
    zatOSWTerm();
    if (running) printf("Stopped; everything that was made is deleted.\n");
    return running ? 0 : 1;
}
