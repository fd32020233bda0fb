#include "COLfilter.h"

#include <cstring>

#include "COLerror.h"

COLfilterBuffer::COLfilterBuffer(size_t capacity, COLsink* next) : COLfilter(next), m_Capacity(capacity), m_Buffer(capacity, 2) {}

size_t COLfilterBuffer::write(const void* data, size_t size) {
  if (m_Buffer.size() + size <= m_Capacity) {
    m_Buffer.addChunk(data, size);
    return size;
  }
  // Fill to the brim, send the full block in one write, keep the rest.
  const size_t head = m_Capacity > m_Buffer.size() ? m_Capacity - m_Buffer.size() : 0;
  m_Buffer.addChunk(data, head);
  onWrite();
  next().write(m_Buffer.start(), m_Buffer.size());
  m_Buffer.clear();
  m_Buffer.addChunk(static_cast<const char*>(data) + head, size - head);
  return size;
}

void COLfilterBuffer::flush() {
  if (m_Buffer.size()) {
    onWrite();
    next().write(m_Buffer.start(), m_Buffer.size());
  }
  next().flush();
  m_Buffer.clear();
}

size_t COLsinkReading::read(void* buffer, size_t count) {
  COLsource* pSource = m_Source;
  COL_PRECONDITION(pSource != NULL);
  while (m_Buffer.size() < count && !pSource->isEndOfSource()) pSource->writeChunk(1024);
  const size_t n = std::min(count, m_Buffer.size());
  std::memcpy(buffer, m_Buffer.start(), n);
  m_Buffer.removeChunkFromStart(n);
  return n;
}

const char* COLsinkReading::readString() {
  COLsource* pSource = m_Source;
  COL_PRECONDITION(pSource != NULL);
  const void* pStringEnd = nullptr;
  for (;;) {
    pStringEnd = m_Buffer.size() ? std::memchr(m_Buffer.start(), 0, m_Buffer.size()) : nullptr;
    if (pStringEnd || pSource->isEndOfSource()) break;
    pSource->writeChunk(1024);
  }
  COL_PRECONDITION(pStringEnd != NULL);
  const size_t n = static_cast<size_t>(static_cast<const unsigned char*>(pStringEnd) - m_Buffer.start());
  m_LastString = COLstring(std::string_view(reinterpret_cast<const char*>(m_Buffer.start()), n));
  m_Buffer.removeChunkFromStart(n + 1);
  return m_LastString.c_str();
}
