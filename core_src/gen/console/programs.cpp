/* Starting programs, and what surrounds this one. */

#include "gen/console/programs_private.h"

#include "gen/console/commands_private.h"
#include "osw/process.h"

/* Programs that were not seen ending yet; those beyond stay on the system's table to its end. */
static constexpr uint32_t programsKept = 64;
static int32_t programs[programsKept];

void genReapPrograms() {
    for (int32_t& program : programs)
        if (program != 0 && zatOSWWaitProcess(program, 0, nullptr) != ZAT_TIMED_OUT) program = 0;
}

static void keep(int32_t started) {
    for (int32_t& program : programs) {
        if (program != 0) continue;
        program = started;
        return;
    }
}

static void run(const char* command, uint32_t flags) {
    if (*command == '\0') return;
    int32_t process = 0;
    const ZatStatus status = zatOSWCreateProcess(&process, command, nullptr, nullptr, flags);
    if (status == ZAT_OK && process > 0) keep(process);
}

void genRunProgram(GenCommandLine& line) {
    run(line.rest(), 0);
}

void genRunTerminal(GenCommandLine& line) {
    run(line.rest(), ZAT_PROCESS_IN_TERMINAL);
}

void genRunEnvironment(GenCommandLine&) {
    zatOSWShowEnv(genConsole.component, genConsoleLevel);
}

void genRunProcessName(GenCommandLine&) {
    char name[ZAT_PROCESS_NAME_BUFFER_SIZE];
    if (zatOSWGetProcessName(name) == ZAT_OK) genSay("Process Name: %s\n", name);
}
