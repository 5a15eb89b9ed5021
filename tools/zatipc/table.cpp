#include "table.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <set>

namespace {

struct Page {
    int segmentId;
    AttachedSegment memory;

    const IpcGlobalPage& content() const {
        return *static_cast<const IpcGlobalPage*>(memory.address());
    }
};

}  // namespace

std::string describe(const IpcObjectEntry& entry) {
    return shownName(nameOf(entry)) + " (" + typeOf(entry) + ')';
}

static std::string number(uint32_t value) {
    return std::to_string(value);
}

// The segments that have the key of one of the table's pages.
static std::set<int> segmentsOfPages(const KeyDirectory& directory) {
    std::vector<std::string> names;
    directory.list(names);
    std::set<int> segments;
    for (const std::string& name : names)
        if (meaningOf(name).kind == KeyFileKind::Page)
            segments.insert(objectsOf(directory.key(name)).segmentId);
    segments.erase(-1);
    return segments;
}

// Why a segment cannot be a page of the table; empty if it can.
static std::string refusal(int segmentId, const std::vector<Page>& before,
                           const std::set<int>& known) {
    const auto isThis = [&](const Page& page) { return page.segmentId == segmentId; };
    if (std::any_of(before.begin(), before.end(), isThis)) return "was a page before";
    SegmentState state;
    if (!lookAtSegment(segmentId, state)) return strerror(errno);
    if (state.size != sizeof(IpcGlobalPage)) return "has " + number(state.size) + " bytes";
    return before.empty() || known.contains(segmentId) ? "" : "has no key file of a page";
}

// Attaches the chain as far as it makes sense.
static std::vector<Page> attachPages(const KeyDirectory& directory, int first, Table& table) {
    std::vector<Page> pages;
    std::set<int> known;
    for (int next = first; next != -1; next = pages.back().content().nextShmId) {
        if (pages.size() == 1) known = segmentsOfPages(directory);
        std::string fault = refusal(next, pages, known);
        if (fault.empty()) {
            pages.push_back({next, AttachedSegment(next)});
            if (pages.back().memory.address() != nullptr) continue;
            fault = strerror(errno);
            pages.pop_back();
        }
        table.damage.push_back("page " + std::to_string(pages.size()) + " of the table: segment " +
                               std::to_string(next) + ' ' + fault);
        return pages;
    }
    table.isWhole = true;
    return pages;
}

static PartUse surveyed(const ShmHeap& heap, PartUse use) {
    ShmBlockWalk walk(heap);
    while (walk.next()) {
        if (shmIsAllocated(walk.tag())) {
            ++use.allocatedBlocks;
            use.allocatedBytes += walk.size();
        } else {
            ++use.freeBlocks;
            use.largestFree = std::max(use.largestFree, walk.size());
        }
    }
    use.isBroken = walk.isBroken();
    return use;
}

// Only a segment that has the key of the object's name is looked into.
static PartUse usePart(const KeyDirectory& directory, const IpcObjectEntry& entry, bool survey) {
    PartUse use;
    SegmentState state;
    const key_t key = directory.key(nameOf(entry) + ipcKindNames[IPC_PARTITION].suffix);
    if (entry.part.segmentId == -1 || objectsOf(key).segmentId != entry.part.segmentId ||
        !lookAtSegment(entry.part.segmentId, state))
        return use;
    use.attached = state.attached;
    if (entry.part.size < shmSmallestSegment || entry.part.size > state.size) return use;
    const AttachedSegment segment(entry.part.segmentId);
    if (segment.address() == nullptr) return use;
    const ShmHeap heap = shmHeapIn(static_cast<uint8_t*>(segment.address()), entry.part.size);
    use.isKnown = true;
    use.head = shmHeadOf(heap);
    return survey ? surveyed(heap, use) : use;
}

// The entries of a type, or those of none if it is IPC_TYPES.
static void copyEntries(const std::vector<Page>& pages, uint32_t type, Table& table) {
    for (uint32_t page = 0; page < pages.size(); ++page)
        for (uint32_t i = 0; i < IpcGlobalPage::entryCount; ++i) {
            // Without a lock it may change between the look and the copy.
            const IpcObjectEntry entry = pages[page].content().entries[i];
            if (entry.useCount > 0 && std::min<uint32_t>(entry.type, IPC_TYPES) == type)
                table.entries.push_back({page, i, entry, {}});
        }
}

