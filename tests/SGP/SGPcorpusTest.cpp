// Real messages: odd delimiter sets, Z segments, escapes left untouched by the tokeniser, a
// BOM in front of the header, a header with only three encoding characters; each must come
// back byte for byte when written out again.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

#include "SGMoutput.h"
#include "SGPparser.h"

namespace {

std::string readMessage(const char* name) {
  const std::string Path = std::string(MSGBRIDGE_SOURCE_DIR) + "/tests/data/SGP/" + name;
  std::ifstream In(Path, std::ios::binary);
  EXPECT_TRUE(In.good()) << Path;
  std::ostringstream Text;
  Text << In.rdbuf();
  return Text.str();
}

struct Tokenised {
  std::string text;
  SGMsegmentList list;
  SGMseparatorCharacters separators;
  SGPparser parser;
  SGPparseResult result = SGPparsed;

  explicit Tokenised(std::string message) : text(std::move(message)) {
    result = parser.parse(text.data(), text.size(), list, separators, SGPparserOptions());
  }
  std::string written() const {
    COLstring Out;
    SGMappendSegmentList(list, separators, "\r", Out);
    return Out.str();
  }
  std::string value(uint32_t s, uint32_t f, uint32_t r = 0, uint32_t sf = 0, uint32_t ssf = 0) const {
    return std::string(list.segment(s).field(f, r).value(sf, ssf).view());
  }
};

}  // namespace

TEST(SGPcorpus, RoundTripsAreByteExact) {
  for (const char* Name :
       {"rethink_adt_a01_custom_delimiters.hl7", "pyhl7_nonstandard_separators.hl7",
        "hapi_adt_a24_caret_field_separator.hl7", "nhapi_mdm_t02_v231_hex_escapes.hl7",
        "hapi_oru_r01_v24_highlight_escapes.hl7", "rethink_adt_a01_z_segments.hl7",
        "rethink_adt_a01_all_five_escapes.hl7", "cdc_oru_r01_v251_daart_t_escape.hl7",
        "mirth_simplesender_adt_a01_v231.hl7"}) {
    Tokenised Message(readMessage(Name));
    ASSERT_EQ(Message.result, SGPparsed) << Name;
    EXPECT_EQ(Message.written(), Message.text) << Name;
  }
}

TEST(SGPcorpus, CustomDelimitersAreTakenFromTheHeader) {
  Tokenised Message(readMessage("rethink_adt_a01_custom_delimiters.hl7"));
  ASSERT_EQ(Message.result, SGPparsed);
  EXPECT_EQ(Message.separators.fieldDelimiter, '#');
  EXPECT_EQ(Message.separators.subFieldDelimiter, '!');
  EXPECT_EQ(Message.separators.repeatCharacter, '@');
  EXPECT_EQ(Message.separators.subSubFieldDelimiter, '*');
  // MSH-9 "ADT!A01" is API field 8 with two sub fields.
  EXPECT_EQ(Message.value(0, 8, 0, 0), "ADT");
  EXPECT_EQ(Message.value(0, 8, 0, 1), "A01");
  // PID "12345!!!MRN": sub fields 0 and 3 filled, 1 and 2 empty.
  EXPECT_EQ(Message.value(1, 2, 0, 3), "MRN");
  EXPECT_EQ(Message.value(1, 2, 0, 1), "");

  Tokenised Caret(readMessage("hapi_adt_a24_caret_field_separator.hl7"));
  ASSERT_EQ(Caret.result, SGPparsed);
  EXPECT_EQ(Caret.separators.fieldDelimiter, '^');
  EXPECT_EQ(Caret.separators.repeatCharacter, '|');
  EXPECT_EQ(Caret.value(0, 8, 0, 1), "A24");  // "ADT~A24"
  // "11111~~~FOO&&0363~NI~FACILITY ID&200M&L": "~" separates sub fields here.
  EXPECT_EQ(Caret.list.segment(2).field(2, 0).countOfSubField(), 6u);
  EXPECT_EQ(Caret.value(2, 2, 0, 5, 1), "200M");
}

