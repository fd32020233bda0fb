// Schemas of the loaded definition in the configured XML dialect: one file for all messages
// (they share what they declare), or one file per message.
#pragma once

#include <vector>

#include "COLstring.h"
#include "XMLschemaFormatter.h"

class QVMengineInternal;
struct QVMxmlSchemaProperties;
class XMLschemaProperties;

struct QVXschemaOutput {
  COLstring fileName;
  COLstring text;
};

// Fills `Out` (emptied first).  With one file per message, the messages' files go into the
// directory of `FileName`, named after the message with the formatter's extension.
void QVXgenerateSchema(QVMengineInternal& Engine, XMLschemaFormatter::EFormatters Formatter,
                       const COLstring& FileName, std::vector<QVXschemaOutput>& Out, bool SingleFile);
void QVXgenerateSchema(QVMengineInternal& Engine, XMLschemaFormatter::EFormatters Formatter,
                       const COLstring& FileName, std::vector<QVXschemaOutput>& Out);
void QVXcopyXmlProperties(const QVMxmlSchemaProperties& From, XMLschemaProperties& To);
