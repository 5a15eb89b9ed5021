// What the trace asks of region logs: which it makes, which messages they get, and their files.

#include <bit>
#include <iterator>

#include "gen/trace/captured.h"
#include "gen/trace/listing.h"

namespace {

/** What a log was made with: name, mask, size, longest record, lock, sharing, format. */
std::string logOf(int32_t id) {
    const RgnLogInfo& info = *zatGENGetRgnLogInfo(id);
    if (info.id != id) return "none";
    return format("%s %x %u %d %d %u %u%s", info.name, info.mask, info.header->size,
                  info.header->maxEntry, info.lock != 0, info.shm, info.fmt,
                  info.header->run != 0 ? "" : " stopped");
}

TEST(Environment, MakesStandardLogsAndThoseOfComponentsWithoutOne) {
    /* Of an entry, 127 characters count. */
    const std::string kept = "gen,9" + std::string(121, ',') + "5";
    const std::string cut = "clb,9" + std::string(122, ',') + "5";
    const std::pair<const char*, std::string> variables[] = {
        {"GEN_STDLOG_ENV", ",100,,80,STD,more"},
        {"GEN_ERRLOG_ENV", "500,200"},
        {"GEN_PERFLOG_ENV", "500,200,abcdefghijklmnop"},
        {"GEN_MCLOG_ENV", "104,-1,MC"},
        {"GEN_USRLOG_ENV",
         "/osw,200,100/osw,1,1/ipc//nobody,1,2/,,mine,,7,8,name,more/" + kept + "/" + cut}};
    for (const auto& [variable, value] : variables)
        setenv(variable, value.c_str(), 1);
    zatGENTrcComp mine = {0x4711, 0, 0, 0, 0, 0, 0, 64, "MINE"};
    ASSERT_EQ(zatOSWInit(), ZAT_OK);
    EXPECT_EQ(logOf(0x4711), "none");
    zatGENAddTraceId(&mine, 1);
    const std::pair<int32_t, const char*> logs[] = {{0, "STD ffff 56000 120 1 1 0"},
                                                    {1, "none"},
                                                    {2, "abcdefghijklmno ffff 110000 200 1 1 0"},
                                                    {3, "MC ffff 104 0 1 1 1"},
                                                    {4, "none"},
                                                    {0x2002, "osw_LOG ffff 24000 100 1 1 0"},
                                                    {0x30, "ipc_LOG ffff 10000 80 1 1 0"},
                                                    {0x4711, "name ffff 200 8 1 1 0"},
                                                    {0x2000, "gen_LOG ffff 232 5 1 1 0"},
                                                    {0x2001, "clb_LOG ffff 904 80 1 1 0"}};
    for (const auto& [id, log] : logs)
        EXPECT_EQ(logOf(id), log);
}

TEST(Tables, MakeLogsUnlessTheyExist) {
    const zatGENTrcLogDef logs[] = {{6, 2, 12, 1, 0, 5, "six"},
                                    {ZAT_GEN_NO_LOG_ID, 1, 1, 1, 0, 1, ""},
                                    {6, 1, 1, 0, 0, 1, "again"}};
    const zatGENTrcLogDefEx more[] = {{6, 1, 1, 1, 1, 1, 1, "again"},
                                      {8, 40, 3, 1, 0, 1, 6, "eight"},
                                      {9, 40, 3, 0, 1, 0, 6, "nine"}};
    EXPECT_EQ(zatGENAddTraceLog(logs, 3) | zatGENAddTraceLogEx(more, 3), 0u);
    EXPECT_EQ(logOf(6), "six 5 64 12 1 0 0");
    EXPECT_EQ(logOf(8), "eight 6 40 3 1 0 1");
    EXPECT_EQ(logOf(9), "nine 6 40 3 1 1 0");
}

/** The logs that a message comes to, a letter each: standard, error, performance, own. */
std::string logsOf(uint32_t type, uint32_t level, uint32_t id = component) {
    static int number;
    zatGENTrcPrintf(id, type, level, "%d", ++number);
    const std::string text = (type & 7) == 7 ? "" : id == component ? "OSW:" : "SYSTEM:";
    std::string logs;
    for (const auto& [log, letter] : {std::pair(0, 'S'), {1, 'E'}, {2, 'P'}, {0x2002, 'O'}})
        for (const std::string& record : recordsOf(log))
            if (record == text + std::to_string(number) + "\n") logs += letter;
    return logs;
}

TEST(Messages, AreWrittenIntoTheLogsThatTakeThem) {
    ASSERT_EQ(zatOSWInit(), ZAT_OK);
    for (const auto& [id, mask] :
         {std::pair(0, 0xFFFDu), {1, 0u}, {2, 0xFFFBu}, {0x2002, 0xFFF7u}}) {
        ASSERT_EQ(zatGENCreateRgnLog(id, "log", mask, 8000, 0, 1, 0, 0), ZAT_OK);
        ASSERT_EQ(zatGENStartRgnLog(id), ZAT_OK);
    }
    zatGENGetTrcMask(ZAT_GEN_SYSTEM)->logmask = zatGENGetTrcMask(component)->logmask = 0xFFFF;
    const std::vector<uint32_t> printed = {1, 2, 0x101, 0x102}, logged = {3, 0x103},
                                direct = {7, 0x107};
    /* By types and level: the logs, and those when messages are forwarded. */
    const std::tuple<std::vector<uint32_t>, uint32_t, const char*, const char*> cases[] = {
        {{2, 0x101, 0x102}, 0, "E", "SEO"},
        {{1}, 0, "", "SO"},
        {printed, 0x101, "P", "PO"},
        {printed, 0x102, "", "SO"},
        {printed, 0x103, "P", "SP"},
        {printed, 15, "", ""},
        {logged, 0x101, "O", "O"},
        {logged, 15, "SO", "SO"},
        {direct, 15, "O", "O"},
        {direct, 3, "", ""},
        {{0, 4, 0x104}, 0x100, "", ""}};
    for (const bool isForwarded : {false, true}) {
        if (isForwarded) zatGENForwardTrcMsgToRgnLog();
        for (const auto& [types, level, logs, forwarded] : cases)
            for (const uint32_t type : types)
                EXPECT_EQ(logsOf(type, level), isForwarded ? forwarded : logs)
                    << std::hex << "type " << type << " level " << level;
    }
    EXPECT_EQ(logsOf(3, 14, ZAT_GEN_SYSTEM), "S") << "its own log is the standard one";
    uint32_t head[4] = {}, length = 0, position = ZAT_GEN_OLDEST;
    zatGENReadRgnLog(0, head, sizeof head, &length, &position);
    ZatClock now;
    zatOSWGetClock(&now);
    EXPECT_LE(now.seconds - head[2], 60u) << "the time of the first one";
    zatGENTrcSetLogFormat(3);
    zatGENTrcPrintf(component, 3, 0x10F, "text");
    EXPECT_EQ(recordsOf(0).back(), "OSW(8194)-15:text\n");
    const std::string name(200, 'n');
    zatGENGetTrcMask(component)->name = name.c_str();
    zatGENTrcPrintf(component, 2, 0, "text");
    EXPECT_EQ(recordsOf(1).back(), name.substr(0, 94) + ":text\n");
}

constexpr int32_t region = 7;

ZatStatus save(const char* name) {
    const std::string path = std::string(getenv("TEST_TMPDIR")) + "/" + name;
    return static_cast<ZatStatus>(zatGENTrcCreateLogFile(region, path.c_str()));
}

/** Saves the region, and gives the records in the file. */
std::string saved() {
    EXPECT_EQ(save("log"), ZAT_OK);
    std::ifstream file(std::string(getenv("TEST_TMPDIR")) + "/log", std::ios::binary);
    ZatGenLogFileHead head = {};
    file.read(reinterpret_cast<char*>(&head), sizeof head);
    EXPECT_EQ(std::string(head.mark, 2), std::endian::native == std::endian::big ? "BB" : "LL");
    EXPECT_TRUE(head.version == 1 && head.clockOffset == 12);
    EXPECT_EQ(head.areaSize, zatGENGetRgnLogInfo(region)->header->size);
    ZatClock now;
    zatOSWGetClock(&now);
    EXPECT_LE(now.seconds - head.time.seconds, 60u);
    return {std::istreambuf_iterator<char>(file), {}};
}

/** The text tells its own length. */
void write(uint32_t length) {
    const ZatClock time = {length, 1};
    zatGENWriteRgnLog(region, &time, std::string(length, static_cast<char>(length)).data(), length);
}

TEST(LogFile, HoldsTheRecordsOfOneMoment) {
    for (const int32_t size : {40, 264, 2048}) {
        makeLog(region, size);
        EXPECT_EQ(saved(), "");
        Shared<uint32_t> written;
        Shared<int> ends;
        Worker writer([&] {
            while (ends == 0)
                write(++written % 20 + 1);
            return ZatStatus{ZAT_OK};
        });
        for (int i = 0; i < (isSlow() ? 10 : 200) && !HasFailure(); ++i)
            for (const std::string& text : recordsIn(saved()))
                EXPECT_EQ(text, std::string(text.size(), static_cast<char>(text.size())));
        EXPECT_TRUE(waitFor([&] { return written > 100; }));
        ends = 1;
        writer.join();
        EXPECT_EQ(saved(), bytesOf(region));
        zatGENDeleteRgnLog(region);
    }
}

TEST(LogFile, SaysWhenItCannotBeWritten) {
    EXPECT_EQ(save("log"), 0xFFFFFFFF) << "no region";
    makeLog(region);
    EXPECT_EQ(save("no/directory"), 0xFFFFFFFF);
    for (const uint32_t length : {0, 7000}) {  // less and more than a buffer
        write(length);
        errno = 4711;
        EXPECT_EQ(zatGENTrcCreateLogFile(region, "/dev/full"), -1);
        EXPECT_EQ(errno, 4711);
    }
}

}  // namespace
