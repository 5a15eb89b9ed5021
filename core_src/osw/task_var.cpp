/* Task variables: one list of all of them, under a lock of its own. */

#include "osw/task_var.h"

#include <pthread.h>
#include <stddef.h>

#include "clb/list.h"
#include "clb/list_walk_private.h"
#include "osw/init.h"
#include "osw/lock_private.h"
#include "osw/mem_part.h"

struct OswTaskVar {
    ClbLstNode links;
    ZatTaskId task;
    uint32_t key;
    uint32_t value;
};

static_assert(sizeof(OswTaskVar) == 20 && offsetof(OswTaskVar, value) == 16);

static pthread_mutex_t taskVarLock = PTHREAD_MUTEX_INITIALIZER;
static ClbLstHead taskVars;

static OswTaskVar* find(ZatTaskId task, uint32_t key) {
    for (auto* var : zatWalk<OswTaskVar>(&taskVars))
        if (var->task == task && var->key == key) return var;
    return nullptr;
}

/* Beforehand, and given back if not needed: this lock is never held together with the registry's,
 * which allocating takes. */
ZatStatus zatOSWAddTaskVar(ZatTaskId task, uint32_t key) {
    if (const ZatStatus status = zatOSWInit(); status != ZAT_OK) return status;
    void* memory = nullptr;
    ZatStatus status = zatOSWOrgAllocMemPart(0, &memory, sizeof(OswTaskVar));
    if (status != ZAT_OK) return status;
    auto* var = static_cast<OswTaskVar*>(memory);
    *var = {{}, task, key, 0};
    {
        OswLock lock;
        status = lock.take(taskVarLock);
        if (status == ZAT_OK && find(task, key) != nullptr) status = ZAT_FAILED;
        if (status == ZAT_OK) zatCLBLstAdd(&taskVars, var);
    }
    if (status != ZAT_OK) zatOSWOrgFreeMemPart(0, var);
    return status;
}

ZatStatus zatOSWSetTaskVar(ZatTaskId task, uint32_t key, uint32_t value) {
    OswLock lock;
    if (const ZatStatus error = lock.take(taskVarLock); error != ZAT_OK) return error;
    OswTaskVar* var = find(task, key);
    if (var == nullptr) return ZAT_FAILED;
    var->value = value;
    return ZAT_OK;
}

ZatStatus zatOSWGetTaskVar(ZatTaskId task, uint32_t key, uint32_t* value) {
    OswLock lock;
    if (const ZatStatus error = lock.take(taskVarLock); error != ZAT_OK) return error;
    const OswTaskVar* var = find(task, key);
    if (var == nullptr || value == nullptr) return ZAT_FAILED;
    *value = var->value;
    return ZAT_OK;
}

ZatStatus zatOSWRemoveTaskVar(ZatTaskId task, uint32_t key) {
    OswTaskVar* var = nullptr;
    {
        OswLock lock;
        if (const ZatStatus error = lock.take(taskVarLock); error != ZAT_OK) return error;
        var = find(task, key);
        if (var == nullptr) return ZAT_FAILED;
        zatCLBLstDelete(&taskVars, var);
    }
    return zatOSWOrgFreeMemPart(0, var);
}
