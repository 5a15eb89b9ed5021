/**
 * @file
 * What both list families must hold: random steps on two lists against a plain model, with a look
 * at every link after each.
 *
 * A Family names a family's types and calls, reads its links on its own, and checks (and mends)
 * what a cut leaves behind the gap. Records are named by their index, so that they may be moved.
 */
#ifndef ZATOSW_TESTS_CLB_LIST_MODEL_H
#define ZATOSW_TESTS_CLB_LIST_MODEL_H

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <random>
#include <utility>
#include <vector>

#include "clb/list_walk_private.h"
#include "osw/mem_part.h"
#include "support/support.h"

/** Blocks that the library has given back to the heap; they are spoilt as the heap may do. */
inline std::vector<void*> freedBlocks;

ZatStatus zatOSWOrgFreeMemPart(ZatPartition partition, void* block) {
    EXPECT_EQ(partition, 0u);
    freedBlocks.push_back(block);
    std::memset(block, 0xEE, 8);
    return 0;
}

template <typename Family>
class ListModel {
  public:
    using Head = typename Family::Head;
    using Record = typename Family::Record;
    using Indices = std::vector<size_t>;

    ListModel(Head* headA, Head* headB, std::vector<Record*> givenRecords)
        : heads{headA, headB}, records(std::move(givenRecords)), random_(testSeed()) {
        for (size_t i = 0; i < records.size(); ++i)
            idle_.push_back(i);
        Family::init(headA);
        Family::init(headB);
    }

    /** Where the lists and records are now; a test that moves them stores their new places. */
    Head* heads[2];
    std::vector<Record*> records;

    size_t below(size_t limit) { return random_() % limit; }

    /** Takes the steps; between them, relocate may move all records and tell the model. */
    template <typename Relocate>
    void run(Relocate relocate) {
        for (int i = 0; i < 4000 && !testing::Test::HasFailure(); ++i) {
            SCOPED_TRACE(testing::Message() << "step " << i);
            step(below(2));
            relocate(*this);
            for (size_t which : {0, 1}) {
                checkLinks(heads[which], content_[which]);
                checkPositions(heads[which], content_[which]);
            }
        }
    }

  private:
    static ptrdiff_t offset(size_t at) { return static_cast<ptrdiff_t>(at); }

    void step(size_t which) {
        switch (below(16)) {
        case 0:
            return dissolve(which);
        case 1:
        case 2:
            return remove(which, below(3) == 0);
        case 3:
        case 4:
            return concat(which);
        case 5:
        case 6:
            return extract(which, below(2) == 0);
        case 7:
            return doNothing(which);
        default:
            return insert(which, below(2) == 0);
        }
    }

    void insert(size_t which, bool atTheEnd) {
        if (idle_.empty()) return;
        std::swap(idle_[below(idle_.size())], idle_.back());
        const size_t index = idle_.back();
        idle_.pop_back();
        std::memset(static_cast<void*>(records[index]), 0xA5, sizeof(Record));
        Indices& content = content_[which];
        const size_t at = atTheEnd ? content.size() : below(content.size() + 1);
        if (atTheEnd)
            Family::add(heads[which], records[index]);
        else
            Family::insert(heads[which], at == 0 ? nullptr : records[content[at - 1]],
                           records[index]);
        content.insert(content.begin() + offset(at), index);
    }

    void remove(size_t which, bool first) {
        Indices& content = content_[which];
        if (content.empty()) {
            EXPECT_EQ(Family::get(heads[which]), nullptr);
            return;
        }
        const size_t at = first ? 0 : below(content.size());
        Record* record = records[content[at]];
        const Record before = *record;
        if (first)
            EXPECT_EQ(Family::get(heads[which]), record);
        else
            Family::remove(heads[which], record);
        EXPECT_EQ(std::memcmp(record, &before, sizeof before), 0) << "the node itself was changed";
        idle_.push_back(content[at]);
        content.erase(content.begin() + offset(at));
    }

