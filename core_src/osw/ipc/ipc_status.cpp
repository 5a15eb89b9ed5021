/* The shared state of objects, read out of their entries. */

#include "osw/ipc/ipc_status.h"

#include "osw/ipc/wait_private.h"

static uint32_t timerState(uint32_t command) {
    return command >= 1 && command <= 3 ? command - 1 : ZAT_IPC_TIMER_NOT_STARTED;
}

static void readSem(const IpcSemBody& sem, IpcStatus& status, uint32_t state) {
    status = {sem.owner.process,
              sem.owner.thread,
              sem.releaser.process,
              sem.releaser.thread,
              sem.waiters,
              0,
              state,
              0,
              0};
}

static void readQueue(const IpcQueueBody& queue, IpcStatus& status) {
    status = {queue.sender.process,  queue.sender.thread, queue.receiver.process,
              queue.receiver.thread, queue.senders,       queue.receivers,
              queue.messages,        queue.capacity,      queue.messageSize};
}

static void readTimer(const IpcTimerBody& timer, IpcStatus& status) {
    status = {};
    status.process = timer.server;
    status.otherProcess = timer.controller.process;
    status.otherThread = timer.controller.thread;
    status.state = timerState(timer.command);
}

static void readLock(const IpcLockBody& lock, IpcStatus& status) {
    const uint32_t state = lock.depth > 0 ? 0 - lock.depth : lock.sharedHolds;
    status = {lock.owner.process,
              lock.owner.thread,
              lock.acquirer.process,
              lock.acquirer.thread,
              lock.exclusiveWaiters,
              lock.sharedWaiters,
              state,
              0,
              0};
}

static ZatStatus read(IpcHandle& handle, void* data) {
    IpcStatus& status = *static_cast<IpcStatus*>(data);
    const IpcObjectEntry& entry = *handle.entry;
    switch (handle.type) {
    case IPC_QUEUE:
        readQueue(entry.queue, status);
        break;
    case IPC_TIMER:
        readTimer(entry.timer, status);
        break;
    case IPC_SE_LOCK:
        readLock(entry.lock, status);
        break;
    case IPC_EVENT:
        readSem(entry.sem, status, entry.sem.value == 0);
        break;
    default:
        readSem(entry.sem, status, entry.sem.value);
        break;
    }
    return ZAT_OK;
}

ZatStatus zatOSWIpcQueryStatus(ZatIpcHandle handle, uint32_t type, IpcStatus* status) {
    if (type > ZAT_IPC_TYPE_SE_LOCK || status == nullptr) return ZAT_FAILED;
    const IpcChange change = {type, read, nullptr};
    return oswIpcApply(handle, change, status);
}

uint32_t get_curr(void) {
    const IpcGlobalPage* first = oswIpcFirstPage();
    return first == nullptr ? 0 : first->shmBytes;
}

uint32_t get_max(void) {
    const IpcGlobalPage* first = oswIpcFirstPage();
    return first == nullptr ? 0 : first->shmPeak;
}
