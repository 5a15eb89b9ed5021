#include "lost_table.h"

#include <stdio.h>

#include <algorithm>
#include <memory>

// The segments of the size of a page that somebody has attached. False when nobody tells.
static bool listPages(std::vector<int>& segments) {
    const auto close = [](FILE* open) { fclose(open); };
    const std::unique_ptr<FILE, decltype(close)> list(fopen("/proc/sysvipc/shm", "re"), close);
    if (list == nullptr) return false;
    char line[512];
    while (fgets(line, sizeof line, list.get()) != nullptr) {
        int id = 0;
        unsigned long long size = 0;
        unsigned long attached = 0;
        if (sscanf(line, "%*d %d %*o %llu %*u %*u %lu", &id, &size, &attached) == 3 &&
            size == sizeof(IpcGlobalPage) && attached > 0)
            segments.push_back(id);
    }
    return true;
}

static bool isOfDirectory(const KeyDirectory& directory, const IpcObjectEntry& entry) {
    if (entry.useCount == 0 || entry.type >= IPC_TYPES) return false;
    const KindNames& kind = kindNames[entry.type];
    const SysvObjects named = objectsIn(entry);
    const SysvObjects real = ownObjects(
        objectsOf(directory.key(nameOf(entry) + ipcKindNames[entry.type].suffix)), kind.shape);
    return (named.semId != -1 && named.semId == real.semId) ||
           (named.segmentId != -1 && named.segmentId == real.segmentId);
}

LostTable findLostTable(const KeyDirectory& directory, const Table& table) {
    std::vector<int> segments;
    if (!listPages(segments)) return LostTable::Unknown;
    for (const int segmentId : segments) {
        const std::vector<int>& own = table.segments;
        if (std::find(own.begin(), own.end(), segmentId) != own.end()) continue;
        const AttachedSegment segment(segmentId);
        if (segment.address() == nullptr) continue;
        const auto& entries = static_cast<const IpcGlobalPage*>(segment.address())->entries;
        if (std::any_of(std::begin(entries), std::end(entries),
                        [&](IpcObjectEntry entry) { return isOfDirectory(directory, entry); }))
            return LostTable::InUse;
    }
    return LostTable::None;
}
