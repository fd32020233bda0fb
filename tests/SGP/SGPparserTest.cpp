// Header reading and tokenising: delimiter rules, empty values, trailing delimiters, repeats,
// and the results and error contexts of bad headers.
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

std::string value(const SGMsegmentList& list, uint32_t s, uint32_t f, uint32_t r = 0, uint32_t sf = 0,
                  uint32_t ssf = 0) {
  return std::string(list.segment(s).field(f, r).value(sf, ssf).view());
}

// A literal with its embedded NULs.
template <size_t N>
std::string bytes(const char (&text)[N]) {
  return std::string(text, N - 1);
}

std::string name(const SGMsegmentList& list, uint32_t s) { return std::string(list.segment(s).name().view()); }

std::string write(const Parsed& p) {
  COLstring Out;
  SGMappendSegmentList(p.list, p.separators, "\r", Out);
  return Out.str();
}

}  // namespace

TEST(SGPparser, HeaderGivesNameDelimiterFieldAndEncodingCharacters) {
  Parsed p;
  parseInto(p, "MSH|^~\\&|\r");
  ASSERT_EQ(p.result, SGPparsed);
  ASSERT_EQ(p.list.countOfSegment(), 1u);
  EXPECT_EQ(name(p.list, 0), "MSH");
  ASSERT_EQ(p.list.segment(0).countOfField(), 3u);
  EXPECT_EQ(value(p.list, 0, 0), "|");
  EXPECT_EQ(value(p.list, 0, 1), "^~\\&");
  // The field behind the last delimiter is present, holding one empty value.
  const SGMvalue& Empty = p.list.segment(0).field(2, 0).value(0, 0);
  EXPECT_EQ(Empty.length(), 0u);
  EXPECT_FALSE(Empty.isNull());
  EXPECT_EQ(p.separators.fieldDelimiter, '|');
  EXPECT_EQ(p.separators.subFieldDelimiter, '^');
  EXPECT_EQ(p.separators.repeatCharacter, '~');
  EXPECT_EQ(p.separators.escapeCharacter, '\\');
  EXPECT_EQ(p.separators.subSubFieldDelimiter, '&');
}

TEST(SGPparser, EmptyFieldsAndTrailingDelimiters) {
  Parsed p;
  parseInto(p, "MSH|^~\\&|A\rPID|a|\rNTE||B\rZZZ|x^\rZZY|~\r");
  ASSERT_EQ(p.result, SGPparsed);
  ASSERT_EQ(p.list.countOfSegment(), 5u);
  // "PID|a|": two fields, the second one empty but present.
  ASSERT_EQ(p.list.segment(1).countOfField(), 2u);
  EXPECT_EQ(value(p.list, 1, 0), "a");
  EXPECT_EQ(value(p.list, 1, 1), "");
  // "A||B": the empty field still has a value.
  ASSERT_EQ(p.list.segment(2).countOfField(), 2u);
  EXPECT_EQ(p.list.segment(2).field(0, 0).countOfSubField(), 1u);
  EXPECT_EQ(value(p.list, 2, 1), "B");
  // A trailing sub field delimiter makes a second, empty sub field.
  EXPECT_EQ(p.list.segment(3).field(0, 0).countOfSubField(), 2u);
  // A lone repeat character makes two empty repeats.
  EXPECT_EQ(p.list.segment(4).countOfFieldRepeat(0), 2u);
}

TEST(SGPparser, RepeatsSubFieldsAndSubSubFields) {
  Parsed p;
  parseInto(p, "MSH|^~\\&|\rPID|a~b^c&d\r");
  ASSERT_EQ(p.result, SGPparsed);
  const SGMsegment& Pid = p.list.segment(1);
  ASSERT_EQ(Pid.countOfField(), 1u);
  ASSERT_EQ(Pid.countOfFieldRepeat(0), 2u);
  EXPECT_EQ(value(p.list, 1, 0, 0), "a");
  const SGMfield& Second = Pid.field(0, 1);
  ASSERT_EQ(Second.countOfSubField(), 2u);
  EXPECT_EQ(value(p.list, 1, 0, 1, 0), "b");
  ASSERT_EQ(Second.countOfSubSubField(1), 2u);
  EXPECT_EQ(value(p.list, 1, 0, 1, 1, 0), "c");
  EXPECT_EQ(value(p.list, 1, 0, 1, 1, 1), "d");
  // Sub fields that were skipped over still hold one value each.
  parseInto(p, "MSH|^~\\&|\rPID|&&x^^y\r");
  const SGMfield& Field = p.list.segment(1).field(0, 0);
  ASSERT_EQ(Field.countOfSubField(), 3u);
  EXPECT_EQ(Field.countOfSubSubField(0), 3u);
  EXPECT_EQ(Field.countOfSubSubField(1), 1u);
  EXPECT_EQ(value(p.list, 1, 0, 0, 2, 0), "y");
}

