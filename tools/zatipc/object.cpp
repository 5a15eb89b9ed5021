#include "object.h"

#include <sys/msg.h>

#include "osw/ipc/sysv_private.h"

namespace {

// Collects the fields of one object.
class Fields {
  public:
    void add(const char* label, uint32_t value) {
        all_.push_back({label, std::to_string(value), true});
    }
    void add(const char* label, std::string text) {
        all_.push_back({label, std::move(text), false});
    }
    void addId(const char* label, int32_t id) { all_.push_back({label, std::to_string(id), true}); }

    // Nothing of somebody who has never been there.
    void addProcess(const std::string& who, uint32_t process) {
        if (process == 0) return;
        all_.push_back({who + " process", std::to_string(process), true});
        all_.push_back({who + " state", isAlive(process) ? "alive" : "dead", false});
    }
    void addThread(const std::string& who, const IpcThread& thread) {
        addProcess(who, thread.process);
        if (thread.process != 0)
            all_.push_back({who + " task", std::to_string(thread.thread), true});
    }

    // What the kernel knows of those who are blocked: less than the table, while they look.
    void addBlocked(const char* label, int32_t semId, uint16_t semaphore) {
        const int blocked = oswSysvBlocked(semId, semaphore);
        if (blocked >= 0) add(label, static_cast<uint32_t>(blocked));
    }

    std::vector<Field> take() { return std::move(all_); }

  private:
    std::vector<Field> all_;
};

}  // namespace

static void addSem(const IpcObjectEntry& entry, Fields& fields) {
    const IpcSemBody& sem = entry.sem;
    if (entry.type == IPC_MUTEX) {
        fields.add("depth", sem.value);
        fields.addThread(sem.value > 0 ? "owner" : "last owner", sem.owner);
    } else {
        fields.add("value", sem.value);
        fields.add("created with", sem.created);
        if (entry.type == IPC_EVENT) fields.add("broadcast", sem.broadcast);
        fields.addThread("last taker", sem.owner);
    }
    fields.addThread(entry.type == IPC_MUTEX ? "last releaser" : "last poster", sem.releaser);
    fields.add("waiters", sem.waiters);
    fields.addBlocked("blocked", sem.semId, 0);
    fields.addId("semaphore id", sem.semId);
}

static void addQueue(const IpcQueueBody& queue, Fields& fields) {
    fields.add("messages", queue.messages);
    msqid_ds kernel;
    if (msgctl(queue.queueId, IPC_STAT, &kernel) == 0)
        fields.add("messages in kernel", static_cast<uint32_t>(kernel.msg_qnum));
    fields.add("capacity", queue.capacity);
    fields.add("message size", queue.messageSize);
    fields.addThread("last sender", queue.sender);
    fields.addThread("last receiver", queue.receiver);
    fields.add("waiting senders", queue.senders);
    fields.addBlocked("blocked senders", queue.semId, 0);
    fields.add("waiting receivers", queue.receivers);
    fields.addBlocked("blocked receivers", queue.semId, 1);
    fields.addId("semaphore id", queue.semId);
    fields.addId("queue id", queue.queueId);
}

static std::string stateOf(const IpcTimerBody& timer) {
    // What zatOSWIpcStartTimer() and its kin ask of the process that serves the timer.
    static const char* const states[] = {"not started", "started", "stopped",
                                         "reset",       "ending",  "ended"};
    return timer.command < std::size(states) ? states[timer.command]
                                             : "request " + std::to_string(timer.command);
}

static void addTimer(const IpcTimerBody& timer, Fields& fields) {
    fields.add("request", stateOf(timer));
    fields.add("time ms", timer.timeMs);
    fields.addProcess("server", timer.server);
    fields.addThread("last caller", timer.controller);
    fields.add("stack size", timer.created);
    fields.addId("semaphore id", timer.semId);
}

static void addLock(const IpcLockBody& lock, Fields& fields) {
    fields.add("depth", lock.depth);
    fields.addThread(lock.depth > 0 ? "owner" : "last owner", lock.owner);
    fields.add("shared holds", lock.sharedHolds);
    fields.addThread("last acquirer", lock.acquirer);
    fields.add("exclusive waiters", lock.exclusiveWaiters);
    fields.addBlocked("blocked exclusive", lock.semId, 0);
    fields.add("shared waiters", lock.sharedWaiters);
    fields.addBlocked("blocked shared", lock.semId, 1);
    fields.addId("semaphore id", lock.semId);
}

