/*
 * Stacks of tasks: where they lie, that they start clean, and how deep they were used.
 *
 * A stack is expected to read as zero where it was never used; its deepest use is found by counting
 * the zero bytes from its low end.
 */
#ifndef ZATOSW_OSW_STACK_PRIVATE_H
#define ZATOSW_OSW_STACK_PRIVATE_H

#include <stdint.h>

/* Bytes at the low end of a stack that belong to its guard page. */
constexpr uint32_t oswStackGuardSize = 4096;

/* The calling thread's stack, as addresses. */
struct OswStackMap {
    uint32_t current; /* of a local variable of the query */
    uint32_t lowest;  /* usable */
    uint32_t highest;
};

/* False, with nothing written, when the thread library does not tell. */
bool oswQueryStack(OswStackMap& map);

/*
 * Makes the calling thread's unused stack read as zero. The thread library hands used stacks out
 * again, and does not clean them.
 */
void oswCleanStack(const OswStackMap& map);

/* The deepest use so far of a stack that is still there, in bytes. */
uint32_t oswStackPeak(uint32_t highest, uint32_t sizeBytes);

#endif
