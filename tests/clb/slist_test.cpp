#include "clb/slist.h"

#include <sys/mman.h>

#include <memory>

#include "list_model.h"

namespace {

struct RelativeFamily {
    using Head = ClbLstSHead;
    struct Record {
        ClbLstSNode links;
        int tag;
    };

    static constexpr auto init = zatCLBLstSInit;
    static constexpr auto add = zatCLBLstSAdd;
    static constexpr auto insert = zatCLBLstSInsert;
    static constexpr auto remove = zatCLBLstSDelete;
    static constexpr auto get = zatCLBLstSGet;
    static constexpr auto nth = zatCLBLstSNth;
    static constexpr auto step = zatCLBLstSNStep;
    static constexpr auto find = zatCLBLstSFind;
    static constexpr auto concat = zatCLBLstSConcat;
    static constexpr auto extract = zatCLBLstSExtract;
    static constexpr auto free = zatCLBLstSFree;

    static Record* at(const void* origin, int32_t distance) {
        if (distance == 0) return nullptr;
        return reinterpret_cast<Record*>(reinterpret_cast<uintptr_t>(origin) +
                                         static_cast<uintptr_t>(distance));
    }
    static uint32_t between(const void* origin, const void* target) {
        return reinterpret_cast<uintptr_t>(target) - reinterpret_cast<uintptr_t>(origin);
    }
    static Record* first(const Head* list) { return at(list, list->first); }
    static Record* last(const Head* list) { return at(list, list->last); }
    static Record* next(Record* node) { return at(node, node->links.next); }
    static Record* prev(Record* node) { return at(node, node->links.prev); }

    /** Behind a gap the back distance is the sum; mended, the model can go on from it. */
    static void checkGap(Record* before, Record* from, const Record& oldFrom, Record* beyond) {
        EXPECT_EQ(static_cast<uint32_t>(beyond->links.prev),
                  static_cast<uint32_t>(oldFrom.links.prev) + between(from, beyond));
        beyond->links.prev = static_cast<int32_t>(between(beyond, before));
    }
};

using Record = RelativeFamily::Record;
using Model = ListModel<RelativeFamily>;

struct Arena {
    ClbLstSHead heads[2];
    Record records[kModelRecords];
};

TEST(RelativeList, AgreesWithAModelWhileItsMemoryMoves) {
    auto here = std::make_unique<Arena>();
    auto there = std::make_unique<Arena>();
    std::memset(static_cast<void*>(here.get()), 0xA5, sizeof(Arena));
    const auto tell = [&](Model& moved) {
        for (size_t which : {0, 1})
            moved.heads[which] = &here->heads[which];
        for (size_t i = 0; i < kModelRecords; ++i)
            moved.records[i] = &here->records[i];
    };
    Model model(&here->heads[0], &here->heads[1], std::vector<Record*>(kModelRecords));
    tell(model);
    model.run([&](Model& moved) {
        if (moved.below(3) != 0) return;
        std::memcpy(static_cast<void*>(there.get()), here.get(), sizeof(Arena));
        std::memset(static_cast<void*>(here.get()), 0xA5, sizeof(Arena));
        here.swap(there);
        tell(moved);
    });
}

/** Memory near an address, as far as the system grants the wish. */
Arena* mapNear(uintptr_t address) {
    void* memory = mmap(reinterpret_cast<void*>(address), sizeof(Arena), PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return memory == MAP_FAILED ? nullptr : static_cast<Arena*>(memory);
}

TEST(RelativeList, LinksMemoryMoreThanHalfTheAddressSpaceApart) {
    Arena* low = mapNear(0x20000000u);
    Arena* high = mapNear(0xB8000000u);
    ASSERT_NE(low, nullptr);
    ASSERT_NE(high, nullptr);
    if (high < low || RelativeFamily::between(low, high) < 0x80000000u)
        GTEST_SKIP() << "the system maps no memory that far apart";
    std::vector<Record*> records;
    for (size_t i = 0; i < kModelRecords; ++i)
        records.push_back(&(i % 2 == 0 ? low : high)->records[i]);
    Model(&low->heads[0], &high->heads[0], records).run([](auto&) {});
}

TEST(RelativeList, DeletingTheNodeBeforeAGapCarriesTheSumAlong) {
    Record storage[29] = {};
    /* Uneven gaps, so that no two distances are equal by chance. */
    const auto record = [&](size_t i) { return &storage[i * (i + 3)]; };
    ClbLstSHead list = {};
    ClbLstSHead out = {};
    for (size_t i = 0; i < 5; ++i)
        zatCLBLstSAdd(&list, record(i));
    zatCLBLstSExtract(&list, record(2), record(2), &out);
    const int32_t sum = record(3)->links.prev;
    const int32_t onward = record(1)->links.prev;
    zatCLBLstSDelete(&list, record(1));
    EXPECT_EQ(record(3)->links.prev, sum + onward);
    EXPECT_EQ(zatCLBLstSFind(&list, record(4)), 3);
}

}  // namespace
