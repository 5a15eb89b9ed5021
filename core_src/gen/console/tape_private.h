/*
 * Lines recorded in a file, and lines played from one: one of the two at a time, whoever types.
 *
 * The tape's own lock guards it, and is held while a line is read or written, not while somebody is
 * asked.
 */
#ifndef ZATOSW_GEN_TAPE_PRIVATE_H
#define ZATOSW_GEN_TAPE_PRIVATE_H

#include "gen/console/console_private.h"
#include "gen/file_private.h"

/* How a file is played. */
struct GenPlayModes {
    bool asksEachLine; /* step mode */
    bool repeats;
};

/* Whether a file is recorded or played. */
bool genTapeRuns();

/* Has lines recorded from now on, or played; false when that is going on already. */
bool genStartRecording(GenFile file);
bool genStartPlaying(GenFile file, const GenPlayModes& modes);

/* Ends a recording, and says so when not all of it got into the file; false when there is none. */
bool genStopRecording();

/* Ends whatever runs. */
void genStopTape();

/* Adds a line to the recording, if there is one. */
void genRecordLine(const char* text);

enum class GenPlayed { NotPlaying, Line, Failed };

/* The next line of the file that is played, without blanks at its ends; an empty one where it ends
 * or begins again. In step mode it asks first. */
GenPlayed genPlayLine(GenLine& line);

/* Whether a file is played over and over without a question. What is typed meanwhile is no line for
 * the console: the file is played to its end once more, and no further. */
bool genPausePlaying();

#endif
