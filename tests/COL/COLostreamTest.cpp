#include <gtest/gtest.h>

#include <climits>
#include <vector>

#include "COLbuffer.h"
#include "COLerror.h"
#include "COLfilter.h"
#include "COLostream.h"
#include "COLsinkStandard.h"

namespace {
// Records every write the sink receives, to check how a stream drives it.
struct RecordingSink : COLsink {
  std::vector<std::string> writes;
  int flushes = 0;
  int ends = 0;
  size_t write(const void* data, size_t size) override {
    writes.emplace_back(static_cast<const char*>(data), size);
    return size;
  }
  void flush() override { ++flushes; }
  void onEndStream() override { ++ends; }
  std::string all() const {
    std::string text;
    for (const auto& w : writes) text += w;
    return text;
  }
};
}  // namespace

TEST(COLostream, NumbersAndBooleansFollowTheFormatTable) {
  COLstring text;
  COLostream stream(text);
  stream << -5 << ' ' << 4000000000u << ' ' << static_cast<short>(-2) << ' ' << static_cast<unsigned short>(65535)
         << ' ' << LLONG_MIN << ' ' << ULLONG_MAX;
  EXPECT_EQ(text, "-5 4000000000 -2 65535 -9223372036854775808 18446744073709551615");
  text.clear();
  stream << hex << 255 << ' ' << -1 << ' ' << 0xABCDEFull << ' ' << 1.5 << ' ' << true << decimal << ' ' << 255;
  EXPECT_EQ(text, "FF FFFFFFFF ABCDEF 1.500000 True 255");
  text.clear();
  stream << 0.0 << '|' << 2.0 / 3.0 << '|' << -1e10 << '|' << false << '|' << true;
  EXPECT_EQ(text, "0.000000|0.666667|-10000000000.000000|False|True");
  text.clear();
  stream << 1e300;  // long, but within the buffer
  EXPECT_EQ(text.size(), 308u);
}

TEST(COLostream, NewlineCarriesTheIndent) {
  COLstring text;
  COLostream stream(text);
  stream << "a" << indent << indent;
  EXPECT_EQ(text, "a");
  stream << newline << "b";
  EXPECT_EQ(text, "a\n      b");
  stream << unindent << unindent << unindent << newline;
  EXPECT_EQ(stream.countOfIndent(), 0u);
  EXPECT_EQ(text, "a\n      b\n");
  stream.setNewLine("\r\n");
  stream << set_indent("\t") << indent << newline << reset_indent << newline;
  EXPECT_EQ(text, "a\n      b\n\r\n\t\r\n");
}

TEST(COLostream, EachInsertionIsOneWriteAndNullTextWritesNothing) {
  RecordingSink sink;
  COLostream stream(sink);
  stream << "abc" << static_cast<const char*>(nullptr) << 12 << COLstring("de") << 'x' << flush;
  EXPECT_EQ(sink.writes, (std::vector<std::string>{"abc", "12", "de", "x"}));
  EXPECT_EQ(sink.flushes, 1);
}

TEST(COLostream, OwnedSinkIsReplacedAndDeleted) {
  struct Tracked : COLsinkNull {
    explicit Tracked(int* deaths) : m_Deaths(deaths) {}
    ~Tracked() override { ++*m_Deaths; }
    int* m_Deaths;
  };
  int deaths = 0;
  {
    COLostream stream(new Tracked(&deaths), true);
    stream.setSink(new Tracked(&deaths), true);
    EXPECT_EQ(deaths, 1);
    EXPECT_THROW(stream.setSink(nullptr, false), COLerror);
  }
  EXPECT_EQ(deaths, 2);
}

namespace {
std::vector<std::string> g_Lines;
void collectLine(const char* line) { g_Lines.emplace_back(line); }
}  // namespace

TEST(COLsinkCallback, SplitsLinesOnAnyLineEnd) {
  g_Lines.clear();
  COLsinkCallback sink(collectLine);
  sink.write("a\r\nb", 4);
  EXPECT_EQ(g_Lines, (std::vector<std::string>{"a"}));
  sink.flush();
  EXPECT_EQ(g_Lines, (std::vector<std::string>{"a", "b"}));

  g_Lines.clear();
  sink.write("a\n\nb\rc", 6);
  EXPECT_EQ(g_Lines, (std::vector<std::string>{"a", "", "b"}));

  // A CR LF split across two writes is still one line end.
  g_Lines.clear();
  sink.write("d\r", 2);
  sink.write("\ne\n", 3);
  EXPECT_EQ(g_Lines, (std::vector<std::string>{"cd", "e"}));
}

