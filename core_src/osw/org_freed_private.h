/* Memory of partition 0 that is freed at the end of its scope, unless it is released before. */
#ifndef ZATOSW_OSW_ORG_FREED_PRIVATE_H
#define ZATOSW_OSW_ORG_FREED_PRIVATE_H

#include <memory>

#include "osw/mem_part.h"

struct OswOrgFree {
    void operator()(void* block) const { zatOSWOrgFreeMemPart(0, block); }
};

template <class Content>
using OswOrgFreed = std::unique_ptr<Content, OswOrgFree>;

#endif