static void addPart(const TableEntry& object, Fields& fields) {
    fields.add("size", object.entry.part.size);
    fields.addId("segment id", object.entry.part.segmentId);
    const PartUse& use = object.part;
    if (!use.isKnown) return;
    fields.add("attached", use.attached);
    fields.add("used", use.head.curBytes);
    fields.add("peak", use.head.peakBytes);
    fields.add("blocks", use.head.curBlocks);
    fields.add("peak blocks", use.head.peakBlocks);
    if (use.allocatedBlocks + use.freeBlocks == 0) return;  // no survey
    fields.add("free blocks", use.freeBlocks);
    fields.add("largest free", shmDataSize(use.largestFree));
    fields.add("chain", use.isBroken ? "broken" : "sound");
}

std::vector<Field> fieldsOf(const TableEntry& object) {
    const IpcObjectEntry& entry = object.entry;
    Fields fields;
    fields.add("name", nameOf(entry));
    fields.add("type", typeOf(entry));
    fields.add("uses", entry.useCount);
    fields.add("page", object.page);
    fields.add("entry", object.index);
    switch (entry.type) {
    case IPC_MUTEX:
    case IPC_COUNT:
    case IPC_EVENT:
        addSem(entry, fields);
        break;
    case IPC_QUEUE:
        addQueue(entry.queue, fields);
        break;
    case IPC_TIMER:
        addTimer(entry.timer, fields);
        break;
    case IPC_SE_LOCK:
        addLock(entry.lock, fields);
        break;
    case IPC_PARTITION:
        addPart(object, fields);
        break;
    default:
        break;
    }
    return fields.take();
}

IpcThread holderOf(const IpcObjectEntry& entry) {
    switch (entry.type) {
    case IPC_MUTEX:
        return entry.sem.value > 0 ? entry.sem.owner : IpcThread{};
    case IPC_TIMER:
        return {entry.timer.server, 0};
    case IPC_SE_LOCK:
        // Of those who share, the table knows the last one only.
        return entry.lock.depth > 0         ? entry.lock.owner
               : entry.lock.sharedHolds > 0 ? entry.lock.acquirer
                                            : IpcThread{};
    default:
        return {};
    }
}

static std::string times(uint32_t count, const char* what) {
    return count == 1 ? what : std::to_string(count) + " times " + what;
}

static std::string valueOf(const TableEntry& object) {
    const IpcObjectEntry& entry = object.entry;
    switch (entry.type) {
    case IPC_MUTEX:
        return entry.sem.value == 0 ? "free" : times(entry.sem.value, "taken");
    case IPC_COUNT:
        return std::to_string(entry.sem.value);
    case IPC_EVENT:
        return std::string(entry.sem.value > 0 ? "posted" : "not posted") +
               (entry.sem.broadcast > 0 ? ", releasing" : "");
    case IPC_QUEUE:
        return std::to_string(entry.queue.messages) + " of " +
               std::to_string(entry.queue.capacity) + " x " +
               std::to_string(entry.queue.messageSize) + " bytes";
    case IPC_TIMER:
        return stateOf(entry.timer) + ", " + std::to_string(entry.timer.timeMs) + " ms";
    case IPC_SE_LOCK:
        if (entry.lock.depth > 0) return times(entry.lock.depth, "exclusive");
        return entry.lock.sharedHolds == 0 ? "free" : times(entry.lock.sharedHolds, "shared");
    case IPC_PARTITION:
        return (object.part.isKnown ? std::to_string(object.part.head.curBytes) : "?") + " of " +
               std::to_string(entry.part.size) + " bytes";
    default:
        return "?";
    }
}

static std::string waitersOf(const IpcObjectEntry& entry) {
    const auto both = [](uint32_t a, uint32_t b) {
        return std::to_string(a) + '+' + std::to_string(b);
    };
    switch (entry.type) {
    case IPC_MUTEX:
    case IPC_COUNT:
    case IPC_EVENT:
        return std::to_string(entry.sem.waiters);
    case IPC_QUEUE:
        return both(entry.queue.senders, entry.queue.receivers);
    case IPC_SE_LOCK:
        return both(entry.lock.exclusiveWaiters, entry.lock.sharedWaiters);
    default:
        return "-";
    }
}

ListRow rowOf(const TableEntry& object) {
    const IpcObjectEntry& entry = object.entry;
    const IpcThread holder = holderOf(entry);
    ListRow row = {
        shownName(nameOf(entry)), typeOf(entry),  std::to_string(entry.useCount), "-", "-", "-",
        waitersOf(entry),         valueOf(object)};
    if (holder.process != 0) {
        row.process = std::to_string(holder.process);
        row.state = isAlive(holder.process) ? "alive" : "dead";
    }
    if (holder.thread != 0) row.task = std::to_string(holder.thread);
    return row;
}
