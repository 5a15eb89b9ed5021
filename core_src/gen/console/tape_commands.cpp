/* R, S and P: recording lines, and playing them. */

#include <utility>

#include "gen/console/commands_private.h"
#include "gen/console/tape_private.h"

/* Opens the file that the next word names, or else a line that is asked for; says so when it cannot
 * be opened. */
static GenFile openFile(GenCommandLine& line, const char* question, const char* mode) {
    char answer[ZAT_GEN_COMMAND_LINE_SIZE];
    const char* name = line.nextWord();
    if (name == nullptr) {
        genSay("%s", question);
        name = zatGENGetInput(answer, sizeof answer);
    }
    if (name == nullptr) return nullptr;
    GenFile file = genOpenFile(name, mode);
    if (file == nullptr) genSay("< ERROR > could not open file : %s.\n", name);
    return file;
}

static void refuse(const char* mode) {
    genSay("Cannot enter %s mode\n", mode);
}

void genRunRecord(GenCommandLine& line) {
    if (genTapeRuns()) return refuse("record");
    GenFile file = openFile(line, "Input record file name.\n", "we");
    if (file != nullptr && !genStartRecording(std::move(file))) refuse("record");
}

void genRunStopRecording(GenCommandLine&) {
    if (!genStopRecording()) genSay("Invalid requset - not in record mode\n");
}

/* Asks for a number; false when there is no answer. What is no number is 0. */
static bool ask(const char* question, int32_t& number) {
    genSay("%s", question);
    char answer[ZAT_GEN_COMMAND_LINE_SIZE];
    number = 0;
    if (zatGENGetInput(answer, sizeof answer) == nullptr) return false;
    genReadNumber(answer, number);
    return true;
}

void genRunPlay(GenCommandLine& line) {
    if (genTapeRuns()) return refuse("play");
    GenFile file = openFile(line, "Input play file name.\n", "rbe");
    int32_t step = 0;
    int32_t repeat = 0;
    if (file == nullptr || !ask("Select step mode : 1(Yes) or 0(No)\n", step) ||
        !ask("Select repeat mode : 1(Yes) or 0(No)\n", repeat))
        return;
    const GenPlayModes modes = {step != 0, repeat == 1};
    if (!genStartPlaying(std::move(file), modes)) return refuse("play");
    genSay(">>>> Enter play mode >>>>\n");
    /* Nothing asks for a typed line from now on, and yet one is to pause it. */
    if (modes.repeats && !modes.asksEachLine) genWantLine();
}
