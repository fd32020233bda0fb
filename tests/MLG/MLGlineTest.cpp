// Line reading and newline-type scanning, checked against a plain byte-at-a-time model of
// the rules, across block sizes that put every byte at a block boundary.  Small logs with
// their lines written out are in tests/data/MLG.
#include <random>

#include "COLerror.h"
#include "MLGblockFile.h"
#include "MLGtestSupport.h"

#include "../support/TSTraised.h"

namespace {

// The rules one byte at a time: what the fast scanner must reproduce exactly.
unsigned modelReadLine(const std::string& data, size_t& position, std::string& line, unsigned mask, char end) {
  line.clear();
  bool pending = false;
  for (size_t i = position; i < data.size(); ++i) {
    const char c = data[i];
    if (c == end) break;
    if (pending) {
      if (c == '\n' && (mask & 4)) { position = i + 1; return 4; }
      if (mask & 1) { position = i; return 1; }
      pending = false;
      line += '\r';
      line += c;
    } else if (c == '\n' && (mask & 2)) {
      position = i + 1;
      return 2;
    } else if (c == '\r' && (mask & 5)) {
      pending = true;
    } else {
      line += c;
    }
  }
  position = data.size();
  return 0;
}

unsigned modelNewlineTypes(const std::string& data) {
  unsigned mask = 0;
  for (size_t i = 0; i < data.size(); ++i) {
    if (data[i] == '\n' && (i == 0 || data[i - 1] != '\r')) mask |= 2;
    if (data[i] == '\r' && i + 1 < data.size()) mask |= data[i + 1] == '\n' ? 4 : 1;
  }
  return mask;
}

// Mostly line ends; with `withNul`, now and then the end-of-file character.
std::string randomLog(std::mt19937& random, size_t size, bool withNul = false) {
  static const char alphabet[] = {'\r', '\r', '\n', '\n', 'M', 'S', 'H', '|', 'x', '\0'};
  std::uniform_int_distribution<int> pick(0, sizeof alphabet - (withNul ? 1 : 2));
  std::string data(size, ' ');
  for (char& c : data) c = alphabet[pick(random)];
  return data;
}

class MLGlineTest : public MLGtempDir {
protected:
  struct Line {
    unsigned end;
    std::string text;
    uint64_t position;
  };

