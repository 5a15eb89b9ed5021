/**
 * @file
 * The list operations, once for both families: a Head is a ClbLstHead or a ClbLstSHead, and the
 * link words are read and written through list_links_private.h only. A link word set to {} leads
 * to no node in either family.
 */
#ifndef ZATOSW_CLB_LIST_OPS_PRIVATE_H
#define ZATOSW_CLB_LIST_OPS_PRIVATE_H

#include "clb/list_walk_private.h"
#include "osw/mem_part.h"

template <typename Head>
void zatListInit(Head* list) {
    *list = {};
}

/** Not an insertion behind the last node: what that node's next word says does not count. */
template <typename Head, typename Node>
void zatListAdd(Head* list, Node* node) {
    Node* last = zatLast(list);
    node->next = {};
    zatLinkTo(node, node->prev, last);
    if (last != nullptr) {
        zatLinkTo(last, last->next, node);
    } else {
        zatLinkTo(list, list->first, node);
    }
    zatLinkTo(list, list->last, node);
    ++list->count;
}

template <typename Head, typename Node>
void zatListInsert(Head* list, Node* after, Node* node) {
    Node* next = after == nullptr ? zatFirst(list) : zatNext(after);
    zatLinkTo(node, node->next, next);
    zatLinkTo(node, node->prev, after);
    if (next == nullptr) {
        zatLinkTo(list, list->last, node);
    } else {
        zatLinkTo(next, next->prev, node);
    }
    if (after == nullptr) {
        zatLinkTo(list, list->first, node);
    } else {
        zatLinkTo(after, after->next, node);
    }
    ++list->count;
}

/**
 * The words around the node are changed by what the node's own words say, not computed anew: a
 * back distance that leads astray (see zatCloseGap) is carried along.
 */
template <typename Head, typename Node>
void zatListDelete(Head* list, Node* node) {
    if (node == nullptr) return;
    Node* prev = zatPrev(node);
    Node* next = zatNext(node);
    if (prev != nullptr && next != nullptr) {
        zatLinkBeyond(prev->next, node->next);
        zatLinkBeyond(next->prev, node->prev);
    } else if (next != nullptr) {
        zatLinkBeyond(list->first, node->next);
        next->prev = {};
    } else if (prev != nullptr) {
        zatLinkBeyond(list->last, node->prev);
        prev->next = {};
    } else {
        list->first = {};
        list->last = {};
    }
    --list->count;
}

template <typename Head>
auto* zatListGet(Head* list) {
    auto* node = zatFirst(list);
    zatListDelete(list, node);
    return node;
}

template <typename Node>
Node* zatListStep(Node* node, int32_t n) {
    for (; n > 0 && node != nullptr; --n) {
        node = zatNext(node);
    }
    for (; n < 0 && node != nullptr; ++n) {
        node = zatPrev(node);
    }
    return node;
}

template <typename Head>
auto* zatListNth(const Head* list, int32_t n) {
    if (n <= 1) return zatFirst(list);
    if (n > list->count) return decltype(zatFirst(list)){nullptr};
    const int32_t stepsFromLast = list->count - n;
    if (n <= stepsFromLast + 1) return zatListStep(zatFirst(list), n - 1);
    return zatListStep(zatLast(list), -stepsFromLast);
}

template <typename Head, typename Node>
int32_t zatListFind(const Head* list, const Node* wanted) {
    int32_t position = 0;
    for (const Node* node : zatWalk<const Node>(list)) {
        ++position;
        if (node == wanted) return position;
    }
    return -1;
}

template <typename Head>
void zatListConcat(Head* dst, Head* src) {
    auto* joint = zatLast(dst);
    if (auto* head = zatFirst(src); head != nullptr) {
        if (joint == nullptr) {
            zatLinkTo(dst, dst->first, head);
        } else {
            zatLinkTo(joint, joint->next, head);
            zatLinkTo(head, head->prev, joint);
        }
        zatLinkTo(dst, dst->last, zatLast(src));
    }
    dst->count += src->count;
    zatListInit(src);
}

/** Joins the neighbours of a run that begins at from and is cut out between them. */
inline void zatCloseGap(ClbLstNode* before, const ClbLstNode*, ClbLstNode* beyond) {
    before->next = beyond;
    beyond->prev = before;
}

/**
 * The back distance takes the sum on purpose, although only the difference would lead to before:
 * the stored word is part of what the call promises.
 */
inline void zatCloseGap(ClbLstSNode* before, const ClbLstSNode* from, ClbLstSNode* beyond) {
    const int32_t gap = zatDistance(from, beyond);
    before->next = zatDistanceSum(before->next, gap);
    beyond->prev = zatDistanceSum(from->prev, gap);
}

/** Number of nodes from one to another, both included; 0 when the chain ends before. */
template <typename Node>
int32_t zatRunLength(const Node* from, const Node* to) {
    int32_t length = 1;
    const Node* node = from;
    for (; node != nullptr && node != to; ++length) {
        node = zatNext(node);
    }
    return node == nullptr ? 0 : length;
}

template <typename Head, typename Node>
void zatListExtract(Head* list, Node* from, Node* to, Head* out) {
    const int32_t length = zatRunLength(from, to);
    if (length == 0) return;
    Node* before = zatPrev(from);
    Node* beyond = zatNext(to);
    if (before != nullptr && beyond != nullptr) {
        zatCloseGap(before, from, beyond);
    } else if (beyond != nullptr) {
        zatLinkTo(list, list->first, beyond);
        beyond->prev = {};
    } else if (before != nullptr) {
        zatLinkTo(list, list->last, before);
        before->next = {};
    } else {
        list->first = {};
        list->last = {};
    }
    to->next = {};
    from->prev = {};
    list->count -= length;
    zatLinkTo(out, out->first, from);
    zatLinkTo(out, out->last, to);
    out->count = length;
}

template <typename Head>
void zatListFree(Head* list) {
    for (void* node : zatWalk<void>(list)) {
        zatOSWOrgFreeMemPart(0, node);
    }
    zatListInit(list);
}

#endif
