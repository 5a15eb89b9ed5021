/*
 * Look-up of records by a 32-bit key in constant time, beside the list that owns them.
 *
 * Records embed an OswIndexNode. A bucket keeps its newest record first, so that the first match is
 * the last added record with a key. The lock of the list that the index stands beside guards it.
 */
#ifndef ZATOSW_OSW_INDEX_PRIVATE_H
#define ZATOSW_OSW_INDEX_PRIVATE_H

#include <stdint.h>

struct OswIndexNode {
    OswIndexNode* next;
    uint32_t key;
    void* record;
};

struct OswIndex {
    static constexpr uint32_t bits = 10;
    OswIndexNode* buckets[1u << bits];
};

/* Keys are addresses: a multiplicative hash spreads their equal strides over the buckets. */
inline OswIndexNode*& oswIndexBucket(OswIndex& index, uint32_t key) {
    return index.buckets[key * 2654435769u >> (32 - OswIndex::bits)];
}

inline void oswIndexAdd(OswIndex& index, OswIndexNode& node, uint32_t key, void* record) {
    OswIndexNode*& bucket = oswIndexBucket(index, key);
    node = {bucket, key, record};
    bucket = &node;
}

inline void oswIndexRemove(OswIndex& index, OswIndexNode& node) {
    OswIndexNode** link = &oswIndexBucket(index, node.key);
    while (*link != nullptr && *link != &node)
        link = &(*link)->next;
    if (*link != nullptr) *link = node.next;
}

/* The newest node with the key from a node on, null when there is none. */
inline OswIndexNode* oswIndexMatch(OswIndexNode* node, uint32_t key) {
    while (node != nullptr && node->key != key)
        node = node->next;
    return node;
}

inline OswIndexNode* oswIndexFind(OswIndex& index, uint32_t key) {
    return oswIndexMatch(oswIndexBucket(index, key), key);
}

#endif
