// Validation rules against a tokenised segment: each kind passes what it should and throws
// its whole report when it fails; script rules and equations run and name themselves when they fail.
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

TEST_F(SGCvalidationRuleTest, ConditionalField) {
  auto& Rule = static_cast<QVMsegmentValidationRuleConditionalField&>(*Def.Pid.addValidationRule(4, 0));
  Rule.setRequiredField(5);
  EXPECT_EQ(run(Rule, "PID|1|123|DOE||F|70||ACC").code(), 0u);
  EXPECT_EQ(run(Rule, "PID|1|123|DOE|||||ACC").code(), 0u);  // the field itself is empty
  EXPECT_EQ(run(Rule, "PID|1|123|DOE").code(), 0u);          // or absent

  for (const char* Failing : {"PID|1|123|DOE||F|||ACC", "PID|1|123|DOE||F", "PID|1|123|DOE||F|^70"}) {
    const COLerror Error = run(Rule, Failing);
    EXPECT_EQ(Error.code(), 0x80002006u) << Failing;
    EXPECT_EQ(Error.description(), "A validation rule has failed. The field PID.Sex requires PID.Weight to be present.");
    Parameters Expected = ruleParameters("0", "Required Field", "Weight", "5", "Sex");
    Expected["RequiredFieldIndex"] = "6";
    Expected["RequiredFieldName"] = "Weight";
    EXPECT_EQ(parametersOf(Error), Expected) << Failing;
  }
}

TEST_F(SGCvalidationRuleTest, RegularExpression) {
  QVMsegmentValidationRule& Rule = *Def.Pid.addValidationRule(2, 1);
  Rule.setParameter("RegularExpression", "^[A-Z]+$");
  EXPECT_EQ(run(Rule, "PID|1|123|DOE").code(), 0u);
  // Only the first value of the first repeat is read.
  EXPECT_EQ(run(Rule, "PID|1|123|DOE^lower~lower").code(), 0u);

  const COLerror Error = run(Rule, "PID|1|123|Doe");
  EXPECT_EQ(Error.code(), 0x80002006u);
  EXPECT_EQ(Error.description(), "A validation rule has failed. The field PID.Name has failed the regular expression "
                                 "^[A-Z]+$");
  Parameters Expected = ruleParameters("1", "Regular Expression", "^[A-Z]+$", "3", "Name");
  Expected["RegularExpression"] = "^[A-Z]+$";
  Expected["OriginalValue"] = "Doe";
  EXPECT_EQ(parametersOf(Error), Expected);
  // An absent field reads as empty text, which this pattern refuses.
  EXPECT_EQ(run(Rule, "PID|1|123").code(), 0x80002006u);

  // A pattern that does not compile is skipped.
  Rule.setParameter("RegularExpression", "([A-Z");
  EXPECT_EQ(run(Rule, "PID|1|123|Doe").code(), 0u);
}

TEST_F(SGCvalidationRuleTest, RegularExpressionPair) {
  QVMsegmentValidationRule& Rule = *Def.Pid.addValidationRule(5, 2);
  Rule.setParameter("DependentFieldRegExp", "^F$");
  Rule.setParameter("FieldRegExp", "^[0-9]+$");
  Rule.setParameter("DependentFieldIndex", "4");
  EXPECT_EQ(run(Rule, "PID|1|123|DOE||F|70").code(), 0u);
  EXPECT_EQ(run(Rule, "PID|1|123|DOE||M|x").code(), 0u);  // the dependent field does not match

  const COLerror Error = run(Rule, "PID|1|123|DOE||F|x");
  EXPECT_EQ(Error.code(), 0x80002006u);
  EXPECT_EQ(Error.description(), "A validation rule has failed. The field PID.Weight has failed the regular "
                                 "expression ^[0-9]+$ after dependent field PID.Sex passed regular expression ^F$");
  Parameters Expected = ruleParameters("2", "Regular Expression Pair",
                                       "If Sex matches ^F$ this field (Weight) must match ^[0-9]+$", "6", "Weight");
  Expected["FieldRegularExpression"] = "^[0-9]+$";
  Expected["DependentFieldRegularExpression"] = "^F$";
  Expected["FieldOriginalValue"] = "x";
  Expected["DependentFieldOriginalValue"] = "F";
  EXPECT_EQ(parametersOf(Error), Expected);

  Rule.setParameter("FieldRegExp", "(");
  EXPECT_EQ(run(Rule, "PID|1|123|DOE||F|x").code(), 0u);
}

TEST_F(SGCvalidationRuleTest, ScriptRulesPassRejectOrReportTheirFault) {
  auto& Rule = static_cast<QVMsegmentValidationRulePython&>(*Def.Pid.addValidationRule(2, 3));
  Rule.setDescription("Name must be known");
  EXPECT_EQ(run(Rule, "PID|1|123|DOE").code(), 0u);  // no code: nothing to run

  Rule.setLanguageEngine(&Engine.LanguageEngine());
  Rule.setCode("if validation_field.value != 'DOE' or segment.field(1).value != '123':\n"
               "    qvmexception.errorobject.description = 'unknown name ' + validation_field.value\n"
               "    qvmexception.errorobject.set_parameter('Seen', validation_field.value)\n"
               "    raise qvmexception\n");
  EXPECT_EQ(run(Rule, "PID|1|123|DOE").code(), 0u);
  const COLerror Rejected = run(Rule, "PID|1|123|ROE");
  EXPECT_EQ(Rejected.code(), 0x80002006u);
  EXPECT_EQ(Rejected.description(), "unknown name ROE");
  Parameters Expected = ruleParameters("3", "Python Validation Rule", "Name must be known", "3", "Name");
  Expected["Seen"] = "ROE";
  EXPECT_EQ(parametersOf(Rejected), Expected);
  // The error object of one call does not carry over to the next.
  EXPECT_EQ(run(Rule, "PID|1|124|DOE").description(), "unknown name DOE");
  EXPECT_EQ(run(Rule, "PID|1|123|DOE").code(), 0u);

  // A field beyond the segment is None; a fault of the script names the rule and keeps the traceback.
  Rule.setCode("validation_field.value\n");
  const COLerror Fault = run(Rule, "PID|1|123");
  EXPECT_EQ(Fault.code(), 0x80000100u);
  EXPECT_NE(Fault.description().find("The Python Validation Rule 'Name must be known' on field 3 'Name' of segment "
                                     "PID failed in its script:"),
            COLstring::npos)
      << Fault.description().str();
  EXPECT_NE(Fault.description().find("AttributeError"), COLstring::npos) << Fault.description().str();

  QVMsegmentValidationRule& Situational = *Def.Pid.addValidationRule(2, 4);
  const COLerror Refused = run(Situational, "PID|1|123|DOE");
  EXPECT_EQ(Refused.code(), 0x80000500u);
  EXPECT_EQ(Refused.description(), "Situational Python Validation Rules are not supported by this parser version.");
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
