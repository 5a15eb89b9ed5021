/* A hash table beside std::unordered_map: 10,000 keys added, found and deleted again. */

#include <stdlib.h>
#include <zatosw/zatosw.h>

#include <unordered_map>

#include "pair.h"

static constexpr uint32_t bucketCount = 16384;
static constexpr uint32_t keyCount = 10000;

/* Spread over the buckets as callers' numbers are: neither in one run nor in one bucket. */
static std::vector<uint32_t> makeKeys() {
    std::vector<uint32_t> keys(keyCount);
    uint32_t next = 1;
    for (uint32_t& key : keys)
        key = next = next * 1664525u + 1013904223u;
    return keys;
}

static const std::vector<uint32_t> keys = makeKeys();

static ClbHshNode* createNode(ClbHshTable*, uint32_t key, uint32_t data, uint32_t) {
    auto* node = static_cast<ClbHshNode*>(malloc(sizeof(ClbHshNode)));
    node->key = key;
    node->data = data;
    return node;
}

static void destroyNode(ClbHshTable*, ClbHshNode* node) {
    free(node);
}

static uint32_t hashKey(ClbHshTable* table, uint32_t key) {
    return (key >> 8) & table->mask;
}

static int32_t compareKeys(ClbHshTable*, uint32_t nodeKey, uint32_t key) {
    return nodeKey == key ? 0 : 1;
}

static void useTable(ClbHshTable* table) {
    for (const uint32_t key : keys)
        zatCLBHshAdd(table, key, key, 0);
    for (const uint32_t key : keys)
        benchmark::DoNotOptimize(zatCLBHshFind(table, key)->data);
    for (const uint32_t key : keys)
        zatCLBHshDelByKey(table, key);
}

struct ShiftedKey {
    size_t operator()(uint32_t key) const { return key >> 8; }
};

using Map = std::unordered_map<uint32_t, uint32_t, ShiftedKey>;

static void useMap(Map& map) {
    for (const uint32_t key : keys)
        map.emplace(key, key);
    for (const uint32_t key : keys)
        benchmark::DoNotOptimize(map.find(key)->second);
    for (const uint32_t key : keys)
        map.erase(key);
}

/* What an operation is: one key added, found and deleted. */
template <class Ours, class Peer>
static void perKey(benchmark::State& state, Ours ours, Peer peer) {
    benchPair(
        state, keyCount, [&ours](int) { ours(); }, [&peer](int) { peer(); });
}

static ClbHshTable makeTable() {
    ClbHshTable table = {};
    table.create = createNode;
    table.destroy = destroyNode;
    table.hash = hashKey;
    table.compare = compareKeys;
    zatCLBHshInit(&table, bucketCount);
    return table;
}

static Map makeMap() {
    Map map;
    map.rehash(bucketCount);
    return map;
}

/* A table that is there: its buckets have held nodes before. */
static void standing(benchmark::State& state) {
    ClbHshTable table = makeTable();
    Map map = makeMap();
    perKey(
        state, [&] { useTable(&table); }, [&] { useMap(map); });
    zatCLBHshTerm(&table);
}

static void fresh(benchmark::State& state) {
    perKey(
        state,
        [] {
            ClbHshTable table = makeTable();
            useTable(&table);
            zatCLBHshTerm(&table);
        },
        [] {
            Map map = makeMap();
            useMap(map);
        });
}

int main(int count, char** arguments) {
    zatOSWInit();
    benchRow("hash_10000_keys/unordered_map", standing);
    benchRow("hash_10000_keys_new_table/unordered_map", fresh);
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
}
