#include "SGCerror.h"

#include "QVMsegmentGrammar.h"
#include "SGCcompositeShape.h"
#include "SGCerrorPosition.h"
#include "SGMsegmentList.h"

namespace {

const COLstring& SGCnoName() {
  static const COLstring Empty;
  return Empty;
}

const QVMcompositeGrammar* SGCfieldComposite(const QVMsegmentGrammar& grammar, unsigned field) {
  return field < grammar.countOfField() ? grammar.fieldType(field) : nullptr;
}

// Names may be asked for coordinates the grammar does not have (a message with more fields
// or sub fields than its definition): those read as empty.
const COLstring& SGCfieldName(const QVMsegmentGrammar& grammar, unsigned field) {
  return field < grammar.countOfField() ? grammar.fieldName(field) : SGCnoName();
}

const COLstring& SGCsubFieldName(const QVMsegmentGrammar& grammar, unsigned field, unsigned subField) {
  const QVMcompositeGrammar* Composite = SGCfieldComposite(grammar, field);
  if (Composite == nullptr || subField >= Composite->countOfField()) return SGCnoName();
  return Composite->fieldName(subField);
}

const COLstring& SGCsubSubFieldName(const QVMsegmentGrammar& grammar, unsigned field, unsigned subField,
                                    unsigned subSubField) {
  const QVMcompositeGrammar* Nested = SGCnestedComposite(SGCfieldComposite(grammar, field), subField);
  if (Nested == nullptr || subSubField >= Nested->countOfField()) return SGCnoName();
  return Nested->fieldName(subSubField);
}

// `word` N 'name', N one-based.
void SGCwriteItem(COLostream& stream, const char* word, unsigned index, const COLstring& name) {
  stream << word << ' ' << (index + 1) << " '" << name << '\'';
}

// The limit of sub field `index` of `composite`, taken from the simple composite it wraps
// when it is a composite.
unsigned SGCleafMaxLength(const QVMcompositeGrammar* composite, unsigned index) {
  if (composite == nullptr || index >= composite->countOfField()) return 0;
  if (composite->fieldDataType(index) == QVMcompositeType) {
    const QVMcompositeGrammar* Nested = composite->fieldCompositeType(index);
    const QVMcompositeGrammar* Simple = Nested ? SGCcheckFieldNmOrStType(*Nested) : nullptr;
    if (Simple != nullptr) return Simple->fieldMaxLength(0);
  }
  return composite->fieldMaxLength(index);
}

// The raw text of value (subField, subSubField) of the addressed repeat.
COLstring SGCrawValue(const SGMsegment& segment, const SGCerror& error, unsigned subField, unsigned subSubField) {
  return segment.field(error.fieldIndex(), error.repeatIndex()).value(subField, subSubField).asString();
}

bool SGCfieldInSegment(const SGMsegment& segment, unsigned field) { return field < segment.countOfField(); }

bool SGCrepeatInSegment(const SGMsegment& segment, unsigned field, unsigned repeat) {
  return SGCfieldInSegment(segment, field) && repeat < segment.countOfFieldRepeat(field);
}

bool SGCsubFieldInSegment(const SGMsegment& segment, unsigned field, unsigned repeat, unsigned subField) {
  return SGCrepeatInSegment(segment, field, repeat) && subField < segment.field(field, repeat).countOfSubField();
}

void SGCsetFieldParameters(const SGCerror& error, COLerror& result) {
  result.setParameter("FieldIndex", error.fieldIndex() + 1);
  result.setParameter("FieldName", SGCfieldName(error.segmentGrammar(), error.fieldIndex()));
}

void SGCsetSubFieldParameters(const SGCerror& error, COLerror& result) {
  result.setParameter("SubFieldIndex", error.subFieldIndex() + 1);
  result.setParameter("SubFieldName",
                      SGCsubFieldName(error.segmentGrammar(), error.fieldIndex(), error.subFieldIndex()));
}

void SGCsetSubSubFieldParameters(const SGCerror& error, COLerror& result) {
  result.setParameter("SubSubFieldIndex", error.subSubFieldIndex() + 1);
  result.setParameter("SubSubFieldName", SGCsubSubFieldName(error.segmentGrammar(), error.fieldIndex(),
                                                            error.subFieldIndex(), error.subSubFieldIndex()));
}

}  // namespace

