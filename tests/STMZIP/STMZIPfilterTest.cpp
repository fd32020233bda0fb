// Compression filters nothing uses yet: a plain bzip2 stream, independent of how the input
// is cut, ended by flush, and refusals of what is not one.
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

std::string messages(size_t count) {
  std::string result;
  for (size_t i = 0; i < count; ++i)
    result += "MSH|^~\\&|LAB|HOSP|||20240517||ORU^R01|" + std::to_string(i) + "|P|2.3\rPID|1||" +
              std::to_string(i * 7919) + "||DOE^JOHN\r";
  return result;
}

}  // namespace

TEST(STMZIPfilter, PlainBzip2StreamWhateverTheCutOfTheInput) {
  const std::string text = messages(14000);  // about a megabyte: more than one 900 kB block
  const std::string whole = compress(text, text.size());
  EXPECT_EQ("BZh9", whole.substr(0, 4));
  std::string unpacked(text.size() + 16, '\0');
  unsigned length = static_cast<unsigned>(unpacked.size());
  ASSERT_EQ(BZ_OK, BZ2_bzBuffToBuffDecompress(unpacked.data(), &length, const_cast<char*>(whole.data()),
                                              static_cast<unsigned>(whole.size()), 0, 0));
  unpacked.resize(length);
  EXPECT_EQ(text, unpacked);
  for (size_t piece : {size_t{7}, size_t{100001}}) {
    EXPECT_EQ(whole, compress(text, piece)) << piece;
    EXPECT_EQ(text, decompress(whole, piece)) << piece;
  }
  EXPECT_EQ(messages(3), decompress(compress(messages(3), 1), 1));
  // A few hundred compressed bytes stand for megabytes: one write must drain the library.
  const std::string zeros(4 * 1024 * 1024, '\0');
  EXPECT_EQ(zeros, decompress(compress(zeros, zeros.size()), 3));
}

TEST(STMZIPfilter, FlushEndsTheStreamAndReachesTheNextSink) {
  RecordingSink empty;
  {
    STMZIPfilterCompress filter(&empty);
    filter.flush();
  }
  EXPECT_TRUE(empty.bytes.empty());
  EXPECT_EQ(1, empty.countOfFlush);

  RecordingSink packed;
  STMZIPfilterCompress filter(&packed);
  filter.write("first part|", 11);
  filter.flush();
  const size_t firstStream = packed.bytes.size();
  filter.flush();
  EXPECT_EQ(firstStream, packed.bytes.size()) << "a second flush adds nothing";
  filter.write("second part", 11);
  filter.flush();
  EXPECT_EQ("first part|", decompress(packed.bytes.substr(0, firstStream), 5));
  RecordingSink out;
  STMZIPfilterDecompress unpacker(&out);
  unpacker.write(packed.bytes.data(), packed.bytes.size());
  unpacker.flush();
  EXPECT_EQ("first part|second part", out.bytes);
  EXPECT_EQ(1, out.countOfFlush);
}

TEST(STMZIPfilter, BadDamagedTruncatedAndTrailingInputRaises) {
  EXPECT_EQ(TSTraised([&] { decompress("this is not compressed", 4); }),
            COLerror("bzip error", COL_ERROR_PRECONDITION));
  std::string damaged = compress(messages(200), 9999);
  damaged[damaged.size() / 2] ^= 0x55;
  EXPECT_NE(TSTerrorText([&] { decompress(damaged, 512); }), "no error");

  const std::string whole = compress(messages(200), 9999);
  RecordingSink out;
  STMZIPfilterDecompress filter(&out);
  filter.write(whole.data(), whole.size() - 10);
  EXPECT_EQ(TSTerrorText([&] { filter.flush(); }), "bzip error");
  EXPECT_EQ(1, out.countOfFlush) << "what was decoded still reaches the next sink";
  EXPECT_NE(TSTerrorText([&] { decompress(compress("abc", 3) + "garbage", 10); }), "no error");
}
