// What the trace asks of region logs: which it makes, and which messages it offers to which.

/* The sources themselves, over logs of the test's own. */
/* NOLINTBEGIN(bugprone-suspicious-include) */
#include "gen/trace/component.cpp"
#include "gen/trace/log_environment.cpp"
#include "gen/trace/output.cpp"
#include "gen/trace/prefix.cpp"
#include "gen/trace/trace_log.cpp"
/* NOLINTEND(bugprone-suspicious-include) */

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "gen/trace/mask.h"
#include "osw/init.h"

static std::map<uint32_t, uint32_t> masks; /**< of the logs that there are */
static std::vector<std::string> asked;

template <class... Arguments>
static void ask(const char* format, Arguments... arguments) {
    char text[300];
    snprintf(text, sizeof text, format, arguments...);
    asked.emplace_back(text);
}

bool genLogExists(uint32_t id) {
    return masks.count(id) != 0;
}
bool genLogTakes(uint32_t id, uint32_t level) {
    return genLogExists(id) && (masks[id] >> level & 1) != 0;
}
void genMakeLog(const zatGENTrcLogDef& log) {
    masks[log.id] = log.mask;
    ask("%x %s %x %d %d %u %u", log.id, log.name, log.mask, static_cast<int>(log.lines),
        static_cast<int>(log.width), log.opt1, log.opt2);
}
void genMakeLog(const zatGENTrcLogDefEx& log) {
    masks[log.id] = log.mask;
    ask("%x %s %x %u %u %u %u %u", log.id, log.name, log.mask, log.arg1, log.arg2, log.arg3,
        log.arg4, log.arg5);
}
void genWriteLog(uint32_t id, const char* text) {
    ask("%x<%s", id, text);
}
void genWriteLog(uint32_t id, const char* prefix, const char* text) {
    ask("%x<%s%s", id, prefix, text);
}

bool oswHasRoom(uint32_t) {
    return true;
}

/* There are none here. */
ZatGenPrintFunc genPrintHook;
ZatGenDumpLogFunc genDumpLogHook;
GenUserNode* genNextUser(GenUserKind, const GenUserNode*) {
    return nullptr;
}

