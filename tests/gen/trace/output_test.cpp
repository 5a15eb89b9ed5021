// What a message does on its way: which masks let it through to whom, and what it looks like there.

#include "gen/trace/output.h"

#include <sys/socket.h>

#include <vector>

#include "osw/worker.h"

namespace {

/** Whom the message was given to, in order: E standard error, H the print hook, 1 and 2 the user
 *  functions. Standard error is a datagram socket: a line in two writes would be two datagrams. */
std::string sinks, line, hookText;
uint32_t hookType, hookLevel;
int errorEnds[2];

void readStandardError() {
    char text[4000];
    const ssize_t size = recv(errorEnds[1], text, sizeof text, MSG_DONTWAIT);
    if (size < 0) return;
    sinks += 'E';
    line.assign(text, static_cast<size_t>(size));
}

template <char name>
void receive(uint32_t component, uint32_t type, uint32_t level, const char* text) {
    readStandardError();
    sinks += name;
    EXPECT_EQ(component, 0x2002u);
    hookType = type;
    hookLevel = level;
    hookText = text;
}

template <class Call>
std::string sinksOf(Call call) {
    sinks.clear();
    const int before = dup(STDERR_FILENO);
    dup2(errorEnds[0], STDERR_FILENO);
    call();
    dup2(before, STDERR_FILENO);
    close(before);
    readStandardError();
    return sinks;
}

void setAllMasks(uint16_t mask) {
    for (const uint32_t id : {ZAT_GEN_SYSTEM, 0x2002u})
        *zatGENGetTrcMask(id) = {id, mask, mask, mask, mask, mask, mask, 64, "OSW"};
}

class Output : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(zatOSWInit(), ZAT_OK);
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM, 0, errorEnds), 0);
        zatGENSetPrintFunc(receive<'H'>);
        ASSERT_EQ(zatGENAddUserLogPrintFunc(receive<'1'>), ZAT_OK);
        ASSERT_EQ(zatGENAddUserLogPrintFunc(receive<'2'>), ZAT_OK);
        setAllMasks(0xFFFF);
    }
};

TEST_F(Output, GoesWhereTheMasksOfSystemAndComponentLetIt) {
    using Comp = zatGENTrcComp;
    constexpr uint16_t Comp::*masks[] = {&Comp::prnmask,    &Comp::trcmask,    &Comp::logmask,
                                         &Comp::monprnmask, &Comp::montrcmask, &Comp::monlogmask};
    // By type: what each of the masks lets it through to.
    struct Case {
        uint32_t type;
        std::string expected[6];
    };
    const Case cases[] = {{0, {}},
                          {1, {"E"}},
                          {2, {"", "E"}},
                          {3, {}},
                          {4, {}},
                          {7, {}},
                          {0x101, {"E", "", "", "H"}},
                          {0x102, {"", "E", "", "", "H"}},
                          {0x103, {"", "", "", "", "", "12"}},
                          {0x104, {}},
                          {0x107, {}}};
    for (const Case& one : cases) {
        const uint32_t type = one.type;
        for (uint32_t i = 0; i < 3 * 36; ++i) {
            const uint32_t level = i / 36 * 7, bySystem = i / 6 % 6, byComponent = i % 6;
            setAllMasks(static_cast<uint16_t>(~(1u << level)));
            zatGENGetTrcMask(ZAT_GEN_SYSTEM)->*masks[bySystem] |= 1u << level;
            zatGENGetTrcMask(0x2002)->*masks[byComponent] |= 1u << level;
            const std::string reached = bySystem == byComponent ? one.expected[byComponent] : "";
            EXPECT_EQ(sinksOf([&] { zatGENTrcPrintf(0x2002, type, level, "text"); }), reached)
                << std::hex << "type " << type << " level " << level << " masks " << i % 36;
            if (type == 0x103) continue;  // no type of dumps
            EXPECT_EQ(sinksOf([&] { zatGENTraceDump(0x2002, type, level, "x", 1, 1, 1); }),
                      reached);
            if (reached != "E") continue;
            EXPECT_EQ(line.replace(4, 10, ""), "OSW:78" + std::string(37, ' ') + " | x\n");
        }
    }
    setAllMasks(0xFFFF);
    EXPECT_EQ(sinksOf([] { zatGENTrcPrintf(0x2002, 0x102, 0x10F, "text"); }), "EH");
    EXPECT_EQ(hookType, 2u);
    EXPECT_EQ(hookLevel, 0x10Fu);
    EXPECT_EQ(sinksOf([] { zatGENTrcPrintf(0x2002, 0x103, 5, "text"); }), "12");
    EXPECT_EQ(hookType, 3u);
}

