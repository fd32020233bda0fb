// Prints a filled table as table XML: one element per row, named after the message, group or
// table; one element per column that holds text; sub-tables inside their parent row.
#pragma once

#include <memory>

#include "COLstring.h"

class QVMtableInternal;
class XMLiosStream;

class QVMtableXmlFormatter {
public:
  QVMtableXmlFormatter();
  ~QVMtableXmlFormatter();
  QVMtableXmlFormatter(const QVMtableXmlFormatter&) = delete;
  QVMtableXmlFormatter& operator=(const QVMtableXmlFormatter&) = delete;

  // Replaces `Out` with the document.  Long tags name columns "Table.Column".
  COLstring& outputTableInXml(COLstring& Out, const QVMtableInternal& Table, bool LongTags);

private:
  void outputTable(const COLstring& Indent, QVMtableInternal& Table, bool LongTags, bool IsRoot);
  std::unique_ptr<XMLiosStream> m_Stream;
};
