/* The record of a message queue; its address is the handle. */
#ifndef ZATOSW_OSW_MSG_QUEUE_PRIVATE_H
#define ZATOSW_OSW_MSG_QUEUE_PRIVATE_H

#include <stddef.h>

#include "clb/list.h"
#include "osw/index_private.h"
#include "osw/types.h"

struct OswMsgQueue {
    ClbLstNode links;
    uint32_t capacity; /* slots */
    uint32_t msgSize;  /* bytes of a slot */
    uint8_t* buffer;
    uint32_t head; /* slot of the next message to receive */
    uint32_t tail; /* slot for the next normal message */
    uint32_t msgCount;
    ZatCountSem msgSem;  /* waiting messages */
    ZatCountSem slotSem; /* free slots; 0 for a growable queue */
    uint32_t growable;
    uint32_t growStep; /* slots */
    /* Not part of the described record: */
    OswIndexNode byHandle;
    uint32_t serial; /* tells a queue from a later one at the same address */
};

static_assert(offsetof(OswMsgQueue, buffer) == 16 && offsetof(OswMsgQueue, msgCount) == 28 &&
              offsetof(OswMsgQueue, growStep) == 44 && offsetof(OswMsgQueue, byHandle) == 48);

#endif
