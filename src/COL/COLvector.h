// Sequences by value: COLvector (contiguous, or slotted so that elements never move on insert
// and remove), COLarray (the same with its own check texts) and COLrefVect (a growth rule of
// its own).  Capacity grows to the smallest power of two strictly above a request and never
// shrinks; every index is checked, and a failed allocation raises "Out of memory".
#pragma once

#include <cstdint>
#include <deque>
#include <initializer_list>
#include <stdexcept>
#include <type_traits>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "COLerror.h"

// Core selectors of COLvectorImpl.
struct COLvoidVectorSingleArray {};
struct COLvoidVectorIndexedArray {};

[[noreturn]] void COLraiseOutOfMemory();

// The smallest power of two strictly above `request`.
inline size_t COLvectorCapacityFor(size_t request) {
  size_t capacity = 1;
  while (capacity <= request) capacity <<= 1;
  return capacity;
}

// Walks any container that offers size() and operator[] by index.
template <class Container, class Value>
class COLindexIterator {
public:
  using value_type = std::remove_const_t<Value>;
  using difference_type = std::ptrdiff_t;
  COLindexIterator() = default;
  COLindexIterator(Container* container, size_t index) : m_Container(container), m_Index(index) {}
  Value& operator*() const { return (*m_Container)[m_Index]; }
  Value* operator->() const { return &(*m_Container)[m_Index]; }
  COLindexIterator& operator++() { ++m_Index; return *this; }
  COLindexIterator operator++(int) { COLindexIterator old = *this; ++m_Index; return old; }
  bool operator==(const COLindexIterator& other) const { return m_Index == other.m_Index; }
  bool operator!=(const COLindexIterator& other) const { return m_Index != other.m_Index; }

private:
  Container* m_Container = nullptr;
  size_t m_Index = 0;
};

// Check texts of the two families.
struct COLvectorTexts {
  static constexpr const char* Item = "ItemIndex >= 0 && ItemIndex < this->size()";
  static constexpr const char* Insert = "InsertIndex <= size()";
  static constexpr const char* Remove = "RemoveIndex < size()";
};
struct COLarrayTexts {
  static constexpr const char* Item = "ItemIndex < Size";
  static constexpr const char* Insert = "InsertIndex <= Size";
  static constexpr const char* Remove = "RemoveIndex < Size";
};

// A contiguous block whose capacity follows `Grow(currentCapacity, requiredSize)`.
template <class T, class Texts, size_t (*Grow)(size_t, size_t)>
class COLcontiguousVector {
public:
  using value_type = T;
  using iterator = T*;
  using const_iterator = const T*;
  static constexpr size_t npos = static_cast<size_t>(-1);

  COLcontiguousVector() = default;
  COLcontiguousVector(const COLcontiguousVector& other) { *this = other; }
  COLcontiguousVector(COLcontiguousVector&& other) noexcept = default;
  COLcontiguousVector& operator=(const COLcontiguousVector& other) {
    if (this != &other) {
      m_Items.clear();
      setCapacity(other.size());
      m_Items.insert(m_Items.end(), other.m_Items.begin(), other.m_Items.end());
    }
    return *this;
  }
  COLcontiguousVector& operator=(COLcontiguousVector&& other) noexcept = default;

  size_t size() const { return m_Items.size(); }
  size_t capacity() const { return m_Items.capacity(); }
  bool empty() const { return m_Items.empty(); }

  T& operator[](size_t ItemIndex) {
    COL_PRECONDITION_TEXT(ItemIndex < size(), Texts::Item);
    return m_Items[ItemIndex];
  }
  const T& operator[](size_t ItemIndex) const {
    COL_PRECONDITION_TEXT(ItemIndex < size(), Texts::Item);
    return m_Items[ItemIndex];
  }
  T& last() { return (*this)[size() - 1]; }
  const T& last() const { return (*this)[size() - 1]; }
  T* data() { return m_Items.data(); }
  const T* data() const { return m_Items.data(); }
  iterator begin() { return m_Items.data(); }
  iterator end() { return m_Items.data() + m_Items.size(); }
  const_iterator begin() const { return m_Items.data(); }
  const_iterator end() const { return m_Items.data() + m_Items.size(); }

