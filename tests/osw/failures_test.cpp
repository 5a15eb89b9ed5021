// Everything that is created inside the process, wherever its making can fail.

#include "osw/compat/compat.h"
#include "support/faults.h"

namespace {

const ZatStatus noMemory = ZAT_OSW_PART_EXHAUSTED;
const Answers ofBlocks = {{"Org", {noMemory}}};
const Answers kernelStyle = {{"Org", {ZAT_FAILED}}};

Answers with(Answers answers, const char* call, const std::set<ZatStatus>& statuses) {
    answers[call] = statuses;
    return answers;
}

/** Those of a task, whose record is not of a partition. */
Answers ofTask(ZatStatus withoutRecord = ZAT_FAILED) {
    return with(with(ofBlocks, "pthread_create", {EAGAIN}), "malloc", {withoutRecord, EAGAIN});
}

/** For calls that answer with what they made. */
template <class Made>
ZatStatus given(Made made, ZatHandle* handle) {
    if (made == Made{}) return ZAT_FAILED;
    *handle = ZatHandle(made);
    return ZAT_OK;
}

/** For what is there when its making answered so. */
ZatStatus done(ZatStatus status, ZatHandle* handle) {
    if (status == ZAT_OK) *handle = 1;
    return status;
}

ZatStatus nothing(ZatHandle) {
    return ZAT_OK;
}

uint32_t entry(uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
               uint32_t, uint32_t) {
    return 0;
}

ZatStatus createTask(ZatTaskId* task, int32_t joinMode) {
    return zatOSWCreateJoinTask(task, "swept", -1, 16384, entry, joinMode, 0, 0, 0, 0, 0, 0, 0, 0,
                                0, 0);
}

ZatStatus runJob(ZatTaskPool pool) {
    return zatOSWQueueTaskPool(pool, "job", entry, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
}

ZatStatus createPool(ZatTaskPool* pool, int32_t initial, int32_t max) {
    return zatOSWCreateTaskPool(pool, "pool", -1, 16384, initial, 0, max, 0, 0);
}

/** Made before anything fails. */
ZatTaskPool lonePool, emptyPool;
ZatEventSem due;

const std::vector<Creation>& tasks() {
    static const std::vector<Creation> all = {
        {"task", [](auto* h) { return createTask(h, 1); },
         [](auto h) { return zatOSWWaitJoinableTask(h, 1, nullptr); }, ofTask(ZAT_OK)},
        {"thread", [](auto* h) { return zatOSWSubPthreadCreate(h, nullptr, entry, 0); }, nothing,
         ofTask(ZAT_OK)},
        {"pool", [](auto* h) { return createPool(h, 2, 3); }, zatOSWDeleteTaskPool, ofTask()},
        {"job", [](auto* h) { return done(runJob(lonePool), h); }, nothing, ofTask()},
        {"job without a worker", [](auto* h) { return done(runJob(emptyPool), h); }, nothing,
         ofTask()},
        {"timer", [](auto* h) { return zatOSWCreateTimerEx(h, "timer", -1, 16384); },
         zatOSWDeleteTimer, ofTask()},
        {"event timer", [](auto* h) { return zatOSWStartEventTimer(h, 100000, due); },
         zatOSWPostEventSem, ofTask()},
        {"console", [](auto* h) { return done(zatGENInitTaskControl(1), h); },
         [](auto) { return zatGENTermTaskControl(); }, ofTask()},
    };
    return all;
}

char pool[1024];

const std::vector<Creation>& objects() {
    static const std::vector<Creation> all = {
        {"event", [](auto* h) { return zatOSWCreateEventSem(h, 0, 0); }, zatOSWDeleteEventSem,
         ofBlocks},
        {"count", [](auto* h) { return zatOSWCreateCountSem(h, 0, 1); }, zatOSWDeleteCountSem,
         ofBlocks},
        {"mutex", [](auto* h) { return zatOSWCreateMutexSem(h, 0, 1); }, zatOSWDeleteMutexSem,
         with({}, "malloc", {ZAT_OK})},
        {"queue", [](auto* h) { return zatOSWCreateMsgQueue(h, 4, 16, 0); }, zatOSWDeleteMsgQueue,
         ofBlocks},
        {"partition",
         [](auto* h) { return zatOSWSysCreateMemPart(h, pool, sizeof pool); },
         zatOSWDeleteMemPart,
         {{"semget", {ZAT_FAILED}},
          {"semctl", {ZAT_FAILED}},
          {"open", {ZAT_FAILED}},
          {"stat", {ZAT_FAILED}}}},
        {"variable", [](auto* h) { return done(zatOSWAddTaskVar(pthread_self(), 7), h); },
         [](auto) { return zatOSWRemoveTaskVar(pthread_self(), 7); }, ofBlocks},
    };
    return all;
}

zatGENTrcComp components[256];
uint32_t componentsUsed;

ZatStatus addComponent(ZatHandle* handle) {
    zatGENTrcComp& next = components[componentsUsed++];
    next.id = 0x5000 + componentsUsed;
    next.name = "SWEPT";
    EXPECT_EQ(zatGENAddTraceId(&next, 1), ZAT_OK);
    return given(zatGENGetTrcMaskById(next.id) == &next, handle);
}

ZatStatus addTraceLog(ZatHandle* handle) {
    static const zatGENTrcLogDef log = {9, 10, 80, 1, 0, 0xFFFF, "swept"};
    EXPECT_EQ(zatGENAddTraceLog(&log, 1), ZAT_OK);
    return given(zatGENGetRgnLogInfo(9)->id == 9, handle);
}

ZatStatus deleteRegions(ZatHandle) {
    for (const int32_t id : {1, 2, 3})
        zatGENDeleteRgnLog(id);
    return ZAT_OK;
}

/** The table of regions keeps room for two. */
ZatStatus createRegions(ZatHandle* handle) {
    ZatStatus status = ZAT_OK;
    for (int32_t id = 1; id <= 3 && status == ZAT_OK; ++id)
        status = zatGENCreateRgnLog(id, "swept", 0xFFFF, 1000, 0, 1, 0, 0);
    if (status != ZAT_OK) deleteRegions(0);
    return done(status, handle);
}

const std::vector<Creation>& logs() {
    static const std::vector<Creation> all = {
        {"components", addComponent, nothing, kernelStyle},
        {"trace log", addTraceLog, [](auto) { return zatGENDeleteRgnLog(9); },
         with({}, "malloc", {ZAT_FAILED})},
        {"region", createRegions, deleteRegions, with({{"Sys", {noMemory}}}, "malloc", {noMemory})},
        {"shared region",
         [](auto* h) { return done(zatGENCreateRgnLog(5, "swept", 0xFFFF, 1000, 0, 0, 1, 0), h); },
         [](auto) { return zatGENDeleteRgnLog(5); },
         {{"Sub", {ZAT_IPC_NO_MEMORY}},
          {"semget", {ZAT_IPC_SEMGET_FAILED}},
          {"semctl", {ZAT_IPC_SEMCTL_FAILED}},
          {"shmget", {ZAT_IPC_SHMGET_FAILED}},
          {"shmat", {ZAT_IPC_SHMAT_FAILED}},
          {"open", {ZAT_IPC_KEY_CREATE_FAILED}},
          {"stat", {ZAT_IPC_KEY_STAT_FAILED}}}},
    };
    return all;
}

ZatStatus createProcess(ZatHandle* handle) {
    setenv("FRAMEWORKROOT", "/", 1);
    int32_t process = 0;
    const ZatStatus status = zatOSWCreateProcess(&process, "/bin/true", nullptr, nullptr, 0);
    if (status == ZAT_OK) *handle = ZatHandle(process);
    return status;
}

const std::vector<Creation>& services() {
    static const std::vector<Creation> all = {
        {"library",
         [](auto* h) {
             ZatLibrary library = nullptr;
             const ZatStatus status = zatOSWLoadLibrary(&library, "libm.so.6");
             return status == ZAT_OK ? given(library, h) : status;
         },
         [](auto h) { return zatOSWFreeLibrary(reinterpret_cast<ZatLibrary>(h)); },
         with(ofBlocks, "dlopen", {ZAT_FAILED})},
        {"process", createProcess, [](auto h) { return zatOSWWaitProcess(int32_t(h), 1, nullptr); },
         with(ofBlocks, "fork", {ZAT_FAILED})},
    };
    return all;
}

/** A watchdog without a timer is described to keep its handle. */
const std::vector<Creation>& kernelStyleObjects() {
    static const std::vector<Creation> all = {
        {"semB", [](auto* h) { return given(semBCreate(0, 0), h); }, semDelete, kernelStyle},
        {"semM", [](auto* h) { return given(semMCreate(0), h); }, semDelete,
         with(kernelStyle, "malloc", {ZAT_FAILED})},
        {"msgQ", [](auto* h) { return given(msgQCreate(4, 16, 0), h); }, zatOSWDeleteMsgQueue,
         kernelStyle},
        {"taskSpawn",
         [](auto* h) {
             return given(taskSpawn("swept", 100, 0, 16384, entry, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0),
                          h);
         },
         nothing, with(with(kernelStyle, "pthread_create", {ZAT_FAILED}), "malloc", {ZAT_FAILED})},
    };
    return all;
}

void sweepAll(const std::vector<Creation>& creations) {
    ASSERT_EQ(zatOSWInit(), ZAT_OK);
    for (const Creation& creation : creations)
        sweep(creation);
}

TEST(FailedCreation, OfWhatRunsLeavesNothing) {
    ASSERT_EQ(createPool(&lonePool, 0, 1), ZAT_OK);
    ASSERT_EQ(createPool(&emptyPool, 0, 0), ZAT_OK);
    ASSERT_EQ(zatOSWCreateEventSem(&due, 0, 0), ZAT_OK);
    sweepAll(tasks());
}
TEST(FailedCreation, OfAnObjectLeavesNothing) {
    sweepAll(objects());
}
TEST(FailedCreation, OfALogLeavesNothing) {
    sweepAll(logs());
}
TEST(FailedCreation, OfAHostServiceLeavesNothing) {
    sweepAll(services());
}
TEST(FailedCreation, InTheStyleOfAKernelLeavesNothing) {
    sweepAll(kernelStyleObjects());
}

}  // namespace
