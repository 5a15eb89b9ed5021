/*
 * The process's console: where its lines come from, and how it speaks.
 *
 * One lock guards queue, event and serial, and is held for steps that do not wait; sending and
 * receiving go without it, on handles that the queue calls check themselves. The serial changes
 * when a console is taken away, so that the task that reads standard input, which cannot be called
 * off, notices that it has outlived its console.
 */
#ifndef ZATOSW_GEN_CONSOLE_PRIVATE_H
#define ZATOSW_GEN_CONSOLE_PRIVATE_H

#include <pthread.h>

#include "gen/console/console.h"

struct GenConsole {
    pthread_mutex_t lock;
    ZatMsgQueue queue;  /* of lines; 0: there is no console */
    ZatEventSem wanted; /* posted when a line of standard input is wanted; 0: nobody reads it */
    uint32_t serial;
    uint32_t component; /* under which everything is traced; of the console started last */
};

extern GenConsole genConsole;

/* A line as it came, with a NUL of its own behind it. */
struct GenLine {
    char text[ZAT_GEN_COMMAND_LINE_SIZE + 1];
};

constexpr uint32_t genConsoleLevel = 15;

/* Says something, type 0x102. */
__attribute__((format(printf, 1, 2))) void genSay(const char* format, ...);
/* The same with type 0x101. */
__attribute__((format(printf, 1, 2))) void genAnnounce(const char* format, ...);

/* Has the reader of standard input, if there is one, read a line. False when that fails. */
bool genWantLine();

/* Takes the next line from the queue, having one read if it is empty. False when there is no
 * console, or not any more. */
bool genReceiveLine(GenLine& line);

/* Goes through the program's arguments: queues the commands among them, and tells whether standard
 * input is to be read. */
bool genReadConsoleOptions(bool readsStdin, ZatMsgQueue queue);

/* Starts the task that reads standard input for the console of a serial. */
ZatStatus genStartReader(uint32_t serial);

#endif
