#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "COLerror.h"
#include "COLstring.h"
#include "XMLexpatAnsiParser.h"
#include "XMLiosFilter.h"

#include "../support/TSTraised.h"

namespace {

template <class Filter, class... Args>
COLstring filtered(std::string_view input, Args... args) {
  COLstring Out;
  Filter F(&Out, args...);
  F.write(input.data(), input.size());
  return Out;
}

TEST(XMLiosTagFilter, KeepsNameCharactersAndDropsTheRest) {
  EXPECT_EQ(filtered<XMLiosTagFilter>("a b:c;d", '.'), "ab_c_d");
  EXPECT_EQ(filtered<XMLiosTagFilter>("Seg_1.2", '|'), "Seg_1.2");
  EXPECT_EQ(filtered<XMLiosTagFilter>("PID.3", '.'), "PID3");
  EXPECT_EQ(filtered<XMLiosTagFilter>("x\xC3\xA9-<>&\"y", '.'), "xy");
}

TEST(XMLiosTagFilter, ChangingTheDelimiterRestoresTheOldOne) {
  COLstring Out;
  XMLiosTagFilter F(&Out, '.');
  F.setXmlDelimiter('_');
  F.write("a.b_c", 5);
  EXPECT_EQ(Out, "a.bc");
  // A delimiter that is no name character stays dropped once it is given up.
  F.setXmlDelimiter('|');
  F.setXmlDelimiter('.');
  F.write("|_", 2);
  EXPECT_EQ(Out, "a.bc_");
}

TEST(XMLiosTagFilter, XmlNameFilterKeepsEveryNameCharacter) {
  EXPECT_EQ(filtered<XMLiosTagFilterXmlName>("ns:a-b.c\xC3\xA9 <"), "ns:a-b.c\xC3\xA9");
}

TEST(XMLiosDataFilter, EscapesMarkupAndControlBytes) {
  EXPECT_EQ(filtered<XMLiosDataFilter>("a<b>&c\"d'e"), "a&lt;b&gt;&amp;c&quot;d&apos;e");
  EXPECT_EQ(filtered<XMLiosDataFilter>(std::string_view("\t\n\r\x7F\xFF\0", 6)), "&#x09;&#x0A;&#x0D;&#x7F;&#xFF;&#x00;");
  EXPECT_EQ(filtered<XMLiosDataFilter>(""), "");
}

TEST(XMLiosDataFilter, Utf8FilterKeepsMultiByteText) {
  EXPECT_EQ(filtered<XMLiosUtf8DataFilter>("\xC3\xA9\t<\r"), "\xC3\xA9&#x09;&lt;&#x0D;");
}

// 8-bit message text must come out as UTF-8 (so that a reader without a declaration takes it),
// ASCII exactly as the null filter has always written it, and nothing XML cannot hold.
TEST(XMLiosLatin1DataFilter, HighBytesBecomeUtf8AndAsciiStaysAsTheNullFilterWritesIt) {
  std::string Ascii = "\t\n\r";
  for (int Byte = 32; Byte < 128; ++Byte) Ascii += static_cast<char>(Byte);
  EXPECT_EQ(filtered<XMLiosLatin1DataFilter>(Ascii), filtered<XMLiosNullDataFilter>(Ascii));
  EXPECT_EQ(filtered<XMLiosLatin1DataFilter>("M\xDCLLER \x80\xBF\xC0\xFF<"), "M\xC3\x9CLLER \xC2\x80\xC2\xBF\xC3\x80\xC3\xBF&lt;");

  std::string High;
  for (int Byte = 128; Byte < 256; ++Byte) High += static_cast<char>(Byte);
  const COLstring Written = filtered<XMLiosLatin1DataFilter>(High);
  EXPECT_EQ(Written.size(), 2 * High.size());
  // Every byte is its own Latin-1 character: decoding the UTF-8 gives the bytes back.
  EXPECT_EQ(XMLexpatAnsiParser::utf8ToAnsiColString(Written.data(), Written.data() + Written.size()).str(), High);
  // The hook does the same for a byte handed to it alone.
  COLstring Out;
  XMLiosLatin1DataFilter F(&Out);
  F.onDefaultEscape('\xE9', Out);
  F.onDefaultEscape('\t', Out);
  EXPECT_EQ(Out, "\xC3\xA9\t");
}

TEST(XMLiosLatin1DataFilter, ControlBytesXmlCannotHoldAreRefusedByNumber) {
  for (int Byte = 0; Byte < 32; ++Byte) {
    if (Byte == '\t' || Byte == '\n' || Byte == '\r') continue;
    const std::string Input = std::string("ab") + static_cast<char>(Byte) + "c";
    const COLerror Error = TSTraised([&] { filtered<XMLiosLatin1DataFilter>(Input); });
    char Expected[8];
    std::snprintf(Expected, sizeof Expected, "0x%02X", Byte);
    EXPECT_EQ(Error.code(), 0x80000100u);
    EXPECT_NE(Error.description().find(Expected), COLstring::npos) << Error.description().c_str();
    EXPECT_FALSE(XMLiosLatin1DataFilter::isWritable(static_cast<unsigned char>(Byte)));
  }
  COLstring Out;
  XMLiosLatin1DataFilter F(&Out);
  EXPECT_NE(TSTraised([&] { F.onDefaultEscape('\x1B', Out); }).description().find("0x1B"), COLstring::npos);
  EXPECT_TRUE(XMLiosLatin1DataFilter::isWritable('\r'));
  EXPECT_TRUE(XMLiosLatin1DataFilter::isWritable(0x7F));
}

TEST(XMLiosDataFilter, OnDefaultEscapeIsTheHookForOtherEscapes) {
  struct Question : XMLiosDataFilter {
    using XMLiosDataFilter::XMLiosDataFilter;
    void onDefaultEscape(char, COLsink& sink) override { sink.write("?", 1); }
  };
  EXPECT_EQ(filtered<Question>("a\tb\xE9&"), "a?b?&amp;");
}

TEST(XMLiosDataFilter, LongTextPassesWhole) {
  // Longer than the filter's gathering buffer, with escapes on both sides of its edge.
  std::string Input;
  std::string Expected;
  for (int Index = 0; Index < 2000; ++Index) {
    Input += Index % 7 ? 'x' : '<';
    Expected += Index % 7 ? "x" : "&lt;";
  }
  EXPECT_EQ(filtered<XMLiosDataFilter>(Input).str(), Expected);
}

TEST(XMLiosAttributeDataFilter, BlanksAfterBlanksAreWrittenByNumber) {
  EXPECT_EQ(filtered<XMLiosAttributeDataFilter>("a  b"), "a &#x20;b");
  EXPECT_EQ(filtered<XMLiosAttributeDataFilter>("a   b c"), "a &#x20;&#x20;b c");
  EXPECT_EQ(filtered<XMLiosAttributeDataFilter>("a > b"), "a > b");
  // An escaped byte does not end a run of blanks.
  EXPECT_EQ(filtered<XMLiosAttributeDataFilter>(" & "), " &amp;&#x20;");
}

TEST(XMLiosAttributeDataFilter, EscapesQuotesLineEndsAndHighBytes) {
  EXPECT_EQ(filtered<XMLiosAttributeDataFilter>("'\"<&\t\n\r\xE9\x01"), "&apos;&quot;&lt;&amp;&#x09;&#x0A;&#x0D;&#xE9;\x01");
  EXPECT_EQ(filtered<XMLiosAttributeDataFilter>("\xC3\xA9\t", true), "\xC3\xA9&#x09;");
}

TEST(XMLiosAttributeDataFilter, BlankRuleCarriesAcrossWrites) {
  COLstring Out;
  XMLiosAttributeDataFilter F(&Out);
  F.write("a ", 2);
  F.write(" b", 2);
  EXPECT_EQ(Out, "a &#x20;b");
  EXPECT_FALSE(F.spaceSeen());
}

}  // namespace
