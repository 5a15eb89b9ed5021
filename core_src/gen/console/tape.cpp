/* Recording command lines, and playing them; see tape_private.h. */

#include "gen/console/tape_private.h"

#include <string.h>

#include <utility>

#include "clb/text.h"
#include "gen/console/words_private.h"

enum class TapeMode { Idle, Records, Plays };

static struct Tape {
    pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
    TapeMode mode = TapeMode::Idle;
    FILE* file = nullptr; /* at the process's end nobody destroys it under a task's hands */
    GenPlayModes modes = {};
    bool pauseAsked = false; /* the next stop line ends it, though it repeats */
} tape;

bool genTapeRuns() {
    const OswLock lock(tape.lock);
    return tape.mode != TapeMode::Idle;
}

static bool start(TapeMode mode, GenFile file, const GenPlayModes& modes) {
    const OswLock lock(tape.lock);
    if (tape.mode != TapeMode::Idle) return false;
    tape.mode = mode;
    tape.file = file.release();
    tape.modes = modes;
    tape.pauseAsked = false;
    return true;
}

bool genStartRecording(GenFile file) {
    return start(TapeMode::Records, std::move(file), {});
}

bool genStartPlaying(GenFile file, const GenPlayModes& modes) {
    return start(TapeMode::Plays, std::move(file), modes);
}

/* Under the lock, out of a mode: gives the file out. */
static GenFile stop() {
    tape.mode = TapeMode::Idle;
    return GenFile(std::exchange(tape.file, nullptr));
}

bool genStopRecording() {
    GenFile file;
    {
        const OswLock lock(tape.lock);
        if (tape.mode != TapeMode::Records) return false;
        file = stop();
    }
    if (!genCloseWritten(std::move(file))) genSay("< ERROR > could not write record file.\n");
    return true;
}

void genStopTape() {
    const OswLock lock(tape.lock);
    stop();
}

void genRecordLine(const char* text) {
    const OswLock lock(tape.lock);
    if (tape.mode == TapeMode::Records) fprintf(tape.file, "%s\n", text);
}

static bool isStopLine(const GenLine& line) {
    return genIsWord(line.text, "S");
}

/* Cuts a line down to what stands between blanks at its ends. */
static void strip(GenLine& line) {
    const char* text = zatCLBStripStr(line.text);
    memmove(line.text, text, strlen(text) + 1);
}

/* Under the lock, at a stop line: begins anew, or ends. Whether it ended. */
static bool beginAnewOrEnd() {
    if (tape.modes.repeats && !tape.pauseAsked) {
        rewind(tape.file);
        return false;
    }
    stop();
    return true;
}

static void sayEnd() {
    genSay(">>>> Exit play mode >>>>\n");
}

/* The answer "q": the line that is shown is not run any more. */
static void quit(GenLine& line) {
    line = {};
    {
        const OswLock lock(tape.lock);
        if (tape.mode == TapeMode::Plays) stop();
    }
    sayEnd();
}

/* The answer "g". */
static void goOn() {
    bool repeats = false;
    {
        const OswLock lock(tape.lock);
        tape.modes.asksEachLine = false;
        repeats = tape.modes.repeats;
    }
    /* A line that is typed pauses it from now on, so somebody must read one. */
    if (repeats) genWantLine();
}

/* Asks what to do with a line until there is an answer that is one. */
static GenPlayed askStep(GenLine& line) {
    genSay(">> command >>  %s\n", line.text);
    for (;;) {
        genSay("=====>> step <<===== (Null:Step, Q:Quit, G:Go)\n");
        GenLine answer;
        /* Wanted once: a line too many would be read ahead of the next question. */
        if (!genWantLine() || !genTakeLine(answer)) return GenPlayed::Failed;
        strip(answer);
        if (genIsWord(answer.text, "q"))
            quit(line);
        else if (genIsWord(answer.text, "g"))
            goOn();
        else if (answer.text[0] != '\0')
            continue;
        return GenPlayed::Line;
    }
}

GenPlayed genPlayLine(GenLine& line) {
    bool ended = false;
    bool asks = false;
    /* A file that is played over and over may hold nothing that waits. */
    if (genTapeRuns()) pthread_testcancel();
    const bool isWanted = genConsoleIsThere();
    {
        const OswLock lock(tape.lock);
        if (tape.mode != TapeMode::Plays) return GenPlayed::NotPlaying;
        if (!isWanted) return GenPlayed::Failed;
        line = {};
        if (fgets(line.text, ZAT_GEN_COMMAND_LINE_SIZE, tape.file) == nullptr)
            return GenPlayed::Failed;
        strip(line);
        if (isStopLine(line)) {
            line = {};
            ended = beginAnewOrEnd();
        } else {
            asks = tape.modes.asksEachLine;
        }
    }
    if (ended) sayEnd();
    return asks ? askStep(line) : GenPlayed::Line;
}

bool genPausePlaying() {
    const OswLock lock(tape.lock);
    const bool repeatsUnasked =
        tape.mode == TapeMode::Plays && tape.modes.repeats && !tape.modes.asksEachLine;
    if (repeatsUnasked) tape.pauseAsked = true;
    return repeatsUnasked;
}
