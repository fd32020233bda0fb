#include "STMZIPfilter.h"

#include <bzlib.h>

#include <algorithm>
#include <cstring>

#include "COLerror.h"

struct STMZIPstreamBlock {
  static constexpr unsigned WorkSize = 32768;
  char work[WorkSize];
  bz_stream stream;
  bool isOpen = false;

  STMZIPstreamBlock() { std::memset(&stream, 0, sizeof stream); }

  // Points the output at the work buffer; returns the output counter before the call.
  unsigned long long prepareOutput() {
    stream.next_out = work;
    stream.avail_out = WorkSize;
    return outputCounter();
  }
  unsigned long long outputCounter() const {
    return (static_cast<unsigned long long>(stream.total_out_hi32) << 32) | stream.total_out_lo32;
  }
  // Hands what the last call produced to the sink.
  void passOn(COLsink& sink, unsigned long long before) const {
    const auto Produced = static_cast<size_t>(outputCounter() - before);
    if (Produced > 0) sink.write(work, Produced);
  }
};

namespace {

[[noreturn]] void STMZIPraise() { throw COLerror("bzip error", COL_ERROR_PRECONDITION); }

}  // namespace

// --- compression

STMZIPfilterCompress::STMZIPfilterCompress() : m_Block(std::make_unique<STMZIPstreamBlock>()) {}

STMZIPfilterCompress::STMZIPfilterCompress(COLsink* next) : COLfilter(next), m_Block(std::make_unique<STMZIPstreamBlock>()) {}

STMZIPfilterCompress::~STMZIPfilterCompress() {
  if (m_Block->isOpen) BZ2_bzCompressEnd(&m_Block->stream);
}

size_t STMZIPfilterCompress::write(const void* data, size_t size) {
  if (size == 0) return 0;
  STMZIPstreamBlock& Block = *m_Block;
  if (!Block.isOpen) {
    if (BZ2_bzCompressInit(&Block.stream, 9, 0, 0) != BZ_OK) STMZIPraise();
    Block.isOpen = true;
  }
  COLsink& Next = next();
  // bzip2 counts input in 32 bits; larger writes go in slices.
  const char* pIn = static_cast<const char*>(data);
  size_t Remaining = size;
  while (Remaining > 0) {
    const unsigned Slice = static_cast<unsigned>(std::min<size_t>(Remaining, 1u << 30));
    Block.stream.next_in = const_cast<char*>(pIn);
    Block.stream.avail_in = Slice;
    while (Block.stream.avail_in > 0) {
      const unsigned long long Before = Block.prepareOutput();
      if (BZ2_bzCompress(&Block.stream, BZ_RUN) != BZ_RUN_OK) STMZIPraise();
      onWrite();
      Block.passOn(Next, Before);
    }
    pIn += Slice;
    Remaining -= Slice;
  }
  return size;
}

void STMZIPfilterCompress::flush() {
  STMZIPstreamBlock& Block = *m_Block;
  if (Block.isOpen) {
    COLsink& Next = next();
    Block.stream.avail_in = 0;
    for (;;) {
      const unsigned long long Before = Block.prepareOutput();
      const int ReturnCode = BZ2_bzCompress(&Block.stream, BZ_FINISH);
      if (ReturnCode != BZ_FINISH_OK && ReturnCode != BZ_STREAM_END) STMZIPraise();
      onWrite();
      Block.passOn(Next, Before);
      if (ReturnCode == BZ_STREAM_END) break;
    }
    BZ2_bzCompressEnd(&Block.stream);
    Block.isOpen = false;
  }
  next().flush();
}

// --- decompression

STMZIPfilterDecompress::STMZIPfilterDecompress() : m_Block(std::make_unique<STMZIPstreamBlock>()) {}

STMZIPfilterDecompress::STMZIPfilterDecompress(COLsink* next)
    : COLfilter(next), m_Block(std::make_unique<STMZIPstreamBlock>()) {}

STMZIPfilterDecompress::~STMZIPfilterDecompress() {
  if (m_Block->isOpen) BZ2_bzDecompressEnd(&m_Block->stream);
}

size_t STMZIPfilterDecompress::write(const void* data, size_t size) {
  STMZIPstreamBlock& Block = *m_Block;
  COLsink& Next = next();
  const char* pIn = static_cast<const char*>(data);
  size_t Remaining = size;
  while (Remaining > 0) {
    if (!Block.isOpen) {
      if (BZ2_bzDecompressInit(&Block.stream, 0, 0) != BZ_OK) STMZIPraise();
      Block.isOpen = true;
    }
    const unsigned Slice = static_cast<unsigned>(std::min<size_t>(Remaining, 1u << 30));
    Block.stream.next_in = const_cast<char*>(pIn);
    Block.stream.avail_in = Slice;
    int ReturnCode = BZ_OK;
    // A full work buffer may leave output inside the library even when all input is
    // taken, so go on until a call leaves room to spare.
    do {
      const unsigned long long Before = Block.prepareOutput();
      ReturnCode = BZ2_bzDecompress(&Block.stream);
      if (ReturnCode < 0) STMZIPraise();
      onWrite();
      Block.passOn(Next, Before);
    } while (ReturnCode != BZ_STREAM_END && (Block.stream.avail_in > 0 || Block.stream.avail_out == 0));
    const size_t Taken = Slice - Block.stream.avail_in;
    pIn += Taken;
    Remaining -= Taken;
    if (ReturnCode == BZ_STREAM_END) {
      // Bytes after the end begin the next stream, as bzip2 itself reads concatenated files.
      BZ2_bzDecompressEnd(&Block.stream);
      std::memset(&Block.stream, 0, sizeof Block.stream);
      Block.isOpen = false;
    }
  }
  return size;
}

void STMZIPfilterDecompress::flush() {
  next().flush();
  // The stream opens only on input, so an open one has begun.
  if (m_Block->isOpen) {
    COLerror Error("bzip error", COL_ERROR_PRECONDITION);
    Error.setParameter("Reason", "the compressed data ends before its stream does");
    throw Error;
  }
}