TEST(SGPcorpus, ZSegmentsAreOrdinarySegments) {
  Tokenised Message(readMessage("rethink_adt_a01_z_segments.hl7"));
  ASSERT_EQ(Message.result, SGPparsed);
  ASSERT_GE(Message.list.countOfSegment(), 4u);
  EXPECT_EQ(Message.list.segment(2).name().view(), "ZVN");
  EXPECT_EQ(Message.value(2, 2, 0, 2), "VALUE3");
  EXPECT_EQ(Message.list.segment(3).countOfField(), 5u);
}

TEST(SGPcorpus, EscapesAreLeftForLater) {
  Tokenised Message(readMessage("rethink_adt_a01_all_five_escapes.hl7"));
  ASSERT_EQ(Message.result, SGPparsed);
  EXPECT_EQ(Message.value(1, 4, 0, 0), "DOE\\T\\SMITH");
  Tokenised Hex(readMessage("nhapi_mdm_t02_v231_hex_escapes.hl7"));
  ASSERT_EQ(Hex.result, SGPparsed);
  EXPECT_NE(Hex.value(1, 4).find("\\X0D\\"), std::string::npos);
}

TEST(SGPcorpus, ByteOrderMarkIsNotAHeader) {
  const std::string Text = readMessage("cdc_oru_r01_v251_genv2_utf8_bom.hl7");
  Tokenised Message(Text);
  EXPECT_EQ(Message.result, SGPheaderNotFound);
  EXPECT_EQ(Message.parser.errorContext().view(), "\xEF\xBB\xBF");
  // Behind the mark the message is whole.
  Tokenised Stripped(Text.substr(3));
  ASSERT_EQ(Stripped.result, SGPparsed);
  EXPECT_EQ(Stripped.list.countOfSegment(), 44u);
  EXPECT_EQ(Stripped.written(), Text.substr(3));
}

TEST(SGPcorpus, ThreeEncodingCharactersCollideWithTheFieldDelimiter) {
  // "MSH|^~}|": the sub sub field position holds "|", the field delimiter.
  Tokenised Message(readMessage("hapi_npac_bar_p01_three_enc_chars.hl7"));
  EXPECT_EQ(Message.result, SGPduplicateDelimiter);
  EXPECT_EQ(Message.parser.errorContext().data(), Message.text.data() + 3);
}

TEST(SGPcorpus, X12WithFixedDelimiters) {
  // An 850 purchase order: "*" elements, ">" components, "~" plus LF ending each segment.
  const std::string Text = readMessage("nodex12_850_4010.x12");
  SGPparserOptions Options;
  Options.setHl7Mode(false);
  Options.setHeaderSegmentName("ISA");
  Options.setFieldDelimiter('*', -1);
  Options.setSubFieldDelimiter('>', -1);
  Options.setRepeatCharacter(0, -1);
  Options.setSubSubFieldDelimiter(0, -1);
  Options.setEscapeCharacter(0, -1);
  Options.setSegmentDelimiter('~');
  SGMsegmentList List;
  SGMseparatorCharacters Separators;
  SGPparser Parser;
  ASSERT_EQ(Parser.parse(Text.data(), Text.size(), List, Separators, Options), SGPparsed);
  EXPECT_EQ(List.segment(0).name().view(), "ISA");
  EXPECT_EQ(List.segment(0).countOfField(), 16u);
  EXPECT_EQ(List.segment(1).name().view(), "GS");
  EXPECT_EQ(List.segment(List.countOfSegment() - 1).name().view(), "IEA");
  COLstring Out;
  SGMappendSegmentList(List, Separators, "~\n", Out);
  // The last segment has no LF behind its terminator.
  EXPECT_EQ(Out.str(), Text + "\n");
}
