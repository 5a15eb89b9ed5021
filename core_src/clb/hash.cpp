/*
 * Hash tables: an array of buckets, each a list that is made for its first node and kept when it is
 * empty again. The caller owns the header and, through two callbacks, the nodes; array and list
 * headers are the library's and go with zatCLBHshTerm(), or zatCLBHshResize(), which makes new
 * ones.
 */

#include "clb/hash.h"

#include <stdio.h>
#include <string.h>

#include "clb/list_walk_private.h"
#include "osw/errno_private.h"
#include "osw/mem_header_private.h"
#include "osw/mem_part.h"

template <class Content>
static Content* allocate(uint32_t sizeBytes) {
    void* memory = nullptr;
    return zatOSWOrgAllocMemPart(0, &memory, sizeBytes) == ZAT_OK ? static_cast<Content*>(memory)
                                                                  : nullptr;
}

/* The same of an array of pointers, which may be too large for any memory. */
template <class Content>
static Content** allocatePointers(uint32_t count) {
    const uint32_t size = oswArraySize(count, sizeof(void*));
    return oswHasRoom(size) ? allocate<Content*>(size) : nullptr;
}

/* Up to the end of the initialisation the table has no buckets, and so can be terminated. */
ZatStatus zatCLBHshInit(ClbHshTable* table, uint32_t bucketCount) {
    table->buckets = nullptr;
    table->bucketCount = table->mask = table->count = table->serial = 0;
    auto* buckets = allocatePointers<ClbLstHead>(bucketCount);
    if (buckets == nullptr) return ZAT_CLB_HASH_NO_MEMORY;
    memset(buckets, 0, bucketCount * sizeof(ClbLstHead*));
    table->buckets = buckets;
    table->bucketCount = bucketCount;
    table->mask = bucketCount - 1;
    return ZAT_OK;
}

/* Frees the buckets with their lists, once something has been done with the nodes of each. */
template <class AtNode>
static void freeBuckets(ClbHshTable* table, AtNode atNode) {
    for (uint32_t i = 0; i < table->bucketCount; ++i) {
        ClbLstHead*& bucket = table->buckets[i];
        if (bucket == nullptr) continue;
        for (auto* node : zatWalk<ClbHshNode>(bucket))
            atNode(node);
        zatOSWOrgFreeMemPart(0, bucket);
        bucket = nullptr;
    }
}

ZatStatus zatCLBHshTerm(ClbHshTable* table) {
    freeBuckets(table, [table](ClbHshNode* node) { table->destroy(table, node); });
    table->count = table->serial = 0;
    zatOSWOrgFreeMemPart(0, table->buckets);
    return ZAT_OK;
}

/* The first node with a key from a node of its bucket on. */
static ClbHshNode* findFrom(ClbHshTable* table, ClbLstNode* links, uint32_t key) {
    for (; links != nullptr; links = links->next) {
        auto* node = reinterpret_cast<ClbHshNode*>(links);
        if (table->compare(table, node->key, key) == 0) return node;
    }
    return nullptr;
}

static ClbHshNode* findIn(ClbHshTable* table, const ClbLstHead* bucket, uint32_t key) {
    return bucket == nullptr ? nullptr : findFrom(table, bucket->first, key);
}

static ClbLstHead* bucketOf(ClbHshTable* table, uint32_t key) {
    return table->buckets[table->hash(table, key)];
}

ClbHshNode* zatCLBHshFind(ClbHshTable* table, uint32_t key) {
    return findIn(table, bucketOf(table, key), key);
}

ClbHshNode* zatCLBHshFindNext(ClbHshTable* table, const ClbHshNode* node) {
    return node == nullptr ? nullptr : findFrom(table, node->links.next, node->key);
}

/* Links a node; false when there is no memory for its bucket's list. */
static bool insert(ClbHshTable* table, ClbHshNode* node, uint32_t key) {
    ClbLstHead*& bucket = table->buckets[table->hash(table, key)];
    if (bucket == nullptr) {
        bucket = allocate<ClbLstHead>(sizeof(ClbLstHead));
        if (bucket == nullptr) return false;
        zatCLBLstInit(bucket);
    }
    /* Part of what an insertion does, though the back link then takes its place. */
    node->links.prev = reinterpret_cast<ClbLstNode*>(table->serial);
    ++table->serial;
    zatCLBLstAdd(bucket, node);
    ++table->count;
    return true;
}

