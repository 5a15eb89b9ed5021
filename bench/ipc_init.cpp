/*
 * Bringing the library up in a process, beside the system calls that this must make: the key
 * directory looked at, a key file for each lock and the table, opened or created; the semaphores
 * and the page; the signal. Every measurement is in a program of its own, which is started anew for
 * each and tells its time through a pipe.
 */

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zatosw/zatosw.h>

#include <string>

#include "ipc_floor.h"
#include "pair.h"

static const char* const names[] = {"global", "mutex", "count", "event",
                                    "queue",  "timer", "lock",  "part"};

static std::string keyPath(const std::string& name) {
    const char* directory = getenv("GEN_MSGQ_PATH");
    return std::string(directory == nullptr ? "/tmp/.zat-msgq/" : directory) + "floor-" + name;
}

static key_t rawKey(const std::string& name, bool first) {
    struct stat info = {};
    if (first) {
        const int file = open(keyPath(name).c_str(), O_RDWR | O_CREAT, 0666);
        fstat(file, &info);
        close(file);
    } else {
        stat(keyPath(name).c_str(), &info);
    }
    return static_cast<key_t>(info.st_ino);
}

static int rawSemaphore(key_t key, bool first) {
    if (!first) return semget(key, 1, 0666);
    const int made = semget(key, 1, IPC_CREAT | IPC_EXCL | 0666);
    FloorSemArgument argument = {1};
    semctl(made, 0, SETVAL, argument);
    return made;
}

/* Each level of the key directory is looked at. */
static void rawDirectory() {
    std::string path = keyPath("");
    for (size_t slash = path.find('/', 1); slash != std::string::npos;
         slash = path.find('/', slash + 1))
        close(open(path.substr(0, slash).c_str(), O_RDONLY));
}

static void rawSignal() {
    struct sigaction action = {};
    action.sa_handler = SIG_IGN;
    sigaction(SIGUSR1, &action, nullptr);
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

static void rawInit(bool first) {
    rawDirectory();
    rawSignal();
    int global = -1;
    for (const char* name : names) {
        const key_t key = rawKey(name, first);
        const int semaphore = rawSemaphore(key, first);
        if (global != -1) continue;
        global = semaphore;
        sembuf lock = {0, -1, SEM_UNDO};
        semop(global, &lock, 1);
        shmat(shmget(key, 4096, first ? IPC_CREAT | IPC_EXCL | 0666 : 0666), nullptr, 0);
    }
    sembuf unlock = {0, 1, SEM_UNDO};
    semop(global, &unlock, 1);
}

static void rawTerm() {
    for (const char* name : names) {
        const key_t key = rawKey(name, false);
        semctl(semget(key, 1, 0666), 0, IPC_RMID);
        const int page = shmget(key, 4096, 0666);
        if (page >= 0) shmctl(page, IPC_RMID, nullptr);
        unlink(keyPath(name).c_str());
    }
}

/* What a started program does: measure one initialisation. */
static int measure(const std::string& side, bool first) {
    const double start = benchNowNs();
    if (side == "ours")
        zatOSWInit();
    else
        rawInit(first);
    const double elapsed = benchNowNs() - start;
    if (side == "ours")
        zatOSWTerm();
    else if (first)
        rawTerm();
    printf("%.0f\n", elapsed);
    return 0;
}

static double started(const char* side, const char* order) {
    int ends[2];
    if (pipe(ends) != 0) return 0;
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], 1);
        execl("/proc/self/exe", "ipc_init", side, order, nullptr);
        _exit(1);
    }
    close(ends[1]);
    char text[32] = "";
    const ssize_t length = read(ends[0], text, sizeof text - 1);
    close(ends[0]);
    waitpid(child, nullptr, 0);
    return length > 0 ? atof(text) : 0;
}

static void rows(benchmark::State& state, const char* order) {
    std::vector<double> ours;
    std::vector<double> peer;
    for (auto _ : state) {
        ours.push_back(started("ours", order));
        peer.push_back(started("floor", order));
        state.SetIterationTime(ours.back() * 1e-9);
    }
    state.counters["ours_ns"] = benchMedian(ours);
    state.counters["peer_ns"] = benchMedian(peer);
    state.counters["ratio"] = benchMedian(ours) / benchMedian(peer);
}

int main(int count, char** words) {
    if (count == 3) return measure(words[1], std::string(words[2]) == "first");
    benchRow("init_of_the_first_process/its_system_calls",
             [](auto& state) { rows(state, "first"); });
    benchRow("init_of_a_second_process/its_system_calls", [](auto& state) {
        zatOSWInit();
        rawInit(true);
        rows(state, "second");
        rawTerm();
        zatOSWTerm();
    });
    benchmark::Initialize(&count, words);
    benchmark::RunSpecifiedBenchmarks();
}
