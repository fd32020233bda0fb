#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "SFIhexEncodeFilter.h"

namespace {

class PieceSink : public COLsink {
public:
  size_t write(const void* data, size_t size) override {
    pieces.emplace_back(static_cast<const char*>(data), size);
    return size;
  }
  std::string joined() const {
    std::string result;
    for (const auto& piece : pieces) result += piece;
    return result;
  }
  std::vector<std::string> pieces;
};

}  // namespace

TEST(SFIhexEncodeFilter, EncodesEveryByteAsTwoUpperCaseDigits) {
  PieceSink out;
  SFIhexEncodeFilter filter(&out);
  const unsigned char bytes[] = {0x00, 0x0F, 0xAB, 0x7F, 0x80, 0xFF, 'z'};
  EXPECT_EQ(sizeof bytes, filter.write(bytes, sizeof bytes));
  EXPECT_EQ("000FAB7F80FF7A", out.joined());
  EXPECT_EQ(0u, filter.write(bytes, 0));
  EXPECT_EQ(1u, out.pieces.size()) << "nothing to write sends nothing";
}

TEST(SFIhexEncodeFilter, LongInputGoesOutInFullBlocks) {
  PieceSink out;
  SFIhexEncodeFilter filter(&out);
  std::string input;
  std::string expected;
  for (int i = 0; i < 300; ++i) {
    input += static_cast<char>(i);
    const char digits[] = "0123456789ABCDEF";
    expected += digits[(i & 0xFF) >> 4];
    expected += digits[i & 0x0F];
  }
  EXPECT_EQ(300u, filter.write(input.data(), input.size()));
  EXPECT_EQ(expected, out.joined());
  ASSERT_EQ(3u, out.pieces.size());
  EXPECT_EQ(256u, out.pieces[0].size());
  EXPECT_EQ(256u, out.pieces[1].size());
  EXPECT_EQ(88u, out.pieces[2].size());
}
