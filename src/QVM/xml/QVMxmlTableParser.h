// Reads table XML back into a table: the second element names the message, then elements
// name groups, tables and columns as the table grammar of that message has them.  Values come
// back as the 8-bit text the writer was given: UTF-8 from the document becomes one byte per
// character, and a character above U+00FF is refused with its line and column.
#pragma once

#include <vector>

#include "COLstring.h"
#include "XMLexpatAnsiParser.h"

class QVMengineInternal;
class QVMtableDefinitionInternal;
class QVMtableGrammarInternal;
class QVMtableInternal;

class QVMxmlTableParser : public XMLexpatAnsiParser {
public:
  // Fills `Table`, which the caller made empty, and gives the index of the message named.
  void tableInXML(const COLstring& Xml, const QVMengineInternal& Engine, unsigned& MessageIndex,
                  QVMtableInternal& Table);

protected:
  void onStartElement(const char* Name, const char** Attributes) override;
  void onEndElement(const char* Name) override;
  void onCharacterData(const char* Text, int Length) override;

private:
  void reset();
  void startMessage(const COLstring& Name);
  void startColumn(const COLstring& Name);
  static unsigned columnByWrittenName(const QVMtableDefinitionInternal& Definition, const COLstring& Element);
  void startGroupChild(const COLstring& Name);
  void storeValue();
  unsigned lastRow(const QVMtableInternal& Table) const;

  unsigned m_MessageIndex = 0;
  const QVMengineInternal* m_Engine = nullptr;
  bool m_InColumn = false;
  bool m_LeafRowPending = false;
  bool m_GroupRowPending = false;
  unsigned m_ColumnIndex = 0;
  QVMtableGrammarInternal* m_CurrentGrammar = nullptr;
  QVMtableGrammarInternal* m_RootGrammar = nullptr;
  QVMtableInternal* m_CurrentTable = nullptr;
  QVMtableInternal* m_RootTable = nullptr;
  std::vector<COLstring> m_TagStack;
  COLstring m_CharacterData;
  std::vector<int> m_IndexPath;
};

// "YYYY-MM-DD" or "YYYY-MM-DDThh:mm:ss"; separators are not checked.
void QVMxmlTableParseDateTime(const COLstring& Text, int& Year, int& Month, int& Day, int& Hour, int& Minute,
                              int& Second);
