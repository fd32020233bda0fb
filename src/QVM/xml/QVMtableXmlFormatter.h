// Prints a filled table as table XML: one element per row, named after the message, group or
// table; one element per column that holds text; sub-tables inside their parent row.
#pragma once

#include <string>

#include "COLstring.h"
#include "COLthreadListener.h"
#include "XMLiosFilter.h"

class QVMtableGrammarInternal;
class QVMtableInternal;

// The element name of a row of `Grammar`: the message name at the root, the table name at a
// leaf, "Message.Group" for an inner group, with the bytes dropped that the writer's tag filter
// drops ("/" of "Observation/Result", for one).  The writer prints it, the reader finds
// sub-grammars by it and the schema declares it, so the three cannot disagree.
COLstring QVMtableXmlTag(const QVMtableGrammarInternal& Grammar);
// `Name` as the writer prints it: the tag filter's bytes only (Latin-1 letters and control bytes
// go), and "_" for a leading digit.
COLstring QVMtableXmlName(const COLstring& Name);

// Told of each cell that the writer leaves out because its text did not fit the column's type
// (an invalid cell, such as a date the column's mask cannot read): table XML has no place for
// it.  A host that must not lose such values silently installs one for the current thread with
// QVMtableXmlUnwrittenScope around its translations.
class QVMtableXmlUnwrittenValues {
public:
  virtual ~QVMtableXmlUnwrittenValues() = default;
  // `Text` is what the message held; `Table` is the leaf table of the cell.
  virtual void unwrittenValue(const QVMtableInternal& Table, unsigned Column, unsigned Row, const COLstring& Text) = 0;
};

// Installs a listener for the current thread while it lives.
using QVMtableXmlUnwrittenScope = COLthreadListenerScope<QVMtableXmlUnwrittenValues>;

// The message a table row belongs to, for reports: the name of its root's message, else empty.
COLstring QVMtableMessageName(const QVMtableInternal& Table);

class QVMtableXmlFormatter {
public:
  QVMtableXmlFormatter();
  ~QVMtableXmlFormatter();
  QVMtableXmlFormatter(const QVMtableXmlFormatter&) = delete;
  QVMtableXmlFormatter& operator=(const QVMtableXmlFormatter&) = delete;

  // Replaces `Out` with the document.  Long tags name columns "Table.Column".
  COLstring& outputTableInXml(COLstring& Out, const QVMtableInternal& Table, bool LongTags);

private:
  void outputTable(unsigned Indent, QVMtableInternal& Table, bool LongTags, bool IsRoot);
  // "<Name>" or "</Name>" of the names joined as the tag filter leaves them; nothing when
  // nothing is left of them.
  void appendTag(const char* Open, std::string_view First, std::string_view Second = {},
                 std::string_view Third = {});

  // The document being written: tags, indents and line ends are appended to it directly,
  // values through the data filter, which writes into it too.
  COLstring* m_Out = nullptr;
  XMLiosLatin1DataFilter m_Values;
  std::string m_Tag;
};
