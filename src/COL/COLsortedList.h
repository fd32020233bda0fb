// COLsortedList: an ordered map over a balanced tree.  addItem allows equal keys (they keep
// their order of insertion), addUniqueItem refuses them.  Places are handles to nodes that
// stay valid until their node is removed; a default Place is "none".
#pragma once

#include <functional>
#include <map>
#include <utility>

#include "COLerror.h"

template <class K, class V, class Compare = std::less<K>>
class COLsortedList {
  using Map = std::multimap<K, V, Compare>;
  using Iterator = typename Map::iterator;

public:
  class Place {
  public:
    Place() = default;
    explicit operator bool() const { return m_Valid; }
    bool operator==(const Place& other) const {
      return m_Valid == other.m_Valid && (!m_Valid || m_It == other.m_It);
    }
    const K& key() const { check(); return m_It->first; }
    V& value() const { check(); return m_It->second; }

  private:
    friend class COLsortedList;
    explicit Place(Iterator it) : m_It(it), m_Valid(true) {}
    void check() const { COL_PRECONDITION_TEXT(m_Valid, "Place != NULL"); }
    Iterator m_It{};
    bool m_Valid = false;
  };

  size_t size() const { return m_Map.size(); }
  bool empty() const { return m_Map.empty(); }
  void clear() { m_Map.clear(); }

  Place addItem(const K& key, V value = V()) {
    return Place(m_Map.emplace_hint(m_Map.upper_bound(key), key, std::move(value)));
  }
  // None when the key is present already; the old value stays.
  Place addUniqueItem(const K& key, V value = V()) {
    auto it = m_Map.lower_bound(key);
    if (it != m_Map.end() && !m_Map.key_comp()(key, it->first)) return Place();
    return Place(m_Map.emplace_hint(it, key, std::move(value)));
  }

  Place findItem(const K& key) { return make(m_Map.find(key)); }
  // The exact key, else the first key above it, else the last key.
  Place findNearestItem(const K& key) {
    if (m_Map.empty()) return Place();
    auto it = m_Map.lower_bound(key);
    return Place(it == m_Map.end() ? std::prev(it) : it);
  }
  // The nearest key strictly below / above.
  Place findBelowItem(const K& key) {
    auto it = m_Map.lower_bound(key);
    return it == m_Map.begin() ? Place() : Place(std::prev(it));
  }
  Place findAboveItem(const K& key) { return make(m_Map.upper_bound(key)); }

  // Removes one item with the key; false when there is none.
  bool removeItem(const K& key) {
    auto it = m_Map.find(key);
    if (it == m_Map.end()) return false;
    m_Map.erase(it);
    return true;
  }
  void remove(Place place) {
    place.check();
    m_Map.erase(place.m_It);
  }

  Place first() { return make(m_Map.begin()); }
  Place last() { return m_Map.empty() ? Place() : Place(std::prev(m_Map.end())); }
  Place next(Place place) {
    place.check();
    return make(std::next(place.m_It));
  }
  Place previous(Place place) {
    place.check();
    return place.m_It == m_Map.begin() ? Place() : Place(std::prev(place.m_It));
  }

  auto begin() { return m_Map.begin(); }
  auto end() { return m_Map.end(); }
  auto begin() const { return m_Map.begin(); }
  auto end() const { return m_Map.end(); }

private:
  Place make(Iterator it) { return it == m_Map.end() ? Place() : Place(it); }

  Map m_Map;
};
