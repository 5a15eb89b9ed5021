/*
 * The system calls that making shared objects needs are failed one after the other: the status
 * is the specified one, and nothing is left of what was begun.
 */

#include "support/faults.h"
#include "support/selfstart.h"

namespace {

const Answers systemCalls = {
    {"semget", {ZAT_IPC_SEMGET_FAILED}}, {"semctl", {ZAT_IPC_SEMCTL_FAILED}},
    {"shmget", {ZAT_IPC_SHMGET_FAILED}}, {"shmat", {ZAT_IPC_SHMAT_FAILED}},
    {"msgget", {ZAT_IPC_MSGGET_FAILED}}, {"msgctl", {ZAT_IPC_QUEUE_LIMIT_FAILED}},
    {"mkdir", {ZAT_IPC_KEY_DIR_FAILED}}, {"open", {ZAT_IPC_KEY_CREATE_FAILED}},
    {"stat", {ZAT_IPC_KEY_STAT_FAILED}},
    /* Starting over finds no end when the key file can never be looked at again. */
};

/** Those of a kind that makes objects by these calls, and always a handle, a key and locks. */
Answers named(std::initializer_list<const char*> calls) {
    Answers answers = {{"Sub", {ZAT_IPC_NO_MEMORY}}, {"semop", {ZAT_IPC_SEMOP_FAILED}}};
    for (const char* call : {"open", "stat"})
        answers[call] = systemCalls.at(call);
    for (const char* call : calls)
        answers[call] = systemCalls.at(call);
    return answers;
}

/** Those of an object of this process alone. */
const Answers unnamed = {{"Sub", {ZAT_IPC_NO_MEMORY}},
                         {"Org", {ZAT_OSW_PART_EXHAUSTED}},
                         {"semop", {ZAT_IPC_SEMOP_FAILED}}};

void onTimer(ZatTimer, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t) {}

/** A timer that this process serves. */
ZatStatus serve(ZatHandle* handle) {
    ZatHandle timer = 0;
    ZatStatus status = zatOSWIpcCreateTimer("served", &timer, 8192);
    if (status == ZAT_OK) status = zatOSWIpcStartTimer(timer, 1000000, onTimer, 0);
    if (status == ZAT_OK)
        *handle = timer;
    else
        zatOSWIpcDeleteTimer(timer);
    return status;
}

const std::vector<Creation>& kinds() {
    static const std::vector<Creation> all = {
        {"mutex", [](auto* h) { return zatOSWIpcCreateMutexSem("x", h, 0, 1); },
         zatOSWIpcDeleteMutexSem, named({"semget", "semctl"})},
        {"count", [](auto* h) { return zatOSWIpcCreateCountSem("x", h, 0, 1); },
         zatOSWIpcDeleteCountSem, named({"semget", "semctl"})},
        {"event", [](auto* h) { return zatOSWIpcCreateEventSem("x", h, 0, 1); },
         zatOSWIpcDeleteEventSem, named({"semget", "semctl"})},
        {"lock", [](auto* h) { return zatOSWIpcCreateSELock("x", h, 0, 1); }, zatOSWIpcDeleteSELock,
         named({"semget", "semctl"})},
        {"queue", [](auto* h) { return zatOSWIpcCreateMsgQueue("x", h, 4, 64, 0); },
         zatOSWIpcDeleteMsgQueue, named({"semget", "semctl", "msgget", "msgctl"})},
        {"timer", [](auto* h) { return zatOSWIpcCreateTimer("x", h, 8192); }, zatOSWIpcDeleteTimer,
         named({"semget", "semctl"})},
        {"partition", [](auto* h) { return zatOSWIpcCreateMemPart(h, "x", 4096); },
         zatOSWIpcDeleteMemPart, named({"shmget", "shmat"})},
        {"served timer", serve, zatOSWIpcDeleteTimer, {{"pthread_create", {EAGAIN}}}},
        {"unnamed event", [](auto* h) { return zatOSWIpcCreateEventSem(nullptr, h, 0, 1); },
         zatOSWIpcDeleteEventSem, unnamed},
        {"unnamed queue", [](auto* h) { return zatOSWIpcCreateMsgQueue(nullptr, h, 4, 64, 0); },
         zatOSWIpcDeleteMsgQueue, unnamed},
        {"unnamed timer", [](auto* h) { return zatOSWIpcCreateTimer(nullptr, h, 8192); },
         zatOSWIpcDeleteTimer, unnamed},
        {"unnamed mutex",
         [](auto* h) { return zatOSWIpcCreateMutexSem(nullptr, h, 0, 1); },
         zatOSWIpcDeleteMutexSem,
         {{"malloc", {ZAT_IPC_NO_MEMORY}}}},
        {"queue's buffer",
         [](auto* h) { return zatOSWIpcCreateMsgQueue("y", h, 4, 64, 0); },
         zatOSWIpcDeleteMsgQueue,
         {{"malloc", {ZAT_IPC_NO_MEMORY}}}},
    };
    return all;
}

TEST(FailedCreate, SaysWhyAndLeavesNothing) {
    ASSERT_EQ(zatOSWInit(), ZAT_OK);
    for (const Creation& kind : kinds())
        sweep(kind);
}

TEST(FailedCreate, WithAReservedKeyThatCannotBeMovedAsideLeavesNothing) {
    ASSERT_EQ(zatOSWInit(), ZAT_OK);
    const Belongings before = belongings();
    ZatIpcHandle handle = 0;
    reserveAll = true;
    fault = {"rename", 1, true};
    EXPECT_EQ(zatOSWIpcCreateMutexSem("x", &handle, 0, 1), ZAT_IPC_KEY_RENAME_FAILED);
    reserveAll = false;
    EXPECT_TRUE(belongings() == before);
}

/* A page that is full needs another one, which may fail in the same ways. */
TEST(FailedCreate, OfAnotherPageLeavesNothing) {
    std::vector<ZatIpcHandle> all(48);
    for (size_t i = 0; i < all.size(); ++i)
        ASSERT_EQ(zatOSWIpcCreateMutexSem(("full" + std::to_string(i)).c_str(), &all[i], 0, 1),
                  ZAT_OK);
    Creation another = kinds()[0];
    another.answers = systemCalls;
    for (const char* call : {"shmget", "shmat", "open", "stat"})
        for (const bool forEver : {false, true})
            createUnderFault(another, call, 1, forEver);
    const size_t before = belongings()[1];
    ZatIpcHandle handle = 0;
    EXPECT_EQ(zatOSWIpcCreateMutexSem("more", &handle, 0, 1), ZAT_OK);
    EXPECT_EQ(belongings()[1], before + 1);
}

/* In a process of its own: the first one of the machine comes up, or leaves nothing. */
int initUnderFault(const std::vector<std::string>& arguments) {
    const Belongings before = belongings(false);
    fault = {arguments[0].c_str(), std::stoi(arguments[1]), arguments[2] == "for ever"};
    const ZatStatus status = zatOSWIpcInit();
    fault = {};
    if (status != ZAT_OK && systemCalls.at(arguments[0]).count(status) == 0) return 2;
    if (status != ZAT_OK && !(belongings(false) == before)) return 3;
    if (zatOSWInit() != ZAT_OK) return 4;
    ZatIpcHandle handle = 0;
    if (zatOSWIpcCreateMutexSem("x", &handle, 0, 0) != ZAT_OK) return 5;
    zatOSWTerm();
    return belongings(false) == before ? (status == ZAT_OK ? 0 : 1) : 6;
}
const SelfRole initRole("init-under-fault", initUnderFault);

TEST(FailedInit, SaysWhyAndLeavesNothing) {
    if (getenv("ZATOSW_SHARED_IPC") != nullptr) GTEST_SKIP() << "others may be up";
    std::filesystem::create_directories(getenv("GEN_MSGQ_PATH"));
    for (const auto& [call, statuses] : systemCalls) {
        int failures = 0;
        int result = 1;
        for (int at = 1; result == 1 && at <= 60; at += isSlow() ? 7 : 1) {
            result =
                waitForExit(spawnSelf("init-under-fault", {call, std::to_string(at), "for ever"}));
            EXPECT_LE(result, 1) << call << " number " << at;
            failures += result == 1;
        }
        /* The directory is there, and the layer itself has no queue. */
        const bool isCalled = call != "mkdir" && call.find("msg") != 0;
        EXPECT_EQ(failures > 0, isCalled) << call;
    }
}

}  // namespace
