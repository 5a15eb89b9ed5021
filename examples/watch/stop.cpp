#include "stop.h"

#include <errno.h>
#include <pthread.h>
#include <time.h>

sigset_t blockStopSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signals;
}

void waitForStop(const sigset_t& signals, unsigned seconds) {
    if (seconds == 0) {
        int signal = 0;
        sigwait(&signals, &signal);
        return;
    }
    const timespec limit = {static_cast<time_t>(seconds), 0};
    while (sigtimedwait(&signals, nullptr, &limit) < 0 && errno == EINTR) {
    }
}