TEST(SGPparser, SegmentDelimiters) {
  Parsed p;
  // Two segment delimiters in a row give a segment with an empty name; one trailing gives none.
  parseInto(p, "MSH|^~\\&|A\r\rPID|1\r");
  ASSERT_EQ(p.list.countOfSegment(), 3u);
  EXPECT_EQ(name(p.list, 1), "");
  EXPECT_EQ(p.list.segment(1).countOfField(), 0u);
  EXPECT_EQ(name(p.list, 2), "PID");
  // CR LF is one delimiter; LF alone is data when the segment delimiter is CR.
  parseInto(p, "MSH|^~\\&|A\r\nPID|1\nX\r");
  ASSERT_EQ(p.list.countOfSegment(), 2u);
  EXPECT_EQ(name(p.list, 1), "PID");
  EXPECT_EQ(value(p.list, 1, 0), "1\nX");
  // Without a final delimiter the message ends as if it had one.
  parseInto(p, "MSH|^~\\&|A\rPID|1");
  ASSERT_EQ(p.list.countOfSegment(), 2u);
  EXPECT_EQ(value(p.list, 1, 0), "1");
  EXPECT_EQ(write(p), "MSH|^~\\&|A\rPID|1\r");
}

TEST(SGPparser, DelimiterInNamePositionOverwritesName) {
  Parsed p;
  parseInto(p, "MSH|^~\\&|\rAB~CD|1\rEF^GH|2\r");
  ASSERT_EQ(p.result, SGPparsed);
  EXPECT_EQ(name(p.list, 1), "CD");
  EXPECT_EQ(name(p.list, 2), "GH");
  EXPECT_EQ(value(p.list, 1, 0), "1");
}

TEST(SGPparser, NulStopsTheMessage) {
  Parsed p;
  parseInto(p, bytes("MSH|^~\\&|A\rPID|1\0|2\rOBX|3\r"));
  ASSERT_EQ(p.result, SGPparsed);
  ASSERT_EQ(p.list.countOfSegment(), 2u);
  EXPECT_EQ(p.list.segment(1).countOfField(), 1u);
  EXPECT_EQ(value(p.list, 1, 0), "1");
}

TEST(SGPparser, OddDelimiterSetsComeFromTheHeader) {
  Parsed p;
  parseInto(p, "MSH#!@%*#A!B@C*D%E\r");
  ASSERT_EQ(p.result, SGPparsed);
  EXPECT_EQ(p.separators.fieldDelimiter, '#');
  EXPECT_EQ(p.separators.subFieldDelimiter, '!');
  EXPECT_EQ(p.separators.repeatCharacter, '@');
  EXPECT_EQ(p.separators.escapeCharacter, '%');
  EXPECT_EQ(p.separators.subSubFieldDelimiter, '*');
  const SGMsegment& Msh = p.list.segment(0);
  ASSERT_EQ(Msh.countOfFieldRepeat(2), 2u);
  EXPECT_EQ(value(p.list, 0, 2, 0, 1), "B");
  EXPECT_EQ(value(p.list, 0, 2, 1, 0, 1), "D%E");
  // The default characters are plain data in such a message.
  parseInto(p, "MSH#!@%*#a|b^c~d&e\r");
  EXPECT_EQ(value(p.list, 0, 2), "a|b^c~d&e");
  EXPECT_EQ(write(p), "MSH#!@%*#a|b^c~d&e\r");
}

TEST(SGPparser, ListIsReusedWithoutLeftovers) {
  Parsed p;
  parseInto(p, "MSH|^~\\&|A|B|C~D^E\rPID|1|2|3\rOBX|1\r");
  ASSERT_EQ(p.list.countOfSegment(), 3u);
  parseInto(p, "MSH|^~\\&|X\rPID|9\r");
  ASSERT_EQ(p.list.countOfSegment(), 2u);
  EXPECT_EQ(p.list.segment(0).countOfField(), 3u);
  EXPECT_EQ(p.list.segment(1).countOfField(), 1u);
  EXPECT_EQ(value(p.list, 1, 0), "9");
  EXPECT_EQ(write(p), "MSH|^~\\&|X\rPID|9\r");
}

TEST(SGPparser, BadHeaders) {
  Parsed p;
  // Shorter than the minimum size: the whole text is the context.
  parseInto(p, "MSH|^~\\");
  EXPECT_EQ(p.result, SGPmessageTooShort);
  EXPECT_EQ(p.parser.errorContext().view(), "MSH|^~\\");
  parseInto(p, "");
  EXPECT_EQ(p.result, SGPmessageTooShort);
  // Wrong header name: the first name-length bytes are the context.
  parseInto(p, "PID|^~\\&|1\r");
  EXPECT_EQ(p.result, SGPheaderNotFound);
  EXPECT_EQ(p.parser.errorContext().view(), "PID");
  // A failed parse leaves no segment with an empty name behind.
  EXPECT_EQ(p.list.countOfSegment(), 0u);
  // The second field delimiter is missing.
  parseInto(p, "MSH|^~\\&");
  EXPECT_EQ(p.result, SGPfieldDelimitersNotFound);
  EXPECT_EQ(p.parser.errorContext().view(), "MSH|^~\\&");
  EXPECT_EQ(name(p.list, 0), "MSH");
}

