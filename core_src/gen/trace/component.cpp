/* Components; see component_private.h. */

#include "gen/trace/component.h"

#include <string.h>

#include <algorithm>

#include "clb/text.h"
#include "gen/trace/component_private.h"
#include "gen/trace/log_environment_private.h"
#include "osw/mem_part.h"

static constexpr int32_t firstCount = 2;

static zatGENTrcComp firstOthers = {ZAT_GEN_OTHERS, 0, 0, 0, 0, 0, 0, ZAT_GEN_DUMP_SIZE, "OTHERS"};
static zatGENTrcComp firstSystem = {ZAT_GEN_SYSTEM, 0, 0, 0, 0, 0, 0, ZAT_GEN_DUMP_SIZE, "SYSTEM"};
static zatGENTrcComp* firstRecords[firstCount] = {&firstOthers, &firstSystem};

GenRegistry genRegistry = {firstRecords, firstCount, &firstSystem, &firstOthers, {}};

static int32_t countNow() {
    return __atomic_load_n(&genRegistry.count, __ATOMIC_ACQUIRE);
}

static void setCount(int32_t count) {
    __atomic_store_n(&genRegistry.count, count, __ATOMIC_RELEASE);
}

/* Where the record with the id is, or would have to be inserted. */
static int32_t positionOf(uint32_t id) {
    const auto key = static_cast<int32_t>(id);
    int32_t low = 0;
    int32_t high = countNow();
    while (low < high) {
        const int32_t middle = (low + high) / 2;
        if (static_cast<int32_t>(genRegistry.records[middle]->id) < key)
            low = middle + 1;
        else
            high = middle;
    }
    return low;
}

zatGENTrcComp* genSearch(uint32_t id) {
    const int32_t at = positionOf(id);
    if (at == countNow()) return nullptr;
    zatGENTrcComp* record = genRegistry.records[at];
    return record->id == id ? record : nullptr;
}

/* Room for so many records more; false when there is none, and the registry is as it was. */
static bool grow(uint32_t more) {
    const uint64_t wanted =
        (static_cast<uint64_t>(genRegistry.count) + more) * sizeof(zatGENTrcComp*);
    const auto size = static_cast<uint32_t>(std::min<uint64_t>(wanted, UINT32_MAX));
    const bool isFirst = genRegistry.records == firstRecords;
    void* memory = nullptr;
    const ZatStatus status = isFirst
                                 ? zatOSWOrgAllocMemPart(0, &memory, size)
                                 : zatOSWOrgReAllocMemPart(0, &memory, genRegistry.records, size);
    if (status != ZAT_OK) return false;
    auto** records = static_cast<zatGENTrcComp**>(memory);
    if (isFirst) std::copy_n(firstRecords, firstCount, records);
    __atomic_store_n(&genRegistry.records, records, __ATOMIC_RELEASE);
    return true;
}

/* Registers one record, for which there is room. */
static void place(zatGENTrcComp* record) {
    const int32_t count = genRegistry.count;
    const int32_t at = positionOf(record->id);
    zatGENTrcComp** slot = genRegistry.records + at;
    if (at == count || (*slot)->id != record->id) {
        zatGENTrcComp** end = genRegistry.records + count;
        std::move_backward(slot, end, end + 1);
        setCount(count + 1);
    }
    *slot = record;
    zatGENTrcComp*& shortcut = genShortcut(record->id);
    if (shortcut == nullptr || shortcut->id == record->id) shortcut = record;
    if (record->id == ZAT_GEN_SYSTEM) genRegistry.system = record;
    if (record->id == ZAT_GEN_OTHERS) genRegistry.others = record;
}

void genRegister(zatGENTrcComp* table, uint32_t count) {
    if (!grow(count)) return;
    for (uint32_t i = 0; i < count; ++i)
        place(&table[i]);
}

void genRegistryReset() {
    zatGENTrcComp** records = genRegistry.records;
    memset(genRegistry.shortcuts, 0, sizeof genRegistry.shortcuts);
    setCount(firstCount);
    genRegistry.records = firstRecords;
    firstRecords[0] = genRegistry.others = &firstOthers;
    firstRecords[1] = genRegistry.system = &firstSystem;
    if (records != firstRecords) zatOSWOrgFreeMemPart(0, records);
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
    for (int32_t i = 0; i < countNow(); ++i) {
        zatGENTrcComp* record = genRegistry.records[i];
        if (record->name != nullptr && zatCLBCompStrCase(record->name, name) == 0) return record;
    }
    return nullptr;
}

ZatStatus zatGENGetTrcCompNum(int32_t* count) {
    if (count == nullptr) return ZAT_FAILED;
    *count = countNow();
    return ZAT_OK;
}

ZatStatus zatGENSetDumpSize(uint32_t component, uint32_t sizeBytes) {
    genComponent(component).dumpsize = sizeBytes;
    return ZAT_OK;
}
