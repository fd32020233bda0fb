// TREbinary: the persisted form of an instance tree.  The stream carries its own type table
// (names, bases, member names and types), so a reader rebuilds types and every version of
// the tree from the stream alone and matches members by name.  All numbers little-endian.
#pragma once

#include <cstdint>

#include "COLbuffer.h"
#include "COLsink.h"

class TREinstanceComplex;

// Writes the whole stream of the root complex to the attached sink on the first chunk.
class TREsourceBinary : public COLsource {
public:
  static constexpr uint8_t RootBlockId = 0x52;
  static constexpr uint8_t TypeBlockId = 0x54;
  static constexpr uint8_t DataBlockId = 0x44;

  explicit TREsourceBinary(TREinstanceComplex& instance) : m_Instance(instance) {}
  void writeChunk(size_t chunkSize) override;
  void resetSourcePosition() override { setEndOfSource(false); }

protected:
  TREinstanceComplex& instance() const { return m_Instance; }

private:
  TREinstanceComplex& m_Instance;
};

// Collects the stream written to it and reads it into the complex on flush().  The
// complex's root gets the stream's version count and current version.  A damaged stream
// raises a COLerror that says what and where; the tree may then be partly filled.
class TREsinkBinary : public COLsink {
public:
  explicit TREsinkBinary(TREinstanceComplex& instance) : m_Instance(instance) {}
  size_t write(const void* data, size_t size) override;
  void flush() override;
  TREinstanceComplex& instance() const { return m_Instance; }

  // Reads one whole stream held in memory.
  static void read(TREinstanceComplex& instance, const unsigned char* data, size_t size);
  static constexpr size_t MaximumStreamSize = size_t(256) << 20;

private:
  TREinstanceComplex& m_Instance;
  COLbinaryBuffer m_Buffer{1024, 2};
  bool m_Done = false;
};
