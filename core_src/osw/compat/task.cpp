/* Kernel-style calls on tasks. */

#include "osw/task.h"

#include "osw/compat/compat.h"
#include "osw/self_private.h"
#include "osw/task_registry.h"
#include "osw/task_var.h"

ZatTaskId taskSpawn(const char* name, uint32_t priority, uint32_t, uint32_t stackSizeBytes,
                    ZatTaskEntry entry, uint32_t a1, uint32_t a2, uint32_t a3, uint32_t a4,
                    uint32_t a5, uint32_t a6, uint32_t a7, uint32_t a8, uint32_t a9, uint32_t a10) {
    /* No memory for the record is success without a task. */
    ZatTaskId task = 0;
    const ZatStatus status = zatOSWCreateTaskVxv(&task, name, priority, stackSizeBytes, entry, a1,
                                                 a2, a3, a4, a5, a6, a7, a8, a9, a10);
    return status == ZAT_OK ? task : 0;
}

ZatTaskId taskIdSelf() {
    return oswSelf();
}

char* taskName(ZatTaskId task) {
    static char name[ZAT_TASK_NAME_BUFFER_SIZE];
    zatOSWGetTaskName(task, name);
    return name;
}

ZatTaskId taskNameToId(const char* name) {
    ZatTaskId task = 0;
    return zatOSWGetTaskIdByName(&task, name) == ZAT_OK ? task : 0;
}

/* Variables know tasks by their ids only. */
uint32_t taskVarGet(ZatTaskId task, uint32_t key) {
    uint32_t value = 0;
    const ZatTaskId owner = task == 0 ? oswSelf() : task;
    return zatOSWGetTaskVar(owner, key, &value) == ZAT_OK ? value : 0;
}
