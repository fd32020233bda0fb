#include <gtest/gtest.h>

#include <bzlib.h>

#include <algorithm>
#include <string>

#include "COLerror.h"
#include "STMZIPfilter.h"

#include "../support/TSTraised.h"

namespace {

// Collects what reaches the end of a chain and counts the calls.
class RecordingSink : public COLsink {
public:
  size_t write(const void* data, size_t size) override {
    bytes.append(static_cast<const char*>(data), size);
    ++countOfWrite;
    return size;
  }
  void flush() override { ++countOfFlush; }
  std::string bytes;
  int countOfWrite = 0;
  int countOfFlush = 0;
};

void writeInPieces(COLsink& sink, const std::string& data, size_t piece) {
  for (size_t offset = 0; offset < data.size(); offset += piece)
    sink.write(data.data() + offset, std::min(piece, data.size() - offset));
}

std::string compress(const std::string& data, size_t piece) {
  RecordingSink out;
  STMZIPfilterCompress filter(&out);
  writeInPieces(filter, data, piece);
  filter.flush();
  return out.bytes;
}

std::string decompress(const std::string& data, size_t piece) {
  RecordingSink out;
  STMZIPfilterDecompress filter(&out);
  writeInPieces(filter, data, piece);
  filter.flush();
  return out.bytes;
}

// Deterministic bytes that do not compress.
std::string noise(size_t size) {
  std::string result(size, '\0');
  uint32_t state = 12345;
  for (char& c : result) {
    state = state * 1664525u + 1013904223u;
    c = static_cast<char>(state >> 24);
  }
  return result;
}

std::string messages(size_t count) {
  std::string result;
  for (size_t i = 0; i < count; ++i)
    result += "MSH|^~\\&|LAB|HOSP|||20240517||ORU^R01|" + std::to_string(i) + "|P|2.3\rPID|1||" +
              std::to_string(i * 7919) + "||DOE^JOHN\r";
  return result;
}

std::string errorText(const COLerror& error) { return error.description().str(); }

}  // namespace

TEST(STMZIPfilter, NothingWrittenGivesNoBytesAtAll) {
  RecordingSink out;
  {
    STMZIPfilterCompress filter(&out);
    filter.write("", 0);
    filter.flush();
  }
  EXPECT_TRUE(out.bytes.empty());
  EXPECT_EQ(1, out.countOfFlush) << "flush still reaches the next sink";
  EXPECT_EQ("", decompress("", 1));
}

TEST(STMZIPfilter, OutputIsAPlainBzip2Stream) {
  const std::string text = messages(50);
  const std::string packed = compress(text, text.size());
  ASSERT_GE(packed.size(), 4u);
  EXPECT_EQ("BZh9", packed.substr(0, 4));
  EXPECT_LT(packed.size(), text.size() / 4);

  std::string unpacked(text.size() + 16, '\0');
  unsigned length = static_cast<unsigned>(unpacked.size());
  ASSERT_EQ(BZ_OK, BZ2_bzBuffToBuffDecompress(unpacked.data(), &length, const_cast<char*>(packed.data()),
                                               static_cast<unsigned>(packed.size()), 0, 0));
  unpacked.resize(length);
  EXPECT_EQ(text, unpacked);
}

TEST(STMZIPfilter, RoundTripAcrossAnyChunking) {
  const std::string small = messages(3);
  const std::string text = messages(14000);  // about a megabyte: more than one 900 kB block
  const std::string random = noise(300000);
  for (const std::string* data : {&small, &text, &random}) {
    const std::string whole = compress(*data, data->size());
    for (size_t piece : {size_t{1}, size_t{7}, size_t{4096}, size_t{32768}, size_t{100001}}) {
      if (piece == 1 && data->size() > 100000) continue;  // byte-wise compression is slow, not different
      SCOPED_TRACE(piece);
      const std::string packed = compress(*data, piece);
      EXPECT_EQ(whole, packed) << "the stream does not depend on how the input was cut";
      EXPECT_EQ(*data, decompress(packed, piece));
    }
    EXPECT_EQ(*data, decompress(whole, 1));
  }
}

TEST(STMZIPfilter, SmallInputThatExpandsPastTheWorkBuffer) {
  // A few hundred compressed bytes stand for megabytes: one write must drain the library.
  const std::string zeros(4 * 1024 * 1024, '\0');
  const std::string packed = compress(zeros, zeros.size());
  ASSERT_LT(packed.size(), 1000u);
  EXPECT_EQ(zeros, decompress(packed, packed.size()));
  EXPECT_EQ(zeros, decompress(packed, 3));
}

TEST(STMZIPfilter, FlushEndsTheStreamAndLaterWritesBeginAnother) {
  RecordingSink packed;
  STMZIPfilterCompress filter(&packed);
  filter.write("first part|", 11);
  filter.flush();
  const size_t firstStream = packed.bytes.size();
  filter.flush();
  EXPECT_EQ(firstStream, packed.bytes.size()) << "a second flush adds nothing";
  filter.write("second part", 11);
  filter.flush();
  EXPECT_GT(packed.bytes.size(), firstStream);
  EXPECT_EQ("first part|", decompress(packed.bytes.substr(0, firstStream), 5));
  EXPECT_EQ("first part|second part", decompress(packed.bytes, 5));
}

TEST(STMZIPfilter, DecompressFlushForwardsToTheNextSink) {
  RecordingSink out;
  STMZIPfilterDecompress filter(&out);
  const std::string packed = compress("abc", 3);
  filter.write(packed.data(), packed.size());
  filter.flush();
  EXPECT_EQ("abc", out.bytes);
  EXPECT_EQ(1, out.countOfFlush);
}

TEST(STMZIPfilter, BadAndTruncatedInputRaises) {
  const COLerror error = TSTraised([&] { decompress("this is not compressed", 4); });
  EXPECT_EQ("bzip error", errorText(error));
  EXPECT_EQ(0x80000100u, error.code());

  std::string packed = compress(messages(200), 9999);
  packed[packed.size() / 2] ^= 0x55;
  EXPECT_THROW(decompress(packed, 512), COLerror) << "a damaged block fails its check";

  const std::string whole = compress(messages(200), 9999);
  RecordingSink out;
  STMZIPfilterDecompress filter(&out);
  filter.write(whole.data(), whole.size() - 10);
  EXPECT_EQ("bzip error", errorText(TSTraised([&] { filter.flush(); })));
  EXPECT_EQ(1, out.countOfFlush) << "what was decoded still reaches the next sink";

  const std::string trailing = compress("abc", 3) + "garbage";
  EXPECT_THROW(decompress(trailing, trailing.size()), COLerror);
}
