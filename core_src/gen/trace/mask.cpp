/* The mask calls: one set of operations, for the mask of each channel. */

#include "gen/trace/mask.h"

#include "gen/trace/component_private.h"

using Mask = uint16_t zatGENTrcComp::*;

/* Keeps some bits of a mask and sets others. */
static void change(zatGENTrcComp& component, Mask mask, uint32_t keep, uint32_t set) {
    component.*mask = static_cast<uint16_t>((component.*mask & keep) | set);
}

static void changeAll(Mask mask, uint32_t keep, uint32_t set) {
    const GenComponentsUse components;
    for (int32_t i = 0; i < components.count(); ++i)
        if (components[i]->id != ZAT_GEN_SYSTEM) change(*components[i], mask, keep, set);
}

template <Mask mask>
struct MaskCalls {
    static ZatStatus Set(uint32_t component, uint32_t bit) {
        if (bit > genHighestLevel) return ZAT_GEN_BAD_MASK_BIT;
        change(genComponent(component), mask, genAllLevels, 1u << bit);
        return ZAT_OK;
    }
    static ZatStatus Clr(uint32_t component, uint32_t bit) {
        if (bit > genHighestLevel) return ZAT_GEN_BAD_MASK_BIT;
        change(genComponent(component), mask, ~(1u << bit), 0);
        return ZAT_OK;
    }
    static ZatStatus Zero(uint32_t component) {
        change(genComponent(component), mask, 0, 0);
        return ZAT_OK;
    }
    static ZatStatus All(uint32_t component) {
        change(genComponent(component), mask, 0, genAllLevels);
        return ZAT_OK;
    }
    static void Clean() { changeAll(mask, 0, 0); }
    static void Full() { changeAll(mask, 0, genAllLevels); }
    static ZatStatus ClearAll(uint32_t bit) {
        if (bit > genHighestLevel) return ZAT_GEN_BAD_MASK_BIT;
        changeAll(mask, ~(1u << bit), 0);
        return ZAT_OK;
    }
    static ZatStatus SetAll(uint32_t bit) {
        if (bit > genHighestLevel) return ZAT_GEN_BAD_MASK_BIT;
        changeAll(mask, genAllLevels, 1u << bit);
        return ZAT_OK;
    }
};

#define DEFINE_CALL(channel, mask, operation, result, parameters, arguments) \
    result zatGEN##channel##operation parameters {                           \
        return MaskCalls<&zatGENTrcComp::mask>::operation arguments;         \
    }
#define DEFINE_CALLS(channel, mask) ZAT_GEN_MASK_OPERATIONS(DEFINE_CALL, channel, mask)
ZAT_GEN_CHANNELS(DEFINE_CALLS)
