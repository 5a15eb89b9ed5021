// What ends the program from outside: Ctrl-C, SIGTERM, or its time.
#ifndef WATCH_STOP_H
#define WATCH_STOP_H

#include <signal.h>

// Blocks the signals, so that they wait for whoever calls waitForStop().
sigset_t blockStopSignals();

// Waits for one of the signals, unless seconds is 0 that long at most.
void waitForStop(const sigset_t& signals, unsigned seconds);

#endif
