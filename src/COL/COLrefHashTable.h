// COLrefHashTable: a map that iterates in order of insertion.  Buckets hold pair pointers;
// the pairs themselves sit in one vector in insertion order, which COLrefHashTableIterator
// walks.  The table doubles its buckets when it holds twice as many pairs.
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "COLerror.h"
#include "COLhash.h"

template <class K, class V, class H = COLhashFunc<K>>
class COLrefHashTable {
public:
  struct Pair {
    K Key;
    V Value;
  };

  explicit COLrefHashTable(size_t countOfBucket = 16) : m_Buckets(countOfBucket ? countOfBucket : 1) {}
  COLrefHashTable(const COLrefHashTable& other) : m_Buckets(other.m_Buckets.size()) { *this = other; }
  COLrefHashTable& operator=(const COLrefHashTable& other) {
    if (this != &other) {
      clear();
      for (const auto& pair : other.m_Pairs) insert(pair->Key, pair->Value);
    }
    return *this;
  }

  size_t size() const { return m_Pairs.size(); }
  bool empty() const { return m_Pairs.empty(); }
  size_t countOfBucket() const { return m_Buckets.size(); }

  V* find(const K& key) {
    Pair* pair = findPair(key);
    return pair ? &pair->Value : nullptr;
  }
  const V* find(const K& key) const { return const_cast<COLrefHashTable*>(this)->find(key); }
  bool contains(const K& key) const { return find(key) != nullptr; }

  // Sets the value of `key`, adding the key when it is new.
  V& insert(const K& key, V value) {
    if (Pair* pair = findPair(key)) {
      pair->Value = std::move(value);
      return pair->Value;
    }
    return addPair(key, std::move(value))->Value;
  }
  // Adds a default value for a missing key.
  V& operator[](const K& key) {
    Pair* pPair = findPair(key);
    if (!pPair) pPair = addPair(key, V());
    COL_PRECONDITION(pPair != NULL);
    return pPair->Value;
  }

  bool remove(const K& key) {
    auto& bucket = m_Buckets[H()(key) % m_Buckets.size()];
    for (size_t i = 0; i < bucket.size(); ++i) {
      if (!(bucket[i]->Key == key)) continue;
      Pair* pair = bucket[i];
      bucket.erase(bucket.begin() + static_cast<std::ptrdiff_t>(i));
      for (size_t j = 0; j < m_Pairs.size(); ++j) {
        if (m_Pairs[j].get() == pair) {
          m_Pairs.erase(m_Pairs.begin() + static_cast<std::ptrdiff_t>(j));
          break;
        }
      }
      return true;
    }
    return false;
  }
  void clear() {
    for (auto& bucket : m_Buckets) bucket.clear();
    m_Pairs.clear();
  }

  // Pairs by position in order of insertion.
  const K& keyAt(size_t index) const { return pairAt(index).Key; }
  V& valueAt(size_t index) { return const_cast<Pair&>(pairAt(index)).Value; }
  const V& valueAt(size_t index) const { return pairAt(index).Value; }

private:
  const Pair& pairAt(size_t index) const {
    COL_PRECONDITION(index < m_Pairs.size());
    return *m_Pairs[index];
  }

  Pair* findPair(const K& key) const {
    for (Pair* pair : m_Buckets[H()(key) % m_Buckets.size()])
      if (pair->Key == key) return pair;
    return nullptr;
  }

  Pair* addPair(const K& key, V&& value) {
    if (m_Pairs.size() >= 2 * m_Buckets.size()) grow();
    m_Pairs.push_back(std::make_unique<Pair>(Pair{key, std::move(value)}));
    Pair* pair = m_Pairs.back().get();
    m_Buckets[H()(key) % m_Buckets.size()].push_back(pair);
    return pair;
  }

  void grow() {
    std::vector<std::vector<Pair*>> buckets(m_Buckets.size() * 2);
    for (const auto& pair : m_Pairs) buckets[H()(pair->Key) % buckets.size()].push_back(pair.get());
    m_Buckets.swap(buckets);
  }

  std::vector<std::vector<Pair*>> m_Buckets;
  std::vector<std::unique_ptr<Pair>> m_Pairs;
};

// Walks a table in order of insertion:
//   for (COLrefHashTableIterator<K, V> it(table); it.iterateNext();) use(it.key(), it.value());
template <class K, class V, class H = COLhashFunc<K>>
class COLrefHashTableIterator {
public:
  explicit COLrefHashTableIterator(COLrefHashTable<K, V, H>& table) : m_Table(&table) {}
  void reset() { m_Next = 0; }
  bool iterateNext() {
    if (m_Next >= m_Table->size()) return false;
    m_Current = m_Next++;
    return true;
  }
  // Copies the next pair out; false at the end.
  bool iterateNext(K& key, V& value) {
    if (!iterateNext()) return false;
    key = this->key();
    value = this->value();
    return true;
  }
  const K& key() const { return m_Table->keyAt(m_Current); }
  V& value() const { return m_Table->valueAt(m_Current); }

private:
  COLrefHashTable<K, V, H>* m_Table;
  size_t m_Next = 0;
  size_t m_Current = 0;
};
