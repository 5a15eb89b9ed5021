/*
 * The filter of the maintenance dumps: a list of component ids, appended to under the task lock and
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

/* A node of a component that nobody named meanwhile; false when it is not needed. */
static bool link(FilterNode* node) {
    const GenTaskLock lock;
    if (!lock.isHeld() || isNamed(node->component)) return false;
    FilterNode** last = &nodes;
    while (*last != nullptr)
        last = &(*last)->next;
    __atomic_store_n(last, node, __ATOMIC_RELEASE);
    return true;
}

ZatStatus zatGENTrcMcDumpMaskSet(uint32_t component) {
    /* There is no other way to name it than a node that counts as free. */
    if (component == freeNode || isNamed(component)) return ZAT_OK;
    if (FilterNode* reused = find(freeNode)) {
        uint32_t expected = freeNode;
        if (__atomic_compare_exchange_n(&reused->component, &expected, component, false,
                                        __ATOMIC_RELAXED, __ATOMIC_RELAXED))
            return ZAT_OK;
    }
    void* memory = nullptr;
    const ZatStatus status = zatOSWOrgAllocMemPart(0, &memory, sizeof(FilterNode));
    if (status != ZAT_OK) return status;
    auto* node = static_cast<FilterNode*>(memory);
    *node = {nullptr, component};
    if (!link(node)) zatOSWOrgFreeMemPart(0, node);
    return ZAT_OK;
}

ZatStatus zatGENTrcMcDumpMaskClr(uint32_t component) {
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
