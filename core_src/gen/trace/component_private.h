/*
 * The registry of components: records of others, by pointer, sorted by signed id.
 *
 * Nobody guards it: registration is for start-up. But messages may be under way, also when a
 * library that is loaded later registers its own: a registration makes an array anew and puts it in
 * place as a whole, and the one before it stays until the next. Whoever calls what may register in
 * turn keeps no position in the array across the call.
 */
#ifndef ZATOSW_GEN_TRACE_COMPONENT_PRIVATE_H
#define ZATOSW_GEN_TRACE_COMPONENT_PRIVATE_H

#include "gen/trace/component.h"

constexpr uint32_t genHighestLevel = 15; /* its bits are those of a level */
constexpr uint16_t genAllLevels = 0xFFFF;

struct GenComponents {
    int32_t count;
    zatGENTrcComp** records;
};

struct GenRegistry {
    static constexpr uint32_t shortcutBits = 11;
    const GenComponents* components;
    /* The two that are asked for most; they are in the array, too. */
    zatGENTrcComp* system;
    zatGENTrcComp* others;
    /* Every message looks its component up: here by a hash of its id. A place belongs to the first
     * component that hashes to it; the others are searched for in the array. */
    zatGENTrcComp* shortcuts[1u << shortcutBits];
};

extern GenRegistry genRegistry;

inline const GenComponents& genComponents() {
    return *__atomic_load_n(&genRegistry.components, __ATOMIC_ACQUIRE);
}

inline zatGENTrcComp*& genShortcut(uint32_t id) {
    return genRegistry.shortcuts[id * 2654435769u >> (32 - GenRegistry::shortcutBits)];
}

/* The record of a component by a search, null when it is not registered. */
zatGENTrcComp* genSearch(uint32_t id);

inline zatGENTrcComp* genFind(uint32_t id) {
    zatGENTrcComp* record = genShortcut(id);
    return record != nullptr && record->id == id ? record : genSearch(id);
}

/* The record of a component, that of OTHERS when it is not registered. */
inline zatGENTrcComp& genComponent(uint32_t id) {
    zatGENTrcComp* record = genFind(id);
    return record != nullptr ? *record : *genRegistry.others;
}

/* Registers records, without a look at the environment. */
void genRegister(zatGENTrcComp* table, uint32_t count);

/* Back to the two records of the start. */
void genRegistryReset();

#endif
