/* Lines on their way to the console, and what the console says. */

#include <stdarg.h>
#include <string.h>

#include "clb/text.h"
#include "gen/console/console_private.h"
#include "gen/console/tape_private.h"
#include "gen/trace/output_private.h"
#include "osw/event_sem.h"
#include "osw/lock_private.h"
#include "osw/msg_queue.h"

GenConsole genConsole = {PTHREAD_MUTEX_INITIALIZER, 0, 0, 0, 0, 0, 0};

void genSay(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    genTrcVPrintf(genConsole.component, ZAT_GEN_TRACE | ZAT_GEN_MONITOR, genConsoleLevel, format,
                  arguments);
    va_end(arguments);
}

void genAnnounce(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    genTrcVPrintf(genConsole.component, ZAT_GEN_PRINT | ZAT_GEN_MONITOR, genConsoleLevel, format,
                  arguments);
    va_end(arguments);
}

bool genWantLine() {
    const OswLock lock(genConsole.lock);
    return genConsole.wanted == 0 || zatOSWPostEventSem(genConsole.wanted) == ZAT_OK;
}

static ZatMsgQueue currentQueue() {
    const OswLock lock(genConsole.lock);
    return genConsole.queue;
}

bool genTakeLine(GenLine& line) {
    line = {};
    return zatOSWReceiveMsgQueue(currentQueue(), line.text, ZAT_GEN_COMMAND_LINE_SIZE,
                                 ZAT_FOREVER) == ZAT_OK;
}

bool genReceiveLine(GenLine& line) {
    uint32_t waiting = 0;
    if (zatOSWQueryMsgQueue(currentQueue(), &waiting) != ZAT_OK) return false;
    return (waiting > 0 || genWantLine()) && genTakeLine(line);
}

ZatStatus zatGENSendControlMessage(const char* line, uint32_t lengthBytes) {
    if (line == nullptr) return ZAT_FAILED;
    return zatOSWSendMsgQueue(currentQueue(), line, lengthBytes, ZAT_FOREVER, 0);
}

char* zatGENGetInput(char* buffer, uint32_t sizeBytes) {
    if (buffer == nullptr || sizeBytes == 0) return nullptr;
    GenLine line;
    const GenPlayed played = genPlayLine(line);
    if (played == GenPlayed::Failed) return nullptr;
    if (played == GenPlayed::NotPlaying && !genReceiveLine(line)) return nullptr;
    const char* text = zatCLBStripStr(line.text);
    if (played == GenPlayed::NotPlaying) genRecordLine(text);
    strncpy(buffer, text, sizeBytes);
    buffer[sizeBytes - 1] = '\0';
    return buffer;
}
