/*
 * The filter of the maintenance dumps: a list of component ids, changed under the task lock and
 * read without. A node whose id is 0 is free; component 0 itself is named by none.
 */

#include "gen/trace/dump_filter_private.h"

#include "gen/task_lock_private.h"
#include "gen/trace/maintenance_log.h"
#include "osw/mem_part.h"

struct FilterNode {
    FilterNode* next;
    uint32_t component;
};

static constexpr uint32_t freeNode = 0;

static uint32_t isOn;
static FilterNode* nodes;

static FilterNode* following(FilterNode* const& link) {
    return __atomic_load_n(&link, __ATOMIC_ACQUIRE);
}

static FilterNode* find(uint32_t component) {
    FilterNode* node = following(nodes);
    while (node != nullptr && node->component != component)
        node = following(node->next);
    return node;
}

static bool isNamed(uint32_t component) {
    return component != freeNode && find(component) != nullptr;
}

bool genDumpPasses(uint32_t component) {
    return isOn == 0 || isNamed(component);
}

/* Under the task lock: names a component by a free node, or by a new one if there is one. */
static bool name(uint32_t component, FilterNode* fresh) {
    if (isNamed(component)) return true;
    if (FilterNode* reused = find(freeNode)) {
        reused->component = component;
        return true;
    }
    if (fresh == nullptr) return false;
    *fresh = {nullptr, component};
    FilterNode** last = &nodes;
    while (*last != nullptr)
        last = &(*last)->next;
    __atomic_store_n(last, fresh, __ATOMIC_RELEASE);
    return true;
}

ZatStatus zatGENTrcMcDumpMaskSet(uint32_t component) {
    /* There is no other way to name it than a node that counts as free. */
    if (component == freeNode) return ZAT_OK;
    {
        const GenTaskLock lock;
        if (!lock.isHeld() || name(component, nullptr)) return ZAT_OK;
    }
    void* memory = nullptr;
    const ZatStatus status = zatOSWOrgAllocMemPart(0, &memory, sizeof(FilterNode));
    if (status != ZAT_OK) return status;
    auto* fresh = static_cast<FilterNode*>(memory);
    *fresh = {};
    bool isLinked = false;
    {
        const GenTaskLock lock;
        isLinked = lock.isHeld() && name(component, fresh) && fresh->component == component;
    }
    /* Another task may have named it meanwhile. */
    if (!isLinked) zatOSWOrgFreeMemPart(0, memory);
    return ZAT_OK;
}

ZatStatus zatGENTrcMcDumpMaskClr(uint32_t component) {
    const GenTaskLock lock;
    if (FilterNode* node = find(component)) node->component = freeNode;
    return ZAT_OK;
}

ZatStatus zatGENTrcMcDumpMaskEnable(void) {
    isOn = 1;
    return ZAT_OK;
}

ZatStatus zatGENTrcMcDumpMaskDisable(void) {
    isOn = 0;
    return ZAT_OK;
}

void genFreeDumpFilter() {
    FilterNode* node = nodes;
    __atomic_store_n(&nodes, nullptr, __ATOMIC_RELEASE);
    while (node != nullptr) {
        FilterNode* next = node->next;
        zatOSWOrgFreeMemPart(0, node);
        node = next;
    }
}
