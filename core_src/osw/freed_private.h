/* Memory that is freed at the end of its scope. */
#ifndef ZATOSW_OSW_FREED_PRIVATE_H
#define ZATOSW_OSW_FREED_PRIVATE_H

#include <stdlib.h>

#include <memory>

#include "osw/mem_part.h"

struct OswFree {
    void operator()(void* block) const { free(block); }
};

/* Of malloc(). */
template <class Content>
using OswFreed = std::unique_ptr<Content, OswFree>;

struct OswFreePart {
    void operator()(void* block) const { zatOSWOrgFreeMemPart(0, block); }
};

/* Of partition 0. */
template <class Content>
using OswPartFreed = std::unique_ptr<Content, OswFreePart>;

#endif
