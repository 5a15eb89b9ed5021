// The trace's settings from the environment, and the trace after its end.

#include "gen/trace/settings.h"

#include "osw/worker.h"

namespace {

std::string masksOf(uint32_t component) {
    const zatGENTrcComp& record = *zatGENGetTrcMask(component);
    std::string result;
    for (const uint16_t mask : {record.prnmask, record.trcmask, record.logmask, record.monprnmask,
                                record.montrcmask, record.monlogmask})
        result += mask == 0xFFFF ? '1' : mask == 0 ? '0' : '-';
    return result;
}

/** The masks of SYSTEM and of another component, '-' for those that are as they were. */
std::string apply(const std::string& keywords) {
    for (const uint32_t id : {ZAT_GEN_SYSTEM, 0x2002u})
        *zatGENGetTrcMask(id) = {id, 7, 7, 7, 7, 7, 7, 64, "any"};
    setenv("GEN_TRACESET_ENV", keywords.c_str(), 1);
    EXPECT_EQ(zatGENChangeTraceSetting(), ZAT_OK);
    return masksOf(ZAT_GEN_SYSTEM) + " " + masksOf(0x2002);
}

TEST(TraceSettings, ForwardMessagesAndChangeTheMasksThatTheirKeywordsName) {
    EXPECT_EQ(zatGENFwdToRgn, 0u);
    setenv("GEN_LOG_ENV", "", 1);
    ASSERT_EQ(zatGENTrcInit(), ZAT_OK);
    EXPECT_EQ(nameOf(pthread_self()), "mainThread");
    EXPECT_EQ(zatGENFwdToRgn, 1u);
    EXPECT_EQ(zatGENChangeTraceSetting(), ZAT_OK) << "not set";
    size_t at = 0;
    for (const std::string channel : {"PRN", "TRC", "LOG", "MONPRN", "MONTRC", "MONLOG"}) {
        const auto changed = [](size_t position, char value) {
            return std::string("------ ------").replace(position, 1, 1, value);
        };
        const bool acts = channel == "TRC" || channel == "MONTRC";
        EXPECT_EQ(apply(channel + "ENABLE"), changed(at, '1'));
        EXPECT_EQ(apply(channel + "DISABLE"), changed(at, '0'));
        EXPECT_EQ(apply(channel + "FULL"), changed(7 + at, acts ? '1' : '-'));
        EXPECT_EQ(apply(channel + "CLEAN"), changed(7 + at, acts ? '0' : '-'));
        ++at;
    }
    EXPECT_EQ(apply("PRNCLEAN/TRCFULLX/MONLOGDISABLE"), "-----0 -1----");
    EXPECT_EQ(apply("/trcfull//TRCENABL/ TRCFULL/LOGENABLE/"), "--1--- ------");
    EXPECT_EQ(apply("PRNENABLE TRCENABLE"), "1----- ------") << "one keyword an entry";
}

std::string called;

template <char name>
void note(uint32_t, uint32_t, uint32_t, const char*) {
    called += name;
}

std::string callsOfAMessage() {
    zatGENMonLogAll(ZAT_GEN_SYSTEM);
    zatGENMonLogFull();
    called.clear();
    zatGENTrcPrintf(0x4711, ZAT_GEN_LOG | ZAT_GEN_MONITOR, 1, "text");
    return called;
}

TEST(TraceTerm, LeavesATraceThatCanBeUsedAgain) {
    ASSERT_EQ(zatGENTrcInit(), ZAT_OK);
    zatGENTrcComp mine[] = {{0x4711, 0, 0, 0, 0, 0, 0, 64, "MINE"},
                            {ZAT_GEN_SYSTEM, 0, 0, 0, 0, 0, 0, 64, "MY SYSTEM"}};
    for (const auto function : {note<'1'>, note<'2'>, note<'3'>})
        ASSERT_EQ(zatGENAddUserLogPrintFunc(function), ZAT_OK);
    ASSERT_EQ(zatGENAddTraceId(mine, 2), ZAT_OK);
    EXPECT_EQ(callsOfAMessage(), "123");
    EXPECT_EQ(mine[1].monlogmask, 0xFFFF) << "the new SYSTEM";
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(zatGENTrcTerm(), ZAT_OK);
        mine[0] = mine[1] = {};
        EXPECT_EQ(zatGENGetTrcMaskById(0x4711), nullptr);
        EXPECT_EQ(zatGENGetTrcMaskById(0x2002), nullptr);
        EXPECT_EQ(callsOfAMessage(), "1") << "the first of the list";
        EXPECT_EQ(mine[1].monlogmask, 0);
        ASSERT_EQ(zatGENAddUserLogPrintFunc(note<'4'>), ZAT_OK);
        EXPECT_EQ(callsOfAMessage(), "14");
        mine[0] = {0x4711, 0, 0, 0, 0, 0, 0, 64, "MINE"};
        ASSERT_EQ(zatGENAddTraceId(mine, 1), ZAT_OK);
        EXPECT_EQ(zatGENGetTrcMask(0x4711), mine);
    }
}

TEST(TraceTerm, BeforeAnythingElseTakesNothingDown) {
    setenv("GEN_STDLOG_ENV", "400,120,STD", 1);
    EXPECT_EQ(zatGENTrcTerm(), ZAT_OK);
    EXPECT_EQ(zatOSWInit(), ZAT_OK);
    EXPECT_EQ(zatGENGetTrcMask(0x2002)->id, 0x2002u);
    EXPECT_EQ(zatGENStopRgnLog(0), ZAT_OK) << "its lock and its ring are there";
    EXPECT_EQ(zatGENCreateRgnLog(5, "own", 0, 64, 0, 0, 0, 0), ZAT_OK);
    EXPECT_EQ(zatGENTrcTerm(), ZAT_OK);
    EXPECT_EQ(zatGENStopRgnLog(5), ZAT_GEN_NO_LOG);
}

}  // namespace
