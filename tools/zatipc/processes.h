// Who uses a table.
#ifndef ZATIPC_PROCESSES_H
#define ZATIPC_PROCESSES_H

#include <stdint.h>

#include <string>
#include <vector>

struct Process {
    uint32_t number;
    std::string name;  // as the kernel has it
};

// The processes that have a segment attached, as far as they may be looked at: those of other users
// may not, unless by the superuser.
std::vector<Process> processesWith(int segmentId);

#endif
