// Removing what a dead system left behind.
//
// With a living process, whatever is in the table stays, and the global semaphore is held: without
// it nobody makes or removes an object. With none, everything goes under the lock of the table's
// key file as well, in the library's own order: a process that comes meanwhile waits, finds the
// file gone and starts over.
#ifndef ZATIPC_CLEAN_H
#define ZATIPC_CLEAN_H

#include "leftover.h"

struct Cleaning {
    std::vector<std::string> removed;
    std::string failure;  // what kept it from going on; empty = nothing
};

// What there is to remove. Returns 0, or an error number when the directory cannot be read; refusal
// tells why nothing may be removed.
int planCleaning(const KeyDirectory& directory, uint32_t waitMs, std::vector<Leftover>& plan,
                 std::string& refusal);

// Removes what is planned, as far as it is still nobody's.
Cleaning cleanUp(const KeyDirectory& directory, uint32_t waitMs, const std::vector<Leftover>& plan);

#endif
