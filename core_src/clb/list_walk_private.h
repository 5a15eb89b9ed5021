/**
 * @file
 * Typed walks over the lists of both families, for the library's own modules:
 *
 *     for (OswTask* task : zatWalk<OswTask>(&tasks)) ...
 *
 * The record's first two words are the list's links. The next node is read before the current
 * one is handed out, so the loop may take the current node out of the list, move it or free it;
 * it must not do so to the node that follows.
 */
#ifndef ZATOSW_CLB_LIST_WALK_PRIVATE_H
#define ZATOSW_CLB_LIST_WALK_PRIVATE_H

#include "clb/list_links_private.h"

template <typename Record, typename Node, Node* (*step)(const Node*)>
class ZatListWalk {
  public:
    explicit ZatListWalk(Node* start) : start_(start) {}

    class Iterator {
      public:
        explicit Iterator(Node* node) { moveTo(node); }

        Record* operator*() const { return reinterpret_cast<Record*>(current_); }
        bool operator!=(const Iterator& other) const { return current_ != other.current_; }
        Iterator& operator++() {
            moveTo(following_);
            return *this;
        }

      private:
        void moveTo(Node* node) {
            current_ = node;
            following_ = node == nullptr ? nullptr : step(node);
        }

        Node* current_;
        Node* following_;
    };

    Iterator begin() const { return Iterator(start_); }
    Iterator end() const { return Iterator(nullptr); }

  private:
    Node* start_;
};

template <typename Record>
auto zatWalk(const ClbLstHead* list) {
    return ZatListWalk<Record, ClbLstNode, zatNext<ClbLstNode>>(zatFirst(list));
}

template <typename Record>
auto zatWalk(const ClbLstSHead* list) {
    return ZatListWalk<Record, ClbLstSNode, zatNext<ClbLstSNode>>(zatFirst(list));
}

/** The same from the last node to the first. */
template <typename Record>
auto zatWalkBack(const ClbLstHead* list) {
    return ZatListWalk<Record, ClbLstNode, zatPrev<ClbLstNode>>(zatLast(list));
}

template <typename Record>
auto zatWalkBack(const ClbLstSHead* list) {
    return ZatListWalk<Record, ClbLstSNode, zatPrev<ClbLstSNode>>(zatLast(list));
}

#endif
