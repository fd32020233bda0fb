#include "SGMstringPool.h"

#include <cstring>

#include "COLerror.h"

namespace {
const char EmptyText[1] = {0};
}

const char* SGMstringPool::setPooledString(const char* oldData, const char* newData, uint32_t length) {
  const char* pNewValue = newData;
  COL_PRECONDITION(pNewValue != 0);
  if (length == 0) return EmptyText;
  std::unique_ptr<std::vector<char>> Buffer;
  auto Found = oldData ? m_Entries.find(oldData) : m_Entries.end();
  if (Found != m_Entries.end()) {
    Buffer = std::move(Found->second);
    m_Entries.erase(Found);
  } else {
    Buffer = std::make_unique<std::vector<char>>();
  }
  // newData may lie inside the buffer that is about to be resized: copy through a temporary then.
  const char* BufferBegin = Buffer->data();
  if (!Buffer->empty() && newData >= BufferBegin && newData < BufferBegin + Buffer->size()) {
    std::vector<char> Copy(newData, newData + length);
    Buffer->assign(Copy.begin(), Copy.end());
  } else {
    Buffer->resize(length);
    std::memcpy(Buffer->data(), newData, length);
  }
  const char* Result = Buffer->data();
  m_Entries.emplace(Result, std::move(Buffer));
  return Result;
}

void SGMstringPool::removePooledString(const char* data, uint32_t length) {
  if (length == 0 || data == nullptr) return;
  m_Entries.erase(data);
}

void SGMstringPoolSetValue(SGMvalue& value, SGMstringPool& pool, const char* data, uint32_t length) {
  const char* Pooled = pool.setPooledString(value.data(), data, length);
  value.set(Pooled, length);
}

void SGMstringPoolClearValue(SGMvalue& value, SGMstringPool& pool) {
  pool.removePooledString(value.data(), value.length());
}
