/* The limits on the stacks of new tasks, read once from the environment. */
#ifndef ZATOSW_OSW_STACK_LIMITS_PRIVATE_H
#define ZATOSW_OSW_STACK_LIMITS_PRIVATE_H

#include <stdint.h>

struct OswStackLimits {
    uint32_t minimum; /* bytes that a task may ask for */
    uint32_t maximum; /* bytes that a task may ask for, and that its thread gets */
    uint32_t extra;   /* bytes that its thread gets beyond what it asked for */
};

extern OswStackLimits oswStackLimits;

/* Reads OSW_TASK_STACK_ENV: "minimum,maximum,extra". */
void oswReadStackLimits();

#endif
