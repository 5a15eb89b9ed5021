/* The life of the process's console. */

#include "gen/console/console_private.h"
#include "gen/trace/hook.h"
#include "osw/event_sem.h"
#include "osw/lock_private.h"
#include "osw/msg_queue.h"

/* Messages that the queue holds before it grows. */
static constexpr uint32_t queueCapacity = 10;

/* Paged listings read their answers through the console. */
static char* readAnswer(char* buffer, int size, FILE*) {
    return zatGENGetInput(buffer, static_cast<uint32_t>(size));
}

/* A console that is being made; taken away at the end of the scope unless it was finished. */
class ConsoleMaker {
  public:
    ConsoleMaker() = default;
    ConsoleMaker(const ConsoleMaker&) = delete;
    ConsoleMaker& operator=(const ConsoleMaker&) = delete;
    ~ConsoleMaker() {
        if (wanted != 0) zatOSWDeleteEventSem(wanted);
        if (queue != 0) zatOSWDeleteMsgQueue(queue);
    }

    void finish() { queue = wanted = 0; }

    ZatMsgQueue queue = 0;
    ZatEventSem wanted = 0;
};

/* Makes it the console of the process; false when there is one already. */
static bool publish(ConsoleMaker& maker, uint32_t& serial) {
    const OswLock lock(genConsole.lock);
    if (genConsole.queue != 0) return false;
    genConsole.queue = maker.queue;
    genConsole.wanted = maker.wanted;
    serial = ++genConsole.serial;
    maker.finish();
    return true;
}

/* Takes the console away, or only the one of a serial. */
static void takeAway(const uint32_t* serial) {
    ConsoleMaker gone;
    const OswLock lock(genConsole.lock);
    if (serial != nullptr && genConsole.serial != *serial) return;
    gone.queue = genConsole.queue;
    gone.wanted = genConsole.wanted;
    genConsole.queue = 0;
    genConsole.wanted = 0;
    genConsole.serial += 1;
}

bool genConsoleIsThere() {
    const OswLock lock(genConsole.lock);
    return genConsole.queue != 0;
}

ZatStatus zatGENInitTaskControl(uint32_t stdinDefault) {
    if (genConsoleIsThere()) return ZAT_OK;
    ConsoleMaker maker;
    ZatStatus status = zatOSWCreateMsgQueue(&maker.queue, queueCapacity, ZAT_GEN_COMMAND_LINE_SIZE,
                                            ZAT_MSG_QUEUE_GROWABLE);
    if (status != ZAT_OK) return status;
    const bool readsStdin = genReadConsoleOptions(stdinDefault != 0, maker.queue);
    if (readsStdin) status = zatOSWCreateEventSem(&maker.wanted, 0, 0);
    if (status != ZAT_OK) return status;
    uint32_t serial = 0;
    if (!publish(maker, serial)) return ZAT_OK;
    if (readsStdin) status = genStartReader();
    if (status == ZAT_OK)
        zatGENSetTypeFunc(readAnswer);
    else
        takeAway(&serial);
    return status;
}

ZatStatus zatGENStartTaskControl(uint32_t stdinDefault, uint32_t component, const char* name,
                                 ZatGenMenuFunc userMenu, ZatGenCommandFunc command) {
    if (zatGENInitTaskControl(stdinDefault) != ZAT_OK) return ZAT_OK;
    zatGENTaskControlLoop(stdinDefault, component, name, userMenu, nullptr, command);
    return zatGENTermTaskControl();
}

ZatStatus zatGENTermTaskControl() {
    takeAway(nullptr);
    return ZAT_OK;
}