namespace {

using Texts = std::vector<std::string>;

template <class Call>
Texts askedBy(Call call) {
    asked.clear();
    call();
    return asked;
}

TEST(StandardLogs, AreMadeAsTheEnvironmentSays) {
    setenv("GEN_STDLOG_ENV", ",100,,80,STD,more", 1);
    setenv("GEN_ERRLOG_ENV", "500,200", 1);
    setenv("GEN_PERFLOG_ENV", "500,200,abcdefghijklmnopqrst", 1);
    setenv("GEN_MCLOG_ENV", "100,-1,MC/LOG", 1);
    setenv("GEN_MCDUMP_ENV", (std::string(200, '1') + ",2,cut off").c_str(), 1);
    const auto make = [] { genMakeStandardLogs(); };
    EXPECT_EQ(askedBy(make), (Texts{"0 STD ffff 400 120 1 1", "2 abcdefghijklmno ffff 500 200 1 1",
                                    "3 MC/LOG ffff 100 -1 1 1"}));
    EXPECT_FALSE(genExtraLogs);
    setenv("GEN_ERRLOG_ENV", "500,200,ERR", 1);
    EXPECT_EQ(askedBy(make).at(1), "1 ERR ffff 500 200 1 1");
    EXPECT_TRUE(genExtraLogs);
    EXPECT_TRUE(askedBy([] { zatGENAddExtraTraceLog(); }).empty()) << "a placeholder";
}

TEST(UserLogs, AreMadeForRegisteredComponentsWithoutOne) {
    ASSERT_EQ(zatOSWInit(), ZAT_OK);
    zatGENTrcComp mine = {0x4711, 0, 0, 0, 0, 0, 0, 64, "MINE"};
    masks[0x2004] = 0;
    const std::string longName(200, 'n');
    setenv("GEN_USRLOG_ENV",
           ("/osw,200,100/ipc//evt/others,1,2/nobody,1,2/,,mine,,7,8,name,more/osw/gen,1,2," +
            longName + "/clb,,9")
               .c_str(),
           1);
    EXPECT_EQ(askedBy([&] { zatGENAddTraceId(&mine, 1); }),
              (Texts{"2002 osw_LOG ffff 200 100 1 1", "30 ipc_LOG ffff 100 80 1 1",
                     "4711 name ffff 7 8 1 1",
                     "2000 " + longName.substr(0, 127 - strlen("gen,1,2,")) + " ffff 1 2 1 1",
                     "2001 clb_LOG ffff 9 80 1 1"}));
}

TEST(TableLogs, AreMadeUnlessTheyExistOrAreForNobody) {
    masks[7] = 0;
    const zatGENTrcLogDef logs[] = {
        {6, 1, 2, 3, 4, 5, "six"}, {ZAT_GEN_NO_LOG_ID, 1, 1, 1, 1, 1, ""}, {7, 1, 1, 1, 1, 1, ""}};
    EXPECT_EQ(askedBy([&] { zatGENAddTraceLog(logs, 3); }), Texts{"6 six 5 1 2 3 4"});
    const zatGENTrcLogDefEx more[] = {{7, 1, 1, 1, 1, 1, 1, ""}, {8, 1, 2, 3, 4, 5, 6, "eight"}};
    EXPECT_EQ(askedBy([&] { zatGENAddTraceLogEx(more, 2); }), Texts{"8 eight 6 1 2 3 4 5"});
}

Texts logsOf(uint32_t type, uint32_t level) {
    return askedBy([=] { zatGENTrcPrintf(0x2002, type, level, "text"); });
}

TEST(Messages, AreOfferedToTheLogsThatTakeThem) {
    ASSERT_EQ(zatOSWInit(), ZAT_OK);
    const std::string own = "2002<OSW:text\n";
    const std::string standard = "0<OSW:text\n";
    const std::string error = "1<OSW:text\n";
    const std::string performance = "2<OSW:text\n";
    for (const uint32_t type : {2u, 0x101u, 0x102u})
        EXPECT_EQ(logsOf(type, 0), Texts{error}) << "also without masks and logs, type " << type;
    for (const uint32_t type : {1u, 3u, 7u, 0x103u, 0x107u, 4u})
        EXPECT_EQ(logsOf(type, 0x100), Texts{}) << type;
    masks = {{0, 0xFFFD}, {2, 0xFFFB}, {0x2002, 0xFFF7}};  // without levels 1, 2 and 3
    zatGENGetTrcMask(ZAT_GEN_SYSTEM)->logmask = zatGENGetTrcMask(0x2002)->logmask = 0xFFFF;
    for (const uint32_t forwarded : {0u, 1u}) {
        zatGENFwdToRgn = forwarded;
        const auto also = [=](Texts texts, const Texts& others) {
            if (forwarded != 0) texts.insert(texts.begin(), others.begin(), others.end());
            return texts;
        };
        for (const uint32_t type : {1u, 2u, 0x101u, 0x102u}) {
            EXPECT_EQ(logsOf(type, 0x101), also({performance}, {own})) << type;
            EXPECT_EQ(logsOf(type, 0x102), also({}, {standard, own})) << type;
            EXPECT_EQ(logsOf(type, 0x103), also({performance}, {standard})) << type;
            EXPECT_EQ(logsOf(type, 15), Texts{}) << type;
        }
        for (const uint32_t type : {3u, 0x103u}) {
            EXPECT_EQ(logsOf(type, 0x101), Texts{own});
            EXPECT_EQ(logsOf(type, 15), (Texts{standard, own}));
        }
        for (const uint32_t type : {7u, 0x107u}) {
            EXPECT_EQ(logsOf(type, 15), Texts{"2002<text\n"});
            EXPECT_EQ(logsOf(type, 3), Texts{});
        }
    }
    zatGENTrcSetLogFormat(3);
    EXPECT_EQ(logsOf(3, 15).at(0), "0<OSW(8194)-15:text\n");
    const std::string name(200, 'n');
    zatGENGetTrcMask(0x2002)->name = name.c_str();
    EXPECT_EQ(logsOf(2, 0).at(2), "1<" + name.substr(0, 94) + ":text\n");
}

}  // namespace
