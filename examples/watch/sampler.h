// The sampler: reads this machine, and sends what it reads.
#ifndef WATCH_SAMPLER_H
#define WATCH_SAMPLER_H

#include "shared.h"

class Sampler {
  public:
    Sampler() = default;
    Sampler(const Sampler&) = delete;
    Sampler& operator=(const Sampler&) = delete;
    // Stops what runs and deletes everything.
    ~Sampler();

    // False, after a message, when something could not be made.
    bool start();

  private:
    static uint32_t run(uint32_t self, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                        uint32_t, uint32_t, uint32_t);

    void sample();
    bool stands();

    Shared shared_;
    ZatEventSem stop_ = 0;
    ZatTaskId task_ = 0;
};

#endif
