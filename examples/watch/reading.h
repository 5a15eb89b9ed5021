// One look at the machine, as it travels from the sampler to the controller.
#ifndef WATCH_READING_H
#define WATCH_READING_H

#include <stdint.h>

struct Reading {
    uint32_t takenMs;  // wall clock
    float cpuPercent;  // of all processors, since the reading before
    uint32_t memoryTotalKiB;
    uint32_t memoryUsedKiB;
    float load[3];  // over 1, 5 and 15 minutes
};

// Reads the kernel's figures, one after the other; keeps what it needs for the next reading.
class Machine {
  public:
    // False when a file of the kernel cannot be read or understood.
    bool read(Reading& reading);

  private:
    bool readProcessors(Reading& reading);

    uint64_t busyBefore_ = 0;
    uint64_t allBefore_ = 0;
};

#endif
