/* Kernel-style calls on message queues. */

#include "osw/msg_queue.h"

#include "osw/compat/compat.h"
#include "osw/compat/wait_private.h"

ZatMsgQueue msgQCreate(uint32_t maxMessages, uint32_t maxMessageBytes, uint32_t options) {
    ZatMsgQueue queue = 0;
    const ZatStatus status = zatOSWCreateMsgQueue(&queue, maxMessages, maxMessageBytes, options);
    return status == ZAT_OK ? queue : 0;
}

ZatStatus msgQSend(ZatMsgQueue queue, const void* message, uint32_t lengthBytes, ZatTicks timeout,
                   uint32_t priority) {
    return compatWaited(
        zatOSWSendMsgQueue(queue, message, lengthBytes, compatTimeout(timeout), priority));
}

ZatStatus msgQReceive(ZatMsgQueue queue, void* buffer, uint32_t bufferBytes, ZatTicks timeout) {
    return compatWaited(zatOSWReceiveMsgQueue(queue, buffer, bufferBytes, compatTimeout(timeout)));
}

int32_t msgQNumMsgs(ZatMsgQueue queue) {
    uint32_t messages = 0;
    return zatOSWQueryMsgQueue(queue, &messages) == ZAT_OK ? static_cast<int32_t>(messages) : -1;
}
