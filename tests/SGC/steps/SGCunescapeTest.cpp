// Unescaping a segment into the string pool, and the escape fault with its whole report.
#include "SGCtestSupport.h"
#include "SGCunescape.h"

using SGCtest::Definition;
using SGCtest::Message;
using SGCtest::Parameters;
using SGCtest::Report;

namespace {

// What the escaper itself says of a bad text.
std::string escapeFault(const std::string& text) {
  SCCescaper Escaper;
  COLstring Ignored;
  try {
    Escaper.unescapeStringWithSize(Ignored, text.data(), text.size(), true);
  } catch (const COLerror& Error) {
    return Error.description().str();
  }
  ADD_FAILURE() << "no escape fault in " << text;
  return "";
}

bool pointsInto(const SGMvalue& value, const std::string& text) {
  return value.data() >= text.data() && value.data() + value.length() <= text.data() + text.size();
}

// Unescapes segment 1 strictly into a pool and reports the first fault.
Report unescapeReport(const Definition& definition, const Message& parsed, SGMstringPool& pool,
                      size_t expectedCount = 1) {
  SCCescaper Escaper;
  SGCerrorList Errors;
  SGCunescapeSegment(Escaper, false, true, parsed.segment(1), 1, definition.Pid, &pool, Errors, true);
  EXPECT_EQ(Errors.size(), expectedCount);
  return Definition::reportOf(parsed.segment(1), parsed.Separators, Errors);
}

}  // namespace

TEST(SGCunescape, EveryEscapeKindLandsInThePool) {
  Definition Def;
  Message Parsed("PID|a\\F\\b|x\\S\\y^p\\T\\q&r\\R\\s~t\\E\\u|\\X41\\|plain|\\H\\bold\\N\\|\\.br\\");
  SGMsegment& Segment = Parsed.segment(1);
  SGMstringPool Pool;
  SCCescaper Escaper;
  SGCerrorList Errors;
  SGCunescapeSegment(Escaper, false, true, Segment, 1, Def.Pid, &Pool, Errors, true);
  EXPECT_TRUE(Errors.empty());
  const struct {
    unsigned Field, Repeat, SubField, SubSubField;
    const char* Plain;
  } Cases[] = {
      {0, 0, 0, 0, "a|b"},          {1, 0, 0, 0, "x^y"},   {1, 0, 1, 0, "p&q"},
      {1, 0, 1, 1, "r~s"},          {1, 1, 0, 0, "t\\u"},  {2, 0, 0, 0, "A"},
      {4, 0, 0, 0, "\\H\\bold\\N\\"}, {5, 0, 0, 0, "\\.br\\"},
  };
  for (const auto& Case : Cases) {
    const SGMvalue& Value = Segment.field(Case.Field, Case.Repeat).value(Case.SubField, Case.SubSubField);
    EXPECT_EQ(Value.view(), Case.Plain) << Case.Field;
    EXPECT_TRUE(Pool.hasString(Value.data())) << Case.Field;
    EXPECT_FALSE(pointsInto(Value, Parsed.Text)) << Case.Field;
  }
  EXPECT_EQ(Pool.countOfString(), 8u);
  // A value without escapes still points into the message.
  const SGMvalue& Plain = Segment.field(3, 0).value(0, 0);
  EXPECT_EQ(Plain.view(), "plain");
  EXPECT_TRUE(pointsInto(Plain, Parsed.Text));
  // The message text itself is never written.
  EXPECT_NE(Parsed.Text.find("a\\F\\b"), std::string::npos);
}

TEST(SGCunescape, HeaderDelimitersAreNotEscapedText) {
  Definition Def;
  Message Parsed("MSH|^~\\&|A\\F\\B", true);
  SGMsegment& Header = Parsed.segment(0);
  SGMstringPool Pool;
  SCCescaper Escaper;
  SGCerrorList Errors;
  SGCunescapeSegment(Escaper, true, true, Header, 0, Def.Msh, &Pool, Errors, true);
  EXPECT_TRUE(Errors.empty());
  EXPECT_EQ(Header.field(1, 0).value(0, 0).view(), "^~\\&");
  EXPECT_EQ(Header.field(2, 0).value(0, 0).view(), "A|B");
  // Outside HL7 mode the encoding characters are read as text, and their lone escape
  // character is a fault.
  SGCtryUnescapeSegment(Escaper, true, false, Header, 0, Def.Msh, Errors);
  ASSERT_EQ(Errors.size(), 1u);
  EXPECT_EQ(Errors[0].fieldIndex(), 1u);
}

TEST(SGCunescape, TryingAndLenientModesChangeNothing) {
  Definition Def;
  Message Parsed("PID|a\\F\\b|x\\Q\\y");
  SGMsegment& Segment = Parsed.segment(1);
  SCCescaper Escaper;
  SGCerrorList Errors;
  SGCtryUnescapeSegment(Escaper, false, true, Segment, 1, Def.Pid, Errors);
  EXPECT_EQ(Errors.size(), 1u);
  EXPECT_EQ(Segment.field(0, 0).value(0, 0).view(), "a\\F\\b");
  EXPECT_TRUE(pointsInto(Segment.field(0, 0).value(0, 0), Parsed.Text));

  // Not strict: the bad sequence stays as data and no fault is raised.
  SGMstringPool Pool;
  Errors.clear();
  SGCunescapeSegment(Escaper, false, true, Segment, 1, Def.Pid, &Pool, Errors, false);
  EXPECT_TRUE(Errors.empty());
  EXPECT_EQ(Segment.field(0, 0).value(0, 0).view(), "a|b");
  EXPECT_EQ(Segment.field(1, 0).value(0, 0).view(), "x\\Q\\y");
}

