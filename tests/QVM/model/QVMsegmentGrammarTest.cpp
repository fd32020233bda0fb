// Segment grammars and identifiers; field edits, rules, full names, matching and printing in
// tests/data/QVM/edit.
#include "QVMgrammarTestSupport.h"

#include "QVMcompositeGrammar.h"
#include "QVMengineInternal.h"
#include "QVMidentifier.h"
#include "QVMsegmentGrammar.h"
#include "QVMsegmentValidationRule.h"

#include "../../support/TSTraised.h"

// Matching, null-matching values and bad patterns: tests/data/QVM/edit/grammar.test.
TEST(QVMidentifier, ACopyKeepsABadPattern) {
  QVMsegmentIdentifier identifier;
  identifier.setValue("(A01");
  EXPECT_FALSE(identifier.doesMatchWithLength("(A01", 4));
  QVMsegmentIdentifier copy(identifier);
  EXPECT_FALSE(copy.isRegexValid());
  EXPECT_EQ(copy, identifier);
  identifier.setValue(".*");
  EXPECT_TRUE(identifier.doesMatchWithLength(nullptr, 0));
}

TEST(QVMidentifier, MessageIdentifierAddsTheSegment) {
  QVMidentifier identifier;
  EXPECT_EQ(identifier.segment(), "MSH");
  identifier.setValue("ADT");
  identifier.nodeAddress().setNodeIndex(0, 8);
  QVMidentifier other(identifier);
  EXPECT_EQ(other, identifier);
  EXPECT_TRUE(other.doesMatch("ADT^A01"));
  other.setSegment("EVN");
  EXPECT_NE(other, identifier);
  other = identifier;
  other.nodeAddress().setRepeatIndex(0, 1);
  EXPECT_NE(other, identifier);
  EXPECT_EQ(identifier.nodeAddress().repeatIndex(0), 0u);
}

TEST(QVMsegmentGrammar, FreshFieldDefaults) {
  QVMsegmentGrammar grammar;
  EXPECT_TRUE(grammar.hasDelimiters());
  EXPECT_EQ(grammar.rootEngine(), nullptr);
  EXPECT_EQ(QVMsegmentGrammarAddFieldWithoutInitialization(grammar), 0u);
  EXPECT_EQ(grammar.fieldMaxRepeat(0), 0u);
  EXPECT_FALSE(grammar.isFieldRequired(0));
  EXPECT_EQ(grammar.fieldWidth(0), 0xFFFFFFFFu);
  EXPECT_EQ(grammar.fieldType(0), nullptr);
  EXPECT_EQ(grammar.countOfValidationRules(0), 0u);
  EXPECT_FALSE(grammar.fieldIncomingFunction(0).isSet());
}

TEST(QVMsegmentGrammar, IndexChecksNameTheirBound) {
  QVMsegmentGrammar grammar = segmentWithFields("PID", {"id"});
  EXPECT_EQ(TSTerrorText([&] { grammar.fieldName(1); }), "Failed precondition: FieldIndex < pMember->Field.size()");
  EXPECT_EQ(TSTerrorText([&] { grammar.setFieldWidth(1, 3); }),
            "Failed precondition: FieldIndex < pMember->Field.size()");
  EXPECT_EQ(TSTerrorText([&] { grammar.setFieldType(0, nullptr); }), "Failed precondition: pCompositeGrammar != NULL");
  EXPECT_EQ(TSTerrorText([&] { grammar.init(nullptr); }), "Failed precondition: pEngine != NULL");
  EXPECT_EQ(TSTerrorText([&] { QVMsegmentGrammarInsertFieldWithInitialization(grammar, 0); }),
            "Failed precondition: Grammar.rootEngine()->countOfComposite() > 0");
  EXPECT_EQ(TSTraised([&] { grammar.addValidationRule(0, 5); }).code(), COL_ERROR_PRECONDITION);
}

