// COLlist: a doubly linked list in order of insertion, walked by node ("place") pointers that
// stay valid until their node is removed.
#pragma once

#include <cstddef>
#include <utility>

#include "COLerror.h"

template <class T>
class COLlist {
public:
  struct Node {
    template <class... Args>
    explicit Node(Args&&... args) : Item(std::forward<Args>(args)...) {}
    T Item;
    Node* Previous = nullptr;
    Node* Next = nullptr;
  };
  using Place = Node*;

  COLlist() = default;
  COLlist(const COLlist& other) { *this = other; }
  COLlist& operator=(const COLlist& other) {
    if (this != &other) {
      clear();
      for (Node* node = other.m_Head; node; node = node->Next) addItem(node->Item);
    }
    return *this;
  }
  ~COLlist() { clear(); }

  size_t size() const { return m_Count; }
  size_t count() const { return m_Count; }
  bool empty() const { return m_Count == 0; }

  Place first() const { return m_Head; }
  Place last() const { return m_Tail; }
  Place next(Place Place_) const {
    checkPlace(Place_);
    return Place_->Next;
  }
  Place previous(Place Place_) const {
    checkPlace(Place_);
    return Place_->Previous;
  }
  T& operator[](Place Place_) const {
    checkPlace(Place_);
    return Place_->Item;
  }

  // Appends at the tail.
  template <class... Args>
  Place addItem(Args&&... args) {
    Node* node = new Node(std::forward<Args>(args)...);
    link(node, nullptr);
    return node;
  }
  // Inserts in front of `place`.
  template <class U>
  Place insertItem(Place Place_, U&& item) {
    checkPlace(Place_);
    Node* node = new Node(std::forward<U>(item));
    link(node, Place_);
    return node;
  }
  void remove(Place Item) {
    COL_PRECONDITION_TEXT(Item != nullptr, "Item != NULL");
    (Item->Previous ? Item->Previous->Next : m_Head) = Item->Next;
    (Item->Next ? Item->Next->Previous : m_Tail) = Item->Previous;
    --m_Count;
    delete Item;
  }
  // Swaps the items of two nodes; the nodes keep their places in the list.
  void exchange(Place Place1, Place Place2) {
    COL_PRECONDITION_TEXT(Place1 != nullptr && Place2 != nullptr, "Place1 != NULL && Place2 != NULL");
    std::swap(Place1->Item, Place2->Item);
  }
  void clear() {
    Node* node = m_Head;
    while (node) {
      Node* following = node->Next;
      delete node;
      node = following;
    }
    m_Head = m_Tail = nullptr;
    m_Count = 0;
  }

  Place find(const T& item) const {
    for (Node* node = m_Head; node; node = node->Next)
      if (node->Item == item) return node;
    return nullptr;
  }

private:
  static void checkPlace(Place Place_) { COL_PRECONDITION_TEXT(Place_ != nullptr, "Place != NULL"); }

  // Links `node` in front of `before`, or at the tail when `before` is null.
  void link(Node* node, Node* before) {
    node->Next = before;
    node->Previous = before ? before->Previous : m_Tail;
    (node->Previous ? node->Previous->Next : m_Head) = node;
    (before ? before->Previous : m_Tail) = node;
    ++m_Count;
  }

  Node* m_Head = nullptr;
  Node* m_Tail = nullptr;
  size_t m_Count = 0;
};
