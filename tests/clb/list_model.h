/**
 * @file
 * What both list families must hold, checked against a plain model: random steps on two lists
 * with a look at every link after each, and the cases that random steps do not reach.
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
inline std::vector<std::pair<ZatPartition, void*>> freedBlocks;

ZatStatus zatOSWOrgFreeMemPart(ZatPartition partition, void* block) {
    freedBlocks.emplace_back(partition, block);
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
        for (size_t i = 0; i < records.size(); ++i) {
            idle_.push_back(i);
        }
        Family::init(headA);
        Family::init(headB);
    }

    /** Where the lists and records are now; a test that moves them stores their new places. */
    Head* heads[2];
    std::vector<Record*> records;

    size_t below(size_t limit) { return random_() % limit; }

    void step() {
        const size_t which = below(2);
        switch (below(8)) {
        case 0:
            return remove(which, below(3) == 0);
        case 1:
            return concat(which);
        case 2:
            return extract(which, below(2) == 0);
        case 3:
            return doNothing(which);
        default:
            return insert(which, below(2) == 0);
        }
    }

    void check() {
        for (size_t which : {0, 1}) {
            checkLinks(heads[which], content_[which]);
            checkPositions(heads[which], content_[which]);
        }
    }

  private:
    size_t takeIdle() {
        std::swap(idle_[below(idle_.size())], idle_.back());
        const size_t index = idle_.back();
        idle_.pop_back();
        std::memset(static_cast<void*>(records[index]), 0xA5, sizeof(Record));
        return index;
    }

    void insert(size_t which, bool atTheEnd) {
        if (idle_.empty()) return;
        const size_t index = takeIdle();
        Indices& content = content_[which];
        const size_t at = atTheEnd ? content.size() : below(content.size() + 1);
        if (atTheEnd) {
            Family::add(heads[which], records[index]);
        } else {
            Family::insert(heads[which], at == 0 ? nullptr : records[content[at - 1]],
                           records[index]);
        }
        content.insert(content.begin() + static_cast<ptrdiff_t>(at), index);
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
        if (first) {
            EXPECT_EQ(Family::get(heads[which]), record);
        } else {
            Family::remove(heads[which], record);
        }
        EXPECT_EQ(std::memcmp(record, &before, sizeof before), 0) << "the node itself was changed";
        idle_.push_back(content[at]);
        content.erase(content.begin() + static_cast<ptrdiff_t>(at));
    }

    void concat(size_t which) {
        Indices& dst = content_[which];
        Indices& src = content_[1 - which];
        Family::concat(heads[which], heads[1 - which]);
        dst.insert(dst.end(), src.begin(), src.end());
        src.clear();
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
        if (begin > 0 && end < content.size()) {
            Family::checkGap(records[content[begin - 1]], from, oldFrom, records[content[end]]);
        }
        Indices& out = content_[1 - which];
        idle_.insert(idle_.end(), out.begin(), out.end());
        const auto runBegin = content.begin() + static_cast<ptrdiff_t>(begin);
        const auto runEnd = content.begin() + static_cast<ptrdiff_t>(end);
        out.assign(runBegin, runEnd);
        content.erase(runBegin, runEnd);
    }

    /** Calls that may change nothing, which check() sees. */
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
        Indices backwards(content.rbegin(), content.rend());
        EXPECT_EQ(walk(Family::first(head), Family::next), content);
        EXPECT_EQ(walk(Family::last(head), Family::prev), backwards);
        EXPECT_EQ(head->count, static_cast<int32_t>(content.size()));
    }

    Indices walk(Record* record, Record* (*follow)(Record*)) const {
        Indices seen;
        while (record != nullptr && seen.size() <= records.size()) {
            auto known = std::find(records.begin(), records.end(), record);
            seen.push_back(static_cast<size_t>(known - records.begin()));
            record = known == records.end() ? nullptr : follow(record);
        }
        return seen;
    }

    void checkPositions(const Head* head, const Indices& content) {
        const int32_t size = static_cast<int32_t>(content.size());
        auto at = [&](int32_t position) -> Record* {
            if (position < 1 || position > size) return nullptr;
            return records[content[static_cast<size_t>(position) - 1]];
        };
        for (int32_t n : {INT_MIN, -5, 0}) {
            EXPECT_EQ(Family::nth(head, n), at(1));
        }
        EXPECT_EQ(Family::nth(head, INT_MAX), nullptr);
        const int32_t start = size == 0 ? 0 : 1 + static_cast<int32_t>(below(content.size()));
        for (int32_t n = 1; n <= size + 1; ++n) {
            EXPECT_EQ(Family::nth(head, n), at(n));
            EXPECT_EQ(Family::step(at(start), n - start), at(start) ? at(n) : nullptr);
        }
        for (int32_t n : {INT_MIN, -start, INT_MAX}) {
            EXPECT_EQ(Family::step(at(start), n), nullptr);
        }
        for (size_t i = 0; i < records.size(); ++i) {
            auto found = std::find(content.begin(), content.end(), i);
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
constexpr int kModelSteps = 4000;

/** Takes the steps; between them, relocate may move all records and tell the model. */
template <typename Family, typename Relocate>
void runModel(ListModel<Family>& model, Relocate relocate) {
    for (int i = 0; i < kModelSteps && !testing::Test::HasFailure(); ++i) {
        SCOPED_TRACE(testing::Message() << "step " << i);
        model.step();
        relocate(model);
        model.check();
    }
}

template <typename Family>
void checkFreeing() {
    typename Family::Record records[3] = {};
    typename Family::Head list = {};
    for (auto& record : records) {
        Family::add(&list, &record);
    }
    freedBlocks.clear();
    Family::free(&list);
    const std::vector<std::pair<ZatPartition, void*>> all = {
        {0, &records[0]}, {0, &records[1]}, {0, &records[2]}};
    EXPECT_EQ(freedBlocks, all);
    EXPECT_EQ(Family::first(&list), nullptr);
    EXPECT_EQ(Family::last(&list), nullptr);
    EXPECT_EQ(list.count, 0);

    Family::free(&list);
    EXPECT_EQ(freedBlocks.size(), 3u) << "an empty list has nothing to free";
}

/** The loop body takes out and spoils every record that it is handed. */
template <typename Family, typename Walk>
std::vector<int> tagsOfDissolved(Walk walk, typename Family::Head* list) {
    std::vector<int> tags;
    for (typename Family::Record* record : walk) {
        tags.push_back(record->tag);
        Family::remove(list, record);
        std::memset(static_cast<void*>(record), 0xEE, sizeof *record);
    }
    EXPECT_EQ(list->count, 0);
    return tags;
}

template <typename Family>
void checkWalks() {
    using Record = typename Family::Record;
    Record records[3];
    typename Family::Head list = {};
    auto fill = [&] {
        for (int i = 0; i < 3; ++i) {
            records[i].tag = i;
            Family::add(&list, &records[i]);
        }
    };
    fill();
    EXPECT_EQ(tagsOfDissolved<Family>(zatWalk<Record>(&list), &list), (std::vector{0, 1, 2}));
    fill();
    EXPECT_EQ(tagsOfDissolved<Family>(zatWalkBack<Record>(&list), &list), (std::vector{2, 1, 0}));
    EXPECT_TRUE(tagsOfDissolved<Family>(zatWalk<Record>(&list), &list).empty());
}

#endif
