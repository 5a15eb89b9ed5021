/*
 * The floors of the inter-process objects: the system calls that their design prescribes, made raw,
 * without handles, table or checks. A lock semaphore is taken and given back with SEM_UNDO.
 */
#ifndef ZATOSW_BENCH_IPC_FLOOR_H
#define ZATOSW_BENCH_IPC_FLOOR_H

#include <signal.h>
#include <string.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/msg.h>
#include <sys/sem.h>

union FloorSemArgument {
    int val;
};

/* A set of semaphores of this benchmark alone, removed at its end. */
class FloorSemaphores {
  public:
    FloorSemaphores(int count, int value) : id(semget(IPC_PRIVATE, count, 0600)) {
        for (int i = 0; i < count; ++i) {
            FloorSemArgument argument = {value};
            semctl(id, i, SETVAL, argument);
        }
    }
    ~FloorSemaphores() { semctl(id, 0, IPC_RMID); }

    void operate(unsigned short semaphore, short change, short flags = 0) const {
        sembuf operation = {semaphore, change, flags};
        semop(id, &operation, 1);
    }
    void lock() const { operate(0, -1, SEM_UNDO); }
    void unlock() const { operate(0, 1, SEM_UNDO); }

    const int id;
};

/* Memory that a forked child shares. */
template <class Record>
Record* floorShared() {
    void* memory =
        mmap(nullptr, sizeof(Record), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    return new (memory) Record();
}

/* A bounded queue as named queues are made: a count under a lock, and blocked receivers. */
struct FloorIpcQueue {
    static constexpr size_t messageSize = 64;

    struct Message {
        long type;
        char bytes[messageSize];
    };

    FloorSemaphores lock{1, 1};
    FloorSemaphores receivers{1, 0};
    const int id = msgget(IPC_PRIVATE, 0600);
    volatile int messages = 0;
    volatile int blocked = 0;

    ~FloorIpcQueue() { msgctl(id, IPC_RMID, nullptr); }

    void send(const char* bytes) {
        Message message = {100, {}};
        memcpy(message.bytes, bytes, messageSize);
        lock.lock();
        msgsnd(id, &message, messageSize, 0);
        messages = messages + 1;
        if (blocked > 0) receivers.operate(0, 1);
        lock.unlock();
    }

    void receive(char* bytes) {
        lock.lock();
        while (messages == 0) {
            blocked = blocked + 1;
            block();
            blocked = blocked - 1;
        }
        Message message;
        msgrcv(id, &message, messageSize, 100, 0);
        messages = messages - 1;
        lock.unlock();
        memcpy(bytes, message.bytes, messageSize);
    }

  private:
    /* With every signal but one held back meanwhile. */
    void block() {
        sigset_t all;
        sigset_t before;
        sigfillset(&all);
        sigdelset(&all, SIGUSR1);
        pthread_sigmask(SIG_SETMASK, &all, &before);
        lock.unlock();
        receivers.operate(0, -1);
        lock.lock();
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }
};

#endif
