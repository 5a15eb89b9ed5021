#include "shared.h"

#include <errno.h>
#include <signal.h>
#include <stdio.h>

#include <algorithm>
#include <new>

#include "trace.h"

static constexpr unsigned memoryBytes = 4096;
static constexpr int boardId = 1;
static constexpr unsigned patienceMs = 500;

void Second::add(float percent) {
    lowest = std::min(lowest, percent);
    highest = std::max(highest, percent);
    sum += percent;
    ++readings;
}

unsigned BoardLock::currentNumber() const {
    return __atomic_load_n(&board_->lockNumber, __ATOMIC_ACQUIRE);
}

bool BoardLock::openNumber(unsigned number) {
    char name[32];
    snprintf(name, sizeof name, "watch.lock.%u", number);
    if (mutex_ != 0) zatOSWIpcDeleteMutexSem(mutex_);
    mutex_ = 0;
    number_ = number;
    return made(zatOSWIpcCreateMutexSem(name, &mutex_, 0, 1), "lock");
}

bool BoardLock::open(Board* board) {
    board_ = board;
    return made(zatOSWCreateMutexSem(&tasks_, 0, 1), "mutex") && openNumber(currentNumber());
}

BoardLock::~BoardLock() {
    if (mutex_ != 0) zatOSWIpcDeleteMutexSem(mutex_);
    if (tasks_ != 0) zatOSWDeleteMutexSem(tasks_);
}

bool BoardLock::holderIsDead() const {
    IpcStatus status = {};
    if (zatOSWIpcQueryStatus(mutex_, ZAT_IPC_TYPE_MUTEX, &status) != ZAT_OK || status.state == 0)
        return false;
    return kill(static_cast<pid_t>(status.process), 0) != 0 && errno == ESRCH;
}

void BoardLock::take() {
    zatOSWRequestMutexSem(tasks_, ZAT_FOREVER);
    for (;;) {
        const ZatStatus status = zatOSWIpcRequestMutexSem(mutex_, patienceMs);
        unsigned number = number_;
        if (status == ZAT_OK) {
            if (currentNumber() == number_) return;
            zatOSWIpcReleaseMutexSem(mutex_);
        } else if (holderIsDead()) {
            __atomic_compare_exchange_n(&board_->lockNumber, &number, number + 1, false,
                                        __ATOMIC_ACQ_REL, __ATOMIC_ACQUIRE);
        }
        if (currentNumber() != number_) openNumber(currentNumber());
    }
}

void BoardLock::give() const {
    zatOSWIpcReleaseMutexSem(mutex_);
    zatOSWReleaseMutexSem(tasks_);
}

// Finds the board, or puts one up: whoever registers the id first.
bool Shared::openBoard() {
    if (!made(zatOSWIpcCreateMemPart(&memory_, "watch.memory", memoryBytes), "shared memory"))
        return false;
    void* block = nullptr;
    if (zatOSWIpcGetBlockByIdMemPart(memory_, boardId, &block) != ZAT_OK) {
        if (!made(zatOSWIpcAllocMemPart(memory_, &block, sizeof(Board)), "board")) return false;
        new (block) Board();
        if (zatOSWIpcRegisterBlockIdMemPart(memory_, block, boardId) != ZAT_OK) {
            zatOSWIpcFreeMemPart(memory_, block);
            if (!made(zatOSWIpcGetBlockByIdMemPart(memory_, boardId, &block), "board"))
                return false;
        }
    }
    board_ = static_cast<Board*>(block);
    return lock_.open(board_);
}

bool Shared::open() {
    return openBoard() &&
           made(zatOSWIpcCreateMsgQueue("watch.readings", &readings_, queueCapacity,
                                        sizeof(Reading), 0),
                "queue") &&
           made(zatOSWIpcCreateEventSem("watch.ask", &ask_, 0, 0), "event");
}

Shared::~Shared() {
    if (ask_ != 0) zatOSWIpcDeleteEventSem(ask_);
    if (readings_ != 0) zatOSWIpcDeleteMsgQueue(readings_);
    if (memory_ != 0) zatOSWIpcDeleteMemPart(memory_);
}
