/*
 * Two processes share a queue: whoever comes first makes it, the other one opens it by its name.
 *
 * Prints:
 *     reading 1: 21 degrees
 *     reading 2: 22 degrees
 *     reading 3: 23 degrees
 */
#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zatosw/zatosw.h>

typedef struct {
    uint32_t number;
    int32_t degrees;
} Reading;

static ZatIpcHandle queue, received;

static int openShared(void) {
    return zatOSWIpcCreateMsgQueue("demo.readings", &queue, 8, sizeof(Reading), 0) == ZAT_OK &&
           zatOSWIpcCreateEventSem("demo.received", &received, 0, 0) == ZAT_OK;
}

static void closeShared(void) {
    zatOSWIpcDeleteEventSem(received);
    zatOSWIpcDeleteMsgQueue(queue);
    zatOSWTerm();
}

static int sendReadings(void) {
    if (!openShared()) return 1;
    for (uint32_t number = 1; number <= 3; ++number) {
        Reading reading = {number, 20 + (int32_t)number};
        if (zatOSWIpcSendMsgQueue(queue, &reading, sizeof reading, 1000, 0) != ZAT_OK) return 1;
    }
    /* A queue goes with its last handle, and its messages with it: wait until they are read. */
    ZatStatus status = zatOSWIpcWaitEventSem(received, 10000);
    closeShared();
    return status != ZAT_OK;
}

static int receiveReadings(void) {
    if (!openShared()) return 1;
    for (int count = 0; count < 3; ++count) {
        Reading reading;
        if (zatOSWIpcReceiveMsgQueue(queue, &reading, sizeof reading, 10000) != ZAT_OK) return 1;
        printf("reading %u: %d degrees\n", reading.number, reading.degrees);
    }
    zatOSWIpcPostEventSem(received);
    closeShared();
    return 0;
}

int main(void) {
    /* Before the first call of the library, fork() is fine; afterwards, start a program. */
    pid_t child = fork();
    if (child < 0) return 1;
    if (child == 0) return sendReadings();
    int failed = receiveReadings();
    int status = 0;
    return waitpid(child, &status, 0) != child || status != 0 || failed;
}
