#include "QVMtableXmlFormatter.h"

#include <cstdio>

#include "COLerror.h"
#include "COLsinkStandard.h"
#include "COLstring.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMtableDefinitionInternal.h"
#include "QVMtableGrammarInternal.h"
#include "QVMtableInternal.h"
#include "XMLiosStream.h"

COLstring QVMtableXmlName(const COLstring& Name) {
  static const XMLiosTagFilterNoDelimiter Filter;
  std::string_view Text(Name);
  size_t Kept = 0;
  while (Kept < Text.size() && Filter.translate(static_cast<unsigned char>(Text[Kept])) == Text[Kept]) ++Kept;
  if (Kept == Text.size()) return Name;
  std::string Out(Text.substr(0, Kept));
  for (const char Byte : Text.substr(Kept))
    if (const char Translated = Filter.translate(static_cast<unsigned char>(Byte))) Out += Translated;
  return COLstring(Out);
}

COLstring QVMtableXmlTag(const QVMtableGrammarInternal& Grammar) {
  if (Grammar.parent() && !Grammar.isNode()) {
    const QVMmessageDefinitionInternal* Message = Grammar.message();
    return QVMtableXmlName((Message ? Message->name() : COLstring()) + "." + Grammar.name());
  }
  return QVMtableXmlName(Grammar.name());
}

QVMtableXmlFormatter::QVMtableXmlFormatter() : m_Stream(std::make_unique<XMLiosStream>('.', new COLsinkNull, true)) {
  m_Stream->setDataFilter(new XMLiosNullDataFilter);
  m_Stream->setTagFilter(new XMLiosTagFilterNoDelimiter);
  m_Stream->setNewLine("\r\n");
}

QVMtableXmlFormatter::~QVMtableXmlFormatter() = default;

COLstring& QVMtableXmlFormatter::outputTableInXml(COLstring& Out, const QVMtableInternal& Table, bool LongTags) {
  Out.clear();
  XMLiosStream& Stream = *m_Stream;
  Stream.setSink(&Out, false);
  Stream << startTag << "Quovane_Import" << newline;
  // Reading a cell may bring its date-time item in line with its object; the values stay.
  outputTable(COLstring(), const_cast<QVMtableInternal&>(Table), LongTags, true);
  Stream << endTag << "Quovane_Import" << newline << flush;
  return Out;
}

namespace {

COLstring QVMcolumnText(QVMtableInternal& Table, unsigned Column, unsigned Row) {
  if (Table.columnType(Column) == QVMdateTimeType) {
    // The year has four digits even before 1000, so that the reader takes the text back.
    const QVMdateTimeInternal& Value = Table.getDateTime(Column, Row);
    // A date the calendar cannot show (out of its range) has no text, like an invalid one.
    if (Value.status() != COLdateTime::valid) return COLstring();
    char Text[64];
    try {
      std::snprintf(Text, sizeof Text, "%04d-%02d-%02dT%02d:%02d:%02d", Value.year(), Value.month(), Value.day(),
                    Value.hour(), Value.minute(), Value.second());
    } catch (const COLerror&) {
      return COLstring();
    }
    return Text;
  }
  return Table.getStringValue(Column, Row);
}

}  // namespace

void QVMtableXmlFormatter::outputTable(const COLstring& Indent, QVMtableInternal& Table, bool LongTags,
                                       bool IsRoot) {
  if (Table.countOfRow() == 0 || !Table.tableGrammar()) return;
  if (Table.countOfColumn() == 0 && Table.countOfSubTable() == 0 && !IsRoot) return;
  XMLiosStream& Stream = *m_Stream;
  const COLstring Tag = QVMtableXmlTag(*Table.tableGrammar());
  const COLstring ColumnIndent = Indent + "   ";
  const QVMtableDefinitionInternal* Definition = Table.tableDefinition();
  for (unsigned Row = 0; Row < Table.countOfRow(); ++Row) {
    Stream << elementData << Indent << startTag << Tag << elementData << newline;
    for (unsigned Column = 0; Column < Table.countOfColumn(); ++Column) {
      if (Table.isNull(Column, Row)) continue;
      // String cells, the common case, are written from the cell itself without a copy.
      COLstring Converted;
      const bool IsString = Table.columnType(Column) == QVMstringType;
      if (!IsString) Converted = QVMcolumnText(Table, Column, Row);
      const COLstring& Text = IsString ? Table.getString(Column, Row) : Converted;
      if (Text.empty()) continue;
      const COLstring& ColumnName = Table.columnName(Column);
      // The tag filter keeps ".", so the long tag is written in two parts instead of being built.
      Stream << elementData << ColumnIndent << startTag;
      if (LongTags && Definition) Stream << Definition->tableName() << ".";
      Stream << ColumnName << elementData << Text << endTag;
      if (LongTags && Definition) Stream << Definition->tableName() << ".";
      Stream << ColumnName << newline;
    }
    for (unsigned Sub = 0; Sub < Table.countOfRowSubTable(Row); ++Sub)
      outputTable(ColumnIndent, Table.rowSubTable(Row, Sub), LongTags, false);
    Stream << elementData << Indent << endTag << Tag << newline;
  }
}
