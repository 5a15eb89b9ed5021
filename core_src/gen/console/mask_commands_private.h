/* The commands that open and close channels: as a whole (P0, P1), and by component and level (PS,
 * PC). Every channel has the same ones. */
#ifndef ZATOSW_GEN_MASK_COMMANDS_PRIVATE_H
#define ZATOSW_GEN_MASK_COMMANDS_PRIVATE_H

#include "gen/console/words_private.h"
#include "gen/trace/component_private.h"
#include "gen/trace/mask.h"

using GenMask = uint16_t zatGENTrcComp::*;

/* P0, P1. */
template <GenMask mask, uint16_t value>
void genRunSwitch(GenCommandLine&) {
    zatGENGetTrcMask(ZAT_GEN_SYSTEM)->*mask = value;
}

/* What a command does to a channel: to levels of all components, and to one component's mask. */
struct GenMaskChange {
    GenMask mask;
    void (*everyLevel)();
    ZatStatus (*level)(uint32_t level);
    bool sets;
};

#define ZAT_GEN_MASK_CHANGES(channel, mask)                                                        \
    inline constexpr GenMaskChange genSet##channel = {&zatGENTrcComp::mask, zatGEN##channel##Full, \
                                                      zatGEN##channel##SetAll, true};              \
    inline constexpr GenMaskChange genClear##channel = {                                           \
        &zatGENTrcComp::mask, zatGEN##channel##Clean, zatGEN##channel##ClearAll, false};
ZAT_GEN_CHANNELS(ZAT_GEN_MASK_CHANGES)
#undef ZAT_GEN_MASK_CHANGES

void genChangeMasks(const GenMaskChange& change, GenCommandLine& line);

/* PS, PC. */
template <const GenMaskChange& change>
void genRunMaskChange(GenCommandLine& line) {
    genChangeMasks(change, line);
}

#endif
