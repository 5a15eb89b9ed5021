// What the commands do: to what is traced and logged, tasks, memory, libraries and directories.

#include <sys/wait.h>

#include "osw/ipc/mem_part.h"
#include "osw/mem_part_private.h"
#include "session.h"

namespace {

using namespace std::string_literals;

TEST_F(Console, SwitchesAndMasksChannels) {
    const std::pair<std::string, uint16_t zatGENTrcComp::*> channels[] = {
        {"P", &zatGENTrcComp::prnmask},     {"t", &zatGENTrcComp::trcmask},
        {"L", &zatGENTrcComp::logmask},     {"pM", &zatGENTrcComp::monprnmask},
        {"Tm", &zatGENTrcComp::montrcmask}, {"LM", &zatGENTrcComp::monlogmask}};
    const std::tuple<const char*, uint16_t, uint16_t> steps[] = {
        {"c * * 4", 0, 0},
        {"s ipc 1 2 99 x -1 16 15", 0x8006, 0},
        {"S 48 3", 0x800E, 0},
        {"c IPC x 2 3", 0x8002, 0},
        {"s -1 *", 0x8002, -1},
        {"s * * 4", -1, -1},
        {"c ipc * 4", 0, -1},
        {"c nosuch 5", 0, -1},
        {"C * 16 x 0 15", 0, 0x7FFE},
        {"s * 0 4", 0x11, 0x7FFF}};
    zatGENTrcComp &system = *zatGENGetTrcMask(0), before = system;
    for (const auto& [name, mask] : channels) {
        for (const auto& [rest, ofIpc, ofOthers] : steps) {
            session(name + rest);
            EXPECT_EQ(zatGENGetTrcMask(0x30)->*mask, ofIpc) << name << rest;
            EXPECT_EQ(zatGENGetTrcMask(0xFFFFFFFF)->*mask, ofOthers) << name << rest;
        }
        for (const uint16_t value : {0xFFFF, 0}) {
            session(name + (value == 0 ? "0" : "1"));
            before.*mask = value;
            EXPECT_EQ(memcmp(&system, &before, sizeof before), 0) << name << value;
        }
        system.*mask = before.*mask = 0xFFFF;
    }
    session("PF i L X p T\ntf l,p T\nLF P\nlf\nDL 7\nDL x\nLL 3\nll");
    EXPECT_TRUE(zatGENTrcGetPrnFormat() == 15 && zatGENTrcGetTrcFormat() == 8 &&
                zatGENTrcGetLogFormat() == 0 && zatGENGetDumpLines() == 7 && zatGENLogLine == 3);
}

/** Regions 1, 3 and 30 after some lines: the mask, whether it runs, and is locked. */
std::string regions(const std::string& lines) {
    session(lines);
    std::string states;
    for (const int32_t id : {1, 3, 30}) {
        const RgnLogInfo& info = *zatGENGetRgnLogInfo(id);
        RgnLogHeader header = {};
        zatGENGetRgnHeader(id, &header);
        states += format("%x%s%s%s%s ", info.mask, header.size == 200 ? "s" : "",
                         header.run ? "r" : "", info.lock ? "l" : "", info.shm ? "S" : "");
    }
    return states;
}

TEST_F(Console, ManagesRegionLogs) {
    EXPECT_EQ(regions("LRI 0x1e log 4 8 TRUE no\nLRI 3 1e 99 0 false x\nLRI\nLRI 1 x 99 0 true\n"
                      "LRI 1 x 99 0 x x\nLRI 1f x 99 0 x x\nLRT 1f"),
              "ffff ffff ffffl ");
    EXPECT_EQ(regions("LRMC log 3\nLRMC 1e 15 7\nlrmc 1e 16\nLRMC log x\nLRMC 30 0\nLRMC"),
              "ffff ffff 7ff7l ");
    EXPECT_EQ(regions("LRMC 3 *\nlrms 1E *\nLRMS 3 2\nLRMC 1 4"), "ffef 4 ffffl ");
    EXPECT_EQ(regions("LST 3\nLST log\nLST 1e"), "ffefr 4r ffffrl ");
    EXPECT_EQ(regions("LSP\nlsp log\nLSP nosuch"), "ffef 4r ffffl ");
    EXPECT_EQ(regions("LST\nLST log"), "ffefr 4r ffffrl ");
    const ZatClock time = {};
    for (const auto& [id, text] : {std::pair(30, "#"), {30, "12345678%"}, {30, "%"}, {1, "@"}})
        zatGENWriteRgnLog(id, &time, text, strlen(text));
    std::string all = session("LP log F\nLP 30 x\nLP\nlp * f\nLP no\nll 1\nLP log\nq");
    std::erase_if(all, [](char letter) { return strchr("#%@", letter) == nullptr; });
    EXPECT_EQ(all, "#%%#@@#%%");
    EXPECT_NE(session("LFL log file\nLFL\nLFL 30\nLLS").find(" log ffff "), std::string::npos);
    EXPECT_GT(std::filesystem::file_size("file"), 20u + 28);
    EXPECT_EQ(regions("LRMC log 2\nLRA log 200 16 false x\nLRT 3\nLRT no"), "ffefr 0 fffbs ");
    EXPECT_TRUE(session("LLS").find("     31 ") == std::string::npos) << said;
}

TEST_F(Console, SchedulesTasksAndChangesPools) {
    const std::string now = "Current default schedule policy = ", task = "PRTY mainThread ",
                      id = std::to_string(pthread_self()), line = "Task (" + id + ") priority = ",
                      negative = std::to_string(static_cast<int32_t>(pthread_self()));
    EXPECT_EQ(session("SCHED\nsched r\nSCHED X\nSCHED"), now + "FIFO\n" + now + "RR\n");
    EXPECT_EQ(
        session(task + "\nprty " + id + "\nPRTY " + negative + "\nPRTY 4096\nPRTY 0\nPRTY -1 5 F"),
        line + "0\n" + line + "0\n" + line + "0\n");
    if (zatOSWSetTaskPriorityWithScheduler(pthread_self(), 7, SCHED_FIFO) == ZAT_OK) {
        EXPECT_EQ(session(task + "9\n" + task + "x\n" + task + "8 x\n" + task), line + "9\n");
        EXPECT_EQ(infoOf(0).policy, SCHED_RR);
    }
    ZatTaskPool pool = 0;
    ASSERT_EQ(zatOSWCreateTaskPool(&pool, "pool", -1, 16384, 0, 3, 9, 8, 2), ZAT_OK);
    for (const std::string words : {"0", "0 x 7", "0 1 4 x", "1 1"})
        EXPECT_NE(session("tplc " + words + "\nTPL").find(" 9     8     2 "), std::string::npos);
    EXPECT_NE(session("TPLC 0 2 -1 6 3 x\nTPL").find("    2    -1     6     3"), std::string::npos);
    EXPECT_NE(session("TPLC 0 1\nTPL").find("    1    -1 "), std::string::npos) << said;
}

char cells[200] = "0123456789abcdefgh";  // looked at and changed by address

std::string hex(uint32_t offset) {
    char text[9];
    snprintf(text, sizeof text, "%08x", wordOf(cells) + offset);
    return text;
}

TEST_F(Console, LooksAtMemoryAndChangesIt) {
    const std::string dump = "DMP " + hex(0), text = "3031 3233 3435 3637 3839 6162 6364 6566",
                      first = hex(0) + "| " + text + " | 0123456789abcdef\n",
                      all = first + hex(16) + "| 6768" + std::string(36, ' ') + "| gh\n";
    EXPECT_EQ(session("DL 1\nDMP x 4\n" + dump + "\n" + dump + " -5\n" + dump + " 18 9"), all);
    EXPECT_EQ(session(dump + " 18\nq"), first + ::prompt);
    const auto at = [](uint32_t offset, const std::string& value) {
        return " " + hex(offset) + " | " + value + " ->\n";
    };
    const std::string prompt = "Modify mode <N-next P-previous Q-quit>\n";
    EXPECT_EQ(session("MDF " + hex(0) + " B\nn\n0xfe\nP\nq\nmdf " + hex(20) + " S\n1234\nQ\nMDF " +
                          hex(28) + " l\nAABBCCDD\np\nx\n",
                      at(28, "aabbccdd")),
              prompt + at(0, "30") + at(1, "31") + at(2, "32") + at(1, "fe") + prompt +
                  at(20, "0000") + at(22, "0000") + prompt + at(28, "00000000") +
                  at(32, "00000000") + at(28, "aabbccdd") + "< ERROR > during data input.\n");
    static const uint32_t constant = 0;
    for (const std::string& line : {"DMP 8 1"s, "DMP fffffff0 32"s, "MPT 10 B"s, "MF 8"s,
                                    format("mdf %x L\n1\n2", wordOf(&constant))})
        EXPECT_NE(session(line).find("< ERROR > no memory at "), std::string::npos) << line;
    const uint32_t held = heldMemory();
    EXPECT_TRUE(session("MA 40\nMA\nma x\nMA 8").starts_with("<OK> zatOSWAllocMem() size=40 "));
    EXPECT_TRUE(heldMemory() > held && heldMemory() < held + 40) << "the first one is free";
    session("MF");
    EXPECT_EQ(heldMemory(), held);
}

TEST_F(Console, ShowsPartitionsButNotWhatOnlyMightBeOne) {
    alignas(16) static char area[256];
    ZatPartition partition = 0;
    ZatIpcHandle shared = 0;
    ASSERT_EQ(zatOSWSysCreateMemPart(&partition, area, sizeof area), ZAT_OK);
    ASSERT_EQ(zatOSWIpcCreateMemPart(&shared, "shared", 4096), ZAT_OK);
    char line[20];
    snprintf(line, sizeof line, "MPT %08x b", partition);
    const std::pair<std::string, const char*> cases[] = {
        {line, "      256      224\n"},
        {std::string(line, 12), "\nmem part info: 0x"},
        {"SHM", "     4096        0        0\n"},
        {"SHM shared", "no memory block allocated"},
        {"shm no", " <shared memory partition not found>\n"},
        {"MEM", "mainThread"},
        {"MA -1\nW 1", "<ERROR> zatOSWAllocMem() rc=0xffffffff\n"}};
    for (const auto& [command, text] : cases)
        EXPECT_NE(session(command).find(text), std::string::npos) << command << "\n" << said;
    auto* first = reinterpret_cast<MemBlockTag*>(area + memFirstBlock);
    for (const uint32_t size :
         {0u, 8u * 1024, 12u}) { /* none, beyond the end, no unit's multiple */
        const MemBlockTag whole = *first;
        first->sizeFlags = size;
        EXPECT_EQ(session(line), "< ERROR > no partition at " + std::string(line + 4, 8) + ".\n");
        *first = whole;
    }
}

TEST_F(Console, CallsLibrariesAndProgramsAndWorksInDirectories) {
    static const char format[] = "%d %d %d %d %d %d %d %d";
    std::ostringstream call;
    call << " libc.so.6 sprintf " << static_cast<int32_t>(wordOf(cells)) << ' '
         << static_cast<int32_t>(wordOf(format));
    const std::string failed = "< ERROR > failed to ", end = " in library rc = ffffffff\n";
    const std::string lines =
        "LDL" + call.str() + " 1 -2 3 4 5 6 7 8 9\nldl /no\nLDLT libc.so.6 no";
    EXPECT_EQ(session(lines),
              failed + "load" + end.substr(3) + failed + "get address procedure" + end);
    EXPECT_STREQ(cells, "1 -2 3 4 5 6 7 8");
    session("LDLT" + call.str() + " 9 8");
    EXPECT_TRUE(waitFor([] { return !isRegistered("sprintf"); }));
    EXPECT_STREQ(cells, "9 8 0 0 0 0 0 0");
    setenv("FRAMEWORKROOT", "/no", 1);
    EXPECT_TRUE(session("MKDIR x\nCHDIR x\ncwd\nexec  /bin/mkdir b").ends_with("/x\n"));
    EXPECT_TRUE(waitFor([] { return session("dir").find(" b\n") != std::string::npos; }));
    EXPECT_TRUE(waitFor([] {
        session("");
        siginfo_t ended;
        return waitid(P_ALL, 0, &ended, WEXITED | WNOHANG | WNOWAIT) == -1;
    })) << "programs that have ended are waited for";
    EXPECT_TRUE(session("UNLDL libc.so.6\nUNLDL x\nLDLLS").ends_with(" < no library loaded >\n"));
}

}  // namespace
