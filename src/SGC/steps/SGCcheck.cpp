#include "SGCcheck.h"

#include "QVMenumerationGrammar.h"
#include "SGCcompositeShape.h"

namespace {

// What a leaf check found: a length over the limit and, independently, a bad format.
struct SGCleafVerdict {
  bool TooLong = false;
  bool BadFormat = false;
  unsigned ValidationError = 0;
};

bool SGCisExplicitNull(const SGMvalue& value) {
  return value.length() == 2 && value.data()[0] == '"' && value.data()[1] == '"';
}

bool SGCallValuesEmpty(const SGMsubField& subField) {
  const unsigned Count = subField.countOfSubSubField();
  for (unsigned v = 0; v < Count; ++v)
    if (subField.value(v).length() != 0) return false;
  return true;
}

bool SGCallValuesEmpty(const SGMfield& field) {
  const unsigned Count = field.countOfSubField();
  for (unsigned s = 0; s < Count; ++s)
    if (!SGCallValuesEmpty(field.subField(s))) return false;
  return true;
}

// The value of a sub field that has none reads as empty.
unsigned SGCfirstValueLength(const SGMfield& field, unsigned subField) {
  const SGMsubField& Sub = field.subField(subField);
  return Sub.countOfSubSubField() == 0 ? 0 : Sub.value(0).length();
}

// The composite and index whose rules govern sub field `index` of `owner`: the sub field
// itself, or the one field of the simple composite it is typed by.
void SGCleafSource(const QVMcompositeGrammar*& owner, unsigned& index) {
  const QVMcompositeGrammar* Nested = SGCnestedComposite(owner, index);
  if (Nested != nullptr && SGCisFieldNmOrStType(*Nested)) {
    owner = Nested;
    index = 0;
  }
}

[[noreturn]] void SGCunexpectedLeafType(unsigned type) {
  COLstring Text("Unexpected leaf type ");
  COLostream(Text) << type;
  throw COLerror(Text, COL_ERROR_PRECONDITION);
}

bool SGCvalidEnumeration(const SGMvalue& value, const QVMenumerationGrammar* grammar) {
  // A list without items restricts nothing: the definition has not said what is allowed.
  if (grammar == nullptr || grammar->countOfEnumItem() == 0 || value.length() == 0) return true;
  return grammar->isValid(value.view());
}

// Length first (a too-long "" is still reported), then the explicit null, then the format.
SGCleafVerdict SGCcheckLeaf(const QVMcompositeGrammar& owner, unsigned index, const SGMvalue& value,
                            bool compositeIsValid) {
  SGCleafVerdict Verdict;
  Verdict.TooLong = owner.fieldIsLengthRestricted(index) && value.length() > owner.fieldMaxLength(index);
  if (SGCisExplicitNull(value)) return Verdict;
  const QVMdataType Type = owner.fieldDataType(index);
  switch (Type) {
    case QVMstringType:
      break;
    case QVMintegerType:
      Verdict.BadFormat = !SGCvalidInteger(value);
      Verdict.ValidationError = SGCinvalidInteger;
      break;
    case QVMdoubleType:
      Verdict.BadFormat = !SGCvalidDouble(value);
      Verdict.ValidationError = SGCinvalidDouble;
      break;
    case QVMdateTimeType: {
      const QVMdateTimeGrammar* Grammar = owner.fieldDateTimeGrammar(index);
      Verdict.BadFormat = Grammar != nullptr && !SGCvalidDateTime(value, *Grammar);
      Verdict.ValidationError = SGCinvalidDateTime;
      break;
    }
    case QVMenumerationType:
      Verdict.BadFormat = !SGCvalidEnumeration(value, owner.fieldEnumerationGrammar(index));
      Verdict.ValidationError = SGCinvalidEnumeration;
      break;
    case QVMcompositeType:
      if (compositeIsValid) break;
      SGCunexpectedLeafType(Type);
    default:
      SGCunexpectedLeafType(Type);
  }
  return Verdict;
}

}  // namespace

