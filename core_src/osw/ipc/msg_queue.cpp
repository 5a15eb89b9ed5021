/*
 * Named message queues: messages travel through a System V queue, an entry counts them. The kernel
 * is never asked for more than the count allows, and never blocks under the lock. A process that
 * was killed between its call and the count leaves the count too high, which is put right where
 * the queue seems full, or has nothing to receive.
 */

#include "osw/ipc/msg_queue.h"

#include <errno.h>
#include <string.h>
#include <sys/msg.h>

#include <algorithm>

#include "osw/ipc/create_private.h"
#include "osw/ipc/kind_private.h"
#include "osw/ipc/msg_queue_private.h"
#include "osw/ipc/wait_private.h"
#include "osw/lock_private.h"
#include "osw/mem_part.h"
#include "osw/msg_queue.h"

static constexpr long messageType = 100;

/* What a call sends or receives. */
struct Transfer {
    const void* message;
    void* buffer;
    uint32_t length;
    uint32_t priority;
};

bool oswIpcMakeTransfer(IpcHandle& handle) {
    const uint32_t messageSize = handle.entry->queue.messageSize;
    const uint32_t size = messageSize + static_cast<uint32_t>(sizeof(IpcMessage));
    handle.queue.transfer =
        size < messageSize ? nullptr : static_cast<IpcMessage*>(zatOSWOrgMalloc(size));
    return handle.queue.transfer != nullptr;
}

/* What is really in the queue. */
static void recountMessages(IpcQueueBody& queue) {
    msqid_ds state = {};
    if (msgctl(queue.queueId, IPC_STAT, &state) == 0)
        queue.messages = static_cast<uint32_t>(state.msg_qnum);
}

static ZatStatus lookToSend(IpcHandle& handle, IpcComer comer) {
    IpcQueueBody& queue = handle.entry->queue;
    if (queue.messages >= queue.capacity && comer == IpcComer::Looking) recountMessages(queue);
    return queue.messages < queue.capacity ? ZatStatus{ZAT_OK} : ZatStatus{IPC_UNAVAILABLE};
}

static ZatStatus lookToReceive(IpcHandle& handle, IpcComer) {
    const IpcQueueBody& queue = handle.entry->queue;
    return queue.messages > 0 ? ZatStatus{ZAT_OK} : ZatStatus{IPC_UNAVAILABLE};
}

static ZatStatus send(IpcHandle& handle, void* data) {
    const OswUncancellable uncancellable;
    const auto& transfer = *static_cast<const Transfer*>(data);
    IpcQueueBody& queue = handle.entry->queue;
    IpcMessage* message = handle.queue.transfer;
    const uint32_t length = std::min(transfer.length, queue.messageSize);
    message->type = messageType;
    if (length > 0) memcpy(message + 1, transfer.message, length);
    /* Counted first: a process that is killed here leaves a queue that seems fuller than it is. */
    ++queue.messages;
    int result = msgsnd(queue.queueId, message, length, IPC_NOWAIT);
    while (result != 0 && errno == EINTR)
        result = msgsnd(queue.queueId, message, length, IPC_NOWAIT);
    if (result != 0) {
        --queue.messages;
        if (errno != EAGAIN) return ZAT_IPC_MSGSND_FAILED;
        recountMessages(queue);
        return queue.messages < queue.capacity ? ZatStatus{ZAT_IPC_MSGSND_FAILED}
                                               : ZatStatus{IPC_UNAVAILABLE};
    }
    queue.sender = oswIpcCaller();
    return queue.receivers == 0 ? ZatStatus{ZAT_OK}
                                : oswIpcPostOne(*handle.entry, IPC_WAITS_TO_RECEIVE);
}

static ZatStatus receive(IpcHandle& handle, void* data) {
    const OswUncancellable uncancellable;
    const auto& transfer = *static_cast<const Transfer*>(data);
    IpcQueueBody& queue = handle.entry->queue;
    IpcMessage* message = handle.queue.transfer;
    /* No message is longer than the queue's size. */
    const uint32_t room = std::min(transfer.length, queue.messageSize);
    ssize_t length = msgrcv(queue.queueId, message, room, messageType, IPC_NOWAIT);
    while (length < 0 && errno == EINTR)
        length = msgrcv(queue.queueId, message, room, messageType, IPC_NOWAIT);
    if (length < 0) {
        if (errno != ENOMSG) return ZAT_IPC_MSGRCV_FAILED;
        queue.messages = 0;
        return IPC_UNAVAILABLE;
    }
    if (length > 0) memcpy(transfer.buffer, message + 1, static_cast<size_t>(length));
    --queue.messages;
    queue.receiver = oswIpcCaller();
    return queue.senders == 0 ? ZatStatus{ZAT_OK} : oswIpcPostOne(*handle.entry, IPC_WAITS_TO_SEND);
}

