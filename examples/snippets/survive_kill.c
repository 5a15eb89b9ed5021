/*
 * A lock between processes that survives the death of its holder.
 *
 * A named mutex whose holder was killed stays taken. All agree on another one then: its number is
 * in shared memory, and whoever finds the holder dead moves the number on.
 *
 * Prints:
 *     the holder was killed, lock 0 is given up
 *     the lock is taken: demo.lock.1
 */
#include <errno.h>
#include <signal.h>
#include <stdatomic.h>
#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zatosw/zatosw.h>

enum { boardId = 1, memoryBytes = 4096, patienceMs = 200 };

typedef struct {
    atomic_uint lockNumber;
} Board;

static ZatIpcHandle memory, lock;
static unsigned openNumber;
static char name[32];

static Board* openBoard(void) {
    void* board = NULL;
    if (zatOSWIpcCreateMemPart(&memory, "demo.memory", memoryBytes) != ZAT_OK) return NULL;
    if (zatOSWIpcGetBlockByIdMemPart(memory, boardId, &board) == ZAT_OK) return board;
    if (zatOSWIpcAllocMemPart(memory, &board, sizeof(Board)) != ZAT_OK) return NULL;
    atomic_init(&((Board*)board)->lockNumber, 0);
    if (zatOSWIpcRegisterBlockIdMemPart(memory, board, boardId) == ZAT_OK) return board;
    zatOSWIpcFreeMemPart(memory, board); /* another process was faster */
    return zatOSWIpcGetBlockByIdMemPart(memory, boardId, &board) == ZAT_OK ? board : NULL;
}

static ZatStatus openLock(unsigned number) {
    if (lock != 0) zatOSWIpcDeleteMutexSem(lock);
    lock = 0;
    openNumber = number;
    snprintf(name, sizeof name, "demo.lock.%u", number);
    return zatOSWIpcCreateMutexSem(name, &lock, 0, 1);
}

static int holderIsDead(void) {
    IpcStatus status;
    return zatOSWIpcQueryStatus(lock, ZAT_IPC_TYPE_MUTEX, &status) == ZAT_OK && status.state != 0 &&
           kill((pid_t)status.process, 0) != 0 && errno == ESRCH;
}

static ZatStatus takeLock(Board* board) {
    for (;;) {
        unsigned number = atomic_load(&board->lockNumber);
        ZatStatus status = lock == 0 || openNumber != number ? openLock(number) : ZAT_OK;
        if (status == ZAT_OK) status = zatOSWIpcRequestMutexSem(lock, patienceMs);
        if (status == ZAT_OK) {
            if (atomic_load(&board->lockNumber) == number) return ZAT_OK;
            zatOSWIpcReleaseMutexSem(lock); /* it was given up while this process waited */
        } else if (status != ZAT_TIMED_OUT) {
            return status;
        } else if (holderIsDead() &&
                   atomic_compare_exchange_strong(&board->lockNumber, &number, number + 1)) {
            printf("the holder was killed, lock %u is given up\n", number);
        }
    }
}

int main(void) {
    pid_t child = fork(); /* before the first call of the library; see share_queue.c */
    if (child < 0) return 1;
    Board* board = child == 0 || waitpid(child, NULL, 0) == child ? openBoard() : NULL;
    if (board == NULL || takeLock(board) != ZAT_OK) return 1;
    if (child == 0) kill(getpid(), SIGKILL);
    printf("the lock is taken: %s\n", name);

    zatOSWIpcReleaseMutexSem(lock);
    zatOSWIpcDeleteMutexSem(lock);
    zatOSWIpcDeleteMemPart(memory);
    zatOSWTerm();
    return 0;
}
