/**
 * @file
 * Small helpers of all tests.
 */
#ifndef ZATOSW_TESTS_SUPPORT_H
#define ZATOSW_TESTS_SUPPORT_H

#include <time.h>

#include <cstdint>
#include <utility>

/**
 * The seed of this run's random steps: ZATOSW_SEED of the environment, else a new one per process.
 * Printed when it is first asked for, so that a failure can be repeated.
 */
uint32_t testSeed();

/** True where the machine is emulated: time passes more slowly there. */
bool emulated();

/** True where time passes slowly: emulated, or under a checker. */
bool isSlow();

/** System V objects of the test's name space; 0 where it has none of its own. */
int systemVObjects();

/** Sleeps a moment between two looks at a state that another thread or process brings about. */
void pauseBriefly();

/** Measures time that no change of the date disturbs. */
class Stopwatch {
  public:
    Stopwatch() : startMs_(nowMs()) {}

    /** Milliseconds since the start, rounded down. */
    uint64_t elapsedMs() const { return nowMs() - startMs_; }

  private:
    static uint64_t nowMs() {
        timespec now;
        clock_gettime(CLOCK_MONOTONIC, &now);
        return static_cast<uint64_t>(now.tv_sec) * 1000u +
               static_cast<uint64_t>(now.tv_nsec) / 1000000u;
    }

    uint64_t startMs_;
};

/**
 * Waits until a state is reached.
 *
 * @param reached  called again and again until it returns true
 * @param limitMs  when to give up; generous, as it is only reached when the test fails
 * @return whether the state was reached
 */
template <typename Predicate>
bool waitFor(Predicate&& reached, uint64_t limitMs = 10000) {
    Stopwatch stopwatch;
    while (!reached()) {
        if (stopwatch.elapsedMs() >= limitMs) return reached();
        pauseBriefly();
    }
    return true;
}

#endif
