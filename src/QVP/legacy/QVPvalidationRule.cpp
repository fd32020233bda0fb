#include "QVPvalidationRule.h"

#include "COLerror.h"
#include "LAGexecute.h"
#include "LAGquovane.h"
#include "LANfunction.h"
#include "QVMtypedMessageTree.h"
#include "REXmatcher.h"
#include "SCCprepareError.h"

namespace {

bool QVPisFieldNull(const QVMtypedMessageTree& Segment, unsigned Field) {
  return Field >= Segment.countOfSubNode() || Segment.node(Field, 0)->isNull();
}

// The text a rule reads: repeat 0 of the field, down to its first leaf; empty where there is none.
COLstring QVPruleFieldText(const QVMtypedMessageTree& Segment, unsigned Field) {
  if (QVPisFieldNull(Segment, Field)) return COLstring();
  const QVMtypedMessageTree* Leaf = Segment.node(Field, 0);
  while (!Leaf->isNode()) Leaf = Leaf->node(0, 0);
  return Leaf->isNull() ? COLstring() : Leaf->getAsStringValue();
}

bool QVPmatches(const REXmatcher& Matcher, const COLstring& Text) {
  return Matcher.doesMatchWithLength(Text.data(), Text.size());
}

}  // namespace

bool QVPruleScriptToRun(const LANfunction& Code) {
  if (Code.state() == LANfunction::StateEmpty) return false;
  // A rule whose text did not compile must not pass unchecked: running it throws its error.
  if (!Code.isSet()) Code.execute();
  return true;
}

void QVPvalidateConditionalField(const QVMsegmentValidationRuleConditionalField& Rule,
                                 const QVMtypedMessageTree& Segment) {
  if (QVPisFieldNull(Segment, Rule.fieldIndex())) return;
  if (!QVPisFieldNull(Segment, Rule.requiredField())) return;
  COLerror Error("", 0);
  SCCprepareErrorConditionalField(Rule, Error);
  throw Error;
}

void QVPvalidateRegularExpression(const QVMsegmentValidationRuleRegularExpression& Rule,
                                  const QVMtypedMessageTree& Segment) {
  const REXmatcher& Matcher = Rule.regularExpression();
  if (!Matcher.isExpressionValid()) return;
  const COLstring Text = QVPruleFieldText(Segment, Rule.fieldIndex());
  if (QVPmatches(Matcher, Text)) return;
  COLerror Error("", 0);
  SCCprepareErrorRegularExpression(Rule, Text, Error);
  throw Error;
}

void QVPvalidateRegExpPair(const QVMsegmentValidationRuleRegExpPair& Rule, const QVMtypedMessageTree& Segment) {
  const REXmatcher& Dependent = Rule.dependentFieldRegex();
  const REXmatcher& Own = Rule.fieldRegex();
  if (!Dependent.isExpressionValid() || !Own.isExpressionValid()) return;
  const COLstring DependentText = QVPruleFieldText(Segment, Rule.dependentFieldIndex());
  if (!QVPmatches(Dependent, DependentText)) return;
  const COLstring Text = QVPruleFieldText(Segment, Rule.fieldIndex());
  if (QVPmatches(Own, Text)) return;
  COLerror Error("", 0);
  SCCprepareErrorRegExpPair(Rule, Text, DependentText, Error);
  throw Error;
}

void QVPvalidatePython(QVMsegmentValidationRulePython& Rule, QVMtypedMessageTree& Segment,
                       LAGenvironment& Environment) {
  if (QVPruleScriptToRun(Rule.pythonFunction()))
    LAGexecutePythonValidationRule(Rule.pythonFunction(), &Segment, Rule.fieldIndex(), nullptr, nullptr, &Rule,
                                   Environment);
}

void QVPvalidateSituationalPython(QVMsegmentValidationRuleSituationalPython& Rule, QVMtypedMessageTree& Segment,
                                  LAGenvironment& Environment) {
  // The checker runs the rule's on-error code on this segment if the group it requires is missing.
  Rule.setLastSegment(&Segment);
  if (QVPruleScriptToRun(Rule.pythonCode()))
    LAGexecutePythonValidationRule(Rule.pythonCode(), &Segment, Rule.fieldIndex(), Rule.messageGrammar(),
                                   static_cast<LAGmessageGrammarListener*>(Rule.messageGrammarListener()), &Rule,
                                   Environment);
}

void QVPdoSegmentValidationRule(QVMsegmentValidationRule& Rule, QVMtypedMessageTree& Segment,
                                LAGenvironment& Environment) {
  switch (Rule.classId()) {
    case QVMconditionalFieldRule:
      QVPvalidateConditionalField(static_cast<QVMsegmentValidationRuleConditionalField&>(Rule), Segment);
      return;
    case QVMregularExpressionRule:
      QVPvalidateRegularExpression(static_cast<QVMsegmentValidationRuleRegularExpression&>(Rule), Segment);
      return;
    case QVMregExpPairRule:
      QVPvalidateRegExpPair(static_cast<QVMsegmentValidationRuleRegExpPair&>(Rule), Segment);
      return;
    case QVMpythonRule:
      QVPvalidatePython(static_cast<QVMsegmentValidationRulePython&>(Rule), Segment, Environment);
      return;
    case QVMsituationalPythonRule:
      QVPvalidateSituationalPython(static_cast<QVMsegmentValidationRuleSituationalPython&>(Rule), Segment,
                                   Environment);
      return;
    default:
      throw COLerror("Unknown validation rule type", COL_ERROR_PRECONDITION);
  }
}
