/* Components; see component_private.h. */

#include "gen/trace/component.h"

#include <string.h>

#include <algorithm>

#include "clb/text.h"
#include "gen/trace/component_private.h"
#include "gen/trace/log_environment_private.h"
#include "osw/mem_header_private.h"
#include "osw/mem_part.h"

static zatGENTrcComp firstOthers = {ZAT_GEN_OTHERS, 0, 0, 0, 0, 0, 0, ZAT_GEN_DUMP_SIZE, "OTHERS"};
static zatGENTrcComp firstSystem = {ZAT_GEN_SYSTEM, 0, 0, 0, 0, 0, 0, ZAT_GEN_DUMP_SIZE, "SYSTEM"};
static zatGENTrcComp* firstRecords[] = {&firstOthers, &firstSystem};
static GenComponents firstComponents = {2, firstRecords, nullptr};

GenRegistry genRegistry = {&firstComponents, 0, &firstSystem, &firstOthers, {}};

int32_t genPositionOf(const GenComponents& components, uint32_t id) {
    const auto key = static_cast<int32_t>(id);
    int32_t low = 0;
    int32_t high = components.count;
    while (low < high) {
        const int32_t middle = (low + high) / 2;
        if (static_cast<int32_t>(components.records[middle]->id) < key)
            low = middle + 1;
        else
            high = middle;
    }
    return low;
}

zatGENTrcComp* genSearch(uint32_t id) {
    const GenComponentsUse components;
    const int32_t at = components.positionOf(id);
    if (at == components.count()) return nullptr;
    zatGENTrcComp* record = components[at];
    return record->id == id ? record : nullptr;
}

/* Those in place, and room for so many more; null when there is no memory. */
static GenComponents* copyComponents(uint32_t more) {
    GenComponents& now = *genRegistry.components;
    const uint64_t records = static_cast<uint64_t>(now.count) + more;
    const auto size = static_cast<uint32_t>(
        std::min<uint64_t>(sizeof now + records * sizeof(zatGENTrcComp*), UINT32_MAX));
    void* memory = nullptr;
    if (!oswHasRoom(size) || zatOSWOrgAllocMemPart(0, &memory, size) != ZAT_OK) return nullptr;
    auto* copy = static_cast<GenComponents*>(memory);
    *copy = {now.count, reinterpret_cast<zatGENTrcComp**>(copy + 1), &now};
    std::copy_n(now.records, now.count, copy->records);
    return copy;
}

/* Adds a record, for which there is room; it takes the place of one with its id. */
static void place(GenComponents& components, zatGENTrcComp* record) {
    zatGENTrcComp** slot = components.records + genPositionOf(components, record->id);
    zatGENTrcComp** end = components.records + components.count;
    if (slot == end || (*slot)->id != record->id) {
        std::move_backward(slot, end, end + 1);
        ++components.count;
    }
    *slot = record;
}

/* Lets messages find a record the short way. */
static void noteRecord(zatGENTrcComp* record) {
    zatGENTrcComp*& shortcut = genShortcut(record->id);
    if (shortcut == nullptr || shortcut->id == record->id) shortcut = record;
    if (record->id == ZAT_GEN_SYSTEM) genRegistry.system = record;
    if (record->id == ZAT_GEN_OTHERS) genRegistry.others = record;
}

/* Frees what was in place before, down to what the library began with. */
static void freeRetired(GenComponents& components) {
    GenComponents* retired = components.retired;
    components.retired = nullptr;
    while (retired != nullptr && retired != &firstComponents) {
        GenComponents* before = retired->retired;
        zatOSWOrgFreeMemPart(0, retired);
        retired = before;
    }
}

void genRegister(zatGENTrcComp* table, uint32_t count) {
    GenComponents* components = copyComponents(count);
    if (components == nullptr) return;
    for (uint32_t i = 0; i < count; ++i)
        place(*components, &table[i]);
    __atomic_store_n(&genRegistry.components, components, __ATOMIC_SEQ_CST);
    /* Whoever comes now has the new one. */
    if (__atomic_load_n(&genRegistry.users, __ATOMIC_SEQ_CST) == 0) freeRetired(*components);
    for (uint32_t i = 0; i < count; ++i)
        noteRecord(&table[i]);
}

void genRegistryReset() {
    memset(genRegistry.shortcuts, 0, sizeof genRegistry.shortcuts);
    firstRecords[0] = genRegistry.others = &firstOthers;
    firstRecords[1] = genRegistry.system = &firstSystem;
    GenComponents all = {0, nullptr, genRegistry.components};
    __atomic_store_n(&genRegistry.components, &firstComponents, __ATOMIC_SEQ_CST);
    freeRetired(all);
}

ZatStatus zatGENAddTraceId(zatGENTrcComp* table, uint32_t count) {
    genRegister(table, count);
    genMakeUserLogs();
    return ZAT_OK;
}

zatGENTrcComp* zatGENGetTrcMask(uint32_t component) {
    return &genComponent(component);
}

zatGENTrcComp* zatGENGetTrcMaskById(uint32_t component) {
    return genFind(component);
}

zatGENTrcComp* zatGENGetTrcMaskByName(const char* name) {
    if (name == nullptr) return nullptr;
    const GenComponentsUse components;
    for (int32_t i = 0; i < components.count(); ++i) {
        zatGENTrcComp* record = components[i];
        if (record->name != nullptr && zatCLBCompStrCase(record->name, name) == 0) return record;
    }
    return nullptr;
}

ZatStatus zatGENGetTrcCompNum(int32_t* count) {
    if (count == nullptr) return ZAT_FAILED;
    *count = GenComponentsUse().count();
    return ZAT_OK;
}

ZatStatus zatGENSetDumpSize(uint32_t component, uint32_t sizeBytes) {
    genComponent(component).dumpsize = sizeBytes;
    return ZAT_OK;
}
