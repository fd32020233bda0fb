// Byte blocks: COLbuffer (a shared block passed between a message and its trees),
// COLsimpleBuffer (one block seen as sink, source and readable at once) and COLbinaryBuffer
// (a byte queue that adds at the end and removes from the front without moving data).
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "COLsink.h"
#include "COLstring.h"

class COLbuffer {
public:
  COLbuffer() = default;
  explicit COLbuffer(size_t size) : m_Data(size) {}
  COLbuffer(const char* text);  // a copy of the text with its terminator
  // Replaces the content by `size` bytes of `text` and a terminator; the block is kept, so a
  // buffer reused from message to message stops allocating once it fits the largest.
  void assign(const char* text, size_t size);
  char* data() { return m_Data.data(); }
  const char* data() const { return m_Data.data(); }
  size_t size() const { return m_Data.size(); }
  void AddRef() { ++m_CountOfRef; }
  void Release() { if (--m_CountOfRef == 0) delete this; }
  int countOfRef() const { return m_CountOfRef; }

private:
  std::vector<char> m_Data;
  int m_CountOfRef = 0;
};

class COLsimpleBuffer : public COLsink, public COLsourceBinary, public COLreadable {
public:
  COLsimpleBuffer() = default;
  explicit COLsimpleBuffer(size_t size) { resize(size); }

  // COLsink: appends at the sink position, growing to twice the new end when needed.
  size_t write(const void* data, size_t size) override;
  // COLsource
  void writeChunk(size_t chunkSize) override;
  void resetSourcePosition() override { m_SourcePosition = 0; }
  void setSourcePosition(size_t position) override { m_SourcePosition = position; }
  void setSourceEndPosition(size_t position) override { m_SourceEndPosition = position; }
  size_t sourceEndPosition() const;
  // COLreadable
  size_t read(void* buffer, size_t count) override;
  size_t readPosition() const override { return m_ReadPosition; }
  void setReadPosition(size_t position) override { m_ReadPosition = position; }
  bool isEndOfReadable() const override { return m_ReadPosition >= m_Size; }

  void resize(size_t size);
  size_t size() const { return m_Size; }
  size_t capacity() const { return m_Block.size(); }
  unsigned char* data() { return m_Block.data(); }
  const unsigned char* data() const { return m_Block.data(); }
  unsigned char& operator[](size_t PositionIndex);
  size_t sinkPosition() const { return m_SinkPosition; }
  void setSinkPosition(size_t position) { m_SinkPosition = position; }

private:
  std::vector<unsigned char> m_Block;
  size_t m_Size = 0;
  size_t m_SinkPosition = 0;
  size_t m_ReadPosition = 0;
  size_t m_SourcePosition = 0;
  size_t m_SourceEndPosition = 0;
};

class COLbinaryBuffer : public COLsink, public COLsourceBinary {
public:
  explicit COLbinaryBuffer(size_t capacity = 0, unsigned growthFactor = 2);
  COLbinaryBuffer(const COLbinaryBuffer& other);
  COLbinaryBuffer& operator=(const COLbinaryBuffer& other);
  ~COLbinaryBuffer() override;

  void addChunk(const void* data, size_t size);
  void removeChunkFromStart(size_t size);
  // Drops `size` bytes from the end.
  void setAmountNotUsed(size_t size);
  void clear() { m_Start = 0; m_Length = 0; }
  size_t size() const { return m_Length; }
  size_t capacity() const { return m_Capacity; }
  unsigned char* data() { return m_Data; }
  const unsigned char* start() const { return m_Data + m_Start; }
  unsigned char* start() { return m_Data + m_Start; }
  size_t startOffset() const { return m_Start; }
  void copyToString(COLstring& text) const;
  void copyToBuffer(void* buffer) const;
  bool bufferOkay() const;
  // Makes room for `size` more bytes at the end.
  void getSpaceForNewChunk(size_t size);

  // COLsink
  size_t write(const void* data, size_t size) override { addChunk(data, size); return size; }
  // COLsource: hands out from the front.
  void writeChunk(size_t chunkSize) override;
  void resetSourcePosition() override { m_SourcePosition = 0; }
  void setSourcePosition(size_t position) override { m_SourcePosition = position; }
  void setSourceEndPosition(size_t position) override { m_SourceEndPosition = position; }

private:
  void growTo(size_t required);
  void copyDataToStart();

  unsigned char* m_Data = nullptr;
  size_t m_Capacity = 0;
  size_t m_Start = 0;
  unsigned m_GrowthFactor = 2;
  size_t m_Length = 0;
  size_t m_SourcePosition = 0;
  size_t m_SourceEndPosition = 0;
};
