#include "COLbuffer.h"

#include <algorithm>
#include <cstring>

#include "COLerror.h"

COLbuffer::COLbuffer(const char* text) {
  const size_t n = text ? std::strlen(text) : 0;
  m_Data.assign(text ? text : "", (text ? text : "") + n);
  m_Data.push_back('\0');
}

void COLbuffer::assign(const char* text, size_t size) {
  m_Data.resize(size + 1);
  if (size) std::memcpy(m_Data.data(), text, size);
  m_Data[size] = '\0';
}

// --- COLsimpleBuffer

size_t COLsimpleBuffer::write(const void* data, size_t size) {
  const size_t end = m_SinkPosition + size;
  if (end > m_Block.size()) m_Block.resize(2 * end);
  if (size) std::memcpy(m_Block.data() + m_SinkPosition, data, size);
  m_SinkPosition = end;
  m_Size = std::max(m_Size, end);
  return size;
}

void COLsimpleBuffer::resize(size_t size) {
  if (size > m_Block.size()) m_Block.resize(size);
  m_Size = size;
  m_SinkPosition = std::min(m_SinkPosition, size);
  m_ReadPosition = std::min(m_ReadPosition, size);
  m_SourcePosition = std::min(m_SourcePosition, size);
}

size_t COLsimpleBuffer::sourceEndPosition() const {
  return (m_SourceEndPosition != 0 && m_SourceEndPosition < m_Size) ? m_SourceEndPosition : m_Size;
}

void COLsimpleBuffer::writeChunk(size_t chunkSize) {
  const size_t end = sourceEndPosition();
  const size_t count = m_SourcePosition < end ? std::min(chunkSize, end - m_SourcePosition) : 0;
  if (count) next().write(m_Block.data() + m_SourcePosition, count);
  m_SourcePosition += count;
  if (m_SourcePosition >= end) setEndOfSource(true);
}

size_t COLsimpleBuffer::read(void* buffer, size_t count) {
  const size_t n = m_ReadPosition < m_Size ? std::min(count, m_Size - m_ReadPosition) : 0;
  if (n) std::memcpy(buffer, m_Block.data() + m_ReadPosition, n);
  m_ReadPosition += n;
  return n;
}

unsigned char& COLsimpleBuffer::operator[](size_t PositionIndex) {
  COL_PRECONDITION(PositionIndex < size());
  return m_Block[PositionIndex];
}

// --- COLbinaryBuffer

COLbinaryBuffer::COLbinaryBuffer(size_t capacity, unsigned growthFactor) : m_GrowthFactor(growthFactor < 2 ? 2 : growthFactor) {
  if (capacity) growTo(capacity);
}

COLbinaryBuffer::COLbinaryBuffer(const COLbinaryBuffer& other) : COLsink(), COLsourceBinary(), m_GrowthFactor(other.m_GrowthFactor) {
  addChunk(other.start(), other.size());
}

COLbinaryBuffer& COLbinaryBuffer::operator=(const COLbinaryBuffer& other) {
  if (this != &other) {
    clear();
    addChunk(other.start(), other.size());
  }
  return *this;
}

COLbinaryBuffer::~COLbinaryBuffer() { delete[] m_Data; }

bool COLbinaryBuffer::bufferOkay() const {
  return m_Start + m_Length <= m_Capacity && ((m_Data == nullptr && m_Capacity == 0) || m_Data != nullptr);
}

void COLbinaryBuffer::growTo(size_t required) {
  size_t capacity = m_Capacity ? m_Capacity : 10;
  while (capacity < required) capacity *= m_GrowthFactor;
  unsigned char* block = new unsigned char[capacity];
  if (m_Length) std::memcpy(block, m_Data + m_Start, m_Length);
  delete[] m_Data;
  m_Data = block;
  m_Capacity = capacity;
  m_Start = 0;
}

void COLbinaryBuffer::copyDataToStart() {
  if (m_Start == 0) return;
  std::memmove(m_Data, m_Data + m_Start, m_Length);
  m_Start = 0;
}

void COLbinaryBuffer::getSpaceForNewChunk(size_t size) {
  if (m_Length + size <= m_Capacity) {
    if (m_Start + m_Length + size > m_Capacity) copyDataToStart();
  } else {
    growTo(m_Length + size);
  }
}

void COLbinaryBuffer::addChunk(const void* data, size_t size) {
  if (size == 0) return;
  getSpaceForNewChunk(size);
  std::memcpy(m_Data + m_Start + m_Length, data, size);
  m_Length += size;
}

void COLbinaryBuffer::removeChunkFromStart(size_t size) {
  COL_PRECONDITION(size <= m_Length);
  m_Start += size;
  m_Length -= size;
  if (m_Length == 0) m_Start = 0;
}

void COLbinaryBuffer::setAmountNotUsed(size_t size) {
  COL_PRECONDITION(size <= m_Length);
  m_Length -= size;
}

void COLbinaryBuffer::copyToString(COLstring& text) const {
  text.clear();
  text.append(m_Length, reinterpret_cast<const char*>(start()));
}

void COLbinaryBuffer::copyToBuffer(void* buffer) const {
  if (m_Length) std::memcpy(buffer, start(), m_Length);
}

void COLbinaryBuffer::writeChunk(size_t chunkSize) {
  const size_t end = (m_SourceEndPosition != 0 && m_SourceEndPosition < m_Length) ? m_SourceEndPosition : m_Length;
  const size_t count = m_SourcePosition < end ? std::min(chunkSize, end - m_SourcePosition) : 0;
  if (count) next().write(start() + m_SourcePosition, count);
  m_SourcePosition += count;
  if (m_SourcePosition >= end) setEndOfSource(true);
}
