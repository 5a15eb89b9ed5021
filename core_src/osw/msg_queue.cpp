/*
 * QueuedMessage queues: a ring of slots and two counting semaphores.
 *
 * The queue lock guards the list and every ring; nobody waits with it. A task that has to wait on a
 * queue's semaphore gives the queue lock up only once it has the semaphore's own locks, so that a
 * delete finds it inside and wakes it; back from the wait it looks whether the queue is still the
 * one that it left.
 */

#include "osw/msg_queue.h"

#include <limits.h>
#include <string.h>

#include <algorithm>

#include "osw/count_sem.h"
#include "osw/count_sem_private.h"
#include "osw/handle_private.h"
#include "osw/init.h"
#include "osw/mem_header_private.h"
#include "osw/mem_part.h"
#include "osw/msg_queue_private.h"
#include "osw/objects_private.h"
#include "osw/report_private.h"

static uint32_t lastSerial;

/* A queue that is being made; undone at the end of the scope unless it was finished. */
class QueueMaker {
  public:
    QueueMaker() = default;
    QueueMaker(const QueueMaker&) = delete;
    QueueMaker& operator=(const QueueMaker&) = delete;
    ~QueueMaker() {
        if (queue == nullptr) return;
        if (queue->slotSem != 0) zatOSWDeleteCountSem(queue->slotSem);
        if (queue->msgSem != 0) zatOSWDeleteCountSem(queue->msgSem);
        zatOSWOrgFreeMemPart(0, queue->buffer);
        zatOSWOrgFreeMemPart(0, queue);
    }

    void finish() { queue = nullptr; }

    OswMsgQueue* queue = nullptr;
};

static ZatStatus allocate(void** out, uint32_t size) {
    return zatOSWOrgAllocMemPart(0, out, size);
}

static ZatStatus make(QueueMaker& maker, uint32_t capacity, uint32_t msgSize, bool growable) {
    void* memory = nullptr;
    ZatStatus status = allocate(&memory, sizeof(OswMsgQueue));
    if (status != ZAT_OK) return status;
    auto* queue = maker.queue = static_cast<OswMsgQueue*>(memory);
    *queue = {};
    queue->capacity = capacity;
    queue->msgSize = msgSize;
    queue->growable = growable;
    queue->growStep = capacity;
    status = allocate(&memory, oswArraySize(capacity, msgSize));
    if (status != ZAT_OK) return status;
    queue->buffer = static_cast<uint8_t*>(memory);
    status = zatOSWCreateCountSem(&queue->msgSem, 0, 0);
    if (status != ZAT_OK || growable) return status;
    return zatOSWCreateCountSem(&queue->slotSem, 0, static_cast<int32_t>(capacity));
}

ZatStatus zatOSWCreateMsgQueue(ZatMsgQueue* queue, uint32_t capacity, uint32_t messageSizeBytes,
                               uint32_t options) {
    if (const ZatStatus status = zatOSWInit(); status != ZAT_OK) return status;
    const bool growable = (options & ZAT_MSG_QUEUE_GROWABLE) != 0;
    if (queue == nullptr || capacity > INT_MAX || (growable && capacity == 0)) return ZAT_FAILED;
    QueueMaker maker;
    ZatStatus status = make(maker, capacity, messageSizeBytes, growable);
    if (status != ZAT_OK) return status;
    OswLock lock;
    status = lock.take(oswMsgQueues.lock);
    if (status != ZAT_OK) return status;
    OswMsgQueue* record = maker.queue;
    record->serial = ++lastSerial;
    oswAddObject(oswMsgQueues, *record);
    *queue = oswWord(record);
    maker.finish();
    return ZAT_OK;
}

/* Under the queue lock: the queue of a handle, null when there is none. */
static OswMsgQueue* findQueue(ZatMsgQueue handle) {
    return oswFindObject<OswMsgQueue>(oswMsgQueues, handle);
}

ZatStatus zatOSWDeleteMsgQueue(ZatMsgQueue queue) {
    if (queue == 0) return ZAT_FAILED;
    OswLock lock;
    if (const ZatStatus error = lock.take(oswMsgQueues.lock); error != ZAT_OK) return error;
    OswMsgQueue* record = findQueue(queue);
    if (record == nullptr) return ZAT_OK;
    zatOSWDeleteCountSem(record->msgSem);
    if (!record->growable) zatOSWDeleteCountSem(record->slotSem);
    oswRemoveObject(oswMsgQueues, *record);
    lock.release();
    zatOSWOrgFreeMemPart(0, record->buffer);
    zatOSWOrgFreeMemPart(0, record);
    return ZAT_OK;
}

static uint8_t* slotAt(const OswMsgQueue& queue, uint32_t index) {
    return queue.buffer + index * queue.msgSize;
}

static uint32_t after(const OswMsgQueue& queue, uint32_t index) {
    return index + 1 == queue.capacity ? 0 : index + 1;
}

static uint32_t before(const OswMsgQueue& queue, uint32_t index) {
    return index == 0 ? queue.capacity - 1 : index - 1;
}

struct QueuedMessage {
    const void* data;
    uint32_t length;
    bool urgent;
};

/* Puts a message into a ring that has room for it. */
static ZatStatus place(OswMsgQueue& queue, const QueuedMessage& message) {
    if (const ZatStatus error = oswPostCountSemHolding(queue.msgSem); error != ZAT_OK) return error;
    uint32_t index = queue.tail;
    if (message.urgent)
        index = queue.head = before(queue, queue.head);
    else
        queue.tail = after(queue, queue.tail);
    uint8_t* slot = slotAt(queue, index);
    if (message.length != 0) memcpy(slot, message.data, message.length);
    if (message.length != queue.msgSize)
        memset(slot + message.length, 0, queue.msgSize - message.length);
    queue.msgCount += 1;
    return ZAT_OK;
}

