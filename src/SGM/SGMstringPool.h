// SGMstringPool: bytes for values that no longer point into the message text (unescaped
// text, values written by scripts).  Entries are keyed by their own data pointer, so writing
// the same value again reuses its buffer instead of growing the pool.
#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include "COLreference.h"
#include "SGMvalue.h"

class SGMstringPool : public COLreference {
public:
  SGMstringPool() = default;
  SGMstringPool(const SGMstringPool&) = delete;
  SGMstringPool& operator=(const SGMstringPool&) = delete;
  ~SGMstringPool() override = default;

  // Copies `length` bytes of newData into the pool, reusing the buffer held under oldData
  // when there is one, and returns the pooled copy.  Length 0 gives a shared empty text.
  const char* setPooledString(const char* oldData, const char* newData, uint32_t length);
  void removePooledString(const char* data, uint32_t length);
  bool hasString(const char* data) const { return m_Entries.count(data) != 0; }
  size_t countOfString() const { return m_Entries.size(); }
  // Forgets every entry but keeps the entries' storage for the strings pooled after it, so a
  // pool cleared between messages stops allocating once it has held a message's worth.
  void clear();

private:
  using Entries = std::unordered_map<const char*, std::unique_ptr<std::vector<char>>>;
  // An entry for newly pooled bytes: a spare one if there is one.
  Entries::node_type takeEntry();
  void keepSpare(Entries::node_type Entry);

  Entries m_Entries;
  std::vector<Entries::node_type> m_Spare;
};

// Points `value` at a pooled copy of the bytes (replacing the value's own pooled bytes).
void SGMstringPoolSetValue(SGMvalue& value, SGMstringPool& pool, const char* data, uint32_t length);
// Gives the value's bytes back to the pool; the value itself is left as it is.
void SGMstringPoolClearValue(SGMvalue& value, SGMstringPool& pool);
