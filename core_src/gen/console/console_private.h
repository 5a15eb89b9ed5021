/*
 * The process's console: where its lines come from, and how it speaks.
 *
 * One lock guards all but the component, and is held for steps that do not wait; sending and
 * receiving go without it, on handles that the queue calls check themselves, but for a queue that
 * was made at the address of one that went in that very moment.
 */
#ifndef ZATOSW_GEN_CONSOLE_PRIVATE_H
#define ZATOSW_GEN_CONSOLE_PRIVATE_H

#include <pthread.h>

#include "gen/console/console.h"

struct GenConsole {
    pthread_mutex_t lock;
    ZatMsgQueue queue;  /* of lines; 0: there is no console */
    ZatEventSem wanted; /* posted when a line of standard input is wanted; 0: nobody reads it */
    uint32_t serial;    /* of the console; changes when it is taken away, too */
    uint32_t reader;    /* number of the task that reads standard input; 0: there is none */
    int32_t process;    /* whose task that is: a forked child has it not */
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

bool genConsoleIsThere();

/* Has the reader of standard input, if there is one, read a line. False when that fails. */
bool genWantLine();

/* Takes the next line from the queue. False when there is no console, or not any more. */
bool genTakeLine(GenLine& line);

/* Takes the next line from the queue, having one read if it is empty. False when there is no
 * console, or not any more. */
bool genReceiveLine(GenLine& line);

/* Goes through the program's arguments: queues the commands among them, and tells whether standard
 * input is to be read. */
bool genReadConsoleOptions(bool readsStdin, ZatMsgQueue queue);

/* Starts the task that reads standard input, unless there is one left from an earlier console. */
ZatStatus genStartReader();

#endif
