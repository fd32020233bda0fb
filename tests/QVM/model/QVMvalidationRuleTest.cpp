// Validation rules: parameters, names, errors and copying by kind.
#include "QVMgrammarTestSupport.h"

#include "QVMengineInternal.h"
#include "QVMsegmentGrammar.h"
#include "QVMsegmentValidationRule.h"
#include "REXmatcher.h"

#include "../../support/TSTraised.h"

namespace {

// A kind that no definition knows.
class QVMruleOfUnknownKind : public QVMsegmentValidationRuleConditionalField {
public:
  uint32_t classId() const override { return 9; }
};

}  // namespace

TEST(QVMvalidationRule, FactoryMakesEachKindAndRefusesOthers) {
  for (uint32_t kind = 0; kind < 5; ++kind) EXPECT_EQ(QVMsegmentValidationRuleCreate(kind)->classId(), kind);
  EXPECT_EQ(TSTraised([] { QVMsegmentValidationRuleCreate(5); }),
            COLerror("Unknown validation rule type.", COL_ERROR_PRECONDITION));
}

// Parameters and display names on a grammar's fields: tests/data/QVM/edit/rules.test.
TEST(QVMvalidationRule, AConditionalRuleOffAGrammarNamesNoField) {
  QVMsegmentValidationRuleConditionalField rule;
  rule.setParameter("FieldIndex", "abc");
  EXPECT_EQ(rule.requiredField(), 0u);
  EXPECT_EQ(rule.displayName(), "Undefined");
}

TEST(QVMvalidationRule, RegularExpressionKeepsABadPattern) {
  QVMsegmentValidationRuleRegularExpression rule;
  rule.setParameter("RegularExpression", "^[A-Z]{3}$");
  EXPECT_TRUE(rule.regularExpression().isExpressionValid());
  EXPECT_TRUE(rule.regularExpression().doesMatch("ABC"));
  EXPECT_EQ(rule.displayName(), "^[A-Z]{3}$");
  rule.setParameter("RegularExpression", "([A-Z]");
  EXPECT_FALSE(rule.regularExpression().isExpressionValid());
  EXPECT_EQ(rule.parameter("RegularExpression"), "([A-Z]");
  EXPECT_EQ(rule.displayName(), "([A-Z]");
}

// Description and code of script rules: tests/data/QVM/edit/rules.test.
TEST(QVMvalidationRule, CloningByKindCopiesEveryMember) {
  QVMengineInternal engine;
  QVMsegmentGrammar grammar = segmentWithFields("ZZZ", {"a", "b"});
  auto* required = static_cast<QVMsegmentValidationRuleConditionalField*>(
      grammar.addValidationRule(1, QVMconditionalFieldRule));
  required->setRequiredField(0);
  required->setName("needs a");
  auto requiredCopy = QVMsegmentValidationRuleClone(*required);
  EXPECT_EQ(requiredCopy->classId(), static_cast<uint32_t>(QVMconditionalFieldRule));
  EXPECT_EQ(requiredCopy->parameter("FieldIndex"), "0");
  EXPECT_EQ(requiredCopy->name(), "needs a");
  EXPECT_EQ(requiredCopy->segmentGrammar(), &grammar);
  EXPECT_EQ(requiredCopy->fieldIndex(), 1u);

  QVMsegmentValidationRuleRegularExpression expression;
  expression.setParameter("RegularExpression", "^A");
  auto expressionCopy = QVMsegmentValidationRuleClone(expression);
  expression.setParameter("RegularExpression", "^B");
  auto& copiedMatcher = static_cast<QVMsegmentValidationRuleRegularExpression&>(*expressionCopy).regularExpression();
  EXPECT_EQ(copiedMatcher.pattern(), "^A");
  EXPECT_TRUE(copiedMatcher.doesMatch("AB"));

  QVMsegmentValidationRuleSituationalPython situational;
  situational.setLanguageEngine(&engine.LanguageEngine());
  situational.setParameter("CodeOnError", "x = 2");
  situational.setDescription("d");
  situational.setLastSegment(&grammar);
  auto situationalCopy = QVMsegmentValidationRuleClone(situational);
  auto& copied = static_cast<QVMsegmentValidationRuleSituationalPython&>(*situationalCopy);
  EXPECT_EQ(copied.codeOnError(), "x = 2\r\n");
  EXPECT_TRUE(copied.pythonCodeOnError().isValid());
  EXPECT_EQ(copied.description(), "d");
  EXPECT_EQ(copied.lastSegment(), nullptr);

  QVMruleOfUnknownKind unknown;
  EXPECT_EQ(TSTraised([&] { QVMsegmentValidationRuleClone(unknown); }),
            COLerror("Unknown validation rule", COL_ERROR_PRECONDITION));
}

TEST(QVMvalidationRule, GetErrorNamesRuleAndField) {
  QVMsegmentGrammar grammar = segmentWithFields("PID", {"id", "name", "birth"});
  auto* rule = static_cast<QVMsegmentValidationRuleConditionalField*>(
      grammar.addValidationRule(2, QVMconditionalFieldRule));
  rule->setRequiredField(1);
  COLerror error = rule->getError();
  EXPECT_EQ(error.description(), "A validation rule has failed. ");
  EXPECT_EQ(error.code(), 0x80002006u);
  EXPECT_EQ(error.parameter("ValidationRuleClassId"), "0");
  EXPECT_EQ(error.parameter("ValidationRuleClassName"), "Required Field");
  EXPECT_EQ(error.parameter("ValidationRuleName"), "name");
  EXPECT_EQ(error.parameter("FieldIndex"), "3");
  EXPECT_EQ(error.parameter("FieldName"), "birth");
  EXPECT_EQ(error.parameter("MessageSegmentName"), "PID");

  QVMsegmentValidationRulePython unbound;
  COLerror unboundError = unbound.getError();
  EXPECT_EQ(unboundError.parameter("FieldIndex"), "1");
  EXPECT_EQ(unboundError.parameter("FieldName"), "");
  EXPECT_EQ(unboundError.parameter("ValidationRuleClassId"), "3");
}
