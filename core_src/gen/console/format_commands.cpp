/* How the trace prints, and what it can say about itself. */

#include "gen/console/commands_private.h"
#include "gen/trace/hook.h"
#include "gen/trace/listing.h"
#include "gen/trace/output.h"

/* The decorations that the words ask for. */
static uint32_t readFormat(GenCommandLine& line) {
    uint32_t format = 0;
    while (const char* word = line.nextWord()) {
        if (genIsWord(word, "I")) format |= ZAT_GEN_FORMAT_COMPONENT;
        if (genIsWord(word, "L")) format |= ZAT_GEN_FORMAT_LEVEL;
        if (genIsWord(word, "P")) format |= ZAT_GEN_FORMAT_KERNEL_ID;
        if (genIsWord(word, "T")) format |= ZAT_GEN_FORMAT_THREAD;
    }
    return format;
}

void genRunPrintFormat(GenCommandLine& line) {
    zatGENTrcSetPrnFormat(readFormat(line));
}

void genRunTraceFormat(GenCommandLine& line) {
    zatGENTrcSetTrcFormat(readFormat(line));
}

void genRunLogFormat(GenCommandLine& line) {
    zatGENTrcSetLogFormat(readFormat(line));
}

void genRunDumpLines(GenCommandLine& line) {
    int32_t lines = 0;
    if (genReadNumber(line.nextWord(), lines)) zatGENSetDumpLines(static_cast<uint32_t>(lines));
}

void genRunComponents(GenCommandLine&) {
    zatGENShowComp(genConsole.component, genConsoleLevel);
}

void genRunEcho(GenCommandLine& line) {
    genSay("%s\n", line.rest());
}