TEST_F(Output, CutsLongTextsAndEndsEachWithANewline) {
    for (const size_t length : {0, 1, 1278, 1279, 1280, 2000}) {
        for (const char* end : {"", "\n"}) {
            std::string text = std::string(length, 'x') + end;
            EXPECT_EQ(sinksOf([&] { zatGENTrcPrintf(0x2002, 0x102, 3, "%s", text.c_str()); }),
                      "EH");
            if (*end == '\0') text += '\n';
            if (text.size() > 1279) text = std::string(1278, 'x') + '\n';
            EXPECT_EQ(hookText, text) << length;
            EXPECT_EQ(line, "OSW:" + text);
        }
    }
}

TEST_F(Output, PutsTheDecorationsOfItsChannelBehindTheName) {
    const std::string kernelId = std::to_string(gettid());
    const std::string thread = std::to_string(pthread_self());
    const std::pair<uint32_t, std::string> formats[] = {
        {0, ""},
        {1, "(8194)"},
        {2, "-2"},
        {4, ":(" + kernelId + ")"},
        {8, ":(:" + thread + ")"},
        {15, "(8194)-2:(" + kernelId + ":" + thread + ")"}};
    const auto print = [](uint32_t type, uint32_t level) {
        int32_t written = 0;
        sinksOf([&] { written = zatGENTrcStdPrintf(0x2002, type, level, "%d", 7); });
        EXPECT_EQ(written, static_cast<int32_t>(line.size()));
        return line;
    };
    for (const auto& [format, decorations] : formats) {
        zatGENTrcSetPrnFormat(format);
        zatGENTrcSetTrcFormat(0);
        EXPECT_EQ(print(0x101, 0x102) + print(2, 2), "OSW" + decorations + ":7OSW:7");
        zatGENTrcSetPrnFormat(0);
        zatGENTrcSetTrcFormat(format);
        EXPECT_EQ(print(1, 2) + print(2, 2), "OSW:7OSW" + decorations + ":7");
        EXPECT_EQ(print(3, 2) + print(2, 15), "OSW:7OSW:7") << "neither channel, and a listing";
    }
    const std::string name(200, 'n');
    zatGENGetTrcMask(0x2002)->name = name.c_str();
    EXPECT_EQ(print(2, 2), name.substr(0, 95) + ":7");
}

TEST_F(Output, LeavesErrnoAlone) {
    close(errorEnds[1]);
    int after = 0;
    sinksOf([&] {
        errno = E2BIG;
        zatGENTrcPrintf(0x2002, 2, 1, "text");
        EXPECT_LT(zatGENTrcPrintMessage(0x2002, 2, 1, "text"), 0) << "nobody to write to";
        after = errno;
    });
    EXPECT_EQ(after, E2BIG);
}

TEST_F(Output, EndsTheTaskWhenItIsFatal) {
    for (const uint16_t mask : {uint16_t{0}, uint16_t{0xFFFF}}) {
        setAllMasks(mask);
        for (const uint32_t type : {0x201u, 0x302u, 0x307u, 0x204u}) {
            std::mutex lock;
            sinksOf([&] {
                Worker task([&] {
                    const std::lock_guard held(lock);
                    zatGENTrcPrintf(0x2002, type, 1, "fatal");
                    return ZAT_OK;
                });
                EXPECT_EQ(task.join(), 0xFFFFFFFF);
            });
            EXPECT_TRUE(lock.try_lock()) << "its stack is unwound";
            lock.unlock();
            EXPECT_EQ(sinks, mask == 0 || (type & 4) ? "" : type == 0x302 ? "EH" : "E");
        }
    }
}

TEST(EarlyOutput, DoesNotBringTheLibraryUp) {
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM, 0, errorEnds), 0);
    setAllMasks(0xFFFF);
    EXPECT_EQ(sinksOf([] { zatGENTrcPrintf(0x2002, 2, 0, "early"); }), "E");
    EXPECT_EQ(nameOf(pthread_self()), "");
}

std::vector<uint32_t> words;

void notify(uint32_t a, uint32_t b, uint32_t c, uint32_t d, ...) {
    words = {a, b, c, d};
    va_list arguments;
    va_start(arguments, d);
    for (int i = 0; i < 4; ++i)
        words.push_back(va_arg(arguments, uint32_t));
    va_end(arguments);
}

TEST(Hooks, GetTheWordsOfTheCall) {
    zatGENTrcNotifyMessage(5, 9, 9, 6, 1, 2, 3, 4);  // for nobody yet
    zatGENTransferData(1, 2, 3, 4, 5, 6, 7);
    zatGENSetNotifyFunc(notify);
    zatGENSetDumpLogFunc([](auto... given) { words = {given...}; });
    zatGENTrcNotifyMessage(5, 9, 9, 6, 1, 2, 3, 4);
    EXPECT_EQ(words, (std::vector<uint32_t>{5, 3, 0, 6, 1, 2, 3, 4}));
    zatGENTransferData(1, 2, 3, 4, 5, 6, 7);
    EXPECT_EQ(words, (std::vector<uint32_t>{1, 2, 3, 4, 5, 6, 7}));
}

}  // namespace
