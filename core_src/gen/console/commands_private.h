/*
 * The console's commands: one table of names, what runs them, and help.
 *
 * A command ends without a word where an argument is missing or no number.
 */
#ifndef ZATOSW_GEN_COMMANDS_PRIVATE_H
#define ZATOSW_GEN_COMMANDS_PRIVATE_H

#include "gen/console/words_private.h"

using GenCommandHandler = void (*)(GenCommandLine& line);

struct GenCommand {
    const char* name;
    GenCommandHandler run;
    const char* help; /* its line of the listing; null where another command's names it, too */
};

/* The command of a word; null when it is none, or there is no word. */
const GenCommand* genFindCommand(const char* word);

/* The listing: the commands, the application's control menus, the console's own commands. */
void genShowCommands();

/* Trace: format_commands.cpp; its switches and masks are in mask_commands_private.h. */
void genRunPrintFormat(GenCommandLine& line);
void genRunTraceFormat(GenCommandLine& line);
void genRunLogFormat(GenCommandLine& line);
void genRunDumpLines(GenCommandLine& line);
void genRunComponents(GenCommandLine& line);
void genRunEcho(GenCommandLine& line);

/* region_commands.cpp */
void genRunMakeRegion(GenCommandLine& line);
void genRunReallocRegion(GenCommandLine& line);
void genRunDeleteRegion(GenCommandLine& line);
void genRunListRegions(GenCommandLine& line);
void genRunStartRegion(GenCommandLine& line);
void genRunStopRegion(GenCommandLine& line);
void genRunPrintRegion(GenCommandLine& line);
void genRunSaveRegion(GenCommandLine& line);
void genRunLogLines(GenCommandLine& line);
void genRunExtraLogs(GenCommandLine& line);
void genRunSetRegionMask(GenCommandLine& line);
void genRunClearRegionMask(GenCommandLine& line);

/* task_commands.cpp */
void genRunScheduler(GenCommandLine& line);
void genRunPriority(GenCommandLine& line);
void genRunStackMonitorOn(GenCommandLine& line);
void genRunStackMonitorOff(GenCommandLine& line);
void genRunLockMonitorOn(GenCommandLine& line);
void genRunLockMonitorOff(GenCommandLine& line);
void genRunPools(GenCommandLine& line);
void genRunChangePool(GenCommandLine& line);
void genRunWait(GenCommandLine& line);

/* memory_commands.cpp, modify_command.cpp */
void genRunMemory(GenCommandLine& line);
void genRunPartition(GenCommandLine& line);
void genRunSharedMemory(GenCommandLine& line);
void genRunDump(GenCommandLine& line);
void genRunAllocate(GenCommandLine& line);
void genRunFree(GenCommandLine& line);
void genRunModify(GenCommandLine& line);

/* programs.cpp, library_commands.cpp */
void genRunProgram(GenCommandLine& line);
void genRunTerminal(GenCommandLine& line);
void genRunEnvironment(GenCommandLine& line);
void genRunProcessName(GenCommandLine& line);
void genRunLoadLibrary(GenCommandLine& line);
void genRunLibraryTask(GenCommandLine& line);
void genRunUnloadLibrary(GenCommandLine& line);
void genRunLibraries(GenCommandLine& line);

/* directory_commands.cpp, file_transfer.cpp */
void genRunWorkDirectory(GenCommandLine& line);
void genRunListDirectory(GenCommandLine& line);
void genRunChangeDirectory(GenCommandLine& line);
void genRunMakeDirectory(GenCommandLine& line);
void genRunFileTransfer(GenCommandLine& line);

/* tape_commands.cpp */
void genRunRecord(GenCommandLine& line);
void genRunStopRecording(GenCommandLine& line);
void genRunPlay(GenCommandLine& line);

#endif
