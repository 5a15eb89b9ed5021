/* Named semaphores and queues beside their floors and what a program might use instead. */

#include <fcntl.h>
#include <mqueue.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zatosw/zatosw.h>

#include <functional>
#include <string>
#include <vector>

#include "ipc_floor.h"
#include "pair.h"
#include "threads.h"

static constexpr size_t messageSize = FloorIpcQueue::messageSize;

static char message[messageSize] = "a message of moderate length";

/* Two lock/unlock pairs: what a take and a give-back must make. */
static void twoPairs(int operations) {
    static const FloorSemaphores lock(1, 1);
    for (int i = 0; i < 2 * operations; ++i) {
        lock.lock();
        lock.unlock();
    }
}

static void sharedMutex(int operations) {
    static pthread_mutex_t* mutex = [] {
        auto* made = floorShared<pthread_mutex_t>();
        pthread_mutexattr_t attributes;
        pthread_mutexattr_init(&attributes);
        pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
        pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
        pthread_mutex_init(made, &attributes);
        return made;
    }();
    for (int i = 0; i < operations; ++i) {
        pthread_mutex_lock(mutex);
        pthread_mutex_unlock(mutex);
    }
}

static mqd_t makePosixQueue(const char* name) {
    mq_attr attributes = {};
    attributes.mq_maxmsg = 8;
    attributes.mq_msgsize = messageSize;
    const mqd_t queue = mq_open(name, O_CREAT | O_RDWR, 0600, &attributes);
    mq_unlink(name);
    return queue;
}

static void posixQueue(int operations) {
    static const mqd_t queue = makePosixQueue("/zatosw-bench");
    char received[messageSize];
    for (int i = 0; i < operations; ++i) {
        mq_send(queue, message, sizeof message, 0);
        mq_receive(queue, received, sizeof received, nullptr);
    }
}

static void floorQueue(int operations) {
    static FloorIpcQueue queue;
    char received[messageSize];
    for (int i = 0; i < operations; ++i) {
        queue.send(message);
        queue.receive(received);
    }
}

/* Objects that are open beside the one that is measured. */
class Crowd {
  public:
    explicit Crowd(int count) {
        for (int i = 1; i < count; ++i) {
            ZatIpcHandle handle = 0;
            const std::string name = "crowd" + std::to_string(i);
            if (zatOSWIpcCreateMutexSem(name.c_str(), &handle, 0, 1) == ZAT_OK)
                mutexes_.push_back(handle);
            if (zatOSWIpcCreateCountSem(name.c_str(), &handle, 0, 1) == ZAT_OK)
                counts_.push_back(handle);
        }
    }
    ~Crowd() {
        for (const ZatIpcHandle handle : mutexes_)
            zatOSWIpcDeleteMutexSem(handle);
        for (const ZatIpcHandle handle : counts_)
            zatOSWIpcDeleteCountSem(handle);
    }

  private:
    std::vector<ZatIpcHandle> mutexes_;
    std::vector<ZatIpcHandle> counts_;
};

static void mutexRows(benchmark::State& state, int open, void (*peer)(int)) {
    benchStayOn(0);
    const Crowd crowd(open);
    ZatIpcHandle mutex = 0;
    zatOSWIpcCreateMutexSem("bench", &mutex, 0, 1);
    benchPair(
        state, 1000,
        [mutex](int operations) {
            for (int i = 0; i < operations; ++i) {
                zatOSWIpcRequestMutexSem(mutex, ZAT_FOREVER);
                zatOSWIpcReleaseMutexSem(mutex);
            }
        },
        peer);
    zatOSWIpcDeleteMutexSem(mutex);
}

static void countRows(benchmark::State& state, int open) {
    benchStayOn(0);
    const Crowd crowd(open);
    ZatIpcHandle sem = 0;
    zatOSWIpcCreateCountSem("bench", &sem, 0, 0);
    benchPair(
        state, 1000,
        [sem](int operations) {
            for (int i = 0; i < operations; ++i) {
                zatOSWIpcPostCountSem(sem);
                zatOSWIpcWaitCountSem(sem, ZAT_FOREVER);
            }
        },
        twoPairs);
    zatOSWIpcDeleteCountSem(sem);
}

