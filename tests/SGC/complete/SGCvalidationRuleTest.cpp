// Validation rules against a tokenised segment, past what tests/data/SGC/rules.test shows: a
// script's own fault, the prepared error of a script rule, and segment equations.
#include "LAGenvironment.h"
#include "LANfunction.h"
#include "QVMengineInternal.h"
#include "SCCprepareError.h"
#include "SGCtestSupport.h"
#include "SGCvalidationRule.h"

using SGCtest::Definition;
using SGCtest::Message;
using SGCtest::Parameters;
using SGCtest::parametersOf;

namespace {

class SGCvalidationRuleTest : public ::testing::Test {
protected:
  // The error the rule raises on segment 1 of the message; code 0 when it passes.
  COLerror run(QVMsegmentValidationRule& rule, const std::string& segment) {
    Message Parsed(segment);
    try {
      SGCdoSegmentValidationRule(rule, COLreferencePtr<SGMstringPool>(new SGMstringPool),
                                 Parsed.List.segmentReference(1), Engine);
    } catch (const COLerror& Error) {
      return Error;
    }
    return COLerror("", 0);
  }

  // The engine goes last: script rules of the definition hold its interpreter.
  QVMengineInternal Engine;
  Definition Def;
};

Parameters ruleParameters(const char* id, const char* className, const char* ruleName, const char* fieldIndex,
                          const char* fieldName) {
  return {{"ValidationRuleClassId", id},    {"ValidationRuleClassName", className},
          {"ValidationRuleName", ruleName}, {"FieldIndex", fieldIndex},
          {"FieldName", fieldName},         {"MessageSegmentName", "PID"}};
}

}  // namespace

// What each kind passes and the reports it raises are in tests/data/SGC/rules.test; a script's
// own fault carries a traceback, so only its head is pinned.
TEST_F(SGCvalidationRuleTest, ScriptFaultNamesTheRuleAndKeepsTheTraceback) {
  auto& Rule = static_cast<QVMsegmentValidationRulePython&>(*Def.Pid.addValidationRule(2, 3));
  Rule.setDescription("Name must be known");
  Rule.setLanguageEngine(&Engine.LanguageEngine());
  // A field beyond the segment is None.
  Rule.setCode("validation_field.value\n");
  const COLerror Fault = run(Rule, "PID|1|123");
  EXPECT_EQ(Fault.code(), 0x80000100u);
  EXPECT_NE(Fault.description().find("The Python Validation Rule 'Name must be known' on field 3 'Name' of segment "
                                     "PID failed in its script:"),
            COLstring::npos)
      << Fault.description().str();
  EXPECT_NE(Fault.description().find("AttributeError"), COLstring::npos) << Fault.description().str();
}

TEST_F(SGCvalidationRuleTest, ScriptFaultKeepsItsTextAndGainsTheRule) {
  auto& Rule = static_cast<QVMsegmentValidationRulePython&>(*Def.Pid.addValidationRule(2, 3));
  Rule.setDescription("Name check");
  COLerror Caught("Name is on the blocked list", 0x80001234);
  Caught.setParameter("Detail", "DOE");
  COLerror Result("", 0);
  SCCprepareErrorPython(Rule, Caught, Result);
  EXPECT_EQ(Result.description(), "Name is on the blocked list");
  EXPECT_EQ(Result.code(), 0x80001234u);
  Parameters Expected = ruleParameters("3", "Python Validation Rule", "Name check", "3", "Name");
  Expected["Detail"] = "DOE";
  EXPECT_EQ(parametersOf(Result), Expected);
}

TEST(SGCsegmentEquation, RaisesTheFieldCountRunsTheScriptAndNamesItsFault) {
  const std::string Text = "MSH|^~\\&|A\rPID|1\r";
  COLreferencePtr<SGMsegmentList> List(new SGMsegmentList);
  SGMseparatorCharacters Separators;
  SGPparser Parser;
  ASSERT_EQ(Parser.parse(Text.data(), Text.size(), *List, Separators, SGPparserOptions()), SGPparsed);
  COLreferencePtr<SGMstringPool> Pool(new SGMstringPool);
  QVMengineInternal Engine;
  LAGenvironment Environment;
  Environment.setEngine(&Engine);

  LANfunction Empty;
  SGCexecuteOneSegmentEquation(Empty, Pool, List, 1, 4, Environment);
  EXPECT_EQ(List->segment(1).countOfField(), 5u);
  EXPECT_EQ(List->segment(1).field(0, 0).value(0, 0).view(), "1");

  LANfunction Script(&Engine.LanguageEngine());
  Script.setCode("value = value + 'x'\n");
  SGCexecuteOneSegmentEquation(Script, Pool, List, 1, 6, Environment);
  EXPECT_EQ(List->segment(1).countOfField(), 7u);
  EXPECT_EQ(List->segment(1).field(6, 0).value(0, 0).view(), "x");
  SGCexecuteOneSegmentEquation(Script, Pool, List, 1, 0, Environment);
  EXPECT_EQ(List->segment(1).field(0, 0).value(0, 0).view(), "1x");

  Script.setCode("value = 5\n");
  try {
    SGCexecuteOneSegmentEquation(Script, Pool, List, 1, 0, Environment, "PID.SetId");
    FAIL() << "a number passed as the field's text";
  } catch (const COLerror& Error) {
    EXPECT_EQ(Error.code(), 0x80000100u);
    EXPECT_EQ(Error.description().find("The field equation of field 1 'PID.SetId' of segment PID (segment 2 of the "
                                       "message) failed:\r\n"),
              0u)
        << Error.description().str();
    EXPECT_NE(Error.description().find("TypeError"), COLstring::npos);
  }
  EXPECT_EQ(List->segment(1).field(0, 0).value(0, 0).view(), "1x");
}

TEST(SGCruleFieldText, FirstValueOfFirstRepeatOrEmpty) {
  Message Parsed("ZZZ|a^b~c|&x||");
  const SGMsegment& Segment = Parsed.segment(1);
  EXPECT_EQ(SGCruleFieldText(Segment, 0), "a");
  EXPECT_EQ(SGCruleFieldText(Segment, 1), "");
  EXPECT_EQ(SGCruleFieldText(Segment, 2), "");
  EXPECT_EQ(SGCruleFieldText(Segment, 40), "");
}
