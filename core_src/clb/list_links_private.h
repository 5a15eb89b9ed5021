/**
 * @file
 * How a link word of either list family is read and written; all else that is known about the
 * families' words is in the list calls themselves.
 *
 * A link word lives in its origin, a header or a node. A plain link is the target's address; a
 * self-relative one is the distance from its origin, so that the same word means another node
 * when it is copied to another origin.
 */
#ifndef ZATOSW_CLB_LIST_LINKS_PRIVATE_H
#define ZATOSW_CLB_LIST_LINKS_PRIVATE_H

#include "clb/list.h"
#include "clb/slist.h"

/** Distances wrap around modulo 2^32: memory may be mapped on both sides of 0x80000000. */
inline int32_t zatDistance(const void* origin, const void* target) {
    return static_cast<int32_t>(reinterpret_cast<uintptr_t>(target) -
                                reinterpret_cast<uintptr_t>(origin));
}

inline int32_t zatDistanceSum(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

/** The node that a link word of an origin leads to, or null. */
inline ClbLstNode* zatLinkTarget(const void*, ClbLstNode* link) {
    return link;
}

inline ClbLstSNode* zatLinkTarget(const void* origin, int32_t link) {
    if (link == 0) return nullptr;
    return reinterpret_cast<ClbLstSNode*>(reinterpret_cast<uintptr_t>(origin) +
                                          static_cast<uint32_t>(link));
}

/** Lets a link word of an origin lead to a node; null when there is none. */
inline void zatLinkTo(const void*, ClbLstNode*& link, ClbLstNode* target) {
    link = target;
}

inline void zatLinkTo(const void* origin, int32_t& link, ClbLstSNode* target) {
    link = target == nullptr ? 0 : zatDistance(origin, target);
}

/** Lets a link word that leads to a node lead where that node's own link leads. */
inline void zatLinkBeyond(ClbLstNode*& link, ClbLstNode* onward) {
    link = onward;
}

inline void zatLinkBeyond(int32_t& link, int32_t onward) {
    link = zatDistanceSum(link, onward);
}

template <typename Head>
auto* zatFirst(const Head* list) {
    return zatLinkTarget(list, list->first);
}

template <typename Head>
auto* zatLast(const Head* list) {
    return zatLinkTarget(list, list->last);
}

template <typename Node>
Node* zatNext(const Node* node) {
    return zatLinkTarget(node, node->next);
}

template <typename Node>
Node* zatPrev(const Node* node) {
    return zatLinkTarget(node, node->prev);
}

#endif
