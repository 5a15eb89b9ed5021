// What is printed of region logs: against what was written, and whatever became of the ring.

#include <climits>
#include <random>

#include "clb/local_time.h"
#include "gen/trace/captured.h"

namespace {

void write(const std::string& payload, const ZatClock& time = {}) {
    EXPECT_EQ(zatGENWriteRgnLog(component, &time, payload.data(), payload.size()), ZAT_OK);
}

Lines print(int32_t direction, int32_t id = component) {
    return printedBy([=] { zatGENPrnRgnLog(id, direction, component, 14); });
}

Lines between(Lines lines, int32_t id = component) {
    const std::string rest =
        " of log print <id = " + std::to_string(id) + ", name = a log> ========\n";
    lines.insert(lines.begin(), " ======== start" + rest);
    lines.push_back(" ======== end" + rest);
    return lines;
}

std::string timeText(const ZatClock& time) {
    const auto local = static_cast<uint32_t>((time.seconds + 19800ull) % 86400);
    return format("%02u:%02u:%02u.%06u ", local / 3600, local / 60 % 60, local % 60,
                  time.nanoseconds / 1000);
}

class Print : public testing::Test {
  protected:
    void SetUp() override {
        const time_t time = 0;
        zatCLBLocalTime(&time);  // has seen the system's zone now
        setenv("TZ", "XYZ-05:30", 1);
        tzset();
        listen();
    }
};

TEST_F(Print, ShowsTextsAsTheyWereWritten) {
    std::mt19937 random(testSeed());
    for (const uint32_t size : {256u, 8192u}) {
        makeLog(component, static_cast<int32_t>(size));
        Lines lines;
        std::vector<uint32_t> sizes;
        for (uint32_t step = 0, payload = 20; step < 150; ++step) {
            uint32_t length = 1 + random() % (size / 4);
            if (size - payload < size / 4 && step % 2 == 0) length = size - payload + 1;
            std::string text(length, '%');
            if (random() % 4 != 0) text.back() = '\n';
            if (random() % 4 == 0) text[random() % text.size()] = '\0';
            const ZatClock time = {random(), random() % 1000000000};
            write(text, time);
            const std::string first = text.substr(0, size - payload);
            std::string line = timeText(time);
            line.append(first, 0, first.find('\0')).append(text.c_str() + first.size());
            if (text.back() != '\n' || line.back() != '\n') line += '\n';
            lines.push_back(line.size() > 1279 ? line.substr(0, 1278) + '\n' : line);
            sizes.push_back((text.size() + 27) / 8 * 8);
            payload = (payload + sizes.back()) % size;
            Lines left;  // as many as the ring has room for
            for (uint32_t i = step + 1, room = size; i-- > 0 && sizes[i] <= room; room -= sizes[i])
                left.push_back(lines[i]);
            ASSERT_EQ(print(0), between(left)) << "step " << step;
            ASSERT_EQ(print(1), between({left.rbegin(), left.rend()})) << "step " << step;
        }
        zatGENDeleteRgnLog(component);
    }
}

TEST_F(Print, DecodesBinaryRecordsAndDumpsWhatCannotBe) {
    const ZatClock time = {1234567, 89012345};
    const std::string head = timeText(time) + "OSW(0x2002):(77:4294967280):";
    const std::string end = "ends with the thirty-second.cpp!:-9";
    const std::string codes = "(0xffffffff:0x00000007):" + end + "\n";
    const std::pair<uint32_t, Lines> kinds[] = {
        {76, {head + end + ":args=-1(0xffffffff),7(0x7),8(0x8),9(0x9),0(0x0),1(0x1)\n"}},
        {60, {head + "<Error>" + codes}},
        {56, {head + end + ":dump(size=-1)\n"}},
        {60, {head + "<Warning>" + codes}},
        {4, {}}};
    uint32_t words[25] = {0,  component,  0,        0, 0, 0, 0, 0, 0, 0, UINT_MAX - 8,
                          77, 0xFFFFFFF0, UINT_MAX, 7, 8, 9, 0, 1};
    memcpy(&words[2], end.data(), 32);
    memcpy(&words[19], "\x1F ~\x7F\xFF and other bytes", 21);
    for (uint32_t i = 0; i < 5 * 100 * 6; ++i) {
        const uint32_t kind = words[0] = i / 600;
        const uint32_t length = i / 6 % 100 + 1;
        if (i % 6 == 0) {  // six of them begin all over the ring
            zatGENDeleteRgnLog(component);
            makeLog(component, 152, static_cast<int32_t>(length), ZAT_GEN_BINARY_LOG);
        }
        const std::string record(reinterpret_cast<const char*>(words), sizeof words);
        write(record, time);
        const auto& [headSize, line] = kinds[kind];
        Lines expected = length >= headSize ? line : Lines();
        uint32_t at = length < headSize ? 0 : kind == 2 || kind == 4 ? headSize : length;
        while (at < length) {
            std::string hex, characters;
            for (; at < length && characters.size() < 16; ++at) {
                hex += format("%02X ", static_cast<uint8_t>(record[at]));
                characters += record[at] >= 32 && record[at] <= 126 ? record[at] : '.';
            }
            hex.resize(47, ' ');
            expected.push_back(
                timeText(time).append(hex).append(" | ").append(characters).append("\n"));
        }
        Lines lines = print(0);
        lines.resize(expected.size() + 1);
        ASSERT_EQ(Lines(lines.begin() + 1, lines.end()), expected) << kind << " of " << length;
    }
}

TEST_F(Print, AsksAfterEachPageAndHoldsNothing) {
    makeLog(component);
    for (const char* text : {"1", "2", "3", "4", "5"})
        write(text);
    Lines all = print(1);
    zatGENSetLogLines(UINT_MAX);
    EXPECT_EQ(print(1), all) << "less than no lines";
    zatGENSetLogLines(2);
    all.insert(all.begin() + 5, prompt);
    all.insert(all.begin() + 3, prompt);
    EXPECT_EQ(print(1), all) << "no answer";
    for (const bool isLate : {false, true}) {
        answers = {isLate ? "yq\n" : "q\n", "Quit\n"};
        Lines expected(all.begin(), all.begin() + (isLate ? 7 : 4));
        expected.push_back(all.back());
        EXPECT_EQ(print(1), expected);
    }
    zatGENSetTypeFunc(nullptr);
    EXPECT_EQ(print(1), all) << "nobody to ask";
    zatGENSetTypeFunc([](char*, int, FILE*) -> char* {
        Worker([] {
            write("more");
            zatGENLockRgnLog(component);
            return zatGENDeleteRgnLog(component);
        }).join();
        return nullptr;
    });
    EXPECT_EQ(print(1), all);
    EXPECT_EQ(print(1), Lines()) << "it is gone";
}

TEST_F(Print, ShowsOneRegionOrAll) {
    EXPECT_EQ(zatGENPrintRgnLog(component, 1), ZatStatus{ZAT_GEN_NO_LOG});
    Lines all;
    for (const int32_t id : {int32_t{component}, 3, -2, INT_MIN}) {
        makeLog(id);
        EXPECT_EQ(printedBy([=] { zatGENPrintRgnLog(id, 1); }), between({}, id));
        EXPECT_EQ(hookChannel, 0x00020Fu);
        all.insert(all.begin(), hookLines.begin(), hookLines.end());
    }
    EXPECT_EQ(print(1, ZAT_GEN_ALL_LOGS), all);
    EXPECT_EQ(hookChannel, 0x02020Eu);
    zatGENForwardTrcMsgToRgnLog();
    print(1);
    const Lines own = print(1);  // what was written into it meanwhile is not among it
    ASSERT_EQ(own.size(), 4u);
    EXPECT_EQ(own[2].substr(16), "OSW:" + own[3]);
}

TEST_F(Print, ListsTheRegionsInPages) {
    const Lines head = {"  Id       Component    mask buf(ptr)  partid   size   len  fmt run\n",
                        "------ ---------------- ---- -------- -------- ------ ----- --- ---\n"};
    Lines expected;
    for (int32_t i = 0; i < 31; ++i) {
        EXPECT_EQ(printedBy([] { zatGENShowRgnLog(component, 3); }), expected);
        if (i == 15 || i == 30) expected.push_back(prompt);
        if (i % 15 == 0) expected.insert(expected.end(), head.begin(), head.end());
        const int32_t id = i * 5 - 7;
        const std::string name(static_cast<uint32_t>(i + 1), 'n');
        zatGENCreateRgnLog(id, name.c_str(), i * 0x12, i + 1, i - 4, 1, i == 3, i % 3 == 0);
        if (i % 4 == 0) zatGENStartRgnLog(id);
        const RgnLogInfo& info = *zatGENGetRgnLogInfo(id);
        expected.push_back(format("%6d %16.16s %04x %8x %8x %6d %5d   %c %3d\n", id, name.c_str(),
                                  i * 0x12, wordOf(info.data), info.partition, (i + 8) / 8 * 8,
                                  i - 4, i % 3 == 0 ? 'B' : 'T', i % 4 == 0));
    }
}

}  // namespace