TEST(QVMsegmentGrammar, CopiedRulesPointAtTheCopy) {
  QVMsegmentGrammar grammar = segmentWithFields("OBX", {"set id", "value", "units"});
  auto* pair = static_cast<QVMsegmentValidationRuleRegExpPair*>(grammar.addValidationRule(1, QVMregExpPairRule));
  pair->setParameter("DependentFieldRegExp", "NM");
  pair->setParameter("FieldRegExp", "^[0-9]+$");
  pair->setName("numeric");
  grammar.addValidationRule(2, QVMpythonRule);
  grammar.addValidationRule(2, QVMsituationalPythonRule);

  QVMsegmentGrammar copy(grammar);
  for (QVMsegmentGrammar* target : {&copy}) {
    ASSERT_EQ(target->countOfValidationRules(1), 1u);
    ASSERT_EQ(target->countOfValidationRules(2), 2u);
    QVMsegmentValidationRule* copied = target->getValidationRule(1, 0);
    EXPECT_NE(copied, pair);
    EXPECT_EQ(copied->classId(), static_cast<uint32_t>(QVMregExpPairRule));
    EXPECT_EQ(copied->segmentGrammar(), target);
    EXPECT_EQ(copied->fieldIndex(), 1u);
    EXPECT_EQ(copied->parameter("FieldRegExp"), "^[0-9]+$");
    EXPECT_EQ(copied->name(), "numeric");
    EXPECT_EQ(target->getValidationRule(2, 1)->classId(), static_cast<uint32_t>(QVMsituationalPythonRule));
    EXPECT_EQ(target->getValidationRule(2, 1)->fieldIndex(), 2u);
  }
  // The copy's rule reads the copy's fields.
  copy.setFieldName(1, "result");
  EXPECT_EQ(copy.getValidationRule(1, 0)->displayName(), "If set id matches NM this field (result) must match ^[0-9]+$");
  EXPECT_EQ(pair->displayName(), "If set id matches NM this field (value) must match ^[0-9]+$");

  QVMsegmentGrammar assigned;
  assigned = grammar;
  EXPECT_EQ(assigned.getValidationRule(1, 0)->segmentGrammar(), &assigned);
  EXPECT_EQ(assigned.rootEngine(), nullptr);
  grammar.removeValidationRule(1, 0);
  EXPECT_EQ(assigned.countOfValidationRules(1), 1u);
}

TEST(QVMsegmentGrammar, EqualityIgnoresFields) {
  QVMsegmentGrammar a = segmentWithFields("PV1", {"class"});
  QVMsegmentGrammar b = segmentWithFields("PV1", {"class", "location"});
  EXPECT_EQ(a, b);
  b.setDescription("visit");
  EXPECT_NE(a, b);
  a.setDescription("visit");
  QVMsegmentGrammarAddIdentifier(a)->setValue("I");
  EXPECT_NE(a, b);
  QVMsegmentGrammarAddIdentifier(b)->setValue("I");
  EXPECT_EQ(a, b);
  b.identifier(0)->nodeAddress().setNodeIndex(0, 1);
  EXPECT_NE(a, b);
}

TEST(QVMsegmentGrammar, FieldScriptsCopyWithTheField) {
  QVMengineInternal engine;
  QVMsegmentGrammar grammar = segmentWithFields("ZZZ", {"A"});
  grammar.init(&engine);
  grammar.fieldIncomingFunction(0).setCode("value = value.strip()");
  QVMsegmentGrammar copy(grammar);
  EXPECT_EQ(copy.fieldIncomingFunction(0).code(), "value = value.strip()\r\n");
  EXPECT_TRUE(copy.fieldIncomingFunction(0).isValid());
  EXPECT_EQ(copy.fieldIncomingFunction(0).engine(), &engine.LanguageEngine());
  EXPECT_EQ(copy.fieldOutgoingFunction(0).code(), "");
}
