/**
 * @file
 * Hash tables: chained, with the hashing, comparing, making and destroying of nodes left to
 * callbacks of the caller's.
 *
 * The caller owns the table's header and sets the four callbacks, before any call but
 * zatCLBHshInit(), which leaves them alone. A key is a word: a number, or the address of whatever
 * the callbacks know. The library owns the array of buckets and a list header per bucket that has
 * ever held a node, all from partition 0. An array that there is no memory for is refused; a heap
 * that has none left for a list header is fatal (see zatOSWOrgAllocMemPart()).
 *
 *     static uint32_t hashNumber(ClbHshTable* table, uint32_t key) {
 *         return (key * 2654435769u >> 16) & table->mask;
 *     }
 *     ClbHshTable valves = {0};
 *     valves.create = newValve;
 *     valves.destroy = freeValve;
 *     valves.hash = hashNumber;
 *     valves.compare = compareNumbers;
 *     zatCLBHshInit(&valves, 1024);
 *     zatCLBHshAdd(&valves, 17, 0, 0);
 *
 * No call locks or waits, beyond the registry lock of an allocation, or writes to the trace:
 * callers serialise all calls on one table, the reading ones against the changing ones. A callback
 * must not change the table that it is called for.
 */
#ifndef ZATOSW_CLB_HASH_H
#define ZATOSW_CLB_HASH_H

#include <stddef.h>

#include "../osw/status.h"
#include "list.h"

ZATOSW_BEGIN_DECLS

/** A node: the first words of every record that is put into a table. */
typedef struct ClbHshNode {
    ClbLstNode links; /**< set by the library */
    uint32_t key;     /**< what is handed to the callbacks; set by the create callback */
    uint32_t user;    /**< the caller's */
    uint32_t data;    /**< the caller's; printed by zatCLBPrintAllKey() */
} ClbHshNode;

typedef struct ClbHshTable ClbHshTable;

/** Makes the node for a key, and sets its key; a and b are what zatCLBHshAdd() was given. Returns
 *  null when there is none, and the table stays as it was. */
typedef ClbHshNode* (*ZatHshCreate)(ClbHshTable* table, uint32_t key, uint32_t a, uint32_t b);

/** Releases a node, which is in no table any more. */
typedef void (*ZatHshDestroy)(ClbHshTable* table, ClbHshNode* node);

/** Gives the bucket of a key, the same one each time as long as the table has its size. It must be
 *  below bucketCount: it is not checked. */
typedef uint32_t (*ZatHshHash)(ClbHshTable* table, uint32_t key);

/** Compares the key of a node with another key: 0 when they are equal. */
typedef int32_t (*ZatHshCompare)(ClbHshTable* table, uint32_t nodeKey, uint32_t key);

/** A table. */
struct ClbHshTable {
    ClbLstHead** buckets;  /**< a list per bucket, null where there was never a node */
    uint32_t bucketCount;  /**< their number */
    uint32_t mask;         /**< bucketCount - 1: masks a number where bucketCount is a power of 2 */
    uint32_t count;        /**< nodes in the table */
    uint32_t serial;       /**< insertions since zatCLBHshInit() */
    ZatHshCreate create;   /**< makes a node; set by the caller, as are the others */
    ZatHshDestroy destroy; /**< releases one */
    ZatHshHash hash;       /**< from a key to its bucket */
    ZatHshCompare compare; /**< whether two keys are equal */
};

ZATOSW_STATIC_ASSERT(sizeof(ClbHshNode) == 20 && offsetof(ClbHshNode, key) == 8 &&
                         offsetof(ClbHshNode, data) == 16,
                     "a node is its links and three words");
ZATOSW_STATIC_ASSERT(sizeof(ClbHshTable) == 36 && offsetof(ClbHshTable, mask) == 8 &&
                         offsetof(ClbHshTable, serial) == 16 &&
                         offsetof(ClbHshTable, create) == 20 &&
                         offsetof(ClbHshTable, compare) == 32,
                     "a table is five words and four callbacks");

