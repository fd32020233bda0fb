// The parser's options, the tokeniser's delimiter table and a very large field; the message
// cases are in tests/data/SGP/parse.test.
#include <gtest/gtest.h>

#include <string>

#include "COLerror.h"
#include "SGMoutput.h"
#include "SGPparser.h"

#include "../support/TSTraised.h"

namespace {

struct Parsed {
  std::string text;  // kept alive: values point into it
  SGMsegmentList list;
  SGMseparatorCharacters separators;
  SGPparser parser;
  SGPparseResult result = SGPparsed;
};

void parseInto(Parsed& p, const std::string& text, const SGPparserOptions& options = SGPparserOptions()) {
  p.text = text;
  p.result = p.parser.parse(p.text.data(), p.text.size(), p.list, p.separators, options);
}

}  // namespace

TEST(SGPparser, OptionsAreValidated) {
  SGPparserOptions Options;
  EXPECT_EQ(SGPparserOptionsMinMessageSize(Options), 8u);
  Options.setSubFieldDelimiter(0, 1);
  COLstring Problem;
  COLostream Stream(Problem);
  EXPECT_FALSE(SGPparserOptionsValidate(Options, Stream));
  EXPECT_EQ(Problem, "When parsing HL7 data and disabling the subfield delimiter, the sub-sub field delimiter must "
                     "also be disabled");
  Parsed p;
  const COLerror Error = TSTraised([&] { parseInto(p, "MSH|^~\\&|A\r", Options); });
  EXPECT_EQ(Error.code(), 0x80000100u);
  EXPECT_TRUE(Error.description().startsWith("Error with parsing options while parsing header: When parsing"));
  SGPparserOptions NoName;
  NoName.setHeaderSegmentName("");
  EXPECT_THROW(parseInto(p, "MSH|^~\\&|A\r", NoName), COLerror);
}

TEST(SGPtokenizer, SetDelimiterMovesBytesBetweenTokens) {
  SGPtokenizer Tokenizer;
  Tokenizer.setDelimiter(SGPtokenField, '^');
  EXPECT_EQ(Tokenizer.kindOf('^'), SGPtokenField);
  EXPECT_EQ(Tokenizer.kindOf('|'), SGPtokenData);
  EXPECT_EQ(Tokenizer.delimiter(SGPtokenSubField), 0);  // it lost its byte
  Tokenizer.setDelimiter(SGPtokenRepeat, 0);
  EXPECT_EQ(Tokenizer.kindOf('~'), SGPtokenData);
  EXPECT_EQ(Tokenizer.kindOf(0), SGPtokenEndOfInput);
  const char* Text = "ab^\r\nc";
  size_t Length = 6;
  EXPECT_EQ(Tokenizer.nextToken(&Text, &Length), SGPtokenData);
  EXPECT_EQ(Length, 4u);
  EXPECT_EQ(Tokenizer.nextToken(&Text, &Length), SGPtokenField);
  EXPECT_EQ(Tokenizer.nextToken(&Text, &Length), SGPtokenSegment);
  EXPECT_EQ(Length, 1u);
}

TEST(SGPparser, TenMegabyteFieldIsOneValue) {
  std::string Text = "MSH|^~\\&|A\rOBX|";
  const size_t Big = 10u << 20;
  Text.append(Big, 'x');
  Text += "|end\r";
  Parsed p;
  parseInto(p, Text);
  ASSERT_EQ(p.result, SGPparsed);
  EXPECT_EQ(p.list.segment(1).field(0, 0).value(0, 0).length(), Big);
  EXPECT_EQ(p.list.segment(1).field(1, 0).value(0, 0).view(), "end");
  COLstring Out;
  SGMappendSegmentList(p.list, p.separators, "\r", Out);
  EXPECT_EQ(Out.str(), Text);
}