/* Makes room in a full ring: what lies from the tail on moves up by one step. The old buffer is the
 * caller's to free. */
static ZatStatus grow(OswMsgQueue& queue, uint32_t capacity, void** oldBuffer) {
    void* memory = nullptr;
    const ZatStatus status = allocate(&memory, oswArraySize(capacity, queue.msgSize));
    if (status != ZAT_OK) return status;
    auto* buffer = static_cast<uint8_t*>(memory);
    const uint32_t lowBytes = queue.tail * queue.msgSize;
    const uint32_t highBytes = (queue.msgCount - queue.tail) * queue.msgSize;
    memcpy(buffer, queue.buffer, lowBytes);
    memcpy(buffer + lowBytes + queue.growStep * queue.msgSize, queue.buffer + lowBytes, highBytes);
    *oldBuffer = queue.buffer;
    queue.buffer = buffer;
    queue.head += queue.growStep;
    queue.capacity = capacity;
    return ZAT_OK;
}

/* Sends into a growable queue, whose lock is held; it is given up before the growth is reported. */
static ZatStatus sendGrowing(OswMsgQueue& queue, const QueuedMessage& message, OswLock& lock) {
    if (queue.msgCount != queue.capacity) return place(queue, message);
    const uint32_t msgSize = queue.msgSize;
    const uint32_t capacity = queue.msgCount + queue.growStep;
    void* oldBuffer = nullptr;
    ZatStatus status = grow(queue, capacity, &oldBuffer);
    if (status == ZAT_OK) status = place(queue, message);
    lock.release();
    zatOSWOrgFreeMemPart(0, oldBuffer);
    oswReport(OSW_REPORT_WARNING, "<Warning>:MessageQueueGrown:qid=%d size=%d length=%d\n",
              static_cast<int>(oswWord(&queue)), static_cast<int>(capacity),
              static_cast<int>(msgSize));
    return status;
}

/*
 * Waits on one of a queue's semaphores, and has the queue lock again. found is the queue then, or
 * the result ZAT_FAILED when it was deleted meanwhile: its semaphores are gone with it.
 */
static ZatStatus waitInQueue(OswMsgQueue*& found, ZatCountSem semaphore, ZatTimeoutMs timeoutMs,
                             OswLock& lock) {
    const ZatMsgQueue handle = oswWord(found);
    const uint32_t serial = found->serial;
    ZatStatus status = oswWaitCountSemHolding(semaphore, timeoutMs, lock);
    if (status != ZAT_OK || lock.isHeld()) return status;
    status = lock.take(oswMsgQueues.lock);
    if (status != ZAT_OK) {
        zatOSWPostCountSem(semaphore);
        return status;
    }
    found = findQueue(handle);
    return found != nullptr && found->serial == serial ? ZatStatus{ZAT_OK} : ZatStatus{ZAT_FAILED};
}

ZatStatus zatOSWSendMsgQueue(ZatMsgQueue queue, const void* message, uint32_t lengthBytes,
                             ZatTimeoutMs timeoutMs, uint32_t urgent) {
    if (message == nullptr && lengthBytes != 0) return ZAT_FAILED;
    OswLock lock;
    if (const ZatStatus error = lock.take(oswMsgQueues.lock); error != ZAT_OK) return error;
    OswMsgQueue* record = findQueue(queue);
    if (record == nullptr || lengthBytes > record->msgSize) return ZAT_FAILED;
    const QueuedMessage placed = {message, lengthBytes, urgent != 0};
    if (record->growable) return sendGrowing(*record, placed, lock);
    ZatStatus status = waitInQueue(record, record->slotSem, timeoutMs, lock);
    if (status != ZAT_OK) return status;
    status = place(*record, placed);
    if (status != ZAT_OK) oswPostCountSemHolding(record->slotSem);
    return status;
}

ZatStatus zatOSWReceiveMsgQueue(ZatMsgQueue queue, void* buffer, uint32_t bufferBytes,
                                ZatTimeoutMs timeoutMs) {
    if (buffer == nullptr && bufferBytes != 0) return ZAT_FAILED;
    OswLock lock;
    if (const ZatStatus error = lock.take(oswMsgQueues.lock); error != ZAT_OK) return error;
    OswMsgQueue* record = findQueue(queue);
    if (record == nullptr) return ZAT_FAILED;
    ZatStatus status = waitInQueue(record, record->msgSem, timeoutMs, lock);
    if (status != ZAT_OK) return status;
    if (!record->growable) {
        status = oswPostCountSemHolding(record->slotSem);
        if (status != ZAT_OK) {
            oswPostCountSemHolding(record->msgSem);
            return status;
        }
    }
    const uint32_t copied = std::min(bufferBytes, record->msgSize);
    if (copied != 0) memcpy(buffer, slotAt(*record, record->head), copied);
    record->head = after(*record, record->head);
    record->msgCount -= 1;
    return ZAT_OK;
}

ZatStatus zatOSWQueryMsgQueue(ZatMsgQueue queue, uint32_t* messages) {
    OswLock lock;
    if (const ZatStatus error = lock.take(oswMsgQueues.lock); error != ZAT_OK) return error;
    const OswMsgQueue* record = findQueue(queue);
    if (record == nullptr || messages == nullptr) return ZAT_FAILED;
    *messages = record->msgCount;
    return ZAT_OK;
}