static void copyType(const KeyDirectory& directory, const std::vector<Page>& pages, uint32_t type,
                     const ReadHow& how, Table& table) {
    TimedLock lock;
    const key_t key = directory.key(ipcKindNames[type].lock);
    table.locks[type] = lock.take(objectsOf(key).semId, how.waitMs);
    copyEntries(pages, type, table);
    if (type != IPC_PARTITION) return;
    table.head.shmBytes = pages[0].content().shmBytes;
    table.head.shmPeak = pages[0].content().shmPeak;
    for (TableEntry& object : table.entries)
        if (object.entry.type == IPC_PARTITION)
            object.part = usePart(directory, object.entry, how.survey);
}

static void findDamage(Table& table) {
    std::set<std::pair<uint32_t, std::string>> seen;
    for (const TableEntry& object : table.entries) {
        const IpcObjectEntry& entry = object.entry;
        const std::string place = "entry " + number(object.index) + " of page " +
                                  number(object.page) + ", " + describe(entry) + ": ";
        if (!hasName(entry)) table.damage.push_back(place + "the name has no end");
        if (entry.type >= IPC_TYPES) table.damage.push_back(place + "there is no such type");
        if (!seen.emplace(entry.type, nameOf(entry)).second)
            table.damage.push_back(place + "the object is there twice");
    }
    const uint32_t pages = static_cast<uint32_t>(table.segments.size());
    if (table.isWhole && table.head.pageCount < pages)
        table.damage.push_back("the table counts " + number(table.head.pageCount) +
                               " pages and has " + number(pages));
}

static void copyAll(const KeyDirectory& directory, int first, const ReadHow& how, Table& table) {
    const std::vector<Page> pages = attachPages(directory, first, table);
    if (pages.empty()) return;
    table.head = pages[0].content();
    for (const Page& page : pages)
        table.segments.push_back(page.segmentId);
    for (uint32_t type = 0; type < IPC_TYPES; ++type)
        copyType(directory, pages, type, how, table);
    copyEntries(pages, IPC_TYPES, table);
}

// One attempt; false when the table went, or came, while the lock was waited for.
static bool readOnce(const KeyDirectory& directory, const ReadHow& how, Table& table) {
    const key_t key = directory.key(ipcTableName);
    if (key == 0 && errno != ENOENT) table.error = errno;
    const SysvObjects objects = objectsOf(key);
    table.globalSem = objects.semId;
    if (objects.segmentId == -1) return true;
    table.exists = true;
    TimedLock global;
    LockState& state = table.locks[IPC_TYPES];
    if (how.holdsGlobal)
        state.result = LockResult::Held;
    else
        state = global.take(objects.semId, how.waitMs);
    const SysvObjects now = objectsOf(directory.key(ipcTableName));
    if (now.segmentId != objects.segmentId || now.semId != objects.semId) return false;
    SegmentState segment;
    if (lookAtSegment(objects.segmentId, segment)) {
        table.attached = segment.attached;
        table.isDead = segment.attached == 0;
    }
    copyAll(directory, objects.segmentId, how, table);
    return true;
}

Table readTable(const KeyDirectory& directory, const ReadHow& how) {
    Table table;
    constexpr int attempts = 5;  // in a system where processes come and go all the time
    for (int i = 1; !readOnce(directory, how, table) && i < attempts; ++i)
        table = {};
    const auto place = [](const TableEntry& object) {
        return std::pair(object.page, object.index);
    };
    std::sort(table.entries.begin(), table.entries.end(),
              [&](const TableEntry& a, const TableEntry& b) { return place(a) < place(b); });
    findDamage(table);
    return table;
}

std::vector<std::string> lockFaults(const Table& table) {
    std::vector<std::string> faults;
    if (!isReadable(table)) return faults;
    for (uint32_t i = 0; i <= IPC_TYPES; ++i) {
        const std::string text = lockText(table.locks[i]);
        const char* name = i == IPC_TYPES ? ipcTableName : ipcKindNames[i].lock;
        if (!text.empty()) faults.push_back(std::string("lock semaphore ") + name + ' ' + text);
    }
    return faults;
}