// --- helpers

void SGCoutputErrorType(unsigned validationError, COLostream& stream) {
  switch (validationError) {
    case SGCinvalidDouble:
      stream << "Invalid double format";
      return;
    case SGCinvalidInteger:
      stream << "Invalid integer format";
      return;
    case SGCinvalidDateTime:
      stream << "Invalid datetime format";
      return;
    case SGCinvalidEnumeration:
      stream << "Invalid enumeration value";
      return;
    default:
      throw COLerror("Unknown validation error type.", COL_ERROR_PRECONDITION);
  }
}

void SGCoutputRepeat(unsigned repeat, COLostream& stream) {
  if (repeat != 0) stream << " (repeat " << repeat << ')';
}

void SGCoutputPlural(unsigned count, COLostream& stream) {
  if (count > 1) stream << 's';
}

void SGCsetValidationError(unsigned validationError, COLerror& error) {
  switch (validationError) {
    case SGCinvalidDouble:
      error.setParameter("SegmentGrammarErrorCode", 11u);
      error.setParameter("SegmentGrammarErrorDescription", "Invalid Double");
      return;
    case SGCinvalidInteger:
      error.setParameter("SegmentGrammarErrorCode", 10u);
      error.setParameter("SegmentGrammarErrorDescription", "Invalid Integer");
      return;
    case SGCinvalidDateTime:
      error.setParameter("SegmentGrammarErrorCode", 12u);
      error.setParameter("SegmentGrammarErrorDescription", "Invalid DateTime");
      return;
    case SGCinvalidEnumeration:
      error.setParameter("SegmentGrammarErrorCode", 13u);
      error.setParameter("SegmentGrammarErrorDescription", "Invalid Enumeration");
      return;
    default:
      throw COLerror("Unknown validation error type.", COL_ERROR_PRECONDITION);
  }
}

void SGCshowContext(int start, int end, COLostream& stream) {
  if (start == SGCerror::NoContext) return;
  const int Length = end - start > 0 ? end - start : 1;
  for (int i = 0; i < start; ++i) stream << ' ';
  for (int i = 0; i < Length; ++i) stream << '^';
}

// --- missing field

void SGCerrorMissingField::formatError(const SGMsegment&, COLostream& stream) const {
  SGCwriteItem(stream, "Missing required field", fieldIndex(), SGCfieldName(segmentGrammar(), fieldIndex()));
}

int SGCerrorMissingField::startOfContext(const SGMsegment& segment) const {
  if (!SGCfieldInSegment(segment, fieldIndex())) return NoContext;
  return SGCstartOfField(segment, fieldIndex(), 0, 0, 0);
}

int SGCerrorMissingField::endOfContext(const SGMsegment& segment) const {
  if (!SGCrepeatInSegment(segment, fieldIndex(), 0)) return NoContext;
  return SGCendOfField(segment, fieldIndex(), 0);
}

void SGCerrorMissingField::populateErrorContext(const SGMsegment&, COLerror& error) const {
  SGCsetFieldParameters(*this, error);
  error.setParameter("SegmentGrammarErrorCode", 0u);
  error.setParameter("SegmentGrammarErrorDescription", "Required field missing");
}

// --- too many repeats

void SGCerrorFieldRepeatExceeded::formatError(const SGMsegment& segment, COLostream& stream) const {
  const unsigned Maximum = segmentGrammar().fieldMaxRepeat(fieldIndex());
  const unsigned Count = segment.countOfFieldRepeat(fieldIndex());
  stream << "Maximum field repeats of " << Maximum << " exceeded by " << (Count - Maximum - 1) << " in ";
  SGCwriteItem(stream, "field", fieldIndex(), SGCfieldName(segmentGrammar(), fieldIndex()));
}

