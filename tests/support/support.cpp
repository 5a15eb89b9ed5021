#include "support/support.h"

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

void pauseBriefly() {
    const timespec moment = {0, 1000000};
    nanosleep(&moment, nullptr);
}
