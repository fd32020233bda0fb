#include "QVMxmlHl7Converter.h"

#include "COLerror.h"
#include "QVMtableXmlFormatter.h"
#include "QVMxmlTableParser.h"
#include "QVXconverter.h"

// Slots that don't apply to a dialect do nothing and hand back their output.
void QVMxmlHl7Converter::getTree(const COLstring&, const QVMengineInternal&, const QVPparseContext&, unsigned&,
                                 QVMuntypedMessageTree&) {}
COLstring& QVMxmlHl7Converter::treeInXml(const QVMuntypedMessageTree&, COLstring& Out, SCCescaper&, char) const {
  return Out;
}
COLstring& QVMxmlHl7Converter::treeInXml(const QVMtypedMessageTree&, const QVMmessageDefinitionInternal*, unsigned,
                                         COLstring& Out, char) {
  return Out;
}
void QVMxmlHl7Converter::tableInXml(const COLstring&, const QVMengineInternal&, unsigned&, QVMtableInternal&) {}
COLstring& QVMxmlHl7Converter::outputTableInXml(COLstring& Out, const QVMtableInternal&) { return Out; }
void QVMxmlHl7Converter::generateSchema(const QVMengineInternal&, const QVMmessageDefinitionInternal&, XMLschema&) {}

const QVMconfig& QVMxmlHl7Converter::config() const {
  COL_PRECONDITION_TEXT(m_Config != 0, "m_pConfig != 0");
  return *m_Config;
}

void QVMxmlHl7Converter::setCurrentMessageDefinition(const QVMmessageDefinitionInternal* Definition) {
  COL_PRECONDITION_TEXT(isStandard() == false, "isStandard() == false");
  m_CurrentMessageDefinition = Definition;
}

void QVMxmlHl7Converter::notAvailable(const char* Operation) const {
  throw COLerror(COLstring("The XML dialect '") + name() + "' cannot " + Operation +
                     " in this build of the engine: only the table dialects are available.",
                 COL_ERROR_PRECONDITION);
}

unsigned QVMxmlHl7Converter::countOfConverter() { return QVXcountOfConverter(); }
const char* QVMxmlHl7Converter::converterName(unsigned ConverterIndex) { return QVXconverterName(ConverterIndex); }
const char* QVMxmlHl7Converter::converterNameFromAlias(const char* Name) { return QVXconverterNameFromAlias(Name); }

std::unique_ptr<QVMxmlHl7Converter> QVMxmlHl7Converter::getConverter(const COLstring& Name) {
  std::unique_ptr<QVMxmlHl7Converter> Converter(QVXgetConvertor(Name));
  if (!Converter) throw COLerror("Unknown XML converter " + Name + " requested.", COL_ERROR_PRECONDITION);
  return Converter;
}

// --- table dialects

QVMxmlTableConverter::QVMxmlTableConverter()
    : m_Formatter(std::make_unique<QVMtableXmlFormatter>()), m_Parser(std::make_unique<QVMxmlTableParser>()) {}
QVMxmlTableConverter::~QVMxmlTableConverter() = default;

void QVMxmlTableConverter::tableInXml(const COLstring& Xml, const QVMengineInternal& Engine, unsigned& MessageIndex,
                                      QVMtableInternal& Table) {
  m_Parser->tableInXML(Xml, Engine, MessageIndex, Table);
}

COLstring& QVMxmlTableConverter::outputTableInXml(COLstring& Out, const QVMtableInternal& Table) {
  return m_Formatter->outputTableInXml(Out, Table, isLongTags());
}

// --- tree dialects

COLstring& QVMxmlTreeConverter::treeInXml(const QVMuntypedMessageTree&, COLstring&, SCCescaper&, char) const {
  notAvailable("print messages");
}
COLstring& QVMxmlTreeConverter::treeInXml(const QVMtypedMessageTree&, const QVMmessageDefinitionInternal*, unsigned,
                                          COLstring&, char) {
  notAvailable("print messages");
}
void QVMxmlTreeConverter::getTree(const COLstring&, const QVMengineInternal&, const QVPparseContext&, unsigned&,
                                  QVMuntypedMessageTree&) {
  throw COLerror(COLstring("Reading XML of the dialect '") + name() +
                     "' back into a message is not available in this build of the engine: choose a table dialect "
                     "(\"TABLE - Short Tags\" or \"TABLE - Long Tags\"), or \"Full Tree Validation\" with "
                     "validation of XML to HL7 on, as the configuration's XML translation type.",
                 COL_ERROR_PRECONDITION);
}

COLstring& QVMxmlHl7ConverterStandard24::treeInXml(const QVMuntypedMessageTree&, COLstring&, SCCescaper&,
                                                   char) const {
  throw COLerror("This format cannot be generated in xml", COL_ERROR_RESOURCE);
}
COLstring& QVMxmlHl7ConverterStandard24::treeInXml(const QVMtypedMessageTree&, const QVMmessageDefinitionInternal*,
                                                   unsigned, COLstring&, char) {
  throw COLerror("This format cannot be generated in xml", COL_ERROR_RESOURCE);
}
