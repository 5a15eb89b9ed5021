/**
 * @file
 * The self-relative list: a doubly linked list whose links are byte distances, for shared memory.
 *
 * A link word holds the address of its target minus the address of the record that the word is
 * in, modulo 2^32; 0 means no node. Thus a list works in every process whatever address the
 * memory is mapped at, as long as header and nodes lie in one mapping. The calls take and return
 * plain addresses, valid in the calling process; only the stored links are relative. A node can
 * never lie at the address of its list's header.
 *
 * A node is any record that begins with a ClbLstSNode. The caller owns nodes and headers, the
 * list only links them. A node is in one list at a time: it moves by zatCLBLstSDelete() or
 * zatCLBLstSGet() followed by zatCLBLstSAdd() or zatCLBLstSInsert(), or by zatCLBLstSConcat() or
 * zatCLBLstSExtract(). Naming a node of another list corrupts both lists; nothing detects it.
 *
 * No call locks, blocks, allocates or reports an error, only zatCLBLstSFree() frees memory:
 * callers serialise the access to a list,
 * between processes, too. Positions are counted from 1 at the first node.
 */
#ifndef ZATOSW_CLB_SLIST_H
#define ZATOSW_CLB_SLIST_H

#include <stddef.h>

#include "../zatosw_export.h"

ZATOSW_BEGIN_DECLS

/** The links of a node: the first two words of every record that is put into a list. */
typedef struct ClbLstSNode {
    int32_t next; /**< bytes from this node to the following one; 0 at the end */
    int32_t prev; /**< bytes from this node to the preceding one; 0 at the start */
} ClbLstSNode;

/** A list. It is empty and ready for use after zatCLBLstSInit() or when filled with zeros. */
typedef struct ClbLstSHead {
    int32_t first; /**< bytes from this header to the first node; 0 = empty */
    int32_t last;  /**< bytes from this header to the last node; 0 = empty */
    int32_t count; /**< number of nodes */
} ClbLstSHead;

ZATOSW_STATIC_ASSERT(sizeof(ClbLstSNode) == 8, "a node's links are two words");
ZATOSW_STATIC_ASSERT(offsetof(ClbLstSNode, next) == 0 && offsetof(ClbLstSNode, prev) == 4,
                     "a node links forwards, then backwards");
ZATOSW_STATIC_ASSERT(sizeof(ClbLstSHead) == 12, "a list is three words");
ZATOSW_STATIC_ASSERT(offsetof(ClbLstSHead, first) == 0 && offsetof(ClbLstSHead, last) == 4 &&
                         offsetof(ClbLstSHead, count) == 8,
                     "a list names its ends, then its count");

/**
 * Makes a list empty. Nodes that were in it are forgotten, not touched.
 *
 * @param list  the list; its former content does not matter
 */
ZATOSW_API void zatCLBLstSInit(ClbLstSHead* list);

/**
 * Appends a node to a list, in constant time.
 *
 * @param list  the list
 * @param node  a record that begins with a ClbLstSNode and is in no list; its links are
 *              overwritten
 */
ZATOSW_API void zatCLBLstSAdd(ClbLstSHead* list, void* node);

/**
 * Inserts a node immediately behind another, in constant time.
 *
 * @param list   the list
 * @param after  a node of the list; null = insert at the front
 * @param node   a record that begins with a ClbLstSNode and is in no list
 */
ZATOSW_API void zatCLBLstSInsert(ClbLstSHead* list, void* after, void* node);

/**
 * Takes a node out of a list, in constant time.
 *
 * The node's own links keep their values, so a walk may still step on from it.
 *
 * @param list  the list
 * @param node  a node of the list; null = do nothing
 */
ZATOSW_API void zatCLBLstSDelete(ClbLstSHead* list, void* node);

/**
 * Takes the first node out of a list, in constant time. The node's own links keep their values.
 *
 * @param list  the list
 * @return the node that was first; null when the list is empty
 */
ZATOSW_API void* zatCLBLstSGet(ClbLstSHead* list);

/**
 * Finds the node at a position, walking from the nearer end.
 *
 * @param list  the list
 * @param n     the position, 1 = first; everything below 1 means the first node, too
 * @return the node; null when n is greater than the count or the list is empty
 */
ZATOSW_API void* zatCLBLstSNth(const ClbLstSHead* list, int32_t n);

/**
 * Steps from a node to another one of the same list.
 *
 * @param node  the node to start from; null gives null
 * @param n     number of steps: positive = along next, negative = along prev, 0 = stay
 * @return the node reached; null when the list ends before
 */
ZATOSW_API void* zatCLBLstSNStep(void* node, int32_t n);

/**
 * Finds the position of a node, walking from the front.
 *
 * @param list  the list
 * @param node  the node; it need not be in the list
 * @return the position, 1 = first; -1 when the node is not in the list
 */
ZATOSW_API int32_t zatCLBLstSFind(const ClbLstSHead* list, const void* node);

/**
 * Moves all nodes of one list to the end of another, in constant time.
 *
 * @param dst  the list that grows
 * @param src  another list in the same mapping; it is empty afterwards
 */
ZATOSW_API void zatCLBLstSConcat(ClbLstSHead* dst, ClbLstSHead* src);

/**
 * Cuts a run of nodes out of a list and makes it the whole content of another one.
 *
 * When nodes remain on both sides of the run, the back distance of the node behind the gap
 * becomes from's old back distance plus the distance from from to that node. It does not lead to
 * the node before the gap: do not walk backwards across the gap, nor take out or cut at the node
 * behind it, before that node's prev is set anew. Forward walks, zatCLBLstSNth() from the front
 * and zatCLBLstSFind() are not affected.
 *
 * @param list  the list that shrinks
 * @param from  the first node of the run
 * @param to    the last node of the run; may be from itself. When it does not follow from,
 *              nothing is changed.
 * @param out   receives the run, in the same mapping; it is overwritten, so nodes that were in it
 *              are forgotten
 */
ZATOSW_API void zatCLBLstSExtract(ClbLstSHead* list, void* from, void* to, ClbLstSHead* out);

/**
 * Frees all nodes of a list and makes it empty.
 *
 * @param list  a list whose nodes were all allocated from partition 0, by
 *              zatOSWOrgAllocMemPart() or zatOSWSubAllocMem(); for other memory, and for a node
 *              whose block header was damaged, freeing ends the process
 */
ZATOSW_API void zatCLBLstSFree(ClbLstSHead* list);

ZATOSW_END_DECLS

#endif