TEST(COLsource, WriteAllOverEmptyBufferStillFlushesAndEnds) {
  COLsimpleBuffer buffer;
  RecordingSink sink;
  buffer.setNext(&sink);
  buffer.writeAll();
  EXPECT_TRUE(sink.writes.empty());
  EXPECT_EQ(sink.flushes, 1);
  EXPECT_EQ(sink.ends, 1);

  COLsimpleBuffer unattached;
  EXPECT_THROW(unattached.writeAll(), COLerror);
}

TEST(COLsource, WriteAllPushesInChunks) {
  COLsimpleBuffer buffer;
  buffer.write("0123456789", 10);
  RecordingSink sink;
  buffer.setNext(&sink);
  buffer.writeAll(4);
  EXPECT_EQ(sink.writes, (std::vector<std::string>{"0123", "4567", "89"}));
  buffer.setSourceEndPosition(5);
  sink.writes.clear();
  buffer.writeAll(100);
  EXPECT_EQ(sink.all(), "01234");
}

TEST(COLsimpleBuffer, ReadableAndResizable) {
  COLsimpleBuffer buffer;
  buffer.write("hello", 5);
  char out[8] = {};
  EXPECT_EQ(buffer.read(out, 3), 3u);
  EXPECT_EQ(buffer.read(out + 3, 10), 2u);
  EXPECT_STREQ(out, "hello");
  EXPECT_TRUE(buffer.isEndOfReadable());
  buffer.resize(2);
  EXPECT_EQ(buffer.size(), 2u);
  EXPECT_EQ(buffer.readPosition(), 2u);
  EXPECT_THROW(buffer[2], COLerror);
}

TEST(COLbinaryBuffer, QueueMovesDataOnlyWhenSpaceRunsOut) {
  COLbinaryBuffer queue(10, 2);
  queue.addChunk("abcdefgh", 8);
  queue.removeChunkFromStart(6);
  EXPECT_EQ(queue.startOffset(), 6u);
  queue.addChunk("1234", 4);  // fits after moving the two live bytes down
  EXPECT_EQ(queue.startOffset(), 0u);
  COLstring text;
  queue.copyToString(text);
  EXPECT_EQ(text, "gh1234");
  queue.addChunk("xxxxxxxxxx", 10);  // must grow
  queue.setAmountNotUsed(10);
  queue.copyToString(text);
  EXPECT_EQ(text, "gh1234");
  EXPECT_TRUE(queue.bufferOkay());
}

TEST(COLfilterBuffer, SendsOnlyFullBlocks) {
  RecordingSink sink;
  COLfilterBuffer filter(4, &sink);
  filter.write("abcd", 4);  // exactly full: kept
  EXPECT_TRUE(sink.writes.empty());
  filter.write("ef", 2);
  EXPECT_EQ(sink.writes, (std::vector<std::string>{"abcd"}));
  filter.write("ghijklmnopq", 11);  // more than twice the capacity: the rest stays buffered
  EXPECT_EQ(sink.writes, (std::vector<std::string>{"abcd", "efgh"}));
  EXPECT_EQ(filter.bufferedSize(), 9u);
  filter.flush();
  EXPECT_EQ(sink.all(), "abcdefghijklmnopq");
  EXPECT_EQ(sink.flushes, 1);
}

TEST(COLsinkReading, PullsFromAPushSource) {
  COLsimpleBuffer source;
  const char data[] = "first\0second\0tail";
  source.write(data, sizeof data - 1);
  COLsinkReading reader;
  source.setNext(&reader);
  source.writeAll();
  EXPECT_STREQ(reader.readString(), "first");
  char out[4] = {};
  EXPECT_EQ(reader.read(out, 3), 3u);
  EXPECT_EQ(std::string(out, 3), "sec");
  EXPECT_STREQ(reader.readString(), "ond");
  EXPECT_THROW(reader.readString(), COLerror);  // "tail" has no terminator
}
