// The byte plumbing of the system: sinks take bytes, sources push bytes into an attached
// sink, filters sit between the two.  No layer buffers unless it says so; buffering is the
// business of the sink at the far end.
#pragma once

#include <cstddef>
#include <cstdint>

class COLsource;

class COLsink {
public:
  virtual ~COLsink() = default;
  // Takes `size` bytes and returns how many it took (always all of them here).
  virtual size_t write(const void* data, size_t size) = 0;
  virtual void flush() {}
  virtual void onEndStream() {}
  // A sink that returns true takes over reading from `source` itself (see COLsinkReading).
  virtual bool readAll(COLsource& /*source*/) { return false; }
};

class COLattachedSink {
public:
  virtual ~COLattachedSink() = default;
  void setNext(COLsink* next) { m_Next = next; }
  bool hasNext() const { return m_Next != nullptr; }
  COLsink& next() const;

private:
  COLsink* m_Next = nullptr;
};

class COLsource : public COLattachedSink {
public:
  static constexpr size_t DefaultChunkSize = 1024;

  virtual bool isEndOfSource() const { return m_EndOfSource; }
  virtual void writeChunk(size_t chunkSize) = 0;
  virtual void resetSourcePosition() = 0;

  // Pushes the whole source into the attached sink, chunk by chunk.
  void writeAll(size_t chunkSize = DefaultChunkSize);

protected:
  void setEndOfSource(bool isEnd) { m_EndOfSource = isEnd; }

private:
  bool m_EndOfSource = false;
};

#define COL_SOURCE_DEFAULT_CHUNK_SIZE 1024

class COLsourceBinary : public COLsource {
public:
  virtual void setSourcePosition(size_t position) = 0;
  virtual void setSourceEndPosition(size_t position) = 0;
};

class COLreadable {
public:
  virtual ~COLreadable() = default;
  virtual size_t read(void* buffer, size_t count) = 0;
  virtual size_t readPosition() const = 0;
  virtual void setReadPosition(size_t position) = 0;
  virtual bool isEndOfReadable() const = 0;
};
