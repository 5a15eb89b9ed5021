/*
 * The task that reads standard input, a line whenever one is wanted.
 *
 * Nobody can call it off while it waits for a line, so it may outlive its console, whose queue and
 * event are gone then: it looks whether its console is still the one before it touches either.
 */

#include <stdio.h>

#include "gen/console/console_private.h"
#include "gen/console/tape_private.h"
#include "osw/event_sem.h"
#include "osw/event_sem_private.h"
#include "osw/lock_private.h"
#include "osw/msg_queue.h"
#include "osw/task.h"

static constexpr uint32_t stackSize = 32768;

/* Waits until a line is wanted; false when the console is gone. */
static bool awaitWish(uint32_t serial) {
    OswLock lock(genConsole.lock);
    if (genConsole.serial != serial) return false;
    return oswWaitEventSemHolding(genConsole.wanted, ZAT_FOREVER, lock) == ZAT_OK;
}

/* Queues a line, in its full size; false when the console is gone. */
static bool handOver(uint32_t serial, const GenLine& line) {
    ZatMsgQueue queue = 0;
    {
        const OswLock lock(genConsole.lock);
        if (genConsole.serial != serial) return false;
        if (zatOSWResetEventSem(genConsole.wanted) != ZAT_OK) return false;
        queue = genConsole.queue;
    }
    return zatOSWSendMsgQueue(queue, line.text, ZAT_GEN_COMMAND_LINE_SIZE, ZAT_FOREVER, 0) ==
           ZAT_OK;
}

/* Reads until the end of standard input or of the console. */
static uint32_t readStandardInput(uint32_t serial, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                                  uint32_t, uint32_t, uint32_t, uint32_t) {
    while (awaitWish(serial)) {
        GenLine line = {};
        if (fgets(line.text, ZAT_GEN_COMMAND_LINE_SIZE, stdin) == nullptr) break;
        if (!genPausePlaying() && !handOver(serial, line)) break;
    }
    return 0;
}

ZatStatus genStartReader(uint32_t serial) {
    ZatTaskId task = 0;
    return zatOSWCreateJoinTask(&task, "inputStdin", ZAT_INHERIT_PRIORITY, stackSize,
                                readStandardInput, -1, serial, 0, 0, 0, 0, 0, 0, 0, 0, 0);
}