    /** Every record is met once, in its order, though it is taken out and spoilt then. */
    void dissolve(size_t which) {
        Indices met;
        const auto take = [&](Record* record) {
            met.push_back(indexOf(record));
            Family::remove(heads[which], record);
            std::memset(static_cast<void*>(record), 0xEE, sizeof *record);
        };
        const size_t way = below(3);
        if (way == 0) {
            for (Record* record : zatWalk<Record>(heads[which]))
                take(record);
        } else if (way == 1) {
            for (Record* record : zatWalkBack<Record>(heads[which]))
                take(record);
            std::reverse(met.begin(), met.end());
        } else {
            freedBlocks.clear();
            Family::free(heads[which]);
            for (void* block : freedBlocks)
                met.push_back(indexOf(static_cast<Record*>(block)));
        }
        EXPECT_EQ(met, std::exchange(content_[which], {}));
        idle_.insert(idle_.end(), met.begin(), met.end());
    }

    void concat(size_t which) {
        Indices& dst = content_[which];
        Family::concat(heads[which], heads[1 - which]);
        const Indices src = std::exchange(content_[1 - which], {});
        dst.insert(dst.end(), src.begin(), src.end());
    }

    /** The other list receives the run; what it held is forgotten. */
    void extract(size_t which, bool toTheEnd) {
        Indices& content = content_[which];
        if (content.empty()) return;
        const size_t begin = below(content.size());
        const size_t end = toTheEnd ? content.size() : begin + 1 + below(content.size() - begin);
        Record* from = records[content[begin]];
        const Record oldFrom = *from;
        Family::extract(heads[which], from, records[content[end - 1]], heads[1 - which]);
        if (begin > 0 && end < content.size())
            Family::checkGap(records[content[begin - 1]], from, oldFrom, records[content[end]]);
        Indices& out = content_[1 - which];
        idle_.insert(idle_.end(), out.begin(), out.end());
        out.assign(content.begin() + offset(begin), content.begin() + offset(end));
        content.erase(content.begin() + offset(begin), content.begin() + offset(end));
    }

    /** Calls that may change nothing, which the look at the links sees. */
    void doNothing(size_t which) {
        const Indices& content = content_[which];
        Family::remove(heads[which], nullptr);
        if (content.empty()) return;
        Record* first = records[content.front()];
        Family::extract(heads[which], first, nullptr, heads[1 - which]);
        if (content.size() == 1) return;
        Record* later = records[content[1 + below(content.size() - 1)]];
        Family::extract(heads[which], later, first, heads[1 - which]);
    }

    void checkLinks(const Head* head, const Indices& content) const {
        const Indices backwards(content.rbegin(), content.rend());
        EXPECT_EQ(walk(Family::first(head), Family::next), content);
        EXPECT_EQ(walk(Family::last(head), Family::prev), backwards);
        EXPECT_EQ(head->count, static_cast<int32_t>(content.size()));
    }

    size_t indexOf(const Record* record) const {
        return static_cast<size_t>(std::ranges::find(records, record) - records.begin());
    }

    Indices walk(Record* record, Record* (*follow)(Record*)) const {
        Indices seen;
        while (record != nullptr && seen.size() <= records.size()) {
            seen.push_back(indexOf(record));
            record = seen.back() == records.size() ? nullptr : follow(record);
        }
        return seen;
    }

    void checkPositions(const Head* head, const Indices& content) {
        const int32_t size = static_cast<int32_t>(content.size());
        const auto at = [&](int32_t position) -> Record* {
            if (position < 1 || position > size) return nullptr;
            return records[content[static_cast<size_t>(position) - 1]];
        };
        for (int32_t n : {INT_MIN, -5, 0})
            EXPECT_EQ(Family::nth(head, n), at(1));
        EXPECT_EQ(Family::nth(head, INT_MAX), nullptr);
        const int32_t start = size == 0 ? 0 : 1 + static_cast<int32_t>(below(content.size()));
        for (int32_t n = 1; n <= size + 1; ++n) {
            EXPECT_EQ(Family::nth(head, n), at(n));
            EXPECT_EQ(Family::step(at(start), n - start), at(start) ? at(n) : nullptr);
        }
        for (int32_t n : {INT_MIN, -start, INT_MAX})
            EXPECT_EQ(Family::step(at(start), n), nullptr);
        for (size_t i = 0; i < records.size(); ++i) {
            const auto found = std::ranges::find(content, i);
            EXPECT_EQ(Family::find(head, records[i]),
                      found == content.end() ? -1 : found - content.begin() + 1);
        }
        EXPECT_EQ(Family::find(head, nullptr), -1);
    }

    Indices content_[2];
    Indices idle_;
    std::mt19937 random_;
};

constexpr size_t kModelRecords = 9;

#endif
