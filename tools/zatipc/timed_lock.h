// Lock semaphores of the table, held for a copy and waited for no longer than the user allows.
#ifndef ZATIPC_TIMED_LOCK_H
#define ZATIPC_TIMED_LOCK_H

#include <stdint.h>

#include <string>

enum class LockResult { Held, Busy, Missing, Failed };

// What came of taking one.
struct LockState {
    LockResult result = LockResult::Missing;
    uint32_t process = 0;  // Busy: who took it last, as the kernel knows; 0 = unknown
    int excess = 0;        // Held: it was free more than once
    int error = 0;         // Failed: the error number
};

// Held until the end of the scope; the kernel gives it back if this program is killed.
class TimedLock {
  public:
    TimedLock() = default;
    TimedLock(const TimedLock&) = delete;
    TimedLock& operator=(const TimedLock&) = delete;
    ~TimedLock() { release(); }

    LockState take(int semId, uint32_t waitMs);
    bool isHeld() const { return semId_ >= 0; }
    void release();

  private:
    int semId_ = -1;
};

// "held by process 812 (alive)" and the like; empty for a lock that could be taken.
std::string lockText(const LockState& state);

// Before a second look.
void pauseFor(uint32_t ms);

// False for numbers that no process has, which the library's own look is not made for.
bool isAlive(uint32_t process);

#endif
