#include "QVPcheckField.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "COLerror.h"
#include "QVMcompositeGrammar.h"
#include "QVMdateTimeInternal.h"
#include "QVMtypedMessageTree.h"
#include "QVMuntypedMessageTree.h"
#include "SCCescaper.h"
#include "SGCcheck.h"
#include "SGMvalue.h"

namespace {

// A leaf (not a composite) of the sub field `Rules`.
void checkLeaf(QVMuntypedMessageTree& Raw, const QVMcompositeSubField& Rules, QVMtypedMessageTree& Typed,
               const SCCescaper& Escaper, bool Strict) {
  // A leaf that came with components (a^b or a&b where the grammar wants one value) takes the
  // first, however deep it stands.
  const QVMuntypedMessageTree* Source = &Raw;
  if (Raw.countOfSubNode() > 0) COL_PRECONDITION_TEXT(Raw.isNull(), "Node.isNull()");
  while (Source->countOfSubNode() > 0) Source = Source->node(0, 0);
  const char* Value = Source->isNull() ? nullptr : Source->getValue();
  if (Value == nullptr || *Value == '\0') {
    Typed.setDataPresent(QVMdataPresentEmpty);
    return;
  }
  uint32_t Present = QVMdataPresentConverted;
  switch (Rules.dataType()) {
    case QVMintegerType:
      Typed.setIntegerValue(std::atoi(Value));
      break;
    case QVMdoubleType:
      Typed.setDoubleValue(std::strtod(Value, nullptr));
      break;
    case QVMdateTimeType: {
      const QVMdateTimeGrammar* Grammar = Rules.dateTimeGrammar();
      COL_PRECONDITION_TEXT(Grammar != nullptr, "NULL != Grammar.fieldDateTimeGrammar(FieldIndex)");
      QVMdateTimeInternal DateTime;
      if (!QVPdateTimeGrammarConvertStringToDateTime(*Grammar, Value, DateTime)) Present = QVMdataPresentNotConverted;
      Typed.setDateTimeValue(DateTime);
      break;
    }
    default: {  // string and enumeration
      if (!Strict) {
        // Nothing can fail: the text goes straight into the node's kept storage.
        Escaper.unescapeString(Typed.stringValueToFill(), Value, false);
        break;
      }
      COLstring Text;
      Escaper.unescapeString(Text, Value, Strict);
      Typed.setStringValue(Text);
      break;
    }
  }
  if (Value[0] == '"' && Value[1] == '"' && Value[2] == '\0') Present = QVMdataPresentExplicitNull;
  Typed.setDataPresent(Present);
}

// Sub field `FieldIndex` of the composite, whatever its type: the sub field is looked up once and
// read through its inline getters, since this runs for every value of every segment.
void checkSubField(QVMuntypedMessageTree& Raw, QVMtypedMessageTree& Typed, const QVMcompositeGrammar& Composite,
                   unsigned FieldIndex, const SCCescaper& Escaper, bool Strict) {
  const QVMcompositeSubField& Rules = *Composite.field(FieldIndex);
  if (Rules.dataType() != QVMcompositeType) {
    checkLeaf(Raw, Rules, Typed, Escaper, Strict);
    return;
  }
  const QVMcompositeGrammar* Inner = Rules.compositeType();
  COL_PRECONDITION_TEXT(Inner != nullptr, "Grammar.fieldCompositeType(FieldIndex) != NULL");
  QVPcheckComposite(Raw, Typed, *Inner, Escaper, Strict);
}

}  // namespace

void QVPcheckComposite(QVMuntypedMessageTree& Raw, QVMtypedMessageTree& Typed, const QVMcompositeGrammar& Composite,
                       const SCCescaper& Escaper, bool Strict) {
  const unsigned Fields = Composite.countOfField();
  if (Fields == 1) {
    checkSubField(Raw, Typed, Composite, 0, Escaper, Strict);
    return;
  }
  if (Raw.countOfSubNode() > 0) {
    // Components beyond the grammar are dropped without a word.
    const unsigned Count = std::min<unsigned>(Raw.countOfSubNode(), Fields);
    if (Count > 0) Typed.makeNodeUpTo(Count - 1, 0);  // all at once
    for (unsigned Index = 0; Index < Count; ++Index)
      checkSubField(*Raw.node(Index, 0), *Typed.makeNodeUpTo(Index, 0), Composite, Index, Escaper, Strict);
  } else if (Raw.isNull()) {
    Typed.setNull();
  } else if (Fields > 0) {
    QVPprocessSingleOccuranceOfSubNode(Raw, Typed, Composite, Escaper, Strict);
  }
}

void QVPprocessSingleOccuranceOfSubNode(QVMuntypedMessageTree& Raw, QVMtypedMessageTree& Typed,
                                        const QVMcompositeGrammar& Composite, const SCCescaper& Escaper, bool Strict) {
  checkSubField(Raw, *Typed.makeNodeUpTo(0, 0), Composite, 0, Escaper, Strict);
}

void QVPcheckField(QVMuntypedMessageTree& Raw, QVMtypedMessageTree& Typed, const QVMcompositeGrammar& Composite,
                   unsigned FieldIndex, const SCCescaper& Escaper, bool Strict) {
  checkSubField(Raw, Typed, Composite, FieldIndex, Escaper, Strict);
}

void QVPcheckLeafGrammar(QVMuntypedMessageTree& Raw, const QVMcompositeGrammar& Composite, QVMtypedMessageTree& Typed,
                         unsigned FieldIndex, const SCCescaper& Escaper, bool Strict) {
  const QVMcompositeSubField& Rules = *Composite.field(FieldIndex);
  COL_PRECONDITION_TEXT(Rules.dataType() != QVMcompositeType, "Grammar.fieldDataType(FieldIndex) != QVMcompositeType");
  checkLeaf(Raw, Rules, Typed, Escaper, Strict);
}

bool QVPdateTimeGrammarConvertStringToDateTime(const QVMdateTimeGrammar& Grammar, const char* Value,
                                               QVMdateTimeInternal& Result) {
  SGMvalue Text;
  Text.set(Value, static_cast<uint32_t>(std::strlen(Value)));
  return SGCdateTimeGrammarConvertStringToDateTime(Grammar, Text, Result, SGCzoneDigits::OneAtEnd);
}

void QVPthrowGrammarException(const char* Text, unsigned Code, unsigned SegmentIndex, unsigned RepeatIndex,
                              const char* SegmentName) {
  COLerror Error(Text, Code);
  Error.setParameter("MessageSegmentIndex", SegmentIndex + 1);
  Error.setParameter("SegmentRepeatIndex", RepeatIndex);
  if (SegmentName != nullptr) Error.setParameter("MessageSegmentName", SegmentName);
  throw Error;
}