int SGCerrorFieldRepeatExceeded::startOfContext(const SGMsegment& segment) const {
  const unsigned FirstExcess = segmentGrammar().fieldMaxRepeat(fieldIndex()) + 1;
  if (!SGCrepeatInSegment(segment, fieldIndex(), FirstExcess)) return NoContext;
  return SGCstartOfField(segment, fieldIndex(), FirstExcess, 0, 0);
}

int SGCerrorFieldRepeatExceeded::endOfContext(const SGMsegment& segment) const {
  if (!SGCrepeatInSegment(segment, fieldIndex(), 0)) return NoContext;
  return SGCendOfField(segment, fieldIndex(), segment.countOfFieldRepeat(fieldIndex()) - 1);
}

void SGCerrorFieldRepeatExceeded::populateErrorContext(const SGMsegment&, COLerror& error) const {
  SGCsetFieldParameters(*this, error);
  error.setParameter("SegmentGrammarErrorCode", 1u);
  error.setParameter("SegmentGrammarErrorDescription", "Field max repeats exceeded");
}

// --- missing sub field

void SGCerrorMissingSubField::formatError(const SGMsegment&, COLostream& stream) const {
  const QVMsegmentGrammar& Grammar = segmentGrammar();
  SGCwriteItem(stream, "Missing required sub field", subFieldIndex(),
               SGCsubFieldName(Grammar, fieldIndex(), subFieldIndex()));
  stream << " of ";
  SGCwriteItem(stream, "field", fieldIndex(), SGCfieldName(Grammar, fieldIndex()));
  SGCoutputRepeat(repeatIndex(), stream);
}

int SGCerrorMissingSubField::startOfContext(const SGMsegment& segment) const {
  if (!SGCrepeatInSegment(segment, fieldIndex(), repeatIndex())) return NoContext;
  return SGCstartOfField(segment, fieldIndex(), repeatIndex(), 0, 0);
}

int SGCerrorMissingSubField::endOfContext(const SGMsegment& segment) const {
  if (!SGCrepeatInSegment(segment, fieldIndex(), repeatIndex())) return NoContext;
  return SGCendOfField(segment, fieldIndex(), repeatIndex());
}

void SGCerrorMissingSubField::populateErrorContext(const SGMsegment&, COLerror& error) const {
  SGCsetFieldParameters(*this, error);
  error.setParameter("FieldRepeatIndex", repeatIndex());
  error.setParameter("SegmentGrammarErrorDescription", "Missing required data");
  error.setParameter("SegmentGrammarErrorCode", 15u);
  SGCsetSubFieldParameters(*this, error);
}

// --- missing sub sub field

void SGCerrorMissingSubSubField::formatError(const SGMsegment&, COLostream& stream) const {
  const QVMsegmentGrammar& Grammar = segmentGrammar();
  SGCwriteItem(stream, "Missing required sub sub field", subSubFieldIndex(),
               SGCsubSubFieldName(Grammar, fieldIndex(), subFieldIndex(), subSubFieldIndex()));
  stream << newline << "of ";
  SGCwriteItem(stream, "sub field", subFieldIndex(), SGCsubFieldName(Grammar, fieldIndex(), subFieldIndex()));
  stream << newline << "of ";
  SGCwriteItem(stream, "field", fieldIndex(), SGCfieldName(Grammar, fieldIndex()));
  SGCoutputRepeat(repeatIndex(), stream);
}

int SGCerrorMissingSubSubField::startOfContext(const SGMsegment& segment) const {
  if (!SGCsubFieldInSegment(segment, fieldIndex(), repeatIndex(), subFieldIndex())) return NoContext;
  return SGCstartOfField(segment, fieldIndex(), repeatIndex(), subFieldIndex(), 0);
}

int SGCerrorMissingSubSubField::endOfContext(const SGMsegment& segment) const {
  if (!SGCsubFieldInSegment(segment, fieldIndex(), repeatIndex(), subFieldIndex())) return NoContext;
  return SGCendOfSubField(segment, fieldIndex(), repeatIndex(), subFieldIndex());
}

