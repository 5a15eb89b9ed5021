/**
 * @file
 * The pointer list: a doubly linked list of the caller's own records, in memory of one process.
 *
 * A node is any record that begins with a ClbLstNode; the calls take and return its plain
 * address. The caller owns nodes and headers, the list only links them. A node is in one list at
 * a time: it moves by zatCLBLstDelete() or zatCLBLstGet() followed by zatCLBLstAdd() or
 * zatCLBLstInsert(), or by zatCLBLstConcat() or zatCLBLstExtract(). Naming a node of another list
 * corrupts both lists; nothing detects it.
 *
 * No call locks, blocks, allocates or reports an error, only zatCLBLstFree() frees memory:
 * callers serialise the access to a list.
 * Positions are counted from 1 at the first node.
 */
#ifndef ZATOSW_CLB_LIST_H
#define ZATOSW_CLB_LIST_H

#include <stddef.h>

#include "../zatosw_export.h"

ZATOSW_BEGIN_DECLS

/** The links of a node: the first two words of every record that is put into a list. */
typedef struct ClbLstNode {
    struct ClbLstNode* next; /**< the following node; null at the end */
    struct ClbLstNode* prev; /**< the preceding node; null at the start */
} ClbLstNode;

/** A list. It is empty and ready for use after zatCLBLstInit() or when filled with zeros. */
typedef struct ClbLstHead {
    ClbLstNode* first; /**< null exactly when the list is empty */
    ClbLstNode* last;  /**< null exactly when the list is empty */
    int32_t count;     /**< number of nodes */
} ClbLstHead;

ZATOSW_STATIC_ASSERT(sizeof(ClbLstNode) == 8, "a node's links are two words");
ZATOSW_STATIC_ASSERT(offsetof(ClbLstNode, next) == 0 && offsetof(ClbLstNode, prev) == 4,
                     "a node links forwards, then backwards");
ZATOSW_STATIC_ASSERT(sizeof(ClbLstHead) == 12, "a list is three words");
ZATOSW_STATIC_ASSERT(offsetof(ClbLstHead, first) == 0 && offsetof(ClbLstHead, last) == 4 &&
                         offsetof(ClbLstHead, count) == 8,
                     "a list names its ends, then its count");

/**
 * Makes a list empty. Nodes that were in it are forgotten, not touched.
 *
 * @param list  the list; its former content does not matter
 */
ZATOSW_API void zatCLBLstInit(ClbLstHead* list);

/**
 * Appends a node to a list, in constant time.
 *
 * @param list  the list
 * @param node  a record that begins with a ClbLstNode and is in no list; its links are overwritten
 */
ZATOSW_API void zatCLBLstAdd(ClbLstHead* list, void* node);

/**
 * Inserts a node immediately behind another, in constant time.
 *
 * @param list   the list
 * @param after  a node of the list; null = insert at the front
 * @param node   a record that begins with a ClbLstNode and is in no list
 */
ZATOSW_API void zatCLBLstInsert(ClbLstHead* list, void* after, void* node);

/**
 * Takes a node out of a list, in constant time.
 *
 * The node's own links keep their values, so a walk may still step on from it.
 *
 * @param list  the list
 * @param node  a node of the list; null = do nothing
 */
ZATOSW_API void zatCLBLstDelete(ClbLstHead* list, void* node);

/**
 * Takes the first node out of a list, in constant time. The node's own links keep their values.
 *
 * @param list  the list
 * @return the node that was first; null when the list is empty
 */
ZATOSW_API void* zatCLBLstGet(ClbLstHead* list);

/**
 * Finds the node at a position, walking from the nearer end.
 *
 * @param list  the list
 * @param n     the position, 1 = first; everything below 1 means the first node, too
 * @return the node; null when n is greater than the count or the list is empty
 */
ZATOSW_API void* zatCLBLstNth(const ClbLstHead* list, int32_t n);

/**
 * Steps from a node to another one of the same list.
 *
 * @param node  the node to start from; null gives null
 * @param n     number of steps: positive = along next, negative = along prev, 0 = stay
 * @return the node reached; null when the list ends before
 */
ZATOSW_API void* zatCLBLstNStep(void* node, int32_t n);

/**
 * Finds the position of a node, walking from the front.
 *
 * @param list  the list
 * @param node  the node; it need not be in the list
 * @return the position, 1 = first; -1 when the node is not in the list
 */
ZATOSW_API int32_t zatCLBLstFind(const ClbLstHead* list, const void* node);

/**
 * Moves all nodes of one list to the end of another, in constant time.
 *
 * @param dst  the list that grows
 * @param src  another list; it is empty afterwards
 */
ZATOSW_API void zatCLBLstConcat(ClbLstHead* dst, ClbLstHead* src);

/**
 * Cuts a run of nodes out of a list and makes it the whole content of another one.
 *
 * @param list  the list that shrinks
 * @param from  the first node of the run
 * @param to    the last node of the run; may be from itself. When it does not follow from,
 *              nothing is changed.
 * @param out   receives the run; it is overwritten, so nodes that were in it are forgotten
 */
ZATOSW_API void zatCLBLstExtract(ClbLstHead* list, void* from, void* to, ClbLstHead* out);

/**
 * Frees all nodes of a list and makes it empty.
 *
 * @param list  a list whose nodes were all allocated from partition 0, by
 *              zatOSWOrgAllocMemPart() or zatOSWSubAllocMem(); for other memory, and for a node
 *              whose block header was damaged, freeing ends the process
 */
ZATOSW_API void zatCLBLstFree(ClbLstHead* list);

ZATOSW_END_DECLS

#endif
