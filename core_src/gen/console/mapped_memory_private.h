/* Whether addresses that somebody typed lead to memory. */
#ifndef ZATOSW_GEN_MAPPED_MEMORY_PRIVATE_H
#define ZATOSW_GEN_MAPPED_MEMORY_PRIVATE_H

#include <stdint.h>

enum class GenAccess { Read, Write };

/* Whether the process may read, or also write, all of a range now. Tasks that unmap memory
 * meanwhile are not kept from it. */
bool genMayAccess(uint32_t address, uint32_t sizeBytes, GenAccess access);

/* The same, and says so when it may not. */
bool genCheckAccess(uint32_t address, uint32_t sizeBytes, GenAccess access);

#endif