static void queueRows(benchmark::State& state, void (*peer)(int)) {
    benchStayOn(0);
    ZatIpcHandle queue = 0;
    zatOSWIpcCreateMsgQueue("bench", &queue, 8, messageSize, 0);
    benchPair(
        state, 1000,
        [queue](int operations) {
            char received[messageSize];
            for (int i = 0; i < operations; ++i) {
                zatOSWIpcSendMsgQueue(queue, message, sizeof message, ZAT_FOREVER, 0);
                zatOSWIpcReceiveMsgQueue(queue, received, sizeof received, ZAT_FOREVER);
            }
        },
        peer);
    zatOSWIpcDeleteMsgQueue(queue);
}

/* A child that sends back what it receives, until it is killed. */
class Echo {
  public:
    explicit Echo(const std::function<void()>& run) : child_(fork()) {
        if (child_ != 0) return;
        benchStayOn(1);
        run();
        _exit(1);
    }
    ~Echo() {
        kill(child_, SIGKILL);
        waitpid(child_, nullptr, 0);
    }

  private:
    const pid_t child_;
};

struct OurPipe {
    ZatIpcHandle there = 0;
    ZatIpcHandle back = 0;

    OurPipe() {
        zatOSWIpcCreateMsgQueue("there", &there, 8, messageSize, 0);
        zatOSWIpcCreateMsgQueue("back", &back, 8, messageSize, 0);
    }
    ~OurPipe() {
        zatOSWIpcDeleteMsgQueue(there);
        zatOSWIpcDeleteMsgQueue(back);
    }
};

static void echoForEver() {
    const OurPipe ours;
    char bytes[messageSize];
    for (;;) {
        zatOSWIpcReceiveMsgQueue(ours.there, bytes, sizeof bytes, ZAT_FOREVER);
        zatOSWIpcSendMsgQueue(ours.back, bytes, sizeof bytes, ZAT_FOREVER, 0);
    }
}

static void pingPong(benchmark::State& state, bool posix) {
    benchStayOn(0);
    struct Queues {
        FloorIpcQueue there;
        FloorIpcQueue back;
    };
    auto* floor = floorShared<Queues>();
    const mqd_t posixThere = makePosixQueue("/zatosw-there");
    const mqd_t posixBack = makePosixQueue("/zatosw-back");
    /* A program of its own: a forked child would have a copy of a library that is up. */
    const Echo ourEcho([] { execl("/proc/self/exe", "ipc", "--echo", nullptr); });
    const Echo peerEcho([&] {
        char bytes[messageSize];
        for (;;) {
            if (posix) {
                mq_receive(posixThere, bytes, sizeof bytes, nullptr);
                mq_send(posixBack, bytes, sizeof bytes, 0);
            } else {
                floor->there.receive(bytes);
                floor->back.send(bytes);
            }
        }
    });
    const OurPipe ours;
    benchPair(
        state, 200,
        [&](int operations) {
            char bytes[messageSize];
            for (int i = 0; i < operations; ++i) {
                zatOSWIpcSendMsgQueue(ours.there, message, sizeof message, ZAT_FOREVER, 0);
                zatOSWIpcReceiveMsgQueue(ours.back, bytes, sizeof bytes, ZAT_FOREVER);
            }
        },
        [&](int operations) {
            char bytes[messageSize];
            for (int i = 0; i < operations; ++i) {
                if (posix) {
                    mq_send(posixThere, message, sizeof message, 0);
                    mq_receive(posixBack, bytes, sizeof bytes, nullptr);
                } else {
                    floor->there.send(message);
                    floor->back.receive(bytes);
                }
            }
        });
    floor->~Queues();
}

int main(int count, char** words) {
    if (count == 2 && strcmp(words[1], "--echo") == 0) echoForEver();
    for (const int open : {1, 100, 1000}) {
        const std::string crowd = std::to_string(open) + "_open/two_semop_pairs";
        benchRow(("named_mutex_" + crowd).c_str(),
                 [open](auto& state) { mutexRows(state, open, twoPairs); });
        benchRow(("named_count_" + crowd).c_str(), [open](auto& state) { countRows(state, open); });
    }
    benchRow("named_mutex_1_open/process_shared_pthread",
             [](auto& state) { mutexRows(state, 1, sharedMutex); });
    benchRow("named_queue_64_bytes/floor", [](auto& state) { queueRows(state, floorQueue); });
    benchRow("named_queue_64_bytes/posix_mq", [](auto& state) { queueRows(state, posixQueue); });
    benchRow("named_queue_ping_pong/floor", [](auto& state) { pingPong(state, false); });
    benchRow("named_queue_ping_pong/posix_mq", [](auto& state) { pingPong(state, true); });
    benchmark::Initialize(&count, words);
    benchmark::RunSpecifiedBenchmarks();
    zatOSWTerm();
}
