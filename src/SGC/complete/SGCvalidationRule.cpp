#include "SGCvalidationRule.h"

#include "COLostream.h"
#include "LAGexecute.h"
#include "LANfunction.h"
#include "QVMengineInternal.h"
#include "QVMsegmentGrammar.h"
#include "REXmatcher.h"
#include "SCCprepareError.h"

namespace {

bool SGCmatches(const REXmatcher& matcher, std::string_view text) {
  return matcher.doesMatchWithLength(text.data() ? text.data() : "", text.size());
}

// The rule and where it stands, for errors about the rule itself.
COLstring SGCdescribeRule(const QVMsegmentValidationRule& rule) {
  COLstring Text;
  COLostream Stream(Text);
  Stream << rule.className() << " '" << rule.displayName() << "' on field " << (rule.fieldIndex() + 1);
  if (const QVMsegmentGrammar* Grammar = rule.segmentGrammar()) {
    if (rule.fieldIndex() < Grammar->countOfField()) Stream << " '" << Grammar->fieldName(rule.fieldIndex()) << '\'';
    Stream << " of segment " << Grammar->name();
  }
  Stream << flush;
  return Text;
}

}  // namespace

std::string_view SGCruleFieldText(const SGMsegment& segment, unsigned field) {
  if (field >= segment.countOfField() || segment.countOfFieldRepeat(field) == 0) return {};
  const SGMfield& First = segment.field(field, 0);
  if (First.countOfSubField() == 0 || First.countOfSubSubField(0) == 0) return {};
  return First.value(0, 0).view();
}

void SGCvalidateConditionalField(const QVMsegmentValidationRuleConditionalField& rule, const SGMsegment& segment) {
  if (SGCruleFieldText(segment, rule.fieldIndex()).empty()) return;
  if (!SGCruleFieldText(segment, rule.requiredField()).empty()) return;
  COLerror Error("", 0);
  SCCprepareErrorConditionalField(rule, Error);
  throw Error;
}

void SGCvalidateRegularExpression(const QVMsegmentValidationRuleRegularExpression& rule, const SGMsegment& segment) {
  const REXmatcher& Matcher = rule.regularExpression();
  if (!Matcher.isExpressionValid()) return;
  const std::string_view Text = SGCruleFieldText(segment, rule.fieldIndex());
  if (SGCmatches(Matcher, Text)) return;
  COLerror Error("", 0);
  SCCprepareErrorRegularExpression(rule, COLstring(Text), Error);
  throw Error;
}

void SGCvalidateRegExpPair(const QVMsegmentValidationRuleRegExpPair& rule, const SGMsegment& segment) {
  const REXmatcher& Dependent = rule.dependentFieldRegex();
  const REXmatcher& Own = rule.fieldRegex();
  if (!Dependent.isExpressionValid() || !Own.isExpressionValid()) return;
  const std::string_view DependentText = SGCruleFieldText(segment, rule.dependentFieldIndex());
  if (!SGCmatches(Dependent, DependentText)) return;
  const std::string_view Text = SGCruleFieldText(segment, rule.fieldIndex());
  if (SGCmatches(Own, Text)) return;
  COLerror Error("", 0);
  SCCprepareErrorRegExpPair(rule, COLstring(Text), COLstring(DependentText), Error);
  throw Error;
}

void SGCvalidatePython(QVMsegmentValidationRulePython& rule, SGMstringPool& pool, SGMsegment& segment,
                       QVMengineInternal& engine) {
  LANfunction& Function = rule.pythonFunction();
  Function.setEngine(&engine.LanguageEngine());
  if (Function.state() == LANfunction::StateEmpty) return;
  try {
    // A rule whose text did not compile must not pass unchecked: running it throws its error.
    if (!Function.isSet()) Function.execute();
    LAGexecutePythonValidationRule(Function, engine.LanguageEngine(), pool, segment, rule.fieldIndex());
  } catch (const COLerror& Caught) {
    COLerror Error("", 0);
    if (Caught.code() == COL_ERROR_VALIDATION_RULE) {
      SCCprepareErrorPython(rule, Caught, Error);
    } else {
      // Not a rejection by the rule but a fault in its script: say which rule it is.
      COLerror Named(Caught);
      Named.setDescription("The " + SGCdescribeRule(rule) + " failed in its script:\r\n" + Caught.description());
      SCCprepareErrorPython(rule, Named, Error);
    }
    throw Error;
  }
}

void SGCdoSegmentValidationRule(QVMsegmentValidationRule& rule, COLreferencePtr<SGMstringPool> pool,
                                COLreferencePtr<SGMsegment> segment, QVMengineInternal& engine) {
  COL_PRECONDITION(segment.get() != nullptr);
  switch (rule.classId()) {
    case QVMconditionalFieldRule:
      SGCvalidateConditionalField(static_cast<QVMsegmentValidationRuleConditionalField&>(rule), *segment);
      return;
    case QVMregularExpressionRule:
      SGCvalidateRegularExpression(static_cast<QVMsegmentValidationRuleRegularExpression&>(rule), *segment);
      return;
    case QVMregExpPairRule:
      SGCvalidateRegExpPair(static_cast<QVMsegmentValidationRuleRegExpPair&>(rule), *segment);
      return;
    case QVMpythonRule:
      COL_PRECONDITION(pool.get() != nullptr);
      SGCvalidatePython(static_cast<QVMsegmentValidationRulePython&>(rule), *pool, *segment, engine);
      return;
    case QVMsituationalPythonRule:
      throw COLerror("Situational Python Validation Rules are not supported by this parser version.",
                     COL_ERROR_RESOURCE);
    default:
      throw COLerror("Unknown validation rule type", COL_ERROR_PRECONDITION);
  }
}

void SGCexecuteOneSegmentEquation(const LANfunction& function, COLreferencePtr<SGMstringPool> pool,
                                  COLreferencePtr<SGMsegmentList> segments, unsigned segmentIndex, unsigned field,
                                  LAGenvironment& environment, const COLstring& fieldName) {
  COL_PRECONDITION(segments.get() != nullptr);
  COL_PRECONDITION(pool.get() != nullptr);
  SGMsegment& Segment = segments->segment(segmentIndex);
  if (Segment.countOfField() < field + 1) Segment.setCountOfField(field + 1);
  if (function.state() == LANfunction::StateEmpty) return;
  try {
    if (!function.isSet()) function.execute();
    LAGexecuteFieldEquation(function, *pool, Segment, field, environment);
  } catch (const COLerror& Caught) {
    COLstring Text;
    COLostream Stream(Text);
    Stream << "The field equation of field " << (field + 1);
    if (!fieldName.empty()) Stream << " '" << fieldName << '\'';
    Stream << " of segment " << Segment.name() << " (segment " << (segmentIndex + 1) << " of the message) failed:\r\n"
           << Caught.description() << flush;
    COLerror Error(Caught);
    Error.setDescription(Text);
    throw Error;
  }
}
