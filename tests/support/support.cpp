#include "support/support.h"

#include <sys/msg.h>
#include <sys/sem.h>
#include <sys/shm.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>

static uint32_t chooseSeed() {
    const char* given = std::getenv("ZATOSW_SEED");
    uint32_t seed = given != nullptr && *given != '\0'
                        ? static_cast<uint32_t>(std::strtoul(given, nullptr, 0))
                        : std::random_device{}();
    std::printf("random steps: repeat with ZATOSW_SEED=%u\n", static_cast<unsigned>(seed));
    std::fflush(stdout);
    return seed;
}

uint32_t testSeed() {
    static const uint32_t seed = chooseSeed();
    return seed;
}

bool emulated() {
    const char* flag = std::getenv("ZATOSW_EMULATED");
    return flag != nullptr && std::strcmp(flag, "1") == 0;
}

bool isSlow() {
    return emulated() || std::getenv("ZATOSW_WRAPPER") != nullptr;
}

int systemVObjects() {
    if (std::getenv("ZATOSW_SHARED_IPC") != nullptr) return 0;
    seminfo semaphores = {};
    shm_info segments = {};
    msginfo queues = {};
    semctl(0, 0, SEM_INFO, &semaphores);
    shmctl(0, SHM_INFO, reinterpret_cast<shmid_ds*>(&segments));
    msgctl(0, MSG_INFO, reinterpret_cast<msqid_ds*>(&queues));
    return semaphores.semusz + segments.used_ids + queues.msgpool;
}

void pauseBriefly() {
    const timespec moment = {0, 1000000};
    nanosleep(&moment, nullptr);
}
