/* The console's loop: shows what there is to type, reads a line, and runs it. */

#include "gen/console/commands_private.h"
#include "gen/console/console_private.h"
#include "gen/console/menus_private.h"
#include "gen/console/programs_private.h"
#include "gen/console/tape_private.h"

/* What is left of a console goes with it, also when its task is deleted in the middle. */
class ConsoleEnd {
  public:
    ConsoleEnd() = default;
    ConsoleEnd(const ConsoleEnd&) = delete;
    ConsoleEnd& operator=(const ConsoleEnd&) = delete;
    ~ConsoleEnd() {
        genStopTape();
        genForgetMenus();
    }
};

/* False when a menu ends the console. */
static bool showMenus() {
    if (!genHasMenu(GenMenuKind::User)) return true;
    genAnnounce("===== commands =====\n");
    if (!genCallMenus(GenMenuKind::User)) return false;
    genAnnounce("please input command:\n");
    return true;
}

/* Reads a line and runs it; tells what comes then. */
static GenThen runLine(const char* name) {
    if (name != nullptr) genSay("%s>", name);
    char text[ZAT_GEN_COMMAND_LINE_SIZE];
    if (zatGENGetInput(text, sizeof text) == nullptr) {
        genSay("< ERROR > during data input.\n");
        return GenThen::End;
    }
    GenCommandLine line(text);
    if (const GenCommand* command = genFindCommand(line.nextWord()))
        command->run(line);
    else
        genCallCommands(text);
    return line.then;
}

static void runConsole(const char* name) {
    const ConsoleEnd end;
    GenThen then = GenThen::ShowMenus;
    while (then != GenThen::End) {
        if (then == GenThen::ShowMenus && !showMenus()) break;
        if (then == GenThen::ShowCommands) genShowCommands();
        genReapPrograms();
        then = runLine(name);
    }
    genStopRecording();
}

ZatStatus zatGENTaskControlLoop(uint32_t, uint32_t component, const char* name,
                                ZatGenMenuFunc userMenu, ZatGenMenuFunc controlMenu,
                                ZatGenCommandFunc command) {
    zatGENAddUserCommandMenu(userMenu);
    zatGENAddCtrlCommandMenu(controlMenu);
    zatGENAddCommandProcess(command);
    genConsole.component = component;
    genAnnounce(">>>>> enter control mode <<<<<\n");
    runConsole(name);
    genAnnounce(">>>>> exit control mode <<<<<\n");
    return ZAT_OK;
}
