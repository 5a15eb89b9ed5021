// What is wrong with the objects of a key directory.
#ifndef ZATIPC_CHECK_H
#define ZATIPC_CHECK_H

#include <string>
#include <vector>

#include "directory.h"

struct Findings {
    std::vector<std::string> wrong;
    std::vector<std::string> notes;  // worth knowing, and mended by the library itself
    int error = 0;                   // why it could not be looked at
};

// Looks twice when something seems wrong: what a busy system does between two steps is gone by
// then.
Findings checkObjects(const KeyDirectory& directory, uint32_t waitMs);

#endif
