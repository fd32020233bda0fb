#include "SCCprepareError.h"

#include "COLostream.h"
#include "QVMsegmentGrammar.h"
#include "REXmatcher.h"

namespace {

// "SEGMENT.Field name" of a field of the rule's segment; the name part is empty for a field
// the grammar does not have.
COLstring SCCqualifiedField(const QVMsegmentValidationRule& rule, uint32_t field) {
  const QVMsegmentGrammar* Grammar = rule.segmentGrammar();
  if (Grammar == nullptr) return COLstring(".");
  COLstring Text = Grammar->name();
  Text += '.';
  if (field < Grammar->countOfField()) Text += Grammar->fieldName(field);
  return Text;
}

const COLstring& SCCfieldName(const QVMsegmentValidationRule& rule, uint32_t field) {
  static const COLstring Empty;
  const QVMsegmentGrammar* Grammar = rule.segmentGrammar();
  return Grammar != nullptr && field < Grammar->countOfField() ? Grammar->fieldName(field) : Empty;
}

}  // namespace

void SCCprepareErrorConditionalField(const QVMsegmentValidationRuleConditionalField& rule, COLerror& result) {
  result = rule.getError();
  result.setDescription(result.description() + "The field " + SCCqualifiedField(rule, rule.fieldIndex()) +
                        " requires " + SCCqualifiedField(rule, rule.requiredField()) + " to be present.");
  COLstring Index;
  COLostream(Index) << (rule.requiredField() + 1);
  result.setParameter("RequiredFieldIndex", Index);
  result.setParameter("RequiredFieldName", SCCfieldName(rule, rule.requiredField()));
}

void SCCprepareErrorRegularExpression(const QVMsegmentValidationRuleRegularExpression& rule,
                                      const COLstring& value, COLerror& result) {
  result = rule.getError();
  const COLstring& Pattern = rule.regularExpression().pattern();
  result.setDescription(result.description() + "The field " + SCCqualifiedField(rule, rule.fieldIndex()) +
                        " has failed the regular expression " + Pattern);
  result.setParameter("RegularExpression", Pattern);
  result.setParameter("OriginalValue", value);
}

void SCCprepareErrorRegExpPair(const QVMsegmentValidationRuleRegExpPair& rule, const COLstring& fieldValue,
                               const COLstring& dependentValue, COLerror& result) {
  result = rule.getError();
  const COLstring& FieldPattern = rule.fieldRegex().pattern();
  const COLstring& DependentPattern = rule.dependentFieldRegex().pattern();
  result.setDescription(result.description() + "The field " + SCCqualifiedField(rule, rule.fieldIndex()) +
                        " has failed the regular expression " + FieldPattern + " after dependent field " +
                        SCCqualifiedField(rule, rule.dependentFieldIndex()) + " passed regular expression " +
                        DependentPattern);
  result.setParameter("FieldRegularExpression", FieldPattern);
  result.setParameter("DependentFieldRegularExpression", DependentPattern);
  result.setParameter("FieldOriginalValue", fieldValue);
  result.setParameter("DependentFieldOriginalValue", dependentValue);
}

void SCCprepareErrorPython(const QVMsegmentValidationRule& rule, const COLerror& caught, COLerror& result) {
  result = caught;
  const COLerror Template = rule.getError();
  for (COLerror::Cursor c = Template.firstParameter(); c != COLerror::EndCursor; c = Template.nextParameter(c))
    result.setParameter(Template.keyInPlace(c), Template.parameterInPlace(c));
}