void SGCerrorMissingSubSubField::populateErrorContext(const SGMsegment&, COLerror& error) const {
  SGCsetFieldParameters(*this, error);
  error.setParameter("FieldRepeatIndex", repeatIndex());
  error.setParameter("SubFieldIndex", subFieldIndex() + 1);
  error.setParameter("SubSubFieldIndex", subSubFieldIndex() + 1);
  error.setParameter("SegmentGrammarErrorDescription", "Missing required data");
  error.setParameter("SegmentGrammarErrorCode", 16u);
  error.setParameter("SubFieldName", SGCsubFieldName(segmentGrammar(), fieldIndex(), subFieldIndex()));
  error.setParameter("SubSubFieldName",
                     SGCsubSubFieldName(segmentGrammar(), fieldIndex(), subFieldIndex(), subSubFieldIndex()));
}

// --- too long

unsigned SGCerrorSubFieldTooLong::maxLength() const {
  return SGCleafMaxLength(SGCfieldComposite(segmentGrammar(), fieldIndex()), subFieldIndex());
}

void SGCerrorSubFieldTooLong::formatError(const SGMsegment&, COLostream& stream) const {
  stream << "Maximum length of " << maxLength() << " exceeded in ";
  SGCwriteItem(stream, "field", fieldIndex(), SGCfieldName(segmentGrammar(), fieldIndex()));
  SGCoutputRepeat(repeatIndex(), stream);
}

int SGCerrorSubFieldTooLong::startOfContext(const SGMsegment& segment) const {
  return SGCstartOfField(segment, fieldIndex(), repeatIndex(), subFieldIndex(), 0);
}

int SGCerrorSubFieldTooLong::endOfContext(const SGMsegment& segment) const {
  return SGCendOfFieldValue(segment, fieldIndex(), repeatIndex(), subFieldIndex(), 0);
}

void SGCerrorSubFieldTooLong::populateErrorContext(const SGMsegment&, COLerror& error) const {
  SGCsetFieldParameters(*this, error);
  error.setParameter("FieldRepeatIndex", repeatIndex());
  error.setParameter("MaxLength", maxLength());
}

unsigned SGCerrorSubSubFieldTooLong::maxLength() const {
  const QVMcompositeGrammar* Composite = SGCfieldComposite(segmentGrammar(), fieldIndex());
  return SGCleafMaxLength(SGCnestedComposite(Composite, subFieldIndex()), subSubFieldIndex());
}

void SGCerrorSubSubFieldTooLong::formatError(const SGMsegment&, COLostream& stream) const {
  const QVMsegmentGrammar& Grammar = segmentGrammar();
  stream << "Maximum length of " << maxLength() << " exceeded in ";
  SGCwriteItem(stream, "field", fieldIndex(), SGCfieldName(Grammar, fieldIndex()));
  SGCoutputRepeat(repeatIndex(), stream);
  stream << " in ";
  SGCwriteItem(stream, "sub field", subFieldIndex(), SGCsubFieldName(Grammar, fieldIndex(), subFieldIndex()));
}

int SGCerrorSubSubFieldTooLong::startOfContext(const SGMsegment& segment) const {
  return SGCstartOfField(segment, fieldIndex(), repeatIndex(), subFieldIndex(), subSubFieldIndex());
}

int SGCerrorSubSubFieldTooLong::endOfContext(const SGMsegment& segment) const {
  return SGCendOfFieldValue(segment, fieldIndex(), repeatIndex(), subFieldIndex(), subSubFieldIndex());
}

void SGCerrorSubSubFieldTooLong::populateErrorContext(const SGMsegment&, COLerror& error) const {
  SGCsetFieldParameters(*this, error);
  error.setParameter("FieldRepeatIndex", repeatIndex());
  error.setParameter("SubFieldIndex", subFieldIndex() + 1);
  error.setParameter("MaxLength", maxLength());
}

// --- bad format

void SGCerrorBadField::formatError(const SGMsegment&, COLostream& stream) const {
  SGCoutputErrorType(validationError(), stream);
  stream << " found in ";
  SGCwriteItem(stream, "field", fieldIndex(), SGCfieldName(segmentGrammar(), fieldIndex()));
  SGCoutputRepeat(repeatIndex(), stream);
}