  // Makes room for `required` elements without changing the size.
  void reserve(size_t required) {
    if (required > capacity()) setCapacity(Grow(capacity(), required));
  }
  // Shrinking destroys the tail; growing default-constructs new elements.
  void resize(size_t newSize) {
    reserve(newSize);
    m_Items.resize(newSize);
  }
  void resize(size_t newSize, const T& fill) {
    reserve(newSize);
    m_Items.resize(newSize, fill);
  }

  // The new element is built before the block may move, so an argument that refers into
  // this vector stays good.
  template <class... Args>
  T& add(Args&&... args) {
    if (size() < capacity()) return m_Items.emplace_back(std::forward<Args>(args)...);
    T item(std::forward<Args>(args)...);
    reserve(size() + 1);
    return m_Items.emplace_back(std::move(item));
  }
  void push_back(const T& item) { add(item); }
  void push_back(T&& item) { add(std::move(item)); }

  template <class U>
  T& insert(size_t InsertIndex, U&& item) {
    COL_PRECONDITION_TEXT(InsertIndex <= size(), Texts::Insert);
    const auto place = static_cast<std::ptrdiff_t>(InsertIndex);
    if (size() < capacity()) return *m_Items.insert(m_Items.begin() + place, std::forward<U>(item));
    T copy(std::forward<U>(item));
    reserve(size() + 1);
    return *m_Items.insert(m_Items.begin() + place, std::move(copy));
  }
  void remove(size_t RemoveIndex) {
    COL_PRECONDITION_TEXT(RemoveIndex < size(), Texts::Remove);
    m_Items.erase(m_Items.begin() + static_cast<std::ptrdiff_t>(RemoveIndex));
  }
  void removeLast() { remove(size() - 1); }
  // Keeps the capacity.
  void clear() { m_Items.clear(); }

  // Swaps two elements.
  void exchange(size_t first, size_t second) { std::swap((*this)[first], (*this)[second]); }
  // Swaps whole contents.
  void exchange(COLcontiguousVector& other) noexcept { m_Items.swap(other.m_Items); }

  size_t find(const T& item) const {
    for (size_t i = 0; i < m_Items.size(); ++i)
      if (m_Items[i] == item) return i;
    return npos;
  }

  bool operator==(const COLcontiguousVector& other) const { return m_Items == other.m_Items; }

private:
  void setCapacity(size_t newCapacity) {
    try {
      m_Items.reserve(newCapacity);
    } catch (const std::bad_alloc&) {
      COLraiseOutOfMemory();
    } catch (const std::length_error&) {
      COLraiseOutOfMemory();
    }
  }

  std::vector<T> m_Items;
};

inline size_t COLvectorGrowth(size_t, size_t required) { return COLvectorCapacityFor(required); }

template <class T, class Core>
class COLvectorImpl;

template <class T>
class COLvectorImpl<T, COLvoidVectorSingleArray> : public COLcontiguousVector<T, COLvectorTexts, COLvectorGrowth> {};

// Elements live in slots that never move; an index array gives their order, so an insert or a
// remove moves only index entries, and a freed slot is reused by the next insert.
template <class T>
class COLvectorImpl<T, COLvoidVectorIndexedArray> {
public:
  using value_type = T;
  using iterator = COLindexIterator<COLvectorImpl, T>;
  using const_iterator = COLindexIterator<const COLvectorImpl, const T>;

  COLvectorImpl() = default;
  COLvectorImpl(const COLvectorImpl& other) { *this = other; }
  COLvectorImpl& operator=(const COLvectorImpl& other) {
    if (this != &other) {
      clear();
      reserve(other.size());
      for (size_t i = 0; i < other.size(); ++i) add(other[i]);
    }
    return *this;
  }

  size_t size() const { return m_Index.size(); }
  size_t capacity() const { return m_Slots.size(); }
  bool empty() const { return m_Index.empty(); }

