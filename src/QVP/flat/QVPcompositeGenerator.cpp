#include "QVPcompositeGenerator.h"

#include <cstdio>

#include "COLerror.h"
#include "COLostream.h"
#include "QVMcompositeGrammar.h"
#include "QVMdateTimeGrammar.h"
#include "QVMdateTimeInternal.h"
#include "QVMtypedMessageTree.h"
#include "QVMuntypedMessageTree.h"
#include "SCCescaper.h"

namespace {

const char kExplicitNull[] = "\"\"";

void QVPfault(QVMuntypedMessageTree& Node, QVPgenerateFault Code, const COLstring& Text, bool* Ok) {
  Node.addError(Code, Text);
  if (Ok) *Ok = false;
}

// "Required fields missing: " and the required fields of `Composite` from `First` on;
// nothing when there are none.
void QVPrequiredFrom(const QVMcompositeGrammar& Composite, unsigned First, QVMuntypedMessageTree& Untyped, bool* Ok) {
  COLstring Missing;
  COLostream Stream(Missing);
  for (unsigned Field = First; Field < Composite.countOfField(); ++Field) {
    if (!Composite.fieldIsRequired(Field)) continue;
    if (!Missing.empty()) Stream << " ";
    QVMcompositeGrammarPrintField(Composite, Field, Stream);
  }
  Stream.flush();
  if (!Missing.empty()) QVPfault(Untyped, QVPfaultRequiredMissing, "Required fields missing: " + Missing, Ok);
}

void QVPappendNumber(COLstring& Result, const char* Format, int Value) {
  char Buffer[16];
  std::snprintf(Buffer, sizeof Buffer, Format, Value);
  Result += Buffer;
}

}  // namespace

void QVPcompositeGenerator::generateComposite(const QVMtypedMessageTree& Typed, QVMuntypedMessageTree& Untyped,
                                              const QVMcompositeGrammar& Composite, const SCCescaper& Escaper,
                                              bool* Ok) {
  const unsigned Fields = Composite.countOfField();
  if (Fields == 0) {
    // A composite without sub-fields is a plain value.
    if (Typed.isNode() && !Typed.isNull()) {
      COLstring Text;
      Escaper.escapeChar(Text, Typed.getAsStringValue());
      Untyped.setStringValue(Text);
    }
    return;
  }
  if (Fields == 1) {
    generateField(Typed, Untyped, Composite, 0, Escaper, Ok);
    return;
  }
  if (Typed.countOfSubNode() == 0) {
    processSingleOccuranceOfSubNode(Typed, Untyped, Composite, Escaper, Ok);
    return;
  }
  doRequiredSubFieldsExist(Typed, Untyped, Composite, Ok);
  const unsigned Count = std::min(Fields, Typed.countOfSubNode());
  for (unsigned Field = 0; Field < Count; ++Field)
    generateField(*Typed.node(Field, 0), *Untyped.node(Field, 0), Composite, Field, Escaper, Ok);
}

void QVPcompositeGenerator::doRequiredSubFieldsExist(const QVMtypedMessageTree& Typed, QVMuntypedMessageTree& Untyped,
                                                     const QVMcompositeGrammar& Composite, bool* Ok) {
  QVPrequiredFrom(Composite, Typed.countOfSubNode(), Untyped, Ok);
  for (unsigned Extra = Composite.countOfField(); Extra < Typed.countOfSubNode(); ++Extra)
    Untyped.addError(QVPfaultExtraIgnored, "Warning extra field information ignored.");
}

void QVPcompositeGenerator::processSingleOccuranceOfSubNode(const QVMtypedMessageTree& Typed,
                                                            QVMuntypedMessageTree& Untyped,
                                                            const QVMcompositeGrammar& Composite,
                                                            const SCCescaper& Escaper, bool* Ok) {
  QVPrequiredFrom(Composite, 1, Untyped, Ok);
  generateField(Typed, *Untyped.node(0, 0), Composite, 0, Escaper, Ok);
}

void QVPcompositeGenerator::generateField(const QVMtypedMessageTree& Typed, QVMuntypedMessageTree& Untyped,
                                          const QVMcompositeGrammar& Composite, unsigned FieldIndex,
                                          const SCCescaper& Escaper, bool* Ok) {
  if (Composite.fieldDataType(FieldIndex) != QVMcompositeType) {
    if (Composite.countOfField() > 1) Untyped.setLabel(Composite.fieldName(FieldIndex));
    generateLeafGrammar(Typed, Composite, Untyped, FieldIndex, Escaper, Ok);
    return;
  }
  const QVMcompositeGrammar* Nested = Composite.fieldCompositeType(FieldIndex);
  COL_PRECONDITION_TEXT(Nested != nullptr, "Grammar.fieldCompositeType(FieldIndex) != NULL");
  Untyped.setLabel(Composite.fieldName(FieldIndex));
  generateComposite(Typed, Untyped, *Nested, Escaper, Ok);
}

bool QVPcompositeGenerator::fieldLengthOkay(const COLstring& Text, const QVMcompositeGrammar& Composite,
                                            unsigned FieldIndex, QVMuntypedMessageTree& Untyped, bool* Ok) {
  if (!Composite.fieldIsLengthRestricted(FieldIndex) || Text.size() <= Composite.fieldMaxLength(FieldIndex))
    return true;
  COLstring Message;
  COLostream(Message) << "Field " << Composite.fieldName(FieldIndex) << " length longer than the maximum "
                      << Composite.fieldMaxLength(FieldIndex) << " allowed";
  QVPfault(Untyped, QVPfaultTooLong, Message, Ok);
  return false;
}

