/* Mutexes, events and counting semaphores beside their floors and the thread library's own. */

#include <semaphore.h>
#include <zatosw/zatosw.h>

#include "floor.h"
#include "pair.h"
#include "threads.h"

static ZatMutexSem makeMutex() {
    ZatMutexSem mutex = 0;
    zatOSWCreateMutexSem(&mutex, 0, 1);
    return mutex;
}

static void takeAndGive(ZatMutexSem mutex, int operations) {
    for (int i = 0; i < operations; ++i) {
        zatOSWRequestMutexSem(mutex, ZAT_FOREVER);
        zatOSWReleaseMutexSem(mutex);
    }
}

/* A call that does nothing but take and give two plain locks. */
__attribute__((noinline)) static void twoPairs() {
    static pthread_mutex_t list = PTHREAD_MUTEX_INITIALIZER;
    static pthread_mutex_t inner = PTHREAD_MUTEX_INITIALIZER;
    pthread_mutex_lock(&list);
    pthread_mutex_lock(&inner);
    pthread_mutex_unlock(&inner);
    pthread_mutex_unlock(&list);
}

static void twoPairsPerCall(int operations) {
    for (int i = 0; i < operations; ++i) {
        twoPairs();
        twoPairs();
    }
}

static void recursiveMutex(int operations) {
    static pthread_mutex_t mutex = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;
    for (int i = 0; i < operations; ++i) {
        pthread_mutex_lock(&mutex);
        pthread_mutex_unlock(&mutex);
    }
}

template <class Peer>
static void uncontended(benchmark::State& state, Peer peer) {
    const ZatMutexSem mutex = makeMutex();
    benchPair(
        state, 2000, [mutex](int n) { takeAndGive(mutex, n); }, peer);
    zatOSWDeleteMutexSem(mutex);
}

template <class Peer>
static void contended(benchmark::State& state, int threads, Peer peer) {
    const ZatMutexSem mutex = makeMutex();
    BenchThreads ours(threads, [mutex](int n) { takeAndGive(mutex, n); });
    BenchThreads theirs(threads, peer);
    benchPair(
        state, 4000, [&ours](int n) { ours.run(n); }, [&theirs](int n) { theirs.run(n); });
    zatOSWDeleteMutexSem(mutex);
}

static void contendedFloor(benchmark::State& state, int threads) {
    FloorSem floor{1};
    contended(state, threads, [&floor](int n) {
        for (int i = 0; i < n; ++i) {
            floor.wait();
            floor.post();
        }
    });
}

/* A thread that answers every ping until it is told to stop. */
template <class Semaphore>
struct Echo {
    Semaphore ping;
    Semaphore pong;
    bool stop = false;
    std::thread thread{[this] {
        benchStayOn(1);
        for (ping.wait(); !stop; ping.wait())
            pong.post();
    }};
    ~Echo() {
        stop = true;
        ping.post();
        thread.join();
    }
    void roundTrips(int operations) {
        for (int i = 0; i < operations; ++i) {
            ping.post();
            pong.wait();
        }
    }
};

struct OurEvent {
    ZatEventSem event = 0;
    OurEvent() { zatOSWCreateEventSem(&event, 0, 0); }
    ~OurEvent() { zatOSWDeleteEventSem(event); }
    void wait() { zatOSWWaitEventSem(event, ZAT_FOREVER); }
    void post() { zatOSWPostEventSem(event); }
};

struct PosixSem {
    sem_t semaphore;
    PosixSem() { sem_init(&semaphore, 0, 0); }
    void wait() { sem_wait(&semaphore); }
    void post() { sem_post(&semaphore); }
};

struct Condition {
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t condition = PTHREAD_COND_INITIALIZER;
    bool posted = false;
    void wait() {
        pthread_mutex_lock(&mutex);
        while (!posted)
            pthread_cond_wait(&condition, &mutex);
        posted = false;
        pthread_mutex_unlock(&mutex);
    }
    void post() {
        pthread_mutex_lock(&mutex);
        posted = true;
        pthread_cond_signal(&condition);
        pthread_mutex_unlock(&mutex);
    }
};

struct FloorEvent : FloorSem {
    FloorEvent() : FloorSem{0} {}
};

template <class Peer>
static void roundTrips(benchmark::State& state) {
    benchStayOn(0);
    Echo<OurEvent> ours;
    Echo<Peer> peer;
    benchPair(
        state, 500, [&ours](int n) { ours.roundTrips(n); }, [&peer](int n) { peer.roundTrips(n); });
}

template <class Peer>
static void postAndWait(benchmark::State& state, Peer peer) {
    ZatCountSem semaphore = 0;
    zatOSWCreateCountSem(&semaphore, 0, 0);
    const auto ours = [semaphore](int operations) {
        for (int i = 0; i < operations; ++i) {
            zatOSWPostCountSem(semaphore);
            zatOSWWaitCountSem(semaphore, ZAT_FOREVER);
        }
    };
    benchPair(state, 2000, ours, peer);
    zatOSWDeleteCountSem(semaphore);
}

static void posixSemPostAndWait(int operations) {
    static PosixSem semaphore;
    for (int i = 0; i < operations; ++i) {
        semaphore.post();
        semaphore.wait();
    }
}

int main(int count, char** arguments) {
    benchRow("mutex_uncontended/floor", [](auto& s) { uncontended(s, twoPairsPerCall); });
    benchRow("mutex_uncontended/pthread_recursive",
             [](auto& s) { uncontended(s, recursiveMutex); });
    for (const int threads : {2, 4}) {
        const std::string row = "mutex_contended_" + std::to_string(threads);
        benchRow((row + "/floor").c_str(), [threads](auto& s) { contendedFloor(s, threads); });
        benchRow((row + "/pthread_recursive").c_str(),
                 [threads](auto& s) { contended(s, threads, recursiveMutex); });
    }
    benchRow("event_ping_pong/floor", roundTrips<FloorEvent>);
    benchRow("event_ping_pong/condition_variable", roundTrips<Condition>);
    benchRow("event_ping_pong/sem_t", roundTrips<PosixSem>);
    benchRow("count_post_wait/floor", [](auto& s) { postAndWait(s, twoPairsPerCall); });
    benchRow("count_post_wait/sem_t", [](auto& s) { postAndWait(s, posixSemPostAndWait); });
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
}