  T& operator[](size_t ItemIndex) {
    COL_PRECONDITION_TEXT(ItemIndex < size(), COLvectorTexts::Item);
    return *m_Slots[m_Index[ItemIndex]];
  }
  const T& operator[](size_t ItemIndex) const {
    COL_PRECONDITION_TEXT(ItemIndex < size(), COLvectorTexts::Item);
    return *m_Slots[m_Index[ItemIndex]];
  }
  T& last() { return (*this)[size() - 1]; }
  iterator begin() { return iterator(this, 0); }
  iterator end() { return iterator(this, size()); }
  const_iterator begin() const { return const_iterator(this, 0); }
  const_iterator end() const { return const_iterator(this, size()); }

  void reserve(size_t required) {
    if (required <= capacity()) return;
    const size_t newCapacity = COLvectorCapacityFor(required);
    try {
      m_Index.reserve(newCapacity);
      m_Free.reserve(newCapacity);
      const size_t oldCapacity = m_Slots.size();
      m_Slots.resize(newCapacity);
      // Highest first, so that the lowest free slot is taken next.
      for (size_t slot = newCapacity; slot > oldCapacity; --slot) m_Free.push_back(static_cast<uint32_t>(slot - 1));
    } catch (const std::bad_alloc&) {
      COLraiseOutOfMemory();
    }
  }
  void resize(size_t newSize) {
    while (size() > newSize) remove(size() - 1);
    reserve(newSize);
    while (size() < newSize) add();
  }

  template <class... Args>
  T& add(Args&&... args) {
    return emplaceAt(size(), std::forward<Args>(args)...);
  }
  void push_back(const T& item) { add(item); }
  template <class U>
  T& insert(size_t InsertIndex, U&& item) {
    COL_PRECONDITION_TEXT(InsertIndex <= size(), COLvectorTexts::Insert);
    return emplaceAt(InsertIndex, std::forward<U>(item));
  }
  void remove(size_t RemoveIndex) {
    COL_PRECONDITION_TEXT(RemoveIndex < size(), COLvectorTexts::Remove);
    const uint32_t slot = m_Index[RemoveIndex];
    m_Slots[slot].reset();
    m_Index.erase(m_Index.begin() + static_cast<std::ptrdiff_t>(RemoveIndex));
    m_Free.push_back(slot);  // room was reserved with the slot
  }
  void clear() {
    while (!empty()) remove(size() - 1);
  }
  void exchange(size_t first, size_t second) {
    COL_PRECONDITION_TEXT(first < size() && second < size(), COLvectorTexts::Item);
    std::swap(m_Index[first], m_Index[second]);
  }
  void exchange(COLvectorImpl& other) noexcept {
    m_Slots.swap(other.m_Slots);
    m_Index.swap(other.m_Index);
    m_Free.swap(other.m_Free);
  }

private:
  template <class... Args>
  T& emplaceAt(size_t position, Args&&... args) {
    reserve(size() + 1);
    const uint32_t slot = m_Free.back();
    T& item = m_Slots[slot].emplace(std::forward<Args>(args)...);
    m_Free.pop_back();
    // Capacity for the index entry was reserved with the slot, so this cannot fail.
    m_Index.insert(m_Index.begin() + static_cast<std::ptrdiff_t>(position), slot);
    return item;
  }

  std::deque<std::optional<T>> m_Slots;  // a deque never moves what it holds when it grows
  std::vector<uint32_t> m_Index;
  std::vector<uint32_t> m_Free;
};

template <class T>
class COLvector : public COLvectorImpl<T, COLvoidVectorSingleArray> {
public:
  COLvector() = default;
  COLvector(std::initializer_list<T> items) {
    this->reserve(items.size());
    for (const T& item : items) this->add(item);
  }
};

template <class T>
using COLindexedVector = COLvectorImpl<T, COLvoidVectorIndexedArray>;

// Byte and pointer arrays.
template <class T>
class COLarray : public COLcontiguousVector<T, COLarrayTexts, COLvectorGrowth> {};

// "RequiredSize > 0"; from `current` (or 1), adds half, rounded up, until `required` fits.
size_t COLrefVectResizeFunc(size_t current, size_t RequiredSize);

struct COLrefVectTexts {
  static constexpr const char* Item = "Index < m_Size";
  static constexpr const char* Insert = "Index <= m_Size";
  static constexpr const char* Remove = "Index < m_Size";
};

template <class T>
class COLrefVect : public COLcontiguousVector<T, COLrefVectTexts, COLrefVectResizeFunc> {};
