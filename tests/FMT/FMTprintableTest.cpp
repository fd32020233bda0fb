#include <gtest/gtest.h>

#include <string>

#include "COLostream.h"
#include "FMTprintable.h"

namespace {

std::string printable(std::string_view message, std::string_view lineFeed, size_t maxLength = COLstring::npos) {
  return FMTmakeMessagePrintable(message, lineFeed, maxLength).str();
}

}  // namespace

TEST(FMTprintable, EveryLineEndBecomesOneLineFeed) {
  EXPECT_EQ("A\nB", printable("A\rB", "\n"));
  EXPECT_EQ("A\n\nB", printable("A\r\nB", "\n")) << "CR LF is two line ends";
  EXPECT_EQ("A\r\nB\r\nC\r\nD", printable("A\r\nB\rC\nD", "\r\n")) << "unless the line feed is CR LF";
  EXPECT_EQ("MSH|1<br>PID|2<br>", printable("MSH|1\rPID|2\n", "<br>"));
  EXPECT_EQ("A<br>B", printable("A<br>B", "<br>")) << "a line feed already there stays single";
  EXPECT_EQ("AB", printable("A\r\nB", "")) << "an empty line feed drops line ends";
  EXPECT_EQ("", printable("", "\n"));
  EXPECT_EQ("no line ends", printable("no line ends", "\r\n"));
}

TEST(FMTprintable, EveryOtherByteIsKept) {
  std::string all;
  for (int byte = 0; byte < 256; ++byte)
    if (byte != '\r' && byte != '\n') all += static_cast<char>(byte);
  EXPECT_EQ(all + "\n", printable(all + "\r", "\n"));
  const std::string highFeed = "\xFE\xFF";
  EXPECT_EQ("x" + highFeed + "y" + highFeed, printable("x\xFE\xFFy\r", highFeed));
}

TEST(FMTprintable, LongMessagesAreCutWithANotice) {
  EXPECT_EQ("<message output is truncated to 0 bytes from original length of 7 bytes>\n",
            printable("MSH|\rX|", "\n", 0));
  EXPECT_EQ("MSH|\r\nX<message output is truncated to 6 bytes from original length of 8 bytes>\r\n",
            printable("MSH|\rX|Y", "\r\n", 6));
  EXPECT_EQ("MSH|\nX|", printable("MSH|\rX|", "\n", 7)) << "no cut at the exact length";
}

TEST(FMTprintable, LineFeedConvertWritesThePrintableForm) {
  COLstring out;
  COLostream stream(out);
  stream << FMTlineFeedConvert("A\rB\r", "\r\n") << "|" << FMTlineFeedConvert(nullptr, "\n");
  EXPECT_EQ(COLstring("A\r\nB\r\n|"), out);
}
