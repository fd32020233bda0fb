#include "SGMstringPool.h"

#include <cstring>

#include "COLerror.h"

namespace {
const char EmptyText[1] = {0};
}

SGMstringPool::Entries::node_type SGMstringPool::takeEntry() {
  if (m_Spare.empty()) {
    // Made through a map of its own: a node can only be had from a map.
    Entries Maker;
    Maker.emplace(nullptr, std::make_unique<std::vector<char>>());
    return Maker.extract(Maker.begin());
  }
  Entries::node_type Entry = std::move(m_Spare.back());
  m_Spare.pop_back();
  return Entry;
}

void SGMstringPool::keepSpare(Entries::node_type Entry) { m_Spare.push_back(std::move(Entry)); }

void SGMstringPool::clear() {
  while (!m_Entries.empty()) keepSpare(m_Entries.extract(m_Entries.begin()));
}

const char* SGMstringPool::setPooledString(const char* oldData, const char* newData, uint32_t length) {
  const char* pNewValue = newData;
  COL_PRECONDITION(pNewValue != 0);
  if (length == 0) return EmptyText;
  auto Found = oldData ? m_Entries.find(oldData) : m_Entries.end();
  Entries::node_type Entry = Found != m_Entries.end() ? m_Entries.extract(Found) : takeEntry();
  std::vector<char>& Buffer = *Entry.mapped();
  // newData may lie inside the buffer that is about to be resized: copy through a temporary then.
  const char* BufferBegin = Buffer.data();
  if (!Buffer.empty() && newData >= BufferBegin && newData < BufferBegin + Buffer.size()) {
    std::vector<char> Copy(newData, newData + length);
    Buffer.assign(Copy.begin(), Copy.end());
  } else {
    Buffer.resize(length);
    std::memcpy(Buffer.data(), newData, length);
  }
  const char* Result = Buffer.data();
  Entry.key() = Result;
  m_Entries.insert(std::move(Entry));
  return Result;
}

void SGMstringPool::removePooledString(const char* data, uint32_t length) {
  if (length == 0 || data == nullptr) return;
  auto Found = m_Entries.find(data);
  if (Found != m_Entries.end()) keepSpare(m_Entries.extract(Found));
}

void SGMstringPoolSetValue(SGMvalue& value, SGMstringPool& pool, const char* data, uint32_t length) {
  const char* Pooled = pool.setPooledString(value.data(), data, length);
  value.set(Pooled, length);
}

void SGMstringPoolClearValue(SGMvalue& value, SGMstringPool& pool) {
  pool.removePooledString(value.data(), value.length());
}