void QVPcompositeGenerator::generateLeafGrammar(const QVMtypedMessageTree& Typed, const QVMcompositeGrammar& Composite,
                                                QVMuntypedMessageTree& Untyped, unsigned FieldIndex,
                                                const SCCescaper& Escaper, bool* Ok) {
  COL_PRECONDITION_TEXT(Composite.fieldDataType(FieldIndex) != QVMcompositeType,
                        "Grammar.fieldDataType(FieldIndex) != QVMcompositeType");
  const QVMtypedMessageTree* Value = &Typed;
  while (!Value->isNode()) {
    if (Composite.countOfField() != 1) return;
    Value = Value->node(0, 0);
  }
  if (Value->isNull()) {
    if (Composite.fieldIsRequired(FieldIndex))
      QVPfault(Untyped, QVPfaultRequiredMissing,
               "Required field: " + Composite.name() + "." + Composite.fieldName(FieldIndex) + " not present.", Ok);
    return;
  }
  // The explicit null of a message goes back as it came, whatever the field's type.
  if (Value->dataType() == QVMstringType && Value->getStringValue() == kExplicitNull) {
    Untyped.setStringValue(kExplicitNull);
    return;
  }
  // A value of another type than the field's is dropped without a report.
  if (!Composite.fieldDataTypeIsValid(FieldIndex, Value->dataType())) return;
  COLstring Text;
  switch (Composite.fieldDataType(FieldIndex)) {
    case QVMstringType:
    case QVMenumerationType: {
      const COLstring& Plain = Value->getAsStringValue();
      fieldLengthOkay(Plain, Composite, FieldIndex, Untyped, Ok);
      Escaper.escapeChar(Text, Plain);
      break;
    }
    case QVMintegerType:
      COL_PRECONDITION_TEXT(Value->dataType() == QVMintegerType, "OriginalField.dataType() == QVMintegerType");
      COLostream(Text) << Value->getIntegerValue();
      fieldLengthOkay(Text, Composite, FieldIndex, Untyped, Ok);
      break;
    case QVMdoubleType:
      COL_PRECONDITION_TEXT(Value->dataType() == QVMdoubleType, "OriginalField.dataType() == QVMdoubleType");
      COLostream(Text) << Value->getDoubleValue();
      fieldLengthOkay(Text, Composite, FieldIndex, Untyped, Ok);
      break;
    case QVMdateTimeType: {
      COL_PRECONDITION_TEXT(Value->dataType() == QVMdateTimeType, "OriginalField.dataType() == QVMdateTimeType");
      const QVMdateTimeGrammar* Grammar = Composite.fieldDateTimeGrammar(FieldIndex);
      COL_PRECONDITION_TEXT(Grammar != nullptr, "Grammar.fieldDateTimeGrammar(FieldIndex) != NULL");
      QVPdateTimeGrammarConvertDateTimeToString(*Grammar, Value->getDateTimeValue(), Text);
      break;
    }
    default:
      throw COLerror("Unknown data type in composite " + Composite.name() + ".", COL_ERROR_UNKNOWN_MAPPING_TYPE);
  }
  Untyped.setStringValue(Text);
}

void QVPdateTimeGrammarConvertDateTimeToString(const QVMdateTimeGrammar& Grammar, const COLdateTime& DateTime,
                                               COLstring& Result) {
  Result.clear();
  if (static_cast<double>(DateTime) == 0) return;
  for (unsigned Item = 0; Item < Grammar.countOfMaskItem(); ++Item) {
    switch (Grammar.maskItem(Item)) {
      case QVMdateTimeGrammar::MaskYear: QVPappendNumber(Result, "%04i", DateTime.year()); break;
      case QVMdateTimeGrammar::MaskMonth: QVPappendNumber(Result, "%02i", DateTime.month()); break;
      case QVMdateTimeGrammar::MaskDay: QVPappendNumber(Result, "%02i", DateTime.day()); break;
      case QVMdateTimeGrammar::MaskHour: QVPappendNumber(Result, "%02i", DateTime.hour()); break;
      case QVMdateTimeGrammar::MaskMinute: QVPappendNumber(Result, "%02i", DateTime.minute()); break;
      case QVMdateTimeGrammar::MaskSecond: QVPappendNumber(Result, "%02i", DateTime.second()); break;
      case QVMdateTimeGrammar::MaskFraction:
        if (DateTime.secondFraction() > 0 || Grammar.fieldsRequired()) {
          COL_PRECONDITION_TEXT(DateTime.secondFraction() < 1, "DateTime.secondFraction() < 1");
          Result += '.';
          QVPappendNumber(Result, "%04i", static_cast<int>(DateTime.secondFraction() * 10000));
        }
        break;
      case QVMdateTimeGrammar::MaskTimeZone:
        QVPappendNumber(Result, "%+03i", DateTime.zone());
        Result += "00";
        break;
      default:
        COL_PRECONDITION_TEXT(false, "Unknown date/time mask item");
    }
  }
}
