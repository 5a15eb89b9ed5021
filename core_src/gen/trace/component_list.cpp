/* The registry of components as a table. */

#include "gen/paging_private.h"
#include "gen/trace/component_private.h"
#include "gen/trace/listing.h"
#include "gen/trace/output.h"

static constexpr uint32_t type = ZAT_GEN_TRACE | ZAT_GEN_MONITOR;
static constexpr uint32_t generalServices = 0x2000;

struct Listing {
    uint32_t component;
    uint32_t level;
    const char* header;
    const char* rule;
};

static void print(const Listing& listing, const zatGENTrcComp& record) {
    zatGENTrcPrintf(listing.component, type, listing.level,
                    " %8d   %8s       %04hx    %04hx    %04hx        %d\n",
                    static_cast<int>(record.id), record.name, record.prnmask, record.trcmask,
                    record.logmask, static_cast<int>(record.dumpsize));
    zatGENTrcPrintf(listing.component, type, listing.level,
                    " 0x%08lx                %04hx    %04hx    %04hx\n",
                    static_cast<unsigned long>(record.id), record.monprnmask, record.montrcmask,
                    record.monlogmask);
}

/* The first component above the one shown last; whoever prints or answers may register others. */
static const zatGENTrcComp* following(const zatGENTrcComp* last) {
    const GenComponentsUse components;
    for (int32_t i = 0; i < components.count(); ++i) {
        const zatGENTrcComp* record = components[i];
        if (last == nullptr || static_cast<int32_t>(record->id) > static_cast<int32_t>(last->id))
            return record;
    }
    return nullptr;
}

static void list(const Listing& listing) {
    uint32_t shown = 0;
    for (const zatGENTrcComp* record = following(nullptr); record != nullptr;
         record = following(record), ++shown) {
        if (shown % genPageRows == 0) {
            if (shown > 0 && !genAskForPage(generalServices, listing.level)) return;
            zatGENTrcPrintf(listing.component, type, listing.level, "%s", listing.header);
            zatGENTrcPrintf(listing.component, type, listing.level, "%s", listing.rule);
        }
        print(listing, *record);
    }
}

void zatGENShowComp(uint32_t component, uint32_t level) {
    list({component, level, "    Id       Component   prnmask trcmask logmask   dumpsize\n",
          "--------------------------------------------------------------\n"});
}

void zatGENShowComponent(void) {
    list({generalServices, 0, "    Id     Component   prnmask trcmask logmask   dumpsize\n",
          "------------------------------------------------------------\n"});
}
