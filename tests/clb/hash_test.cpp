#include "clb/hash.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <utility>
#include <vector>

#include "clb/list_walk_private.h"
#include "osw/mem_part.h"
#include "support/support.h"

/* Blocks that the library has not freed, and which allocation from now on is to fail. */
static std::set<void*> blocks;
static int failing;

ZatStatus zatOSWOrgAllocMemPart(ZatPartition, void** out, uint32_t sizeBytes) {
    if (sizeBytes > 0x10000000 || (failing > 0 && --failing == 0)) return ZAT_FAILED;
    blocks.insert(*out = malloc(sizeBytes));
    return ZAT_OK;
}
ZatStatus zatOSWOrgFreeMemPart(ZatPartition, void* block) {
    EXPECT_EQ(blocks.erase(block), block == nullptr ? 0u : 1u);
    free(block);
    return ZAT_OK;
}

using Nodes = std::vector<ClbHshNode*>;
static ClbHshNode* created;
static Nodes destroyed;

/* A table, and its nodes in an order in which each bucket has its own. */
struct HashTable : testing::Test {
    static ClbHshNode* create(ClbHshTable*, uint32_t key, uint32_t a, uint32_t b) {
        return created = key == 99 ? nullptr : new ClbHshNode{{}, key, a, b};
    }
    static void destroy(ClbHshTable*, ClbHshNode* node) {
        destroyed.push_back(node);
        delete node;
    }
    static uint32_t hash(ClbHshTable* self, uint32_t key) { return key % self->bucketCount; }
    static int32_t compare(ClbHshTable*, uint32_t a, uint32_t b) { return a == b ? 0 : -1; }
    ClbHshTable table = {nullptr, 0, 0, 0, 0, create, destroy, hash, compare};
    Nodes order;
    uint32_t serial = 0;
    HashTable() { EXPECT_EQ(zatCLBHshInit(&table, 8), ZAT_OK); }
    ~HashTable() override {
        expectTermination(byBucket());
        EXPECT_TRUE(blocks.empty());
    }
    void expectTermination(const Nodes& expected) {
        destroyed.clear();
        EXPECT_EQ(zatCLBHshTerm(&table), ZAT_OK);
        EXPECT_EQ(destroyed, expected);
        EXPECT_EQ(table.count + table.serial, 0u);
    }
    Nodes byBucket() {
        Nodes nodes = order;
        std::ranges::stable_sort(nodes, {}, [this](auto* node) { return hash(&table, node->key); });
        return nodes;
    }
    void check() {
        ASSERT_EQ(table.count, order.size());
        ASSERT_EQ(table.serial, serial);
        Nodes found;
        for (uint32_t i = 0; i < table.bucketCount; ++i) {
            if (table.buckets[i] == nullptr) continue;
            for (auto* node : zatWalk<ClbHshNode>(table.buckets[i]))
                found.push_back(node);
        }
        ASSERT_EQ(found, byBucket());
    }
    void add(uint32_t key, decltype(&zatCLBHshAdd) call = zatCLBHshAdd, bool isRefused = false) {
        created = nullptr;
        ASSERT_EQ(call(&table, key, key + 1, key + 2),
                  isRefused ? ZAT_CLB_HASH_KEY_EXISTS : ZAT_OK);
        ASSERT_EQ(created == nullptr, isRefused);
        if (isRefused) return;
        ASSERT_EQ(created->user + created->data, 2 * key + 3);
        order.push_back(created);
        ++serial;
    }
};

TEST_F(HashTable, AgreesWithAModelAfterEveryRandomStep) {
    EXPECT_EQ(zatCLBHshResize(&table, 4), ZAT_CLB_HASH_NO_MEMORY) << "empty";
    std::mt19937 random(testSeed());
    for (int step = 0; step < 5000 && !HasFatalFailure(); ++step) {
        const uint32_t key = random() % 40;
        const uint32_t kind = random() % 64;
        Nodes nodes = order;
        std::erase_if(nodes, [=](auto* node) { return node->key != key; });
        auto* found = zatCLBHshFind(&table, key);
        for (auto* node : nodes)
            ASSERT_EQ(std::exchange(found, zatCLBHshFindNext(&table, found)), node);
        ASSERT_EQ(found, nullptr);
        if (kind < 20) {
            add(key, kind < 10 ? zatCLBHshAddForce : zatCLBHshAdd, kind >= 10 && !nodes.empty());
        } else if (kind < 62) {
            ClbHshNode stranger = {{}, key, 0, 0};
            auto* node = nodes.empty() ? &stranger : kind < 40 ? nodes[0] : nodes.back();
            destroyed.clear();
            ASSERT_EQ(kind < 40 ? zatCLBHshDelByKey(&table, key) : zatCLBHshDelByNode(&table, node),
                      nodes.empty() ? ZAT_CLB_HASH_NOT_FOUND : ZAT_OK);
            ASSERT_EQ(destroyed, nodes.empty() ? Nodes() : Nodes{node});
            std::erase(order, node);
        } else if (!order.empty()) {
            order = byBucket();
            ASSERT_EQ(zatCLBHshResize(&table, 1 + random() % 64), ZAT_OK);
            ASSERT_EQ(table.mask, table.bucketCount - 1);
            serial = table.count;
        }
        check();
    }
}

TEST_F(HashTable, LosesWhatItMustWithoutMemoryAndNoMore) {
    EXPECT_EQ(zatCLBHshAdd(&table, 99, 0, 0), ZAT_CLB_HASH_NO_MEMORY);
    failing = 1;
    EXPECT_EQ(zatCLBHshAdd(&table, 3, 0, 0), ZAT_CLB_HASH_NO_MEMORY);
    delete created;
    add(3);
    failing = 1;
    EXPECT_EQ(zatCLBHshResize(&table, 64), ZAT_CLB_HASH_NO_MEMORY);
    check();
    add(4);
    /* Then the allocation of the buckets, and those of two lists. */
    for (int allocation : {2, 3, 4}) {
        const auto gathered = byBucket();
        const auto lost = gathered.begin() + std::max(0, allocation - 3);
        failing = allocation;
        EXPECT_EQ(zatCLBHshResize(&table, 64), ZAT_CLB_HASH_RESIZE_FAILED);
        expectTermination(Nodes(gathered.begin(), lost));
        std::for_each(lost, gathered.end(), [](auto* node) { delete node; });
        EXPECT_EQ(blocks.size(), allocation == 2 ? 0u : 1u) << "the array of nodes";
        std::ranges::for_each(std::exchange(blocks, {}), free);
        EXPECT_EQ(zatCLBHshInit(&table, 0x40000001), ZAT_CLB_HASH_NO_MEMORY) << "not 4 bytes";
        expectTermination({});
        EXPECT_EQ(zatCLBHshInit(&table, 8), ZAT_OK);
        order.clear();
        add(1);
        add(2);
    }
}

TEST_F(HashTable, PrintsTextsAndNothingOfAnEmptyTable) {
    testing::internal::CaptureStdout();
    zatCLBPrintAllKey(&table);
    add(reinterpret_cast<uint32_t>("one"));
    created->data = 0xAB;
    zatCLBPrintAllKey(&table);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "key [one]  data [0xab]\n");
}
