#include "QVPcompositeGenerator.h"

#include <ctime>

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

namespace {

// `Value` as "%0<Width>i" writes it, or "%+0<Width>i" when `Plus`: the width counts the sign.
char* QVPputNumber(char* At, int Value, int Width, bool Plus = false) {
  unsigned Magnitude = Value < 0 ? 0u - static_cast<unsigned>(Value) : static_cast<unsigned>(Value);
  char Digits[12];
  int Count = 0;
  do {
    Digits[Count++] = static_cast<char>('0' + Magnitude % 10);
    Magnitude /= 10;
  } while (Magnitude);
  const bool Sign = Value < 0 || Plus;
  if (Sign) *At++ = Value < 0 ? '-' : '+';
  for (int Pad = Width - Count - (Sign ? 1 : 0); Pad > 0; --Pad) *At++ = '0';
  while (Count) *At++ = Digits[--Count];
  return At;
}

}  // namespace

void QVPdateTimeGrammarConvertDateTimeToString(const QVMdateTimeGrammar& Grammar, const COLdateTime& DateTime,
                                               COLstring& Result) {
  Result.clear();
  if (static_cast<double>(DateTime) == 0) return;
  // The calendar fields once for the whole mask: asking the date-time for each of them works the
  // calendar out again every time. A value without fields takes the accessors, whose raise
  // names the field asked for.
  struct tm Fields;
  const bool Known = DateTime.status() == COLdateTime::valid && _COLTmFromOleDate(DateTime, Fields);
  std::string& Out = Result.str();
  char Item[32];
  for (unsigned Index = 0; Index < Grammar.countOfMaskItem(); ++Index) {
    char* End = Item;
    switch (Grammar.maskItem(Index)) {
      case QVMdateTimeGrammar::MaskYear: End = QVPputNumber(Item, Known ? Fields.tm_year : DateTime.year(), 4); break;
      case QVMdateTimeGrammar::MaskMonth: End = QVPputNumber(Item, Known ? Fields.tm_mon : DateTime.month(), 2); break;
      case QVMdateTimeGrammar::MaskDay: End = QVPputNumber(Item, Known ? Fields.tm_mday : DateTime.day(), 2); break;
      case QVMdateTimeGrammar::MaskHour: End = QVPputNumber(Item, Known ? Fields.tm_hour : DateTime.hour(), 2); break;
      case QVMdateTimeGrammar::MaskMinute: End = QVPputNumber(Item, Known ? Fields.tm_min : DateTime.minute(), 2); break;
      case QVMdateTimeGrammar::MaskSecond: End = QVPputNumber(Item, Known ? Fields.tm_sec : DateTime.second(), 2); break;
      case QVMdateTimeGrammar::MaskFraction:
        if (DateTime.secondFraction() > 0 || Grammar.fieldsRequired()) {
          COL_PRECONDITION_TEXT(DateTime.secondFraction() < 1, "DateTime.secondFraction() < 1");
          *End++ = '.';
          End = QVPputNumber(End, static_cast<int>(DateTime.secondFraction() * 10000), 4);
        }
        break;
      case QVMdateTimeGrammar::MaskTimeZone:
        End = QVPputNumber(Item, DateTime.zone(), 3, true);
        *End++ = '0';
        *End++ = '0';
        break;
      default:
        COL_PRECONDITION_TEXT(false, "Unknown date/time mask item");
    }
    Out.append(Item, End);
  }
}
