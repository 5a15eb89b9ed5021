/* Memory of malloc() that is freed at the end of its scope. */
#ifndef ZATOSW_OSW_FREED_PRIVATE_H
#define ZATOSW_OSW_FREED_PRIVATE_H

#include <stdlib.h>

#include <memory>

struct OswFree {
    void operator()(void* block) const { free(block); }
};

template <class Content>
using OswFreed = std::unique_ptr<Content, OswFree>;

#endif
