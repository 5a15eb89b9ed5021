/*
 * The console under lines that nobody would type.
 *
 * Each input is lines for one console. What reads or writes any memory, starts programs or code,
 * waits, or changes priorities is left out, and files are those of the working directory: what such
 * a command does when it is obeyed is no fault of the console's. It runs in one task without a
 * reader, so its wait for a line is answered with the end of input once the lines are used up.
 */
#include <dlfcn.h>
#include <zatosw/zatosw.h>

#include <algorithm>
#include <cstring>
#include <string>

static constexpr uint32_t component = 0x2002;
static constexpr uint32_t longestSession = 200; /* lines: a file may be played for ever */
static uint32_t linesRead;

template <class Call>
static Call real(const char* name) {
    return reinterpret_cast<Call>(dlsym(RTLD_NEXT, name));
}

static bool isOneOf(const char* word, const char* const* first, const char* const* last) {
    return std::any_of(first, last,
                       [word](const char* name) { return zatCLBCompStrCase(word, name) == 0; });
}

static bool isLeftOut(const char* line) {
    static const char* const dangerous[] = {"DMP", "MDF",  "MA", "MF",   "MPT",   "EXEC",  "TERM",
                                            "LDL", "LDLT", "W",  "PRTY", "CHDIR", "MKDIR", "UNLDL"};
    static const char* const ofFiles[] = {"R", "P", "FT", "LFL"};
    char copy[ZAT_GEN_COMMAND_LINE_SIZE] = "";
    strncpy(copy, line, sizeof copy - 1);
    char* rest = nullptr;
    const char* command = zatCLBGetWord(copy, &rest);
    if (command == nullptr) return false;
    if (isOneOf(command, std::begin(dangerous), std::end(dangerous))) return true;
    return isOneOf(command, std::begin(ofFiles), std::end(ofFiles)) && strchr(line, '/') != nullptr;
}

/* In place of the library's: the console and what asks in the middle of a command call it. */
extern "C" char* zatGENGetInput(char* buffer, uint32_t sizeBytes) {
    static const auto getInput = real<decltype(&zatGENGetInput)>("zatGENGetInput");
    if (++linesRead > longestSession || getInput(buffer, sizeBytes) == nullptr) return nullptr;
    /* A name that is asked for is a line by itself. */
    if (isLeftOut(buffer) || strchr(buffer, '/') != nullptr) buffer[0] = '\0';
    return buffer;
}

extern "C" ZatStatus zatOSWReceiveMsgQueue(ZatMsgQueue queue, void* buffer, uint32_t bufferBytes,
                                           ZatTimeoutMs timeoutMs) {
    static const auto receive = real<decltype(&zatOSWReceiveMsgQueue)>("zatOSWReceiveMsgQueue");
    uint32_t messages = 0;
    if (zatOSWQueryMsgQueue(queue, &messages) != ZAT_OK || messages == 0) return ZAT_FAILED;
    return receive(queue, buffer, bufferBytes, timeoutMs);
}

/* What an earlier session changed is as it was. */
static void begin() {
    linesRead = 0;
    zatGENTermRgnLog();
    zatGENSetLogLines(3);
    zatGENSetDumpLines(2);
    for (const uint32_t id : {ZAT_GEN_SYSTEM, component}) {
        zatGENPrnZero(id);
        zatGENTrcZero(id);
        zatGENMonPrnAll(id);
        zatGENMonTrcAll(id);
    }
    /* Reads what it gets, as a hook would. */
    zatGENSetPrintFunc([](uint32_t, uint32_t, uint32_t, const char* text) {
        static volatile size_t length;
        length = length + strlen(text);
    });
    zatGENSetDumpLogFunc(
        [](uint32_t, uint32_t, uint32_t, uint32_t block, uint32_t length, uint32_t, uint32_t) {
            static volatile size_t sum;
            const std::string copy(reinterpret_cast<const char*>(block), length);
            sum = sum + copy.size();
        });
}

static uint32_t showMenu(char* buffer, uint32_t sizeBytes) {
    memset(buffer, 'm', sizeBytes);
    return 0;
}

static void takeCommand(char* line) {
    zatCLBConvertUpper(line, line);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    begin();
    zatGENInitTaskControl(0);
    const char* text = reinterpret_cast<const char*>(data);
    while (size > 0) {
        const void* newline = memchr(text, '\n', size);
        const size_t length =
            newline == nullptr ? size
                               : static_cast<size_t>(static_cast<const char*>(newline) - text) + 1;
        /* As long as they come: too long a line is refused. */
        zatGENSendControlMessage(text, static_cast<uint32_t>(length));
        text += length;
        size -= length;
    }
    zatGENTaskControlLoop(0, component, "fuzz", showMenu, showMenu, takeCommand);
    zatGENTermTaskControl();
    return 0;
}
