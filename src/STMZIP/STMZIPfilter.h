// STMZIPfilter: bzip2 compression and decompression as sink filters, for the compressed
// definition files.  Output is a plain bzip2 stream (block size 9).  A failing library call
// raises "bzip error" (0x80000100); what already went to the next sink stays there.
#pragma once

#include <memory>

#include "COLfilter.h"

struct STMZIPstreamBlock;

// Compresses everything written; flush() ends the bzip2 stream and flushes the next sink.
// A filter that was never given a byte writes nothing at all, not an empty stream.  A write
// after flush() begins a new stream, which bzip2 readers take as a continuation.
class STMZIPfilterCompress : public COLfilter {
public:
  STMZIPfilterCompress();
  explicit STMZIPfilterCompress(COLsink* next);
  STMZIPfilterCompress(const STMZIPfilterCompress&) = delete;
  STMZIPfilterCompress& operator=(const STMZIPfilterCompress&) = delete;
  // Releases an open stream without writing its end: call flush() to finish the output.
  ~STMZIPfilterCompress() override;

  size_t write(const void* data, size_t size) override;
  void flush() override;

protected:
  void onWrite() override {}

private:
  std::unique_ptr<STMZIPstreamBlock> m_Block;
};

// Decompresses what is written, in pieces of any size; streams may follow one another.
// flush() flushes the next sink and raises when a stream was begun but not ended, so a
// truncated file is never taken for a whole one.
class STMZIPfilterDecompress : public COLfilter {
public:
  STMZIPfilterDecompress();
  explicit STMZIPfilterDecompress(COLsink* next);
  STMZIPfilterDecompress(const STMZIPfilterDecompress&) = delete;
  STMZIPfilterDecompress& operator=(const STMZIPfilterDecompress&) = delete;
  ~STMZIPfilterDecompress() override;

  size_t write(const void* data, size_t size) override;
  void flush() override;

protected:
  void onWrite() override {}

private:
  std::unique_ptr<STMZIPstreamBlock> m_Block;
};
