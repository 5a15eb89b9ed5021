/* Message queues beside their floor, a plain ring, and POSIX message queues. */

#include <fcntl.h>
#include <mqueue.h>
#include <string.h>
#include <unistd.h>
#include <zatosw/zatosw.h>

#include <string>

#include "floor.h"
#include "pair.h"

static constexpr uint32_t messageSize = 64;
static constexpr uint32_t capacity = 16;

/* A size that the compiler does not know, as the library does not. */
static volatile uint32_t copiedSize = messageSize;

static char message[messageSize] = "a message of moderate length";

static void ours(ZatMsgQueue queue, int operations) {
    char received[messageSize];
    for (int i = 0; i < operations; ++i) {
        zatOSWSendMsgQueue(queue, message, sizeof message, ZAT_FOREVER, 0);
        zatOSWReceiveMsgQueue(queue, received, sizeof received, ZAT_FOREVER);
    }
    benchmark::DoNotOptimize(received);
}

/* The queue lock twice, a wait and a post per call, and the copy. */
struct FloorQueue {
    pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
    FloorSem slots{capacity};
    FloorSem messages{0};
    char ring[capacity][messageSize];
    uint32_t head = 0;
    uint32_t tail = 0;

    __attribute__((noinline)) void send(const char* data) {
        pthread_mutex_lock(&lock);
        pthread_mutex_unlock(&lock);
        slots.wait();
        pthread_mutex_lock(&lock);
        messages.post();
        memcpy(ring[tail], data, copiedSize);
        tail = (tail + 1) % capacity;
        pthread_mutex_unlock(&lock);
    }
    __attribute__((noinline)) void receive(char* data) {
        pthread_mutex_lock(&lock);
        pthread_mutex_unlock(&lock);
        messages.wait();
        pthread_mutex_lock(&lock);
        slots.post();
        memcpy(data, ring[head], copiedSize);
        head = (head + 1) % capacity;
        pthread_mutex_unlock(&lock);
    }
};

static void floorQueue(int operations) {
    static FloorQueue queue;
    char received[messageSize];
    for (int i = 0; i < operations; ++i) {
        queue.send(message);
        queue.receive(received);
    }
    benchmark::DoNotOptimize(received);
}

/* A ring under one mutex with two conditions. */
struct PlainRing {
    pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t filled = PTHREAD_COND_INITIALIZER;
    pthread_cond_t freed = PTHREAD_COND_INITIALIZER;
    char ring[capacity][messageSize];
    uint32_t head = 0;
    uint32_t count = 0;

    __attribute__((noinline)) void send(const char* data) {
        pthread_mutex_lock(&lock);
        while (count == capacity)
            pthread_cond_wait(&freed, &lock);
        memcpy(ring[(head + count++) % capacity], data, copiedSize);
        pthread_cond_signal(&filled);
        pthread_mutex_unlock(&lock);
    }
    __attribute__((noinline)) void receive(char* data) {
        pthread_mutex_lock(&lock);
        while (count == 0)
            pthread_cond_wait(&filled, &lock);
        memcpy(data, ring[head], copiedSize);
        head = (head + 1) % capacity;
        --count;
        pthread_cond_signal(&freed);
        pthread_mutex_unlock(&lock);
    }
};

static void plainRing(int operations) {
    static PlainRing queue;
    char received[messageSize];
    for (int i = 0; i < operations; ++i) {
        queue.send(message);
        queue.receive(received);
    }
    benchmark::DoNotOptimize(received);
}

static void posixQueue(int operations) {
    static const mqd_t queue = [] {
        const std::string name = "/bench" + std::to_string(getpid());
        mq_attr attributes = {};
        attributes.mq_maxmsg = 10;
        attributes.mq_msgsize = messageSize;
        const mqd_t opened = mq_open(name.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600, &attributes);
        mq_unlink(name.c_str());
        return opened;
    }();
    char received[messageSize];
    for (int i = 0; i < operations; ++i) {
        mq_send(queue, message, sizeof message, 0);
        mq_receive(queue, received, sizeof received, nullptr);
    }
}

template <class Peer>
static void sendAndReceive(benchmark::State& state, uint32_t alive, Peer peer) {
    std::vector<ZatMsgQueue> queues(alive);
    for (ZatMsgQueue& queue : queues)
        zatOSWCreateMsgQueue(&queue, capacity, messageSize, 0);
    const ZatMsgQueue queue = queues[alive / 2];
    benchPair(
        state, 1000, [queue](int n) { ours(queue, n); }, peer);
    for (const ZatMsgQueue each : queues)
        zatOSWDeleteMsgQueue(each);
}

int main(int count, char** arguments) {
    for (const uint32_t alive : {1u, 1000u}) {
        const std::string row = "queue_64_bytes_" + std::to_string(alive) + "_alive";
        const auto add = [&row, alive](const char* name, void (*peer)(int)) {
            benchRow((row + name).c_str(),
                     [alive, peer](auto& s) { sendAndReceive(s, alive, peer); });
        };
        add("/floor", floorQueue);
        add("/mutex_and_condition_ring", plainRing);
        add("/posix_mq", posixQueue);
    }
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
}
