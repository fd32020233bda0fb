// The escape fault: unlike the other content faults it can lie in a field or sub field that
// the grammar does not define, so every level is named only as far as the grammar reaches,
// with plain numbers filling in.
#include <cctype>

#include "QVMsegmentGrammar.h"
#include "SGCcompositeShape.h"
#include "SGCerror.h"
#include "SGCerrorPosition.h"
#include "SGMsegmentList.h"

namespace {

// The names of the three levels, each empty where the grammar cannot name it.
struct SGCescapeNames {
  COLstring Field;
  COLstring SubField;
  COLstring SubSubField;
};

COLstring SGCnamedItem(const char* word, unsigned index, const COLstring& name) {
  COLstring Text;
  COLostream(Text) << word << ' ' << (index + 1) << " '" << name << '\'';
  return Text;
}

COLstring SGCnumberedItem(const char* word, unsigned index) {
  COLstring Text;
  COLostream(Text) << word << ' ' << (index + 1);
  return Text;
}

SGCescapeNames SGCfetchFieldNames(const SGCerror& error) {
  SGCescapeNames Names;
  const QVMsegmentGrammar& Grammar = error.segmentGrammar();
  const unsigned Field = error.fieldIndex();
  const unsigned SubField = error.subFieldIndex();
  const unsigned SubSubField = error.subSubFieldIndex();
  if (Field >= Grammar.countOfField()) return Names;
  Names.Field = SGCnamedItem("field", Field, Grammar.fieldName(Field));
  const QVMcompositeGrammar* Composite = Grammar.fieldType(Field);
  if (Composite == nullptr || SubField == SGCerror::NoIndex || SubField >= Composite->countOfField() ||
      SGCisFieldNmOrStType(*Composite))
    return Names;
  Names.SubField = SGCnamedItem("sub field", SubField, Composite->fieldName(SubField));
  const QVMcompositeGrammar* Nested = SGCnestedComposite(Composite, SubField);
  if (Nested == nullptr || SubSubField == SGCerror::NoIndex || SubSubField >= Nested->countOfField())
    return Names;
  Names.SubSubField = SGCnamedItem("sub sub field", SubSubField, Nested->fieldName(SubSubField));
  return Names;
}

bool SGCisNamedLevel(unsigned index) { return index != SGCerror::NoIndex && index != 0; }

}  // namespace

void SGCerrorInvalidEscape::formatError(const SGMsegment&, COLostream& stream) const {
  COL_PRECONDITION_TEXT(fieldIndex() != NoIndex, "fieldIndex() != -1");
  COL_PRECONDITION_TEXT(repeatIndex() != NoIndex, "repeatIndex() != -1");
  SGCescapeNames Names = SGCfetchFieldNames(*this);
  if (Names.Field.empty()) Names.Field = SGCnumberedItem("field", fieldIndex());
  if (Names.SubField.empty() && SGCisNamedLevel(subFieldIndex()))
    Names.SubField = SGCnumberedItem("sub field", subFieldIndex());
  if (!Names.SubField.empty() && Names.SubSubField.empty() && SGCisNamedLevel(subSubFieldIndex()))
    Names.SubSubField = SGCnumberedItem("sub sub field", subSubFieldIndex());

  COLstring Text;
  if (Names.SubField.empty())
    Text = Names.Field;
  else if (Names.SubSubField.empty())
    Text = Names.SubField + " of " + Names.Field;
  else
    Text = Names.SubSubField + " of " + Names.SubField + " of " + Names.Field;
  Text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(Text[0])));
  stream << Text;
  SGCoutputRepeat(repeatIndex(), stream);
  stream << " has an escape sequence error : " << escapeDescription();
}

namespace {

unsigned SGClevelOrZero(unsigned index) { return index == SGCerror::NoIndex ? 0 : index; }

bool SGCescapeInSegment(const SGMsegment& segment, const SGCerror& error) {
  const unsigned Field = error.fieldIndex();
  const unsigned Repeat = error.repeatIndex();
  if (Field >= segment.countOfField() || Repeat >= segment.countOfFieldRepeat(Field)) return false;
  const SGMfield& Value = segment.field(Field, Repeat);
  const unsigned SubField = SGClevelOrZero(error.subFieldIndex());
  if (SubField >= Value.countOfSubField()) return false;
  return SGClevelOrZero(error.subSubFieldIndex()) < Value.countOfSubSubField(SubField);
}

}  // namespace

int SGCerrorInvalidEscape::startOfContext(const SGMsegment& segment) const {
  if (!SGCescapeInSegment(segment, *this)) return NoContext;
  return SGCstartOfField(segment, fieldIndex(), repeatIndex(), SGClevelOrZero(subFieldIndex()),
                         SGClevelOrZero(subSubFieldIndex()));
}

int SGCerrorInvalidEscape::endOfContext(const SGMsegment& segment) const {
  if (!SGCescapeInSegment(segment, *this)) return NoContext;
  return SGCendOfSubField(segment, fieldIndex(), repeatIndex(), SGClevelOrZero(subFieldIndex()));
}

void SGCerrorInvalidEscape::populateErrorContext(const SGMsegment&, COLerror& error) const {
  const QVMsegmentGrammar& Grammar = segmentGrammar();
  if (fieldIndex() < Grammar.countOfField()) error.setParameter("FieldName", Grammar.fieldName(fieldIndex()));
  error.setParameter("FieldIndex", fieldIndex() + 1);
  error.setParameter("FieldRepeatIndex", repeatIndex());
  const SGCescapeNames Names = SGCfetchFieldNames(*this);
  if (subFieldIndex() != NoIndex) {
    error.setParameter("SubFieldIndex", subFieldIndex() + 1);
    if (!Names.SubField.empty())
      error.setParameter("SubFieldName", Grammar.fieldType(fieldIndex())->fieldName(subFieldIndex()));
  }
  if (subSubFieldIndex() != NoIndex) {
    error.setParameter("SubSubFieldIndex", subSubFieldIndex() + 1);
    if (!Names.SubSubField.empty()) {
      const QVMcompositeGrammar* Nested = SGCnestedComposite(Grammar.fieldType(fieldIndex()), subFieldIndex());
      error.setParameter("SubSubFieldName", Nested->fieldName(subSubFieldIndex()));
    }
  }
  error.setParameter("SegmentGrammarErrorDescription", "Bad Escape Sequence");
  error.setParameter("SegmentGrammarErrorCode", 8u);
}
