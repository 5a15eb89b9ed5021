// The console of the controller's process: the library's, with this program's own commands.
#ifndef WATCH_CONSOLE_H
#define WATCH_CONSOLE_H

#include <signal.h>

#include "controller.h"

// Runs until somebody types EXIT, one of the signals comes, or after some seconds unless they are
// 0. The signals must be blocked.
void runConsole(Controller& controller, const sigset_t& signals, unsigned seconds);

#endif
