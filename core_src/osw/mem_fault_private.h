/*
 * Memory faults are fatal: a message, a deliberate crash, and, if the process survives, a last line
 * with which the calling task ends.
 */
#ifndef ZATOSW_OSW_MEM_FAULT_PRIVATE_H
#define ZATOSW_OSW_MEM_FAULT_PRIVATE_H

#include "osw/types.h"

/* The calls whose failures are fatal; each gives its name to the messages. */
#define OSW_SYS_ALLOC "zatOSWSysAllocMemPart"
#define OSW_SYS_ALLOC_BOTTOM "zatOSWSysAllocBottomMemPart"
#define OSW_SYS_ALIGN_ALLOC "zatOSWSysAlignAllocMemPart"
#define OSW_SYS_ALIGN_ALLOC_BOTTOM "zatOSWSysAlignAllocBottomMemPart"
#define OSW_ORG_ALLOC "zatOSWOrgAllocMemPart"
#define OSW_SYS_FREE "zatOSWSysFreeMemPart"
#define OSW_ORG_FREE "zatOSWOrgFreeMemPart"

/* Whether the crash comes before the message, which then is seen only by a process that survives.
 */
enum class OswCrash { BeforeMessage, AfterMessage };

void oswAllocFault(const char* function, OswCrash order, int line);

void oswFreeFault(const char* function, ZatPartition partition, const void* block, ZatStatus status,
                  int line);

/* The block's header is damaged, or the block was freed before. */
void oswHeaderFault(const char* function, const void* block, uint32_t caller, int line);

#endif
