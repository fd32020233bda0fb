#include "QVMxmlTableParser.h"

#include <cstdlib>

#include "COLdateTime.h"
#include "COLerror.h"
#include "QVMengineInternal.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMtableDefinitionInternal.h"
#include "QVMtableGrammarInternal.h"
#include "QVMtableInternal.h"
#include "QVMtableXmlFormatter.h"

namespace {

bool QVMisBlank(std::string_view Text) {
  return Text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

int QVMdigits(const COLstring& Text, size_t Start, size_t Count) {
  return std::atoi(std::string(std::string_view(Text).substr(Start, Count)).c_str());
}

}  // namespace

void QVMxmlTableParseDateTime(const COLstring& Text, int& Year, int& Month, int& Day, int& Hour, int& Minute,
                              int& Second) {
  if (Text.size() < 10 || (Text.size() > 10 && Text.size() < 19))
    throw COLerror(Text + " is not a valid date/time format.", COL_ERROR_PRECONDITION);
  Year = QVMdigits(Text, 0, 4);
  Month = QVMdigits(Text, 5, 2);
  Day = QVMdigits(Text, 8, 2);
  Hour = Minute = Second = 0;
  if (Text.size() > 10) {
    Hour = QVMdigits(Text, 11, 2);
    Minute = QVMdigits(Text, 14, 2);
    Second = QVMdigits(Text, 17, 2);
  }
}

void QVMxmlTableParser::reset() {
  m_MessageIndex = 0;
  m_InColumn = m_LeafRowPending = m_GroupRowPending = false;
  m_ColumnIndex = 0;
  m_CurrentGrammar = m_RootGrammar = nullptr;
  m_CurrentTable = m_RootTable = nullptr;
  m_TagStack.clear();
  m_CharacterData.clear();
  m_IndexPath.clear();
}

void QVMxmlTableParser::tableInXML(const COLstring& Xml, const QVMengineInternal& Engine, unsigned& MessageIndex,
                                   QVMtableInternal& Table) {
  reset();
  m_Engine = &Engine;
  m_CurrentTable = &Table;
  parse(Xml);
  MessageIndex = m_MessageIndex;
}

unsigned QVMxmlTableParser::lastRow(const QVMtableInternal& Table) const {
  return Table.countOfRow() ? Table.countOfRow() - 1 : 0;
}

void QVMxmlTableParser::onStartElement(const char* Name, const char**) {
  m_TagStack.emplace_back(Name);
  const size_t Depth = m_TagStack.size();
  if (Depth == 1) {
    m_IndexPath.push_back(-1);
    m_InColumn = m_LeafRowPending = m_GroupRowPending = false;
  } else if (Depth == 2) {
    startMessage(m_TagStack.back());
  } else if (m_CurrentGrammar && m_CurrentGrammar->isNode()) {
    startColumn(m_TagStack.back());
  } else {
    startGroupChild(m_TagStack.back());
  }
}

void QVMxmlTableParser::startMessage(const COLstring& Name) {
  const uint32_t Index = m_Engine->messageByName(Name);
  if (Index == QVMengineInternal::npos || Index >= m_Engine->countOfMessage())
    throw COLerror("The message " + Name + " is unknown.", COL_ERROR_PRECONDITION);
  m_MessageIndex = Index;
  m_IndexPath.push_back(static_cast<int>(Index));
  QVMtableGrammarInternal* Grammar = &m_Engine->message(Index)->tableGrammar();
  m_CurrentTable->makeEmptyTable(Grammar);
  m_RootTable = m_CurrentTable;
  m_RootGrammar = m_CurrentGrammar = Grammar;
  if (Grammar->isNode())
    m_LeafRowPending = true;
  else
    m_GroupRowPending = true;
}

void QVMxmlTableParser::startColumn(const COLstring& Element) {
  if (m_LeafRowPending) {
    m_CurrentTable->addRow();
    m_LeafRowPending = false;
  }
  const QVMtableDefinitionInternal* Definition = m_CurrentGrammar->table();
  const COLstring& TableName = Definition->tableName();
  COLstring Name = Element;
  // Only the place of the first "." counts, not the text in front of it.
  const size_t Dot = Name.find('.');
  if (Dot != COLstring::npos && Dot == TableName.size()) Name = COLstring(std::string_view(Name).substr(Dot + 1));
  m_ColumnIndex = Definition->columnIndex(Name);
  m_IndexPath.push_back(static_cast<int>(m_ColumnIndex));
  if (m_ColumnIndex >= Definition->countOfColumn())
    throw COLerror(Name + " is not defined as a column of table " + TableName, COL_ERROR_PRECONDITION);
  m_InColumn = true;
}

void QVMxmlTableParser::startGroupChild(const COLstring& Element) {
  if (m_GroupRowPending) {
    m_CurrentTable->addRow();
    m_GroupRowPending = false;
  }
  const COLstring& MessageName = m_Engine->message(m_MessageIndex)->name();
  size_t Found = m_CurrentGrammar->countOfSubGrammar();
  // Every element of a name goes to the first sub-grammar printed under it.
  for (size_t Index = 0; Index < m_CurrentGrammar->countOfSubGrammar(); ++Index) {
    if (QVMtableXmlTag(*m_CurrentGrammar->subGrammar(Index)) == Element) {
      Found = Index;
      break;
    }
  }
  if (Found == m_CurrentGrammar->countOfSubGrammar())
    throw COLerror("The table/group " + Element + " is not present in the message " + MessageName,
                   COL_ERROR_PRECONDITION);
  m_IndexPath.push_back(static_cast<int>(Found));
  m_CurrentTable = &m_CurrentTable->subTable(lastRow(*m_CurrentTable), static_cast<unsigned>(Found));
  m_CurrentGrammar = m_CurrentGrammar->subGrammar(Found);
  if (m_CurrentGrammar->isNode())
    m_LeafRowPending = true;
  else
    m_GroupRowPending = true;
}

void QVMxmlTableParser::onCharacterData(const char* Text, int Length) {
  if (!m_InColumn) return;
  // Every chunk counts, blank ones too: Expat splits text at entity references and line ends, so
  // the blank between "&lt; &gt;" arrives alone and belongs to the value.  A value that is blank
  // as a whole is dropped when its element ends.
  m_CharacterData += std::string_view(Text, static_cast<size_t>(Length));
}

void QVMxmlTableParser::storeValue() {
  COL_PRECONDITION(m_InColumn && m_CurrentGrammar && m_CurrentGrammar->isNode());
  COL_PRECONDITION(m_ColumnIndex < m_CurrentTable->countOfColumn());
  QVMtableInternal& Table = *m_CurrentTable;
  const unsigned Row = lastRow(Table);
  switch (Table.columnType(m_ColumnIndex)) {
    case QVMstringType:
      Table.setString(m_ColumnIndex, Row, m_CharacterData);
      break;
    case QVMintegerType:
      Table.setInteger(m_ColumnIndex, Row, static_cast<int>(std::atol(m_CharacterData.c_str())));
      break;
    case QVMdoubleType:
      Table.setDouble(m_ColumnIndex, Row, std::atof(m_CharacterData.c_str()));
      break;
    case QVMdateTimeType: {
      int Year, Month, Day, Hour, Minute, Second;
      QVMxmlTableParseDateTime(m_CharacterData, Year, Month, Day, Hour, Minute, Second);
      // A date the calendar refuses (month 13, 30 February, year -42) would be stored as some
      // other day or print as nothing: refuse it here, where the reader can still say which.
      COLdateTime Value;
      if (Value.setDateTime(Year, Month, Day, Hour, Minute, Second) != 0 || Hour > 23 || Minute > 59 || Second > 59 ||
          Hour < 0 || Minute < 0 || Second < 0)
        throw COLerror(m_CharacterData + " is not a valid date/time format.", COL_ERROR_PRECONDITION);
      Table.setDateTime(m_ColumnIndex, Row, Value);
      break;
    }
    default:
      break;
  }
  m_InColumn = false;
}

void QVMxmlTableParser::onEndElement(const char*) {
  COL_PRECONDITION(m_TagStack.size() == m_IndexPath.size());
  if (!QVMisBlank(std::string_view(m_CharacterData))) storeValue();
  m_CharacterData.clear();
  // Every row element stands for a row, even one that holds nothing: the writer prints a row whose
  // cells are all empty as an element of its own, and dropping it here would lose that row (and
  // the segment or group it stands for) on the way back.
  if (m_LeafRowPending || m_GroupRowPending) {
    m_CurrentTable->addRow();
    m_LeafRowPending = m_GroupRowPending = false;
  }
  m_TagStack.pop_back();
  m_IndexPath.pop_back();
  m_InColumn = false;
  m_CurrentGrammar = m_RootGrammar;
  m_CurrentTable = m_RootTable;
  for (size_t Step = 2; Step < m_IndexPath.size() && m_CurrentGrammar; ++Step) {
    const unsigned Entry = static_cast<unsigned>(m_IndexPath[Step]);
    if (m_CurrentGrammar->isNode()) break;
    m_CurrentTable = &m_CurrentTable->subTable(lastRow(*m_CurrentTable), Entry);
    m_CurrentGrammar = m_CurrentGrammar->subGrammar(Entry);
  }
}
