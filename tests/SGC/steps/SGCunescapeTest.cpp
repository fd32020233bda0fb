// Unescaping a segment into the string pool; the escape faults' reports are in
// tests/data/SGC/unescape.test.
#include "SGCtestSupport.h"
#include "SGCunescape.h"

using SGCtest::Definition;
using SGCtest::Message;

namespace {

bool pointsInto(const SGMvalue& value, const std::string& text) {
  return value.data() >= text.data() && value.data() + value.length() <= text.data() + text.size();
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
