/*
 * The task that reads standard input, a line whenever one is wanted.
 *
 * Nobody can call it off while it waits for a line, so it may outlive its console, whose queue and
 * event are gone then: it looks under the lock what console there is before it touches either. One
 * that finds another console serves that one from then on; two tasks would take lines from each
 * other.
 */

#include <stdio.h>
#include <unistd.h>

#include "gen/console/console_private.h"
#include "gen/console/tape_private.h"
#include "osw/event_sem.h"
#include "osw/event_sem_private.h"
#include "osw/lock_private.h"
#include "osw/msg_queue.h"
#include "osw/task_private.h"

static constexpr uint32_t stackSize = 32768;
static uint32_t lastReader;

/* Under the lock: whether a task that reads has nothing to do any more. Then, or however it ends,
 * it is the reader no longer. */
static bool retires(uint32_t reader) {
    if (genConsole.wanted != 0) return false;
    if (genConsole.reader == reader) genConsole.reader = 0;
    return true;
}

class ReaderEnd {
  public:
    explicit ReaderEnd(uint32_t reader) : reader_(reader) {}
    ReaderEnd(const ReaderEnd&) = delete;
    ReaderEnd& operator=(const ReaderEnd&) = delete;
    ~ReaderEnd() {
        const OswLock lock(genConsole.lock);
        if (genConsole.reader == reader_) genConsole.reader = 0;
    }

  private:
    const uint32_t reader_;
};

/* Waits until a line is wanted; false when there is no console to read for. */
static bool awaitWish(uint32_t reader) {
    for (;;) {
        OswLock lock(genConsole.lock);
        if (retires(reader)) return false;
        const uint32_t serial = genConsole.serial;
        if (oswWaitEventSemHolding(genConsole.wanted, ZAT_FOREVER, lock) == ZAT_OK) return true;
        /* The event of a console that was taken away; another one may have come. */
        if (!lock.isHeld()) lock.take(genConsole.lock);
        if (genConsole.serial == serial) return false;
    }
}

/* Queues a line, in its full size, unless it pauses a file that is played; false when there is no
 * console to read for. */
static bool handOver(uint32_t reader, const GenLine& line) {
    ZatMsgQueue queue = 0;
    {
        const OswLock lock(genConsole.lock);
        if (retires(reader) || zatOSWResetEventSem(genConsole.wanted) != ZAT_OK) return false;
        queue = genConsole.queue;
    }
    if (genPausePlaying()) return true;
    zatOSWSendMsgQueue(queue, line.text, ZAT_GEN_COMMAND_LINE_SIZE, ZAT_FOREVER, 0);
    return true;
}

/* Reads until the end of standard input or of the console. */
static uint32_t readStandardInput(uint32_t reader, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                                  uint32_t, uint32_t, uint32_t, uint32_t) {
    const ReaderEnd end(reader);
    while (awaitWish(reader)) {
        GenLine line = {};
        if (fgets(line.text, ZAT_GEN_COMMAND_LINE_SIZE, stdin) == nullptr) break;
        if (!handOver(reader, line)) break;
    }
    return 0;
}

ZatStatus genStartReader() {
    uint32_t reader = 0;
    {
        const OswLock lock(genConsole.lock);
        if (genConsole.reader != 0 && genConsole.process == getpid()) return ZAT_OK;
        reader = genConsole.reader = ++lastReader;
        genConsole.process = getpid();
    }
    ZatTaskId task = 0;
    const ZatStatus created =
        zatOSWCreateJoinTask(&task, "inputStdin", ZAT_INHERIT_PRIORITY, stackSize,
                             readStandardInput, -1, reader, 0, 0, 0, 0, 0, 0, 0, 0, 0);
    const ZatStatus status = oswCreated(created, task);
    if (status != ZAT_OK) const ReaderEnd none(reader);
    return status;
}
