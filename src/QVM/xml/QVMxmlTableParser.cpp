#include "QVMxmlTableParser.h"

#include <expat.h>

#include <cstdlib>
#include <string>

#include "COLdateTime.h"
#include "COLerror.h"
#include "COLostream.h"
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

// --- entities whose text the reader would not have

struct QVMentityScan {
  XML_Parser Parser = nullptr;
  COLstring Problem;

  void stop(const COLstring& What) {
    if (!Problem.empty()) return;
    COLstring Place;
    COLostream(Place) << " (line " << static_cast<unsigned>(XML_GetCurrentLineNumber(Parser)) << " column "
                      << static_cast<unsigned>(XML_GetCurrentColumnNumber(Parser)) + 1 << ")";
    Problem = "The table XML refers to " + What + Place + ": the value it stands for would be read as empty.";
    XML_StopParser(Parser, XML_FALSE);
  }
};

void XMLCALL QVMonSkippedEntity(void* Data, const XML_Char* Name, int IsParameter) {
  static_cast<QVMentityScan*>(Data)->stop(COLstring("the entity '") + (IsParameter ? "%" : "&") + Name +
                                          ";', which it does not declare");
}

int XMLCALL QVMonExternalEntity(XML_Parser Parser, const XML_Char*, const XML_Char*, const XML_Char* SystemId,
                                const XML_Char*) {
  static_cast<QVMentityScan*>(XML_GetUserData(Parser))
      ->stop(COLstring("the external entity '") + (SystemId ? SystemId : "") + "', which is not read");
  return XML_STATUS_ERROR;
}

// Only a document type declaration can bring such entities in (without one an undeclared
// entity is malformed XML), so documents without one are not scanned.  UTF-16 is looked for
// too: Expat reads it.
bool QVMhasDocumentType(std::string_view Xml) {
  static constexpr char Wide[] = "D\0O\0C\0T\0Y\0P\0E";
  return Xml.find("DOCTYPE") != std::string_view::npos ||
         Xml.find(std::string_view(Wide, sizeof Wide - 1)) != std::string_view::npos;
}

// Refuses a document that refers to an external entity or to an entity it does not declare:
// Expat hands neither over, and the value would quietly come out empty.
void QVMrefuseLostEntities(const COLstring& Xml) {
  if (!QVMhasDocumentType(Xml.view())) return;
  QVMentityScan Scan;
  Scan.Parser = XML_ParserCreate(nullptr);
  if (!Scan.Parser) throw COLerror("Unable to create the XML parser", COL_ERROR_RESOURCE);
  XML_SetUserData(Scan.Parser, &Scan);
  XML_SetSkippedEntityHandler(Scan.Parser, QVMonSkippedEntity);
  XML_SetExternalEntityRefHandler(Scan.Parser, QVMonExternalEntity);
  // Pieces, as XML_Parse takes an int length; malformed XML is left to the reader, which says where.
  const char* Data = Xml.data();
  size_t Left = Xml.size();
  constexpr size_t Piece = 1u << 30;
  bool Going = true;
  while (Going && Left > Piece) {
    Going = XML_Parse(Scan.Parser, Data, static_cast<int>(Piece), XML_FALSE) == XML_STATUS_OK;
    Data += Piece;
    Left -= Piece;
  }
  if (Going) XML_Parse(Scan.Parser, Data, static_cast<int>(Left), XML_TRUE);
  XML_ParserFree(Scan.Parser);
  if (!Scan.Problem.empty()) throw COLerror(Scan.Problem, COL_ERROR_PRECONDITION);
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
  QVMrefuseLostEntities(Xml);
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
  // The table holds one message: a second one would replace the first.
  if (m_RootGrammar)
    throw COLerror("The table XML holds more than one message: " + Name + " follows " +
                       m_Engine->message(m_MessageIndex)->name() + ", and a document is read as one message.",
                   COL_ERROR_PRECONDITION);
  uint32_t Index = m_Engine->messageByName(Name);
  // A name the writer had to change is found by the name it printed.
  for (uint32_t Other = 0; Index >= m_Engine->countOfMessage() && Other < m_Engine->countOfMessage(); ++Other)
    if (QVMtableXmlName(m_Engine->message(Other)->name()) == Name) Index = Other;
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

// A name the writer had to change (a Latin-1 letter dropped, a leading digit made "_") is
// found by the name it printed; the plain lookup comes first, so ordinary names cost nothing.
unsigned QVMxmlTableParser::columnByWrittenName(const QVMtableDefinitionInternal& Definition,
                                                const COLstring& Element) {
  const unsigned Count = static_cast<unsigned>(Definition.countOfColumn());
  for (unsigned Column = 0; Column < Count; ++Column) {
    const COLstring& Name = Definition.columnName(Column);
    if (QVMtableXmlName(Name) == Element || QVMtableXmlName(Definition.tableName() + "." + Name) == Element)
      return Column;
  }
  return Count;
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
  if (m_ColumnIndex >= Definition->countOfColumn()) m_ColumnIndex = columnByWrittenName(*Definition, Element);
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
