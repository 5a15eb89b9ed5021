// The logs of both processes, in memory that they share: readings here, and trouble in the standard
// and error logs, which the library makes as the environment says.
#ifndef WATCH_LOGS_H
#define WATCH_LOGS_H

#include "reading.h"

// Sets what the environment leaves open. Before the library comes up.
void chooseLogs();

// Opens the log of readings, or makes it; false, after a message, when that fails. All three go
// with the last process.
bool openLogs();

void logReading(const Reading& reading);

// Prints all logs, oldest record first.
void printLogs();

// Saves the log of readings in a file that zatlog prints; false, after a message, when that fails.
bool saveReadings(const char* path);

#endif
