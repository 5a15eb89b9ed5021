/*
 * Adds a command to the console.
 *
 * Reads:
 *     level 7
 *     level
 *     echo and the console's own commands
 *     exit
 *
 * Prints:
 *     DEMO:>>>>> enter control mode <<<<<
 *     DEMO:===== commands =====
 *     DEMO: LEVEL: set the level (LEVEL, LEVEL metres)
 *     DEMO:please input command:
 *     DEMO:demo>
 *     DEMO:level 7 m
 *     DEMO:demo>
 *     DEMO:level 7 m
 *     DEMO:demo>
 *     DEMO:and the console's own commands
 *     DEMO:demo>
 *     DEMO:>>>>> exit control mode <<<<<
 */
#include <stdlib.h>
#include <zatosw/zatosw.h>

enum { demo = 0x1000, allLevels = 0xFFFF, consoleLevel = 15 };

static zatGENTrcComp component = {
    .id = demo, .prnmask = allLevels, .trcmask = allLevels, .name = "DEMO"};
static int level = 5;

/* Printed at the start and by the command M. */
static uint32_t menu(char* buffer, uint32_t sizeBytes) {
    zatGENTrcPrintf(demo, ZAT_GEN_PRINT, consoleLevel,
                    " LEVEL: set the level (LEVEL, LEVEL metres)\n");
    return 0;
}

/* Gets every line that is no command of the console itself. */
static void command(char* line) {
    char* rest = NULL;
    const char* word = zatCLBGetWord(line, &rest);
    if (word == NULL) return;
    if (zatCLBCompStrCase(word, "LEVEL") != 0) {
        zatGENTrcPrintf(demo, ZAT_GEN_PRINT, consoleLevel, "unknown: %s\n", word);
        return;
    }
    word = zatCLBGetWord(NULL, &rest);
    if (word != NULL) level = atoi(word);
    zatGENTrcPrintf(demo, ZAT_GEN_PRINT, consoleLevel, "level %d m\n", level);
}

int main(void) {
    zatGENAddTraceId(&component, 1);
    zatGENPrnAll(ZAT_GEN_SYSTEM); /* the console speaks through the trace: both gates are opened */
    zatGENTrcAll(ZAT_GEN_SYSTEM);
    /* Reads standard input, until EXIT. */
    zatGENStartTaskControl(1, demo, "demo", menu, command);
    zatOSWTerm();
    return 0;
}
