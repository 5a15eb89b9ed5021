// What the processes share: a queue of readings, a board with the latest ones, a lock, and the
// event by which anybody asks for a report.
#ifndef WATCH_SHARED_H
#define WATCH_SHARED_H

#include <zatosw/zatosw.h>

#include "reading.h"

// Processor use over one second.
struct Second {
    float lowest = 100.0f;
    float highest = 0.0f;
    float sum = 0.0f;
    unsigned readings = 0;

    void add(float percent);
};

// A block of a shared partition, found by its id. The lock guards all but the first word.
struct Board {
    unsigned lockNumber;  // which lock is in use: part of its name
    Reading latest;
    Second running;   // the second that is being measured
    Second finished;  // the one before
    unsigned lost;    // readings that found the queue full
    unsigned alarm;   // processor use is above the threshold
    unsigned stands;  // the sampler takes no readings
};

// The named mutex that guards the board, for all tasks of this process.
//
// A process that is killed while it holds a mutex leaves it taken for ever. So the mutex has a
// number: whoever finds that its holder is dead moves everybody on to the next one.
class BoardLock {
  public:
    BoardLock() = default;
    BoardLock(const BoardLock&) = delete;
    BoardLock& operator=(const BoardLock&) = delete;
    ~BoardLock();

    bool open(Board* board);
    void take();
    void give() const;

  private:
    bool openNumber(unsigned number);
    bool holderIsDead() const;
    unsigned currentNumber() const;

    Board* board_ = nullptr;
    ZatMutexSem tasks_ = 0;  // the tasks of this process one at a time
    ZatIpcHandle mutex_ = 0;
    unsigned number_ = 0;
};

// Holds the board for the length of a block.
class HoldBoard {
  public:
    explicit HoldBoard(BoardLock& lock) : lock_(lock) { lock.take(); }
    HoldBoard(const HoldBoard&) = delete;
    HoldBoard& operator=(const HoldBoard&) = delete;
    ~HoldBoard() { lock_.give(); }

  private:
    BoardLock& lock_;
};

class Shared {
  public:
    static constexpr unsigned queueCapacity = 16;

    Shared() = default;
    Shared(const Shared&) = delete;
    Shared& operator=(const Shared&) = delete;
    // Closes what this process has open; the last process removes it.
    ~Shared();

    // False, after a message, when something could not be made.
    bool open();

    Board& board() const { return *board_; }
    BoardLock& lock() { return lock_; }
    ZatIpcHandle readings() const { return readings_; }
    ZatIpcHandle ask() const { return ask_; }

  private:
    bool openBoard();

    ZatIpcHandle readings_ = 0;  // from the sampler to the controller
    ZatIpcHandle ask_ = 0;       // a report is wanted now
    ZatIpcHandle memory_ = 0;
    Board* board_ = nullptr;
    BoardLock lock_;
};

#endif
