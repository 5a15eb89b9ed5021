/**
 * @file
 * Whom a wake-up is for: random arrivals, wake-ups and departures against a plain model.
 */
/* The source itself: the library does not export it. NOLINTNEXTLINE(bugprone-suspicious-include) */
#include "osw/sem_grants.cpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <vector>

#include "support/support.h"

namespace {

/** Waiters in the order of their arrival, and when they came. */
class Waiters {
  public:
    void join() {
        places_.push_back(std::make_unique<Waiter>());
        places_.back()->cameAt = sent_;
        oswJoinWaiting(waiting, places_.back()->place);
        EXPECT_FALSE(oswTakeGrant(waiting, places_.back()->place)) << "none was sent to it yet";
    }

    void wakeOne() {
        const bool room = waiting.grants < places_.size();
        EXPECT_EQ(oswGrantOne(waiting), room);
        if (room) ++sent_;
    }

    void wakeAll() {
        oswGrantAll(waiting);
        sent_ += static_cast<uint32_t>(places_.size());
        const size_t flushed = places_.size();
        join();
        std::vector<size_t> order(flushed);
        for (size_t i = 0; i < flushed; ++i)
            order[i] = i;
        std::shuffle(order.begin(), order.end(), random);
        for (const size_t i : order)
            EXPECT_TRUE(oswTakeGrant(waiting, places_[i]->place)) << "the flush was for all";
        while (!places_.empty())
            leave(0);
        EXPECT_EQ(waiting.grants, 0u);
    }

    /** A waiter wakes, for whatever reason: it goes if there is a wake-up for it. */
    bool wakes(size_t which) {
        Waiter& waiter = *places_[which];
        const bool taken = oswTakeGrant(waiting, waiter.place);
        if (taken) {
            EXPECT_NE(waiter.cameAt, sent_) << "none was sent since it came";
            leave(which);
        }
        return taken;
    }

    /** A waiter runs out of time. */
    void leave(size_t which) {
        const uint32_t before = waiting.grants;
        oswLeaveWaiting(waiting, places_[which]->place);
        places_.erase(places_.begin() + static_cast<long>(which));
        EXPECT_EQ(waiting.grants, std::min<size_t>(before, places_.size())) << "it passes on";
        for (auto& waiter : places_)
            waiter->cameAt = ~sent_; /* what it left is for anybody now */
    }

    /** Everybody looks again and again until nobody finds a wake-up: none may be left over. */
    void drain() {
        for (size_t i = 0; i < places_.size();)
            i = wakes(random() % places_.size()) ? 0 : i + (wakesAny() ? 0 : 1);
        EXPECT_EQ(waiting.grants, 0u);
    }

    size_t count() const { return places_.size(); }

    OswWaiting waiting = {};
    std::minstd_rand random{testSeed()};

  private:
    struct Waiter {
        OswWaitingPlace place = {};
        uint32_t cameAt = 0; /* wake-ups sent before */
    };

    bool wakesAny() {
        for (size_t i = 0; i < places_.size(); ++i)
            if (wakes(i)) return true;
        return false;
    }

    std::vector<std::unique_ptr<Waiter>> places_;
    uint32_t sent_ = 0;
};

TEST(Grants, ReachThoseWhoWaitedAndAreNotLost) {
    Waiters waiters;
    for (int step = 0; step < 20000 && !HasFailure(); ++step) {
        const size_t count = waiters.count();
        const auto choice = waiters.random() % 100;
        if (choice < 40 && count < 8)
            waiters.join();
        else if (choice < 60)
            waiters.wakeOne();
        else if (choice < 80 && count > 0)
            waiters.wakes(waiters.random() % count);
        else if (choice < 95 && count > 0)
            waiters.leave(waiters.random() % count);
        else if (choice < 98)
            waiters.drain();
        else
            waiters.wakeAll();
    }
}

}  // namespace
