#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>

#include "COLerror.h"
#include "COLstring.h"
#include "XMLexpatAnsiParser.h"
#include "XMLiosFilter.h"

#include "../support/TSTraised.h"
#include "../support/TSTsteps.h"

namespace {

template <class Filter, class... Args>
COLstring filtered(std::string_view input, Args... args) {
  COLstring Out;
  Filter F(&Out, args...);
  F.write(input.data(), input.size());
  return Out;
}

// The filters as step cases (tests/support/TSTsteps.h), tests/data/XML/filters.test; the 8-bit
// filter's every byte and long texts stay here.
//   filter tag C | xmlname | data | utf8 | null | attr | attrhigh | question (a filter anew)
//   write BYTES | delim C (the tag filter's delimiter) | out -> all written | blank -> yes|no
class Filters : public TSTstepModel {
  // Escapes what the table leaves to the hook as "?".
  struct Question : XMLiosDataFilter {
    using XMLiosDataFilter::XMLiosDataFilter;
    void onDefaultEscape(char, COLsink& sink) override { sink.write("?", 1); }
  };

  std::string step() override {
    const std::string& Verb = word(0);
    if (Verb == "filter") {
      Out.clear();
      const std::string& Kind = word(1);
      if (Kind == "tag") Filter = std::make_unique<XMLiosTagFilter>(&Out, word(2)[0]);
      else if (Kind == "xmlname") Filter = std::make_unique<XMLiosTagFilterXmlName>(&Out);
      else if (Kind == "data") Filter = std::make_unique<XMLiosDataFilter>(&Out);
      else if (Kind == "utf8") Filter = std::make_unique<XMLiosUtf8DataFilter>(&Out);
      else if (Kind == "question") Filter = std::make_unique<Question>(&Out);
      else if (Kind == "attr" || Kind == "attrhigh") Filter = std::make_unique<XMLiosAttributeDataFilter>(&Out, Kind == "attrhigh");
      else unknown();
      return "";
    }
    if (Verb == "write") return Filter->write(word(1).data(), word(1).size()), "";
    if (Verb == "delim") return dynamic_cast<XMLiosTagFilter&>(*Filter).setXmlDelimiter(word(1)[0]), "";
    if (Verb == "blank") return dynamic_cast<XMLiosAttributeDataFilter&>(*Filter).spaceSeen() ? "yes" : "no";
    if (Verb == "out") return Out.str();
    unknown();
  }

  COLstring Out;
  std::unique_ptr<XMLiosFilter> Filter;
};

class XMLiosFilterData : public ::testing::TestWithParam<TSTdataCase> {};

TEST_P(XMLiosFilterData, Steps) {
  TSTrunSteps(GetParam(), [] { return std::make_unique<Filters>(); });
}

INSTANTIATE_TEST_SUITE_P(Cases, XMLiosFilterData, ::testing::ValuesIn(TSTreadDataFile("XML/filters.test")),
                         TSTdataParamName);

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

}  // namespace