bool SGCisFieldEmpty(const SGMfield& field) {
  const unsigned Count = field.countOfSubField();
  if (Count == 0) return true;
  if (Count > 1) return false;
  return field.countOfSubSubField(0) == 0 || field.value(0, 0).length() == 0;
}

void SGCcheckSegment(const SGMsegment& segment, unsigned segmentIndex, const QVMsegmentGrammar& grammar,
                     SGCerrorList& errors) {
  const unsigned SegmentFields = segment.countOfField();
  const unsigned GrammarFields = grammar.countOfField();
  const unsigned Count = SegmentFields < GrammarFields ? SegmentFields : GrammarFields;
  for (unsigned f = 0; f < Count; ++f) {
    const unsigned Repeats = segment.countOfFieldRepeat(f);
    // The limit counts repeats after the first occurrence; all bits set never triggers.
    if (Repeats > 0 && grammar.fieldMaxRepeat(f) < Repeats - 1)
      errors.add<SGCerrorFieldRepeatExceeded>(grammar, segmentIndex, f);
    if (grammar.isFieldRequired(f) && (Repeats == 0 || SGCisFieldEmpty(segment.field(f, 0))))
      errors.add<SGCerrorMissingField>(grammar, segmentIndex, f);
    const QVMcompositeGrammar* Type = grammar.fieldType(f);
    if (Type == nullptr) continue;
    for (unsigned r = 0; r < Repeats; ++r) SGCcheckField(segment, grammar, *Type, segmentIndex, f, r, errors);
  }
  if (SegmentFields < GrammarFields) SGCcheckForMissingRequiredFields(segment, segmentIndex, grammar, errors);
}

void SGCcheckForMissingRequiredFields(const SGMsegment& segment, unsigned segmentIndex,
                                      const QVMsegmentGrammar& grammar, SGCerrorList& errors) {
  const unsigned GrammarFields = grammar.countOfField();
  for (unsigned f = segment.countOfField(); f < GrammarFields; ++f)
    if (grammar.isFieldRequired(f)) errors.add<SGCerrorMissingField>(grammar, segmentIndex, f);
}

void SGCcheckField(const SGMsegment& segment, const QVMsegmentGrammar& grammar, const QVMcompositeGrammar& fieldType,
                   unsigned segmentIndex, unsigned field, unsigned repeat, SGCerrorList& errors) {
  const SGMfield& Field = segment.field(field, repeat);
  if (SGCallValuesEmpty(Field)) return;
  if (SGCisFieldNmOrStType(fieldType)) {
    SGCvalidateFieldValue(segment, grammar, fieldType, segmentIndex, field, repeat, errors);
    return;
  }
  const unsigned TypeFields = fieldType.countOfField();
  const unsigned SubFields = Field.countOfSubField();
  const unsigned Count = TypeFields < SubFields ? TypeFields : SubFields;
  for (unsigned s = 0; s < Count; ++s) {
    const bool Required = fieldType.fieldIsRequired(s);
    const bool Empty = SGCfirstValueLength(Field, s) == 0;
    if (!SGCisFieldLeaf(fieldType, s) && !SGCisFieldNmOrStType(fieldType, s)) {
      // "&x" holds data in the sub field even with its first value empty.
      if (Required && Empty && Field.countOfSubSubField(s) < 2)
        errors.add<SGCerrorMissingSubField>(grammar, segmentIndex, field, repeat, s);
      if (const QVMcompositeGrammar* Nested = fieldType.fieldCompositeType(s))
        SGCcheckSubFieldStrictly(segment, grammar, *Nested, segmentIndex, field, repeat, s, errors);
    } else {
      if (Required && Empty) errors.add<SGCerrorMissingSubField>(grammar, segmentIndex, field, repeat, s);
      SGCvalidateSubfieldValue(segment, grammar, fieldType, segmentIndex, field, repeat, s, errors);
    }
  }
  for (unsigned s = SubFields; s < TypeFields; ++s)
    if (fieldType.fieldIsRequired(s)) errors.add<SGCerrorMissingSubField>(grammar, segmentIndex, field, repeat, s);
}

