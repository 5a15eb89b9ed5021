// What belongs to nobody: key files and System V objects that no living process can be using.
#ifndef ZATIPC_LEFTOVER_H
#define ZATIPC_LEFTOVER_H

#include <string>
#include <vector>

#include "table.h"

struct Leftover {
    std::string file;  // its key file
    KeyFileMeaning meaning;
    SysvObjects objects;  // those that are the library's

    // The key file alone: the library keeps those of further pages.
    bool isAlone() const {
        return objects.semId == -1 && objects.queueId == -1 && objects.segmentId == -1;
    }
};

// "key file ready_esem, semaphore 131074"
std::string describe(const Leftover& leftover);

// Whether some process has the table, as far as can be seen: then only what is in no entry belongs
// to nobody.
inline bool isLiving(const Table& table) {
    return table.exists && !table.isDead;
}

// Whether a living table tells for certain what is in it.
inline bool isTrustworthy(const Table& table) {
    return table.isWhole && table.damage.empty() && table.head.pageCount > 0;
}

// Why nothing may be called nobody's, although it may look so; empty = it may.
std::string whyNotTold(const KeyDirectory& directory, const Table& table);

// Sorted by file; none where it cannot be told. Returns 0, or an error number when the directory
// cannot be read.
int findLeftovers(const KeyDirectory& directory, const Table& table, std::vector<Leftover>& found);

#endif
