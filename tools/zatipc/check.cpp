#include "check.h"

#include <algorithm>

#include "leftover.h"
#include "lost_table.h"
#include "object.h"

static std::string number(uint32_t value) {
    return std::to_string(value);
}

// A holder or server that cannot give back what it has.
static void checkHolder(const IpcObjectEntry& entry, Findings& findings) {
    const IpcThread holder = holderOf(entry);
    const bool isHeld = holder.process != 0 || (entry.type == IPC_MUTEX && entry.sem.value > 0);
    if (!isHeld || isAlive(holder.process)) return;
    const std::string who = "process " + number(holder.process) + " is dead and ";
    if (entry.type == IPC_TIMER)
        findings.wrong.push_back(describe(entry) + ": " + who + "serves it");
    else if (entry.type == IPC_SE_LOCK && entry.lock.depth == 0)
        // It may have given its hold back before: who else shares, the table does not know.
        findings.notes.push_back(describe(entry) + ": " + who + "was the last to share it");
    else
        findings.wrong.push_back(describe(entry) + ": " + who + "holds it");
}

// Whether the entry's System V objects are those that its name leads others to.
static void checkObjectsOf(const KeyDirectory& directory, const IpcObjectEntry& entry,
                           std::vector<std::string>& wrong) {
    const KindNames& kind = kindNames[entry.type];
    const std::string file = nameOf(entry) + ipcKindNames[entry.type].suffix;
    const key_t key = directory.key(file);
    if (key == 0) {
        wrong.push_back(describe(entry) + ": its key file " + shownName(file) + " is gone");
        return;
    }
    const SysvObjects real = ownObjects(objectsOf(key), kind.shape);
    const SysvObjects named = objectsIn(entry);
    if (real.semId != named.semId)
        wrong.push_back(describe(entry) + ": its semaphore " + std::to_string(named.semId) +
                        " is gone, or another's");
    if (real.queueId != named.queueId)
        wrong.push_back(describe(entry) + ": its queue " + std::to_string(named.queueId) +
                        " is gone, or another's");
    if (real.segmentId != named.segmentId)
        wrong.push_back(describe(entry) + ": its segment " + std::to_string(named.segmentId) +
                        " is gone, or another's");
}

static void checkFigures(const TableEntry& object, std::vector<std::string>& wrong) {
    const IpcObjectEntry& entry = object.entry;
    if (entry.type == IPC_QUEUE && entry.queue.messages > entry.queue.capacity)
        wrong.push_back(describe(entry) + ": it counts " + number(entry.queue.messages) +
                        " messages and has room for " + number(entry.queue.capacity));
    if (entry.type == IPC_TIMER && entry.timer.command > 5)
        wrong.push_back(describe(entry) + ": there is no request " + number(entry.timer.command));
    if (entry.type != IPC_PARTITION) return;
    const PartUse& use = object.part;
    if (!use.isKnown)
        wrong.push_back(describe(entry) + ": its " + number(entry.part.size) +
                        " bytes cannot be looked at");
    else if (use.isBroken)
        wrong.push_back(describe(entry) + ": its chain of blocks is broken");
    else if (use.head.curBlocks != use.allocatedBlocks || use.head.curBytes != use.allocatedBytes)
        wrong.push_back(describe(entry) + ": it counts " + number(use.head.curBlocks) +
                        " blocks of " + number(use.head.curBytes) + " bytes and has " +
                        number(use.allocatedBlocks) + " of " + number(use.allocatedBytes));
}

static void checkSums(const Table& table, std::vector<std::string>& wrong) {
    uint32_t bytes = 0;
    for (const TableEntry& object : table.entries)
        if (object.entry.type == IPC_PARTITION) bytes += object.entry.part.size;
    if (bytes != table.head.shmBytes)
        wrong.push_back("the table counts " + number(table.head.shmBytes) +
                        " bytes in partitions, their sizes make " + number(bytes));
    if (table.head.pageCount == 0) wrong.push_back("the table was never completed");
}

static void checkTable(const KeyDirectory& directory, const Table& table, Findings& findings) {
    findings.wrong = lockFaults(table);
    findings.wrong.insert(findings.wrong.end(), table.damage.begin(), table.damage.end());
    if (!isReadable(table)) return;
    for (const TableEntry& object : table.entries) {
        if (object.entry.type >= IPC_TYPES) continue;  // said already
        checkHolder(object.entry, findings);
        checkObjectsOf(directory, object.entry, findings.wrong);
        checkFigures(object, findings.wrong);
    }
    checkSums(table, findings.wrong);
    if (isLiving(table) && table.head.processCount > table.attached)
        findings.notes.push_back(number(table.head.processCount) + " processes are counted, and " +
                                 number(table.attached) +
                                 " have the table: the others ended without terminating");
}

static Findings lookOnce(const KeyDirectory& directory, uint32_t waitMs) {
    Findings findings;
    const Table table = readTable(directory, {waitMs, true});
    findings.error = table.error;
    checkTable(directory, table, findings);
    std::vector<Leftover> leftovers;
    if (findings.error == 0) findings.error = findLeftovers(directory, table, leftovers);
    if (findLostTable(directory, table) == LostTable::InUse)
        findings.wrong.emplace_back("processes use a table whose key file is gone");
    if (isReadable(table) && !isLiving(table))
        findings.wrong.emplace_back("no living process has the table");
    for (const Leftover& leftover : leftovers)
        findings.wrong.push_back("belongs to nobody: " + describe(leftover));
    return findings;
}

static void keepCommon(std::vector<std::string>& texts, const std::vector<std::string>& others) {
    std::erase_if(texts, [&](const std::string& text) {
        return std::find(others.begin(), others.end(), text) == others.end();
    });
}

Findings checkObjects(const KeyDirectory& directory, uint32_t waitMs) {
    Findings findings = lookOnce(directory, waitMs);
    if (findings.wrong.empty() || findings.error != 0) return findings;
    pauseFor(50);
    const Findings again = lookOnce(directory, waitMs);
    findings.error = again.error;
    keepCommon(findings.wrong, again.wrong);
    findings.notes = again.notes;
    return findings;
}