int SGCerrorBadField::startOfContext(const SGMsegment& segment) const {
  return SGCstartOfField(segment, fieldIndex(), repeatIndex(), 0, 0);
}

int SGCerrorBadField::endOfContext(const SGMsegment& segment) const {
  return SGCendOfFieldValue(segment, fieldIndex(), repeatIndex(), 0, 0);
}

void SGCerrorBadField::populateErrorContext(const SGMsegment& segment, COLerror& error) const {
  SGCsetFieldParameters(*this, error);
  error.setParameter("FieldValue", SGCrawValue(segment, *this, 0, 0));
  error.setParameter("FieldRepeatIndex", repeatIndex());
  SGCsetValidationError(validationError(), error);
}

void SGCerrorBadSubField::formatError(const SGMsegment&, COLostream& stream) const {
  const QVMsegmentGrammar& Grammar = segmentGrammar();
  SGCoutputErrorType(validationError(), stream);
  stream << " found in ";
  SGCwriteItem(stream, "sub field", subFieldIndex(), SGCsubFieldName(Grammar, fieldIndex(), subFieldIndex()));
  stream << " in ";
  SGCwriteItem(stream, "field", fieldIndex(), SGCfieldName(Grammar, fieldIndex()));
  SGCoutputRepeat(repeatIndex(), stream);
}

int SGCerrorBadSubField::startOfContext(const SGMsegment& segment) const {
  return SGCstartOfField(segment, fieldIndex(), repeatIndex(), subFieldIndex(), 0);
}

int SGCerrorBadSubField::endOfContext(const SGMsegment& segment) const {
  return SGCendOfFieldValue(segment, fieldIndex(), repeatIndex(), subFieldIndex(), 0);
}

void SGCerrorBadSubField::populateErrorContext(const SGMsegment& segment, COLerror& error) const {
  SGCsetFieldParameters(*this, error);
  error.setParameter("FieldValue", SGCrawValue(segment, *this, subFieldIndex(), 0));
  error.setParameter("FieldRepeatIndex", repeatIndex());
  SGCsetSubFieldParameters(*this, error);
  SGCsetValidationError(validationError(), error);
}

void SGCerrorBadSubSubField::formatError(const SGMsegment&, COLostream& stream) const {
  const QVMsegmentGrammar& Grammar = segmentGrammar();
  SGCoutputErrorType(validationError(), stream);
  stream << " found in ";
  SGCwriteItem(stream, "sub sub field", subSubFieldIndex(),
               SGCsubSubFieldName(Grammar, fieldIndex(), subFieldIndex(), subSubFieldIndex()));
  stream << " in ";
  SGCwriteItem(stream, "sub field", subFieldIndex(), SGCsubFieldName(Grammar, fieldIndex(), subFieldIndex()));
  stream << " in ";
  SGCwriteItem(stream, "field", fieldIndex(), SGCfieldName(Grammar, fieldIndex()));
  SGCoutputRepeat(repeatIndex(), stream);
}

int SGCerrorBadSubSubField::startOfContext(const SGMsegment& segment) const {
  return SGCstartOfField(segment, fieldIndex(), repeatIndex(), subFieldIndex(), subSubFieldIndex());
}

int SGCerrorBadSubSubField::endOfContext(const SGMsegment& segment) const {
  return SGCendOfFieldValue(segment, fieldIndex(), repeatIndex(), subFieldIndex(), subSubFieldIndex());
}

void SGCerrorBadSubSubField::populateErrorContext(const SGMsegment& segment, COLerror& error) const {
  SGCsetFieldParameters(*this, error);
  error.setParameter("FieldValue", SGCrawValue(segment, *this, subFieldIndex(), subSubFieldIndex()));
  error.setParameter("FieldRepeatIndex", repeatIndex());
  SGCsetSubFieldParameters(*this, error);
  SGCsetSubSubFieldParameters(*this, error);
  SGCsetValidationError(validationError(), error);
}