ZatStatus zatCLBHshAddForce(ClbHshTable* table, uint32_t key, uint32_t a, uint32_t b) {
    ClbHshNode* node = table->create(table, key, a, b);
    return node != nullptr && insert(table, node, key) ? ZAT_OK : ZAT_CLB_HASH_NO_MEMORY;
}

ZatStatus zatCLBHshAdd(ClbHshTable* table, uint32_t key, uint32_t a, uint32_t b) {
    if (zatCLBHshFind(table, key) != nullptr) return ZAT_CLB_HASH_KEY_EXISTS;
    return zatCLBHshAddForce(table, key, a, b);
}

static ZatStatus remove(ClbHshTable* table, ClbLstHead* bucket, ClbHshNode* node) {
    if (node == nullptr) return ZAT_CLB_HASH_NOT_FOUND;
    zatCLBLstDelete(bucket, node);
    --table->count;
    table->destroy(table, node);
    return ZAT_OK;
}

ZatStatus zatCLBHshDelByKey(ClbHshTable* table, uint32_t key) {
    ClbLstHead* bucket = bucketOf(table, key);
    return remove(table, bucket, findIn(table, bucket, key));
}

ZatStatus zatCLBHshDelByNode(ClbHshTable* table, ClbHshNode* node) {
    if (node == nullptr) return ZAT_CLB_HASH_NOT_FOUND;
    ClbLstHead* bucket = bucketOf(table, node->key);
    const bool isThere = bucket != nullptr && zatCLBLstFind(bucket, node) > 0;
    return remove(table, bucket, isThere ? node : nullptr);
}

/* All nodes of a table in an array, which is freed at the end of the scope unless it is left. */
class GatheredNodes {
  public:
    explicit GatheredNodes(uint32_t count) : nodes_(allocatePointers<ClbHshNode>(count)) {}
    GatheredNodes(const GatheredNodes&) = delete;
    GatheredNodes& operator=(const GatheredNodes&) = delete;
    ~GatheredNodes() { zatOSWOrgFreeMemPart(0, nodes_); }

    bool hasRoom() const { return nodes_ != nullptr; }

    /* Moves the nodes out of the buckets, which are freed. */
    void take(ClbHshTable* table) {
        ClbHshNode** next = nodes_;
        freeBuckets(table, [&next](ClbHshNode* node) { *next++ = node; });
        zatOSWOrgFreeMemPart(0, table->buckets);
        while (next != nodes_)
            (*--next)->links = {};
    }

    ClbHshNode* operator[](uint32_t i) const { return nodes_[i]; }

    void leave() { nodes_ = nullptr; }

  private:
    ClbHshNode** nodes_;
};

ZatStatus zatCLBHshResize(ClbHshTable* table, uint32_t bucketCount) {
    const uint32_t count = table->count;
    if (count == 0) return ZAT_CLB_HASH_NO_MEMORY;
    GatheredNodes nodes(count);
    if (!nodes.hasRoom()) return ZAT_CLB_HASH_NO_MEMORY;
    nodes.take(table);
    if (zatCLBHshInit(table, bucketCount) != ZAT_OK) return ZAT_CLB_HASH_RESIZE_FAILED;
    for (uint32_t i = 0; i < count; ++i) {
        if (insert(table, nodes[i], nodes[i]->key)) continue;
        /* Nothing else leads to the nodes that are in no bucket. */
        nodes.leave();
        return ZAT_CLB_HASH_RESIZE_FAILED;
    }
    return ZAT_OK;
}

void zatCLBPrintAllKey(const ClbHshTable* table) {
    const OswKeepErrno keepErrno;
    if (table->count == 0) return;
    for (uint32_t i = 0; i < table->bucketCount; ++i) {
        if (table->buckets[i] == nullptr) continue;
        for (const auto* node : zatWalk<ClbHshNode>(table->buckets[i]))
            printf("key [%s]  data [0x%x]\n", reinterpret_cast<const char*>(node->key), node->data);
    }
}
