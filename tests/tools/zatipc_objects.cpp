// Makes what zatipc looks at, sound or spoilt:
//   objects NUMBER            one object of each kind in use, NUMBER event semaphores more; says
//                             "ready" and lives until its standard input ends
//   hold FILE                 takes a lock semaphore, says "ready" and keeps it as long as that
//   spoil FILE NUMBER         adds to a lock semaphore for good
//   orphan FILE NUMBER        key file and so many semaphores, without an entry; prints their id
//   segment FILE              prints the id of a key file's segment
//   write FILE OFFSET WORD... words of a key file's segment; prints what they were
//   scramble SEED             the whole first page

#include <fcntl.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zatosw/zatosw.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

#include "osw/ipc/page_private.h"

static void demand(bool isFine, const char* what) {
    if (isFine) return;
    perror(what);
    exit(2);
}

static void stayUntilEnd() {
    puts("ready");
    fflush(stdout);
    while (getchar() != EOF) {
    }
}

static key_t keyOf(const std::string& file) {
    struct stat info;
    const std::string path = getenv("GEN_MSGQ_PATH") + file;
    demand(stat(path.c_str(), &info) == 0, path.c_str());
    return static_cast<key_t>(info.st_ino);
}

static void onTimer(uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t) {}

static uint32_t waitForCount(uint32_t count, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                             uint32_t, uint32_t, uint32_t, uint32_t) {
    return zatOSWIpcWaitCountSem(count, ZAT_FOREVER);
}

static void makeObjects(uint32_t number) {
    ZatIpcHandle mutex = 0, count = 0, event = 0, queue = 0, timer = 0, lock = 0, part = 0;
    uint32_t failed = zatOSWIpcCreateMutexSem("m", &mutex, 0, 1);
    failed |= zatOSWIpcCreateCountSem("c", &count, 0, 0);
    failed |= zatOSWIpcCreateEventSem("e", &event, 0, 1);
    failed |= zatOSWIpcCreateMsgQueue("q", &queue, 3, 8, 0);
    failed |= zatOSWIpcCreateTimer("t", &timer, 16384);
    failed |= zatOSWIpcCreateSELock("s", &lock, 0, 1);
    failed |= zatOSWIpcCreateMemPart(&part, "p", 4096);
    for (int i = 0; i < 2; ++i)
        failed |= zatOSWIpcRequestMutexSem(mutex, 0);
    for (int i = 0; i < 3; ++i)
        failed |= zatOSWIpcSendMsgQueue(queue, "12345678", 8, 0, 0);
    failed |= zatOSWIpcStartTimer(timer, 3600000, onTimer, 0);
    void* block = nullptr;
    failed |= zatOSWIpcAllocMemPart(part, &block, 100);
    ZatTaskId task = 0;
    failed |= zatOSWCreateJoinTask(&task, "waiter", 0, 16384, waitForCount, 1, count, 0, 0, 0, 0, 0,
                                   0, 0, 0, 0);
    for (uint32_t i = 0; i < number; ++i)
        failed |= zatOSWIpcCreateEventSem(("x" + std::to_string(i)).c_str(), &event, 0, 0);
    IpcStatus status = {};
    while (failed == 0 && status.waiters == 0)
        failed |= zatOSWIpcQueryStatus(count, ZAT_IPC_TYPE_COUNT, &status);
    demand(failed == 0, "objects");
    stayUntilEnd();
    zatOSWTerm();
}

static void addToLock(const char* file, int number, short flags) {
    sembuf operation = {0, static_cast<short>(number), flags};
    demand(semop(semget(keyOf(file), 1, 0), &operation, 1) == 0, file);
}

static uint32_t* attach(const std::string& file) {
    void* address = shmat(shmget(keyOf(file), 0, 0), nullptr, 0);
    demand(address != reinterpret_cast<void*>(-1), file.c_str());
    return static_cast<uint32_t*>(address);
}

static void makeOrphan(const std::string& file, int semaphores) {
    close(open((getenv("GEN_MSGQ_PATH") + file).c_str(), O_CREAT | O_RDWR, 0666));
    const int made = semget(keyOf(file), semaphores, IPC_CREAT | 0666);
    demand(made >= 0, file.c_str());
    printf("%d\n", made);
}

// Plausible words and wild ones; the head and entries alike.
static void scramble(unsigned seed) {
    std::mt19937 random(seed);
    uint32_t* words = attach("zatoswipcglobalshm");
    for (size_t i = 0; i < sizeof(IpcGlobalPage) / sizeof(uint32_t); ++i)
        switch (random() % 8) {
        case 0:
            words[i] = static_cast<uint32_t>(random());
            break;
        case 1:
            words[i] = static_cast<uint32_t>(random()) % 9;
            break;
        case 2:
            words[i] = 0 - static_cast<uint32_t>(random()) % 9;
            break;
        default:
            break;
        }
}

int main(int count, char** words) {
    demand(count >= 3, "usage");
    const std::string command = words[1];
    if (command == "objects") makeObjects(static_cast<uint32_t>(atoi(words[2])));
    if (command == "hold") {
        addToLock(words[2], -1, SEM_UNDO);
        stayUntilEnd();
    }
    if (command == "spoil") addToLock(words[2], atoi(words[3]), 0);
    if (command == "orphan") makeOrphan(words[2], atoi(words[3]));
    if (command == "segment") printf("%d\n", shmget(keyOf(words[2]), 0, 0));
    if (command == "scramble") scramble(static_cast<unsigned>(atoi(words[2])));
    if (command == "write")
        for (int i = 4; i < count; ++i) {
            uint32_t& word = attach(words[2])[atoi(words[3]) / 4 + i - 4];
            printf("%u ", word);
            word = static_cast<uint32_t>(strtoll(words[i], nullptr, 0));
        }
}
