/* Hooks and lists of user functions; see hook_private.h. */

#include "gen/trace/hook.h"

#include "gen/task_lock_private.h"
#include "gen/trace/hook_private.h"
#include "osw/mem_part.h"

ZatGenTypeFunc zatGENMonTypeFunc;
ZatGenNotifyFunc zatGENCtlNotifyFunc;
uint32_t zatGENLogLine;
uint32_t zatGENDumpLine = 5;
uint32_t zatGENFwdToRgn;

ZatGenPrintFunc genPrintHook;
ZatGenDumpLogFunc genDumpLogHook;

static GenUserList userLists[genUserKinds];

GenUserNode* genNextUser(GenUserKind kind, const GenUserNode* node) {
    GenUserNode* const* link =
        node == nullptr ? &userLists[static_cast<uint32_t>(kind)].head : &node->next;
    return __atomic_load_n(link, __ATOMIC_ACQUIRE);
}

/* The end is found by walking: the tail may name a node that is gone. */
static void append(GenUserList& list, GenUserNode* node) {
    GenUserNode** link = &list.head;
    while (*link != nullptr)
        link = &(*link)->next;
    __atomic_store_n(link, node, __ATOMIC_RELEASE);
    list.tail = node;
}

ZatStatus genAddUserFunction(GenUserKind kind, GenUserFunction function) {
    void* memory = nullptr;
    const ZatStatus status = zatOSWOrgAllocMemPart(0, &memory, sizeof(GenUserNode));
    if (status != ZAT_OK) return status;
    auto* node = static_cast<GenUserNode*>(memory);
    *node = {nullptr, function};
    {
        const GenTaskLock lock;
        if (lock.isHeld()) {
            append(userLists[static_cast<uint32_t>(kind)], node);
            return ZAT_OK;
        }
    }
    zatOSWOrgFreeMemPart(0, node);
    return ZAT_OK;
}

/* The first node stays the end of its list, so that nothing leads to the freed ones. */
static void freeFollowers(GenUserNode& head) {
    GenUserNode* node = head.next;
    head.next = nullptr;
    while (node != nullptr) {
        GenUserNode* following = node->next;
        zatOSWOrgFreeMemPart(0, node);
        node = following;
    }
}

void genFreeUserFunctions() {
    for (const GenUserList& list : userLists)
        if (list.head != nullptr) freeFollowers(*list.head);
}

ZatStatus zatGENSetTypeFunc(ZatGenTypeFunc hook) {
    zatGENMonTypeFunc = hook;
    return ZAT_OK;
}

ZatGenTypeFunc zatGENGetTypeFunc(void) {
    return zatGENMonTypeFunc;
}

ZatStatus zatGENSetPrintFunc(ZatGenPrintFunc hook) {
    genPrintHook = hook;
    return ZAT_OK;
}

ZatGenPrintFunc zatGENGetPrintFunc(void) {
    return genPrintHook;
}

ZatStatus zatGENSetDumpLogFunc(ZatGenDumpLogFunc hook) {
    genDumpLogHook = hook;
    return ZAT_OK;
}

ZatGenDumpLogFunc zatGENGetDumpLogFunc(void) {
    return genDumpLogHook;
}

ZatStatus zatGENSetNotifyFunc(ZatGenNotifyFunc hook) {
    zatGENCtlNotifyFunc = hook;
    return ZAT_OK;
}

ZatGenNotifyFunc zatGENGetNotifyFunc(void) {
    return zatGENCtlNotifyFunc;
}

ZatStatus zatGENAddUserLogPrintFunc(ZatGenPrintFunc function) {
    return genAddUserFunction(GenUserKind::LogPrint, reinterpret_cast<GenUserFunction>(function));
}

ZatStatus zatGENAddUserLogDumpFunc(ZatGenUserLogDumpFunc function) {
    return genAddUserFunction(GenUserKind::LogDump, reinterpret_cast<GenUserFunction>(function));
}

ZatStatus zatGENSetLogLines(uint32_t lines) {
    zatGENLogLine = lines;
    return ZAT_OK;
}

ZatStatus zatGENSetDumpLines(uint32_t lines) {
    zatGENDumpLine = lines;
    return ZAT_OK;
}

uint32_t zatGENGetDumpLines(void) {
    return zatGENDumpLine;
}

ZatStatus zatGENForwardTrcMsgToRgnLog(void) {
    zatGENFwdToRgn = 1;
    return ZAT_OK;
}

ZatStatus zatGENTrcGetFwdToRgn(uint32_t* forwarded) {
    if (forwarded == nullptr) return ZAT_FAILED;
    *forwarded = zatGENFwdToRgn;
    return ZAT_OK;
}