/**
 * Makes a table empty. A table in use is terminated first: what it held is forgotten, not freed.
 *
 * @param table        the table; its former content does not matter, its callbacks stay
 * @param bucketCount  number of buckets, 4 bytes each; a power of 2 if the hash callback uses the
 *                     mask
 *
 * @return ZAT_OK                  the table is empty
 * @return ZAT_CLB_HASH_NO_MEMORY  no memory for the buckets, or their size does not fit 32 bits;
 * the table has none, and may be terminated or initialised again only
 */
ZATOSW_API ZatStatus zatCLBHshInit(ClbHshTable* table, uint32_t bucketCount);

/**
 * Destroys every node of a table, bucket by bucket, and frees the buckets. Afterwards the table may
 * be initialised again only.
 *
 * @return ZAT_OK  always
 */
ZATOSW_API ZatStatus zatCLBHshTerm(ClbHshTable* table);

/** Finds a node by its key; of several with that key, the one that was added first. Null when there
 *  is none. */
ZATOSW_API ClbHshNode* zatCLBHshFind(ClbHshTable* table, uint32_t key);

/**
 * Finds the next node with the same key.
 *
 * @param table  the table
 * @param node   a node of the table; null gives null
 *
 * @return the node that was added next with a key that compares equal; null when there is none
 */
ZATOSW_API ClbHshNode* zatCLBHshFindNext(ClbHshTable* table, const ClbHshNode* node);

/**
 * Adds a key that the table does not have yet.
 *
 * @param table  the table
 * @param key    the key
 * @param a, b   words for the create callback
 *
 * @return ZAT_OK                   added
 * @return ZAT_CLB_HASH_KEY_EXISTS  the table has the key; no node is made
 * @return ZAT_CLB_HASH_NO_MEMORY   the create callback returned null; or no memory for the bucket,
 *                                  and then the new node stays behind, in no table and not
 * destroyed
 */
ZATOSW_API ZatStatus zatCLBHshAdd(ClbHshTable* table, uint32_t key, uint32_t a, uint32_t b);

/** Adds a key though the table may have it; otherwise as zatCLBHshAdd(). Nodes with equal keys are
 *  found in the order in which they were added. */
ZATOSW_API ZatStatus zatCLBHshAddForce(ClbHshTable* table, uint32_t key, uint32_t a, uint32_t b);

/** Takes the node that zatCLBHshFind() finds out of the table and destroys it: ZAT_OK, or
 *  ZAT_CLB_HASH_NOT_FOUND when no node has the key. */
ZATOSW_API ZatStatus zatCLBHshDelByKey(ClbHshTable* table, uint32_t key);

/** Takes exactly this node out of the table and destroys it: ZAT_OK, or ZAT_CLB_HASH_NOT_FOUND when
 *  the table does not have it, or node is null. */
ZATOSW_API ZatStatus zatCLBHshDelByNode(ClbHshTable* table, ClbHshNode* node);

/**
 * Gives a table another number of buckets and puts every node where it belongs then.
 *
 * The nodes' order is kept among those with equal keys. The hash callback is first called when the
 * table has its new size.
 *
 * @param table        the table
 * @param bucketCount  new number of buckets, as for zatCLBHshInit()
 *
 * @return ZAT_OK                      every node is in the table; serial is their number
 * @return ZAT_CLB_HASH_NO_MEMORY      the table is empty, or no memory to gather its nodes; it is
 * as it was
 * @return ZAT_CLB_HASH_RESIZE_FAILED  no memory for the new buckets: the old ones are gone, and all
 *                                     nodes out of any table. Or none for a list of them: so are
 *                                     the nodes that follow, and 4 bytes for each node of the table
 *                                     stay allocated. What is not in the table any more is not
 *                                     destroyed.
 */
ZATOSW_API ZatStatus zatCLBHshResize(ClbHshTable* table, uint32_t bucketCount);

/** Prints "key [%s]  data [0x%x]\n" of every node to standard output, bucket by bucket: for tables
 *  whose keys are addresses of texts. */
ZATOSW_API void zatCLBPrintAllKey(const ClbHshTable* table);

ZATOSW_END_DECLS

#endif