static void wake(IpcHandle& handle) {
    const IpcQueueBody& queue = handle.entry->queue;
    if (queue.messages < queue.capacity && queue.senders > 0)
        oswIpcPostOne(*handle.entry, IPC_WAITS_TO_SEND);
    if (queue.messages > 0 && queue.receivers > 0)
        oswIpcPostOne(*handle.entry, IPC_WAITS_TO_RECEIVE);
}

static ZatStatus sendLocal(ZatHandle queue, ZatTimeoutMs timeoutMs, void* data) {
    const auto& transfer = *static_cast<const Transfer*>(data);
    return zatOSWSendMsgQueue(queue, transfer.message, transfer.length, timeoutMs,
                              transfer.priority);
}

static ZatStatus receiveLocal(ZatHandle queue, ZatTimeoutMs timeoutMs, void* data) {
    const auto& transfer = *static_cast<const Transfer*>(data);
    return zatOSWReceiveMsgQueue(queue, transfer.buffer, transfer.length, timeoutMs);
}

static ZatStatus query(IpcHandle& handle, void* data) {
    *static_cast<uint32_t*>(data) = handle.entry->queue.messages;
    return ZAT_OK;
}

static ZatStatus queryLocal(ZatHandle queue, void* data) {
    return zatOSWQueryMsgQueue(queue, static_cast<uint32_t*>(data));
}

static ZatStatus makeLocal(ZatHandle* queue, const IpcLocalWords& words) {
    return zatOSWCreateMsgQueue(queue, words.word[0], words.word[1], words.word[2]);
}

static constexpr IpcWaitKind waitOf(IpcWaiterKind waiter,
                                    ZatStatus (*look)(IpcHandle& handle, IpcComer comer),
                                    ZatStatus (*take)(IpcHandle& handle, void* data),
                                    ZatStatus (*local)(ZatHandle queue, ZatTimeoutMs timeoutMs,
                                                       void* data)) {
    return {
        .type = IPC_QUEUE,
        .waiter = waiter,
        .signals = IpcSignals::None,
        .deleted = ZAT_TIMED_OUT,
        .look = look,
        .take = take,
        .local = local,
        .enlist = oswIpcArmExpiry,
        .dismiss = oswIpcDisarmExpiry,
    };
}

static constexpr IpcWaitKind sendWait = waitOf(IPC_WAITS_TO_SEND, lookToSend, send, sendLocal);
static constexpr IpcWaitKind receiveWait =
    waitOf(IPC_WAITS_TO_RECEIVE, lookToReceive, receive, receiveLocal);
constexpr IpcUse oswIpcQueueUse = {wake, nullptr, nullptr, nullptr};

ZatStatus zatOSWIpcCreateMsgQueue(const char* name, ZatIpcHandle* handle, uint32_t maxMessages,
                                  uint32_t messageSizeBytes, uint32_t options) {
    if (maxMessages == 0 || messageSizeBytes == 0) return ZAT_IPC_BAD_PARAMETERS;
    return oswIpcCreate(name, IPC_QUEUE, {maxMessages, messageSizeBytes}, handle, makeLocal,
                        {{maxMessages, messageSizeBytes, options}});
}

ZatStatus zatOSWIpcSendMsgQueue(ZatIpcHandle handle, const void* message, uint32_t lengthBytes,
                                ZatTimeoutMs timeoutMs, uint32_t priority) {
    if (message == nullptr && lengthBytes > 0) return ZAT_FAILED;
    Transfer transfer = {message, nullptr, lengthBytes, priority};
    return oswIpcWait(handle, timeoutMs, sendWait, &transfer);
}

ZatStatus zatOSWIpcReceiveMsgQueue(ZatIpcHandle handle, void* buffer, uint32_t lengthBytes,
                                   ZatTimeoutMs timeoutMs) {
    if (buffer == nullptr && lengthBytes > 0) return ZAT_FAILED;
    Transfer transfer = {nullptr, buffer, lengthBytes, 0};
    return oswIpcWait(handle, timeoutMs, receiveWait, &transfer);
}

ZatStatus zatOSWIpcQueryMsgQueue(ZatIpcHandle handle, uint32_t* messages) {
    static constexpr IpcChange change = {IPC_QUEUE, query, queryLocal};
    return messages == nullptr ? ZatStatus{ZAT_FAILED} : oswIpcApply(handle, change, messages);
}

ZatStatus zatOSWIpcDeleteMsgQueue(ZatIpcHandle handle) {
    return oswIpcDelete(handle, IPC_QUEUE);
}
