/* The kernel's list of what is mapped, asked about a range; see mapped_memory_private.h. */

#include "gen/console/mapped_memory_private.h"

#include "gen/console/console_private.h"
#include "gen/file_private.h"

bool genMayAccess(uint32_t address, uint32_t sizeBytes, GenAccess access) {
    const GenFile maps = genOpenFile("/proc/self/maps", "re");
    if (maps == nullptr) return false;
    const uint64_t end = uint64_t{address} + sizeBytes;
    uint64_t reached = address;
    char line[512];
    /* In ascending order; a path may make a line longer than this, and its rest is no mapping. */
    while (reached < end && fgets(line, sizeof line, maps.get()) != nullptr) {
        unsigned long long from = 0;
        unsigned long long to = 0;
        char rights[5] = "";
        if (sscanf(line, "%llx-%llx %4s", &from, &to, rights) != 3 || to <= reached) continue;
        const bool allowed = rights[0] == 'r' && (access == GenAccess::Read || rights[1] == 'w');
        if (from > reached || !allowed) return false;
        reached = to;
    }
    return reached >= end;
}

bool genCheckAccess(uint32_t address, uint32_t sizeBytes, GenAccess access) {
    const bool allowed = genMayAccess(address, sizeBytes, access);
    if (!allowed)
        genSay("< ERROR > no memory at %08lx for %lu bytes.\n", static_cast<unsigned long>(address),
               static_cast<unsigned long>(sizeBytes));
    return allowed;
}
