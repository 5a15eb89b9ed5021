/* The table of commands; see commands_private.h. */

#include "gen/console/commands_private.h"
#include "gen/console/mask_commands_private.h"
#include "gen/console/menus_private.h"
#include "gen/console/tape_private.h"

static void showCommands(GenCommandLine& line) {
    line.then = GenThen::ShowCommands;
}

static void showMenus(GenCommandLine& line) {
    line.then = GenThen::ShowMenus;
}

static void end(GenCommandLine& line) {
    if (genTapeRuns())
        genSay("Cannot quit from record/play mode\n");
    else
        line.then = GenThen::End;
}

/* In the order of the listing. */
static constexpr GenCommand commands[] = {
    {"?", showCommands, nullptr},
    {"P0", genRunSwitch<&zatGENTrcComp::prnmask, 0>, " P0: printf disable  P1: printf enable\n"},
    {"P1", genRunSwitch<&zatGENTrcComp::prnmask, genAllLevels>, nullptr},
    {"PS", genRunMaskChange<genSetPrn>,
     " PS: printf set (PS cmp lvl ..., PS cmp *, PS * lvl ..., PS * *)\n"},
    {"PC", genRunMaskChange<genClearPrn>,
     " PC: printf clear (PC cmp lvl ..., PC cmp *, PC * lvl ..., PC * *)\n"},
    {"T0", genRunSwitch<&zatGENTrcComp::trcmask, 0>, " T0: trace disable   T1: trace enable\n"},
    {"T1", genRunSwitch<&zatGENTrcComp::trcmask, genAllLevels>, nullptr},
    {"TS", genRunMaskChange<genSetTrc>,
     " TS: trace set (TS cmp lvl ..., TS cmp *, TS * lvl ..., TS * *)\n"},
    {"TC", genRunMaskChange<genClearTrc>,
     " TC: trace clear (TC cmp lvl ..., TC cmp *, TC * lvl ..., TC * *)\n"},
    {"L0", genRunSwitch<&zatGENTrcComp::logmask, 0>, " L0: log disable     L1: log enable\n"},
    {"L1", genRunSwitch<&zatGENTrcComp::logmask, genAllLevels>, nullptr},
    {"LS", genRunMaskChange<genSetLog>,
     " LS: log set (LS cmp lvl ..., LS cmp *, LS * lvl ..., LS * *)\n"},
    {"LC", genRunMaskChange<genClearLog>,
     " LC: log clear (LC cmp lvl ..., LC cmp *, LC * lvl ..., LC * *)\n"},
    {"PM0", genRunSwitch<&zatGENTrcComp::monprnmask, 0>,
     " PM0: prn mon diasble  PM1: prn mon enable\n"},
    {"PM1", genRunSwitch<&zatGENTrcComp::monprnmask, genAllLevels>, nullptr},
    {"PMS", genRunMaskChange<genSetMonPrn>,
     " PMS: log set (PMS cmp lvl ..., PMS cmp *, PMS * lvl ..., PMS * *)\n"},
    {"PMC", genRunMaskChange<genClearMonPrn>,
     " PMC: log clear (PMC cmp lvl ..., PMC cmp *, PMC * lvl ..., PMC * *)\n"},
    {"TM0", genRunSwitch<&zatGENTrcComp::montrcmask, 0>,
     " TM0: trc mon diasble  TM1: trc mon enable\n"},
    {"TM1", genRunSwitch<&zatGENTrcComp::montrcmask, genAllLevels>, nullptr},
    {"TMS", genRunMaskChange<genSetMonTrc>,
     " TMS: log set (TMS cmp lvl ..., TMS cmp *, TMS * lvl ..., TMS * *)\n"},
    {"TMC", genRunMaskChange<genClearMonTrc>,
     " TMC: log clear (TMC cmp lvl ..., TMC cmp *, TMC * lvl ..., TMC * *)\n"},
    {"LM0", genRunSwitch<&zatGENTrcComp::monlogmask, 0>,
     " LM0: log mon diasble  LM1: log mon enable\n"},
    {"LM1", genRunSwitch<&zatGENTrcComp::monlogmask, genAllLevels>, nullptr},
    {"LMS", genRunMaskChange<genSetMonLog>,
     " LMS: log set (LMS cmp lvl ..., LMS cmp *, LMS * lvl ..., LMS * *)\n"},
    {"LMC", genRunMaskChange<genClearMonLog>,
     " LMC: log clear (LMC cmp lvl ..., LMC cmp *, LMC * lvl ..., LMC * *)\n"},
    {"PF", genRunPrintFormat,
     " PF: set printf format (PF I L P T)  TF: set tarce format (TF I L P T)\n"},
    {"TF", genRunTraceFormat, nullptr},
    {"LF", genRunLogFormat, " LF: set log format (LF I L P T)  DL: dump disp len (DL num)\n"},
    {"DL", genRunDumpLines, nullptr},
    {"CMP", genRunComponents, " CMP: show component   MEM: show memory\n"},
    {"MEM", genRunMemory, nullptr},
    {"LRI", genRunMakeRegion, " LRI: init rgn log (LRI rgnid(hex) name num len lck shm)\n"},
    {"LRT", genRunDeleteRegion, " LRT: term rgn log(LRT rgnid(hex,name))\n"},
    {"LLS", genRunListRegions, " LLS: show log list \n"},
    {"LST", genRunStartRegion, " LST: start log (LST, LST name)  LSP: stop log (LSP, LSP name)\n"},
    {"LSP", genRunStopRegion, nullptr},
    {"LP", genRunPrintRegion, " LP: print log (LP, LP log, LP log dir) log=num,name,* dir=L,F\n"},
    {"LFL", genRunSaveRegion, " LFL: create log file (LFL log flname) log=num,name\n"},
    {"LL", genRunLogLines, " LL: set log disp Len     LEXT: add extra log\n"},
    {"LEXT", genRunExtraLogs, nullptr},
    {"LRA", genRunReallocRegion, " LRA: log realloc( LRA name num len lck shm)\n"},
    {"LRMS", genRunSetRegionMask,
     " LRMS: log set (LRMS rgnid(hex,name) lvl, LRMS rgnid(hex,name) *)\n"},
    {"LRMC", genRunClearRegionMask,
     " LRMC: log clear (LRMC rgnid(hex,name) lvl, LRMC rgnid(hex,name) *)\n"},
    {"SCHED", genRunScheduler, " SCHED: set sched policy (SCHED plcy) plcy=O-OTHER,F-FIFO,R-RR\n"},
    {"PRTY", genRunPriority,
     " PRTY: set task priority (PRTY tid prty plcy) plcy=O-OTHER,F-FIFO,R-RR\n"},
    {"MPT", genRunPartition, " MPT: show mempart (MPT partid(hex), MPT partid B)\n"},
    {"SHM", genRunSharedMemory,
     " SHM: show shared mem (SHM, SHM name) STKON: STKOFF: stack monitor on & off\n"},
    {"STKON", genRunStackMonitorOn, nullptr},
    {"STKOFF", genRunStackMonitorOff, nullptr},
    {"LKON", genRunLockMonitorOn, " LKON: LKOFF: lock monitor on & off\n"},
    {"LKOFF", genRunLockMonitorOff, nullptr},
    {"TPL", genRunPools, " TPL: show task pool (TPL)\n"},
    {"TPLC", genRunChangePool, " TPLC: task pool clear (TPLC no, TPLC no min max rng stp)\n"},
    {"EXEC", genRunProgram,
     " EXEC: exec process (EXEC cmd) TERM: exec terminal (TERM cmd) PENV: print env (PENV)\n"},
    {"TERM", genRunTerminal, nullptr},
    {"PENV", genRunEnvironment, nullptr},
    {"LDL", genRunLoadLibrary,
     " LDL: load lib & call (LDL lib func arg1..) LDLT: load lib & task (LDL lib task arg1..)\n"},
    {"LDLT", genRunLibraryTask, nullptr},
    {"UNLDL", genRunUnloadLibrary,
     " UNLDL: unload lib (UNLDL lib func arg1..) LDLLS: load lib list\n"},
    {"LDLLS", genRunLibraries, nullptr},
    {"CWD", genRunWorkDirectory,
     " CWD: current work dir (CWD)   DIR: list dir file (DIR, DIR dir)\n"},
    {"DIR", genRunListDirectory, nullptr},
    {"CHDIR", genRunChangeDirectory,
     " CHDIR: change dir (CHDIR dir)  MKDIR: make dir (MKDIR dir)\n"},
    {"MKDIR", genRunMakeDirectory, nullptr},
    {"FT", genRunFileTransfer, " FT: file transfer (FT src, FT src dst)\n"},
    {"DMP", genRunDump, " DMP: print dump (DMP addr<hex> len lnum)\n"},
    {"MDF", genRunModify, " MDF: modify memory (MDF addr<hex> size) size = B S or L\n"},
    {"MA", genRunAllocate, " MA: alloc memory (MA size) MF: free memory (MF, MF addr<hex>\n"},
    {"MF", genRunFree, nullptr},
    {"W", genRunWait, " W: wait (W msec)\n"},
    {"ECHO", genRunEcho, nullptr},
    {"PN", genRunProcessName, nullptr},
};

/* Listed behind the menus of the application. */
static constexpr GenCommand ownCommands[] = {
    {"M", showMenus, " M: Menu R: Record  S: Stop  P: Play  EXIT: Exit\n"},
    {"R", genRunRecord, nullptr},
    {"S", genRunStopRecording, nullptr},
    {"P", genRunPlay, nullptr},
    {"EXIT", end, nullptr},
};

template <uint32_t count>
static const GenCommand* find(const GenCommand (&table)[count], const char* word) {
    for (const GenCommand& command : table)
        if (genIsWord(word, command.name)) return &command;
    return nullptr;
}

const GenCommand* genFindCommand(const char* word) {
    const GenCommand* command = find(commands, word);
    return command != nullptr ? command : find(ownCommands, word);
}

template <uint32_t count>
static void list(const GenCommand (&table)[count]) {
    for (const GenCommand& command : table)
        if (command.help != nullptr) genSay("%s", command.help);
}

void genShowCommands() {
    genSay("===== control commands =====\n");
    list(commands);
    if (!genCallMenus(GenMenuKind::Control)) return;
    list(ownCommands);
    genSay("please input control command:\n");
}