void SGCcheckSubFieldStrictly(const SGMsegment& segment, const QVMsegmentGrammar& grammar,
                              const QVMcompositeGrammar& subFieldType, unsigned segmentIndex, unsigned field,
                              unsigned repeat, unsigned subField, SGCerrorList& errors) {
  const SGMsubField& Sub = segment.field(field, repeat).subField(subField);
  if (SGCallValuesEmpty(Sub)) return;
  const unsigned TypeFields = subFieldType.countOfField();
  const unsigned Values = Sub.countOfSubSubField();
  const unsigned Count = TypeFields < Values ? TypeFields : Values;
  for (unsigned t = 0; t < Count; ++t) {
    if (subFieldType.fieldIsRequired(t) && Sub.value(t).length() == 0)
      errors.add<SGCerrorMissingSubSubField>(grammar, segmentIndex, field, repeat, subField, t);
    SGCvalidateSubSubfieldValue(segment, grammar, subFieldType, segmentIndex, field, repeat, subField, t, errors);
  }
  for (unsigned t = Values; t < TypeFields; ++t)
    if (subFieldType.fieldIsRequired(t))
      errors.add<SGCerrorMissingSubSubField>(grammar, segmentIndex, field, repeat, subField, t);
}

void SGCvalidateFieldValue(const SGMsegment& segment, const QVMsegmentGrammar& grammar,
                           const QVMcompositeGrammar& fieldType, unsigned segmentIndex, unsigned field,
                           unsigned repeat, SGCerrorList& errors) {
  const SGMfield& Field = segment.field(field, repeat);
  if (Field.countOfSubField() == 0 || Field.countOfSubSubField(0) == 0) return;
  const SGCleafVerdict Verdict = SGCcheckLeaf(fieldType, 0, Field.value(0, 0), false);
  if (Verdict.TooLong) errors.add<SGCerrorSubFieldTooLong>(grammar, segmentIndex, field, repeat, 0u);
  if (Verdict.BadFormat)
    errors.add<SGCerrorBadField>(Verdict.ValidationError, grammar, segmentIndex, field, repeat);
}

void SGCvalidateSubfieldValue(const SGMsegment& segment, const QVMsegmentGrammar& grammar,
                              const QVMcompositeGrammar& fieldType, unsigned segmentIndex, unsigned field,
                              unsigned repeat, unsigned subField, SGCerrorList& errors) {
  const SGMfield& Field = segment.field(field, repeat);
  if (Field.countOfSubSubField(subField) == 0) return;
  const QVMcompositeGrammar* Owner = &fieldType;
  unsigned Index = subField;
  SGCleafSource(Owner, Index);
  const SGCleafVerdict Verdict = SGCcheckLeaf(*Owner, Index, Field.value(subField, 0), false);
  if (Verdict.TooLong) errors.add<SGCerrorSubFieldTooLong>(grammar, segmentIndex, field, repeat, subField);
  if (Verdict.BadFormat)
    errors.add<SGCerrorBadSubField>(Verdict.ValidationError, grammar, segmentIndex, field, repeat, subField);
}

void SGCvalidateSubSubfieldValue(const SGMsegment& segment, const QVMsegmentGrammar& grammar,
                                 const QVMcompositeGrammar& subFieldType, unsigned segmentIndex, unsigned field,
                                 unsigned repeat, unsigned subField, unsigned subSubField, SGCerrorList& errors) {
  const QVMcompositeGrammar* Owner = &subFieldType;
  unsigned Index = subSubField;
  SGCleafSource(Owner, Index);
  const SGMvalue& Value = segment.field(field, repeat).value(subField, subSubField);
  // Only two levels exist below a field: a composite nested deeper has nothing to check.
  const SGCleafVerdict Verdict = SGCcheckLeaf(*Owner, Index, Value, true);
  if (Verdict.TooLong)
    errors.add<SGCerrorSubSubFieldTooLong>(grammar, segmentIndex, field, repeat, subField, subSubField);
  if (Verdict.BadFormat)
    errors.add<SGCerrorBadSubSubField>(Verdict.ValidationError, grammar, segmentIndex, field, repeat, subField,
                                       subSubField);
}
