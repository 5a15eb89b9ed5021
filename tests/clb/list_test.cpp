#include "clb/list.h"

#include "list_model.h"

namespace {

struct PointerFamily {
    using Head = ClbLstHead;
    struct Record {
        ClbLstNode links;
        int tag;
    };

    static constexpr auto init = zatCLBLstInit;
    static constexpr auto add = zatCLBLstAdd;
    static constexpr auto insert = zatCLBLstInsert;
    static constexpr auto remove = zatCLBLstDelete;
    static constexpr auto get = zatCLBLstGet;
    static constexpr auto nth = zatCLBLstNth;
    static constexpr auto step = zatCLBLstNStep;
    static constexpr auto find = zatCLBLstFind;
    static constexpr auto concat = zatCLBLstConcat;
    static constexpr auto extract = zatCLBLstExtract;
    static constexpr auto free = zatCLBLstFree;

    static Record* record(ClbLstNode* node) { return reinterpret_cast<Record*>(node); }
    static Record* first(const Head* list) { return record(list->first); }
    static Record* last(const Head* list) { return record(list->last); }
    static Record* next(Record* node) { return record(node->links.next); }
    static Record* prev(Record* node) { return record(node->links.prev); }

    /** The back link is right; the model's look at all links sees it. */
    static void checkGap(Record*, Record*, const Record&, Record*) {}
};

using Record = PointerFamily::Record;

TEST(PointerList, AgreesWithAModelAfterEveryRandomStep) {
    ClbLstHead heads[2];
    std::memset(heads, 0xA5, sizeof heads);
    Record storage[kModelRecords];
    std::vector<Record*> records;
    for (Record& record : storage)
        records.push_back(&record);
    ListModel<PointerFamily>(&heads[0], &heads[1], records).run([](auto&) {});
}

TEST(PointerList, WalksToAPositionFromTheNearerEndAndFromTheFrontOnATie) {
    Record records[4];
    for (int32_t count : {3, 4}) {
        ClbLstHead list = {};
        for (int32_t i = 0; i < count; ++i)
            zatCLBLstAdd(&list, &records[i]);
        /* With the way back cut off, only what is reached from the front is found. */
        records[count - 1].links.prev = nullptr;
        EXPECT_EQ(zatCLBLstNth(&list, 2), &records[1]);
        EXPECT_EQ(zatCLBLstNth(&list, 3), count == 3 ? &records[2] : nullptr);
    }
}

}  // namespace
