// The inbound road of the engine: pre-process script, parse by the parser generation the
// configuration names, post-process script, and the translations to XML built on it.  Every
// failure leaves as one diagnostic COLerror.
#pragma once

#include "COLstring.h"

class LAGenvironment;
class QVJparseContext;
class QVMconfig;
class QVMtableInternal;

void QVJconfigPreProcessMessage(const QVMconfig& Config, const COLstring& Message, COLstring& Result,
                                LAGenvironment& Environment);
void QVJenginePostProcessMessage(QVJparseContext& Context, const COLstring& Message);
void QVJengineInternalParseMessageNoPostProcess(QVJparseContext& Context, const COLstring& Message,
                                                unsigned& MessageIndex, QVMtableInternal& ResultTable);
// The parse, then the post-process script, with the same message.
void QVJengineInternalParseMessage(QVJparseContext& Context, const COLstring& Message, unsigned& MessageIndex,
                                   QVMtableInternal& ResultTable);
// As above for a C text, copied once into a buffer the context keeps from message to message.
void QVJengineInternalParseMessage(QVJparseContext& Context, const char* Message, unsigned& MessageIndex,
                                   QVMtableInternal& ResultTable);

// The message as table XML with long tags; the result lives until the next call on the context.
const char* QVJhl7ToXmlLegacyTableFormat(QVJparseContext& Context, const char* Message);
// The message in the dialect the configuration names.
const char* QVJhl7ToXml(QVJparseContext& Context, const char* Message);

// XML back to a message in the dialect the configuration names: a table dialect reads the
// XML into a table and generates from it. The text lives until the next call on the context.
const char* QVJxmlToHl7validate(QVJparseContext& Context, const COLstring& Xml, bool Validate);
// As above, validating as the configuration says.
const char* QVJxmlToHl7(QVJparseContext& Context, const COLstring& Xml);
// Table XML with long tags back to a message, whatever the configured dialect.
const char* QVJxmlToHl7LegacyTableFormat(QVJparseContext& Context, const COLstring& Xml);
