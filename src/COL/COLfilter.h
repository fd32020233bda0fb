// Filters: sinks that pass transformed bytes on to the next sink of a chain, and the
// reading end that lets code pull bytes out of a push chain.
#pragma once

#include "COLbuffer.h"
#include "COLsink.h"

class COLfilter : public COLsink, public COLattachedSink {
public:
  COLfilter() = default;
  explicit COLfilter(COLsink* next) { setNext(next); }
  void flush() override { next().flush(); }
  void onEndStream() override { next().onEndStream(); }
  bool readAll(COLsource& source) override { return next().readAll(source); }

protected:
  // Run by implementations when they pass data on.
  virtual void onWrite() = 0;
};

// Collects small writes and passes them on in blocks of its capacity.
class COLfilterBuffer : public COLfilter {
public:
  COLfilterBuffer(size_t capacity, COLsink* next);
  size_t write(const void* data, size_t size) override;
  void flush() override;
  size_t bufferedSize() const { return m_Buffer.size(); }

protected:
  void onWrite() override {}

private:
  size_t m_Capacity;
  COLbinaryBuffer m_Buffer;
};

// The pull end of a push chain: read() asks the source for more until it has enough.
class COLsinkReading : public COLsink {
public:
  COLsinkReading() : m_Buffer(1024, 2) {}
  size_t write(const void* data, size_t size) override { m_Buffer.addChunk(data, size); return size; }
  bool readAll(COLsource& source) override { m_Source = &source; return true; }
  size_t read(void* buffer, size_t count);
  // The next NUL-terminated text; valid until the next call.
  const char* readString();

private:
  COLbinaryBuffer m_Buffer;
  COLsource* m_Source = nullptr;
  COLstring m_LastString;
};
