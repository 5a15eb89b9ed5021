#include "leftover.h"

#include <algorithm>

#include "lost_table.h"
#include "osw/ipc/sysv_private.h"

std::string describe(const Leftover& leftover) {
    const SysvObjects& objects = leftover.objects;
    const auto part = [](const char* what, int id) {
        return id == -1 ? std::string() : std::string(", ") + what + ' ' + std::to_string(id);
    };
    return "key file " + shownName(leftover.file) + part("semaphore", objects.semId) +
           part("queue", objects.queueId) + part("segment", objects.segmentId);
}

static bool isInTable(const Table& table, const KeyFileMeaning& meaning) {
    return std::any_of(table.entries.begin(), table.entries.end(), [&](const TableEntry& object) {
        return object.entry.type == meaning.type && nameOf(object.entry) == meaning.object;
    });
}

// Whether somebody sleeps on it or has it attached. Of a table that was lost before anything was in
// it, the locks tell who used them last; with a table, that was this program.
static bool isInUse(const Table& table, const Leftover& leftover) {
    const SysvObjects& objects = leftover.objects;
    if (!table.exists && leftover.meaning.kind == KeyFileKind::TypeLock &&
        isAlive(oswSysvLastProcess(objects.semId)))
        return true;
    for (int i = 0; i < objects.semaphores; ++i)
        if (oswSysvBlocked(objects.semId, static_cast<uint16_t>(i)) > 0) return true;
    SegmentState state;
    return objects.segmentId != -1 && lookAtSegment(objects.segmentId, state) && state.attached > 0;
}

// With a living table: what is in no entry and in no page.
static bool isOrphan(const Table& table, const Leftover& candidate) {
    const std::vector<int>& pages = table.segments;
    switch (candidate.meaning.kind) {
    case KeyFileKind::Object:
        return !isInTable(table, candidate.meaning);
    case KeyFileKind::Page:
        return !candidate.isAlone() &&
               std::find(pages.begin(), pages.end(), candidate.objects.segmentId) == pages.end();
    default:
        return false;
    }
}

static bool isLeftover(const Table& table, const Leftover& candidate) {
    const KeyFileKind kind = candidate.meaning.kind;
    if (kind == KeyFileKind::Other) return false;
    if (isLiving(table)) return isOrphan(table, candidate);
    // The files of further pages stay when the last process has gone, and are used again.
    return kind != KeyFileKind::Page || !candidate.isAlone();
}

std::string whyNotTold(const KeyDirectory& directory, const Table& table) {
    if (isLiving(table) && !isTrustworthy(table)) return "the table is in use and damaged";
    switch (findLostTable(directory, table)) {
    case LostTable::InUse:
        return "processes use a table whose key file is gone";
    case LostTable::Unknown:
        return "the kernel's list of shared memory cannot be read";
    default:
        return {};
    }
}

int findLeftovers(const KeyDirectory& directory, const Table& table, std::vector<Leftover>& found) {
    std::vector<std::string> files;
    if (const int error = directory.list(files); error != 0) return error;
    if (!whyNotTold(directory, table).empty()) return 0;
    for (std::string& file : files) {
        Leftover candidate = {std::move(file), {}, {}};
        candidate.meaning = meaningOf(candidate.file);
        if (candidate.meaning.kind == KeyFileKind::Other) continue;
        const key_t key = directory.key(candidate.file);
        if (key == 0) continue;  // gone meanwhile
        candidate.objects = ownObjects(objectsOf(key), candidate.meaning.shape);
        if (isLeftover(table, candidate) && !isInUse(table, candidate)) found.push_back(candidate);
    }
    return 0;
}
