// COLlookupList: a chained hash table with unique keys.  An existing key is never
// overwritten: addItem then returns null.  Bucket counts step through a fixed table of
// primes, and the table grows only when a long chain meets a full table, so a run of bad
// hashes alone does not grow it.  Iteration runs bucket by bucket: not in insertion order.
#pragma once

#include <cstdint>
#include <new>
#include <utility>
#include <vector>

#include "COLerror.h"
#include "COLhash.h"

// The bucket counts in order of growth, ended by 0.
extern const uint32_t COLlookupBucketSizes[];

template <class K, class V, class H = COLlookupHash<K>>
class COLlookupList {
public:
  struct Node {
    Node(const K& key, V value) : Key(key), Value(std::move(value)) {}
    const K& key() const { return Key; }
    V& value() { return Value; }
    const V& value() const { return Value; }

    K Key;
    V Value;

  private:
    friend class COLlookupList;
    Node* Next = nullptr;
    Node* Previous = nullptr;
    uint32_t Hash = 0;
  };
  using Place = Node*;

  COLlookupList() { m_Buckets.assign(COLlookupBucketSizes[0], nullptr); }
  COLlookupList(const COLlookupList& other) : COLlookupList() { *this = other; }
  COLlookupList& operator=(const COLlookupList& other) {
    if (this != &other) {
      clear();
      for (Node* node = other.first(); node; node = other.next(node)) addItem(node->Key, node->Value);
    }
    return *this;
  }
  ~COLlookupList() { clear(); }

  size_t size() const { return m_Count; }
  bool empty() const { return m_Count == 0; }
  size_t countOfBucket() const { return m_Buckets.size(); }
  size_t countOfBucketItem(size_t bucket) const {
    COL_PRECONDITION(bucket < countOfBucket());
    size_t count = 0;
    for (Node* node = m_Buckets[bucket]; node; node = node->Next) ++count;
    return count;
  }

  // The new node, or null (and nothing changed) when the key is present already.
  Place addItem(const K& key, V value = V()) {
    const uint32_t hash = H()(key);
    size_t passed = 0;
    for (Node* node = m_Buckets[hash % m_Buckets.size()]; node; node = node->Next, ++passed)
      if (node->Hash == hash && node->Key == key) return nullptr;
    if (passed >= 4 && m_Count >= m_Buckets.size() && COLlookupBucketSizes[m_SizeIndex + 1] != 0)
      rehash(m_SizeIndex + 1);
    Node* node = allocate(key, std::move(value));
    node->Hash = hash;
    Node*& head = m_Buckets[hash % m_Buckets.size()];
    node->Next = head;
    if (head) head->Previous = node;
    head = node;
    ++m_Count;
    return node;
  }

  Place findItem(const K& key) const {
    const uint32_t hash = H()(key);
    for (Node* node = m_Buckets[hash % m_Buckets.size()]; node; node = node->Next)
      if (node->Hash == hash && node->Key == key) return node;
    return nullptr;
  }
  V* findValue(const K& key) const {
    Node* node = findItem(key);
    return node ? &node->Value : nullptr;
  }

  bool removeItem(const K& key) {
    Node* node = findItem(key);
    if (!node) return false;
    remove(node);
    return true;
  }
  void remove(Place node) {
    COL_PRECONDITION(node != NULL);
    if (node->Previous) node->Previous->Next = node->Next;
    else m_Buckets[node->Hash % m_Buckets.size()] = node->Next;
    if (node->Next) node->Next->Previous = node->Previous;
    --m_Count;
    delete node;
  }
  void clear() {
    for (Node*& head : m_Buckets) {
      while (head) {
        Node* following = head->Next;
        delete head;
        head = following;
      }
    }
    m_Count = 0;
  }

  Place first() const { return firstFrom(0); }
  Place last() const {
    for (size_t bucket = m_Buckets.size(); bucket-- > 0;) {
      Node* node = m_Buckets[bucket];
      if (!node) continue;
      while (node->Next) node = node->Next;
      return node;
    }
    return nullptr;
  }
  Place next(Place node) const {
    COL_PRECONDITION(node != NULL);
    return node->Next ? node->Next : firstFrom(node->Hash % m_Buckets.size() + 1);
  }
  Place previous(Place node) const {
    COL_PRECONDITION(node != NULL);
    if (node->Previous) return node->Previous;
    for (size_t bucket = node->Hash % m_Buckets.size(); bucket-- > 0;) {
      Node* tail = m_Buckets[bucket];
      if (!tail) continue;
      while (tail->Next) tail = tail->Next;
      return tail;
    }
    return nullptr;
  }

private:
  static Node* allocate(const K& key, V&& value) {
    try {
      return new Node(key, std::move(value));
    } catch (const std::bad_alloc&) {
      throw COLerror("Out of memory", COL_ERROR_RESOURCE);
    }
  }

  Place firstFrom(size_t bucket) const {
    for (; bucket < m_Buckets.size(); ++bucket)
      if (m_Buckets[bucket]) return m_Buckets[bucket];
    return nullptr;
  }

  void rehash(size_t sizeIndex) {
    std::vector<Node*> buckets(COLlookupBucketSizes[sizeIndex], nullptr);
    for (Node* head : m_Buckets) {
      while (head) {
        Node* node = head;
        head = head->Next;
        Node*& target = buckets[node->Hash % buckets.size()];
        node->Previous = nullptr;
        node->Next = target;
        if (target) target->Previous = node;
        target = node;
      }
    }
    m_Buckets.swap(buckets);
    m_SizeIndex = sizeIndex;
  }

  std::vector<Node*> m_Buckets;
  size_t m_SizeIndex = 0;
  size_t m_Count = 0;
};