TEST(SGPparser, RepeatedOrNulDelimiters) {
  Parsed p;
  // "|" as field and sub field delimiter: a one-byte context at the first "|".
  parseInto(p, "MSH||~\\&|A\r");
  EXPECT_EQ(p.result, SGPduplicateDelimiter);
  ASSERT_EQ(p.parser.errorContext().length(), 1u);
  EXPECT_EQ(p.parser.errorContext().data(), p.text.data() + 3);
  // Escape character equal to a delimiter.
  parseInto(p, "MSH|^~^&|A\r");
  EXPECT_EQ(p.result, SGPduplicateDelimiter);
  EXPECT_EQ(p.parser.errorContext().data(), p.text.data() + 4);
  // A segment delimiter among the encoding characters is a duplicate too.
  parseInto(p, "MSH|^~\\\r|A\r");
  EXPECT_EQ(p.result, SGPduplicateDelimiter);
  // A disabled escape character skips the escape test.
  SGPparserOptions NoEscape;
  NoEscape.setEscapeCharacter(0, 3);
  parseInto(p, "MSH|^~^&|A\\B\r", NoEscape);
  EXPECT_EQ(p.result, SGPparsed);
  EXPECT_EQ(p.separators.escapeCharacter, 0);
  // NUL bytes as delimiters never end a token and never crash.
  parseInto(p, bytes("MSH|^\0\\&|A~B|C\r"));
  EXPECT_EQ(p.result, SGPparsed);
  EXPECT_EQ(p.separators.repeatCharacter, 0);
  EXPECT_EQ(value(p.list, 0, 2), "A~B");
  // A NUL field delimiter: the NUL bytes frame the encoding characters, and nothing else
  // can end a field.
  parseInto(p, bytes("MSH\0^~\\&\0A|B\r"));
  ASSERT_EQ(p.result, SGPparsed);
  EXPECT_EQ(value(p.list, 0, 1), "^~\\&");
  EXPECT_EQ(value(p.list, 0, 2), "A|B");
  parseInto(p, bytes("MSH\0^~\\&|A\r"));
  EXPECT_EQ(p.result, SGPfieldDelimitersNotFound);
}

TEST(SGPparser, DisabledDelimiterStaysDisabled) {
  SGPparserOptions Options;
  Options.setSubSubFieldDelimiter(0, 4);
  Parsed p;
  parseInto(p, "MSH|^~\\&|a&b^c\r", Options);
  ASSERT_EQ(p.result, SGPparsed);
  EXPECT_EQ(p.separators.subSubFieldDelimiter, 0);
  EXPECT_EQ(value(p.list, 0, 2, 0, 0), "a&b");
  EXPECT_EQ(value(p.list, 0, 2, 0, 1), "c");
}

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

TEST(SGPparser, NonHl7ModeWithFixedDelimitersTokenisesTheWholeMessage) {
  SGPparserOptions Options;
  Options.setHl7Mode(false);
  Options.setHeaderSegmentName("ISA");
  Options.setFieldDelimiter('*', -1);
  Options.setSubFieldDelimiter(':', -1);
  Options.setRepeatCharacter('^', -1);
  Options.setSubSubFieldDelimiter(0, -1);
  Options.setEscapeCharacter(0, -1);
  Options.setSegmentDelimiter('~');
  Parsed p;
  parseInto(p, "ISA*00*A:B~GS*X^Y~\nST*1~", Options);
  ASSERT_EQ(p.result, SGPparsed);
  ASSERT_EQ(p.list.countOfSegment(), 3u);
  EXPECT_EQ(name(p.list, 0), "ISA");
  EXPECT_EQ(value(p.list, 0, 0), "00");
  EXPECT_EQ(value(p.list, 0, 1, 0, 1), "B");
  EXPECT_EQ(p.list.segment(1).countOfFieldRepeat(0), 2u);
  EXPECT_EQ(name(p.list, 2), "ST");  // the LF behind "~" belongs to the delimiter
  COLstring Out;
  SGMappendSegmentList(p.list, p.separators, "~", Out);
  EXPECT_EQ(Out, "ISA*00*A:B~GS*X^Y~ST*1~");
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
  EXPECT_EQ(value(p.list, 1, 1), "end");
  EXPECT_EQ(write(p), Text);
}
