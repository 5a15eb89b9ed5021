/* The filter of the maintenance dumps: which components are recorded while it is on. */
#ifndef ZATOSW_GEN_TRACE_DUMP_FILTER_PRIVATE_H
#define ZATOSW_GEN_TRACE_DUMP_FILTER_PRIVATE_H

#include <stdint.h>

/* Whether a component's dumps are recorded. */
bool genDumpPasses(uint32_t component);

/* Forgets all components. */
void genFreeDumpFilter();

#endif