  std::vector<Line> lines(const COLstring& path, unsigned mask, size_t blockSize, char end = '\0') {
    MLGblockFile file(blockSize);
    file.open(path);
    std::vector<Line> result;
    COLstring buffer;
    for (size_t guard = 0; guard < 100000; ++guard) {
      const unsigned lineEnd = MLGreadLine(file, buffer, mask, end);
      result.push_back({lineEnd, buffer.str(), file.position()});
      if (lineEnd == 0) break;
    }
    return result;
  }
};

TEST_F(MLGlineTest, LinesAcrossBlocks) {
  // A line of many blocks, a CR LF split by a block boundary, a CR closing a block.
  const std::string longLine(10000, 'x');
  const COLstring path = write("long.txt", longLine + "\r\n" + "ab\rcd\r\n");
  for (size_t block : {1u, 2u, 3u, 7u, 64u, 4096u, 10001u}) {
    SCOPED_TRACE(block);
    auto got = lines(path, 1 | 4, block);
    ASSERT_EQ(got.size(), 4u);
    EXPECT_EQ(got[0].text, longLine);
    EXPECT_EQ(got[0].end, 4u);
    EXPECT_EQ(got[0].position, 10002u);
    EXPECT_EQ(got[1].text, "ab");
    EXPECT_EQ(got[1].end, 1u);
    EXPECT_EQ(got[2].text, "cd");
    EXPECT_EQ(got[2].end, 4u);
    EXPECT_EQ(got[3].end, 0u);
  }
}

TEST_F(MLGlineTest, MatchesByteModelOnRandomInput) {
  std::mt19937 random(12345);
  for (int round = 0; round < 40; ++round) {
    const std::string data = randomLog(random, 1 + random() % 600, round % 4 == 3);
    const COLstring path = write("random.txt", data);
    for (unsigned mask : {1u, 2u, 4u, 5u, 7u, 3u}) {
      std::vector<Line> expected;
      size_t position = 0;
      std::string text;
      for (;;) {
        const unsigned end = modelReadLine(data, position, text, mask, '\0');
        expected.push_back({end, text, position});
        if (end == 0) break;
      }
      for (size_t block : {1u, 2u, 5u, 64u, 4096u}) {
        SCOPED_TRACE(testing::Message() << "round " << round << " mask " << mask << " block " << block);
        auto got = lines(path, mask, block);
        ASSERT_EQ(got.size(), expected.size());
        for (size_t i = 0; i < got.size(); ++i) {
          EXPECT_EQ(got[i].end, expected[i].end) << i;
          EXPECT_EQ(got[i].text, expected[i].text) << i;
          EXPECT_EQ(got[i].position, expected[i].position) << i;
        }
      }
    }
  }
}

TEST_F(MLGlineTest, SeekingBackInsideAndOutsideTheBlock) {
  const COLstring path = write("seek.txt", "one\rtwo\rthree\r");
  for (size_t block : {3u, 4096u}) {
    MLGblockFile file(block);
    file.open(path);
    std::string_view line;
    file.readLine(line, 1, 0);
    const uint64_t second = file.position();
    file.readLine(line, 1, 0);
    EXPECT_EQ(line, "two");
    file.readLine(line, 1, 0);
    file.setPosition(second);
    file.readLine(line, 1, 0);
    EXPECT_EQ(line, "two");
    file.setPosition(1);
    file.readLine(line, 1, 0);
    EXPECT_EQ(line, "ne");
  }
}

TEST_F(MLGlineTest, OpenAndReadErrors) {
  MLGblockFile file;
  const COLerror error = TSTraised([&] { file.open(missing()); });
  EXPECT_EQ(error.code(), static_cast<uint32_t>(ENOENT));
  EXPECT_EQ(error.description(), "Open file '" + missing() + "' failed. No such file or directory.");
  EXPECT_FALSE(file.isOpen());
  // A directory opens but cannot be read: an error, not an endless empty log.
  file.open(COLstring(m_Dir.string()));
  std::string_view line;
  EXPECT_THROW(file.readLine(line, 1, 0), COLerror);
}

TEST(MLGnewlineScan, MatchesByteModelForAnySplit) {
  std::mt19937 random(777);
  for (int round = 0; round < 200; ++round) {
    std::string data = randomLog(random, random() % 400, round % 2 == 1);
    const unsigned expected = modelNewlineTypes(data);
    MLGnewlineScan whole;
    whole.feed(data.data(), data.size());
    EXPECT_EQ(whole.mask(), expected) << round;
    MLGnewlineScan pieces;
    for (size_t at = 0; at < data.size();) {
      const size_t count = std::min<size_t>(1 + random() % 70, data.size() - at);
      pieces.feed(data.data() + at, count);
      at += count;
    }
    EXPECT_EQ(pieces.mask(), expected) << round;
  }
}

TEST(MLGnewlineScan, SparseLineEndsAtChunkEdges) {
  // Line ends at the edges of the 64-byte steps, with nothing else around them.
  for (size_t at : {0u, 62u, 63u, 64u, 127u, 128u}) {
    std::string crlf(200, 'x'), lone(200, 'x'), lf(200, 'x');
    crlf[at] = '\r', crlf[at + 1] = '\n';
    lone[at] = '\r';
    lf[at + 1] = '\n';
    MLGnewlineScan a, b, c;
    a.feed(crlf.data(), crlf.size());
    b.feed(lone.data(), lone.size());
    c.feed(lf.data(), lf.size());
    EXPECT_EQ(a.mask(), 4u) << at;
    EXPECT_EQ(b.mask(), 1u) << at;
    EXPECT_EQ(c.mask(), 2u) << at;
  }
}

}  // namespace
