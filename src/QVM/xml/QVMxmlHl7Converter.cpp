#include "QVMxmlHl7Converter.h"

#include "COLerror.h"
#include "QVMtableXmlFormatter.h"
#include "QVMtreeXmlFormatter.h"
#include "QVMxmlTreeParser.h"
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

QVMxmlTreeConverter::QVMxmlTreeConverter(QVMxmlTreeParserBase* Parser) : m_Parser(Parser) {}
QVMxmlTreeConverter::~QVMxmlTreeConverter() = default;

void QVMxmlTreeConverter::getTree(const COLstring& Xml, const QVMengineInternal& Engine,
                                  const QVPparseContext& Context, unsigned& MessageIndex,
                                  QVMuntypedMessageTree& Tree) {
  m_Parser->getTree(Xml, Engine, Context, MessageIndex, Tree);
}

QVMxmlHl7ConverterStandard::QVMxmlHl7ConverterStandard()
    : QVMxmlTreeConverter(new QVMxmlTreeParserStandard), m_Formatter(std::make_unique<QVMtreeXmlFormatterStandard>()) {}
QVMxmlHl7ConverterStandard::~QVMxmlHl7ConverterStandard() = default;

COLstring& QVMxmlHl7ConverterStandard::treeInXml(const QVMtypedMessageTree& Tree,
                                                 const QVMmessageDefinitionInternal* Definition, unsigned ConfigIndex,
                                                 COLstring& Out, char) {
  return m_Formatter->treeInXml(Tree, Definition, ConfigIndex, Out);
}

void QVMxmlHl7ConverterStandard::setRawSegments(const QVMuntypedMessageTree* RawSegments) {
  m_Formatter->setRawSegments(RawSegments);
}

QVMxmlHl7ConverterOracle::QVMxmlHl7ConverterOracle()
    : QVMxmlTreeConverter(new QVMxmlTreeParser), m_Formatter(std::make_unique<QVMtreeXmlFormatter>()) {}
QVMxmlHl7ConverterOracle::~QVMxmlHl7ConverterOracle() = default;

COLstring& QVMxmlHl7ConverterOracle::treeInXml(const QVMuntypedMessageTree& Tree, COLstring& Out,
                                               SCCescaper& Escaper, char Delimiter) const {
  return m_Formatter->treeInXml(Tree, currentMessageDefinition(), Out, true, &Escaper, Delimiter, &config());
}

QVMxmlX12Converter::QVMxmlX12Converter() : QVMxmlX12Converter(new QVMtreeXmlFormatterX12, new QVMxmlX12TreeParser) {}
QVMxmlX12Converter::QVMxmlX12Converter(QVMtreeXmlFormatterX12* Formatter, QVMxmlTreeParserBase* Parser)
    : QVMxmlTreeConverter(Parser), m_Formatter(Formatter) {}
QVMxmlX12Converter::~QVMxmlX12Converter() = default;

COLstring& QVMxmlX12Converter::treeInXml(const QVMtypedMessageTree& Tree,
                                         const QVMmessageDefinitionInternal* Definition, unsigned ConfigIndex,
                                         COLstring& Out, char) {
  return treeXmlFormatter()->treeInXml(Tree, Definition, ConfigIndex, Out, &config());
}

void QVMxmlX12Converter::setRawSegments(const QVMuntypedMessageTree* RawSegments) {
  treeXmlFormatter()->setRawSegments(RawSegments);
}

QVMxmlHl7ConverterStandard2::QVMxmlHl7ConverterStandard2()
    : QVMxmlX12Converter(new QVMtreeXmlFormatterStandard2, new QVMxmlTreeParserStandard2) {}

QVMxmlHl7ConverterStandard24::QVMxmlHl7ConverterStandard24() : QVMxmlTreeConverter(new QVMxmlTreeParserStandard24) {}

COLstring& QVMxmlHl7ConverterStandard24::treeInXml(const QVMuntypedMessageTree&, COLstring&, SCCescaper&,
                                                   char) const {
  throw COLerror("This format cannot be generated in xml", COL_ERROR_RESOURCE);
}
COLstring& QVMxmlHl7ConverterStandard24::treeInXml(const QVMtypedMessageTree&, const QVMmessageDefinitionInternal*,
                                                   unsigned, COLstring&, char) {
  throw COLerror("This format cannot be generated in xml", COL_ERROR_RESOURCE);
}
