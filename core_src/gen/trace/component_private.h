/*
 * The registry of components: records of others, by pointer, sorted by signed id.
 *
 * Nobody guards it: registration is for start-up. But messages may be under way, also when a
 * library that is loaded later registers its own: a registration makes an array anew and puts it in
 * place as a whole. Those before it are freed when nobody is seen to use one. Whoever calls what
 * may register in turn keeps no position in the array across the call.
 */
#ifndef ZATOSW_GEN_TRACE_COMPONENT_PRIVATE_H
#define ZATOSW_GEN_TRACE_COMPONENT_PRIVATE_H

#include "gen/trace/component.h"

constexpr uint32_t genHighestLevel = 15; /* its bits are those of a level */
constexpr uint16_t genAllLevels = 0xFFFF;

struct GenComponents {
    int32_t count;
    zatGENTrcComp** records;
    GenComponents* retired; /* the one before it, if that is not freed yet */
};

struct GenRegistry {
    static constexpr uint32_t shortcutBits = 12;
    GenComponents* components;
    uint32_t users; /* of the array in place, or of one that was */
    /* The two that are asked for most; they are in the array, too. */
    zatGENTrcComp* system;
    zatGENTrcComp* others;
    /* Every message looks its component up: here by a hash of its id. A place belongs to the first
     * component that hashes to it; the others are searched for in the array. */
    zatGENTrcComp* shortcuts[1u << shortcutBits];
};

extern GenRegistry genRegistry;

/* Where the record with an id is, or would have to be inserted. */
int32_t genPositionOf(const GenComponents& components, uint32_t id);

/* The components, which stay as they are until the end of the scope. */
class GenComponentsUse {
  public:
    GenComponentsUse() {
        __atomic_fetch_add(&genRegistry.users, 1, __ATOMIC_SEQ_CST);
        components_ = __atomic_load_n(&genRegistry.components, __ATOMIC_SEQ_CST);
    }
    GenComponentsUse(const GenComponentsUse&) = delete;
    GenComponentsUse& operator=(const GenComponentsUse&) = delete;
    ~GenComponentsUse() { __atomic_fetch_sub(&genRegistry.users, 1, __ATOMIC_SEQ_CST); }

    int32_t count() const { return components_->count; }
    zatGENTrcComp* operator[](int32_t at) const { return components_->records[at]; }
    int32_t positionOf(uint32_t id) const { return genPositionOf(*components_, id); }

  private:
    const GenComponents* components_;
};

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