TEST(SGCunescape, EscapeFaultNamesEveryLevelTheGrammarKnows) {
  Definition Def;
  Message Parsed("PID|1|123^^^A\\Q\\B|DOE");
  SGMstringPool Pool;
  const Report Result = unescapeReport(Def, Parsed, Pool);
  EXPECT_EQ(Result.Text, "Segment PID failed validation:\n"
                         "Sub sub field 1 'Namespace ID' of sub field 4 'Authority' of field 2 'Patient ID' "
                         "has an escape sequence error : " + escapeFault("A\\Q\\B") + "\n"
                         "PID|1|123^^^A\\Q\\B|DOE\n" + std::string(12, ' ') + "^^^^^");
  EXPECT_EQ(Result.Code, 0x80002003u);
  EXPECT_EQ(Result.Values, (Parameters{{"SegmentGrammarName", "PID"},
                                       {"FieldName", "Patient ID"},
                                       {"FieldIndex", "2"},
                                       {"FieldRepeatIndex", "0"},
                                       {"SubFieldIndex", "4"},
                                       {"SubFieldName", "Authority"},
                                       {"SubSubFieldIndex", "1"},
                                       {"SubSubFieldName", "Namespace ID"},
                                       {"SegmentGrammarErrorDescription", "Bad Escape Sequence"},
                                       {"SegmentGrammarErrorCode", "8"}}));
  // The faulty value keeps its raw bytes.
  EXPECT_EQ(Parsed.segment(1).field(1, 0).value(3, 0).view(), "A\\Q\\B");
}

TEST(SGCunescape, EscapeFaultFallsBackToNumbers) {
  Definition Def;
  const std::string Bad = "\\Q\\";
  const struct {
    std::string Segment;
    std::string Words;
    Parameters Values;
  } Cases[] = {
      // A field that wraps one value: its sub field is not named.
      {"PID|1|123|D" + Bad + "E",
       "Field 3 'Name' has an escape sequence error : " + escapeFault("D" + Bad + "E"),
       {{"FieldName", "Name"}, {"FieldIndex", "3"}, {"SubFieldIndex", "1"}, {"SubSubFieldIndex", "1"}}},
      // A second sub field the grammar does not have is counted.
      {"PID|1|123|DOE||||a^b" + Bad,
       "Sub field 2 of field 7 'Comment' has an escape sequence error : " + escapeFault("b" + Bad),
       {{"FieldName", "Comment"}, {"FieldIndex", "7"}, {"SubFieldIndex", "2"}, {"SubSubFieldIndex", "1"}}},
      // The repeat is named after the field.
      {"PID|1|123|DOE||||ok~a" + Bad,
       "Field 7 'Comment' (repeat 1) has an escape sequence error : " + escapeFault("a" + Bad),
       {{"FieldName", "Comment"}, {"FieldIndex", "7"}, {"SubFieldIndex", "1"}, {"SubSubFieldIndex", "1"}}},
      // A field beyond the grammar: the fallback text gets the capital letter too.
      {"PID" + std::string(41, '|') + Bad, "Field 41 has an escape sequence error : " + escapeFault(Bad),
       {{"FieldIndex", "41"}, {"SubFieldIndex", "1"}, {"SubSubFieldIndex", "1"}}},
  };
  for (const auto& Case : Cases) {
    Message Parsed(Case.Segment);
    SGMstringPool Pool;
    const Report Result = unescapeReport(Def, Parsed, Pool);
    const std::string Head = "Segment PID failed validation:\n" + Case.Words + "\n";
    EXPECT_EQ(Result.Text.substr(0, Head.size()), Head) << Case.Segment;
    Parameters Expected = Case.Values;
    Expected["SegmentGrammarName"] = "PID";
    Expected["FieldRepeatIndex"] = Case.Words.find("(repeat 1)") != std::string::npos ? "1" : "0";
    Expected["SegmentGrammarErrorDescription"] = "Bad Escape Sequence";
    Expected["SegmentGrammarErrorCode"] = "8";
    EXPECT_EQ(Result.Values, Expected) << Case.Segment;
  }
}

TEST(SGCunescape, EscapeFaultContextCoversItsSubField) {
  Definition Def;
  Message Parsed("PID|1|123|DOE||||a^x&b\\Q\\");
  SGMstringPool Pool;
  const Report Result = unescapeReport(Def, Parsed, Pool);
  // The carets run from the faulty value to the end of its sub field.
  const std::string Picture = "PID|1|123|DOE||||a^x&b\\Q\\\n" + std::string(21, ' ') + std::string(4, '^');
  ASSERT_GE(Result.Text.size(), Picture.size());
  EXPECT_EQ(Result.Text.substr(Result.Text.size() - Picture.size()), Picture);
  EXPECT_NE(Result.Text.find("Sub sub field 2 of sub field 2 of field 7 'Comment'"), std::string::npos);
}
