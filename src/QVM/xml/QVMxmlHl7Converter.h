// QVMxmlHl7Converter: one XML dialect of messages; it prints a message in it, reads it back
// and describes it in a schema.  The registry hands out a new converter by name.
#pragma once

#include <memory>

#include "COLstring.h"
#include "QVMconfig.h"

class QVMconfig;
class QVMengineInternal;
class QVMmessageDefinitionInternal;
class QVMtableInternal;
class QVMtypedMessageTree;
class QVMuntypedMessageTree;
class QVPparseContext;
class SCCescaper;
class XMLschema;

class QVMxmlHl7Converter {
public:
  virtual ~QVMxmlHl7Converter() = default;

  virtual void getTree(const COLstring& Xml, const QVMengineInternal& Engine, const QVPparseContext& Context,
                       unsigned& MessageIndex, QVMuntypedMessageTree& Tree);
  virtual COLstring& treeInXml(const QVMuntypedMessageTree& Tree, COLstring& Out, SCCescaper& Escaper,
                               char Delimiter) const;
  virtual COLstring& treeInXml(const QVMtypedMessageTree& Tree, const QVMmessageDefinitionInternal* Definition,
                               unsigned ConfigIndex, COLstring& Out, char Delimiter);
  virtual void tableInXml(const COLstring& Xml, const QVMengineInternal& Engine, unsigned& MessageIndex,
                          QVMtableInternal& Table);
  virtual COLstring& outputTableInXml(COLstring& Out, const QVMtableInternal& Table);
  virtual void generateSchema(const QVMengineInternal& Engine, const QVMmessageDefinitionInternal& Definition,
                              XMLschema& Schema);
  virtual const char* name() const = 0;
  virtual const char* description() const = 0;
  virtual bool isStandard() const = 0;
  virtual bool isTable() const = 0;
  virtual QVMxmlHl7Converter* clone() const = 0;

  // The raw segments the typed trees handed to treeInXml were made from, in the same order: the
  // typed dialects report a date-time that its mask could not read with the text it came as.
  virtual void setRawSegments(const QVMuntypedMessageTree*) {}
  void setConfig(const QVMconfig* Config) { m_Config = Config; }
  const QVMconfig& config() const;
  void setCurrentMessageDefinition(const QVMmessageDefinitionInternal* Definition);
  const QVMmessageDefinitionInternal* currentMessageDefinition() const { return m_CurrentMessageDefinition; }

  static unsigned countOfConverter();
  static const char* converterName(unsigned ConverterIndex);
  static const char* converterNameFromAlias(const char* Name);
  // A new converter; an unknown name raises "Unknown XML converter ...".
  static std::unique_ptr<QVMxmlHl7Converter> getConverter(const COLstring& Name);

private:
  const QVMconfig* m_Config = nullptr;
  const QVMmessageDefinitionInternal* m_CurrentMessageDefinition = nullptr;
};

class QVMtableXmlFormatter;
class QVMxmlTableParser;

class QVMxmlTableConverter : public QVMxmlHl7Converter {
public:
  QVMxmlTableConverter();
  ~QVMxmlTableConverter() override;
  void tableInXml(const COLstring& Xml, const QVMengineInternal& Engine, unsigned& MessageIndex,
                  QVMtableInternal& Table) override;
  COLstring& outputTableInXml(COLstring& Out, const QVMtableInternal& Table) override;
  void generateSchema(const QVMengineInternal& Engine, const QVMmessageDefinitionInternal& Definition,
                      XMLschema& Schema) override;
  const char* name() const override { return QVMconfigXmlFormatTypeAsString(QVMxmlTableShortTags); }
  const char* description() const override { return "XML Encoding of Table Data"; }
  bool isStandard() const override { return true; }
  bool isTable() const override { return true; }
  QVMxmlHl7Converter* clone() const override { return new QVMxmlTableConverter; }
  virtual bool isLongTags() const { return false; }

private:
  std::unique_ptr<QVMtableXmlFormatter> m_Formatter;
  std::unique_ptr<QVMxmlTableParser> m_Parser;
};

class QVMxmlTableConverterLong : public QVMxmlTableConverter {
public:
  const char* name() const override { return QVMconfigXmlFormatTypeAsString(QVMxmlTableLongTags); }
  const char* description() const override { return "XML Encoding of Table Data With Long Tag Names"; }
  QVMxmlHl7Converter* clone() const override { return new QVMxmlTableConverterLong; }
  bool isLongTags() const override { return true; }
};

class QVMtreeXmlFormatter;
class QVMtreeXmlFormatterStandard;
class QVMtreeXmlFormatterX12;
class QVMxmlTreeParserBase;

// The tree dialects: the message's whole structure, each with its writer and its reader, made
// with the converter and used for every message after.
class QVMxmlTreeConverter : public QVMxmlHl7Converter {
public:
  ~QVMxmlTreeConverter() override;
  void getTree(const COLstring& Xml, const QVMengineInternal& Engine, const QVPparseContext& Context,
               unsigned& MessageIndex, QVMuntypedMessageTree& Tree) override;
  bool isTable() const override { return false; }

protected:
  explicit QVMxmlTreeConverter(QVMxmlTreeParserBase* Parser);

private:
  std::unique_ptr<QVMxmlTreeParserBase> m_Parser;
};

class QVMxmlHl7ConverterStandard : public QVMxmlTreeConverter {
public:
  QVMxmlHl7ConverterStandard();
  ~QVMxmlHl7ConverterStandard() override;
  COLstring& treeInXml(const QVMtypedMessageTree& Tree, const QVMmessageDefinitionInternal* Definition,
                       unsigned ConfigIndex, COLstring& Out, char Delimiter) override;
  void setRawSegments(const QVMuntypedMessageTree* RawSegments) override;
  void generateSchema(const QVMengineInternal& Engine, const QVMmessageDefinitionInternal& Definition,
                      XMLschema& Schema) override;
  const char* name() const override { return QVMconfigXmlFormatTypeAsString(QVMxmlStandard); }
  const char* description() const override { return "Official XML Encoding of HL7"; }
  bool isStandard() const override { return true; }
  QVMxmlHl7Converter* clone() const override { return new QVMxmlHl7ConverterStandard; }

private:
  std::unique_ptr<QVMtreeXmlFormatterStandard> m_Formatter;
};

class QVMxmlHl7ConverterOracle : public QVMxmlTreeConverter {
public:
  QVMxmlHl7ConverterOracle();
  ~QVMxmlHl7ConverterOracle() override;
  COLstring& treeInXml(const QVMuntypedMessageTree& Tree, COLstring& Out, SCCescaper& Escaper,
                       char Delimiter) const override;
  void generateSchema(const QVMengineInternal& Engine, const QVMmessageDefinitionInternal& Definition,
                      XMLschema& Schema) override;
  const char* name() const override { return QVMconfigXmlFormatTypeAsString(QVMxmlExpanded); }
  const char* description() const override { return "Expanded HL7 XML encoding."; }
  bool isStandard() const override { return false; }
  QVMxmlHl7Converter* clone() const override { return new QVMxmlHl7ConverterOracle; }

private:
  std::unique_ptr<QVMtreeXmlFormatter> m_Formatter;
};

class QVMxmlX12Converter : public QVMxmlTreeConverter {
public:
  QVMxmlX12Converter();
  ~QVMxmlX12Converter() override;
  COLstring& treeInXml(const QVMtypedMessageTree& Tree, const QVMmessageDefinitionInternal* Definition,
                       unsigned ConfigIndex, COLstring& Out, char Delimiter) override;
  void setRawSegments(const QVMuntypedMessageTree* RawSegments) override;
  void generateSchema(const QVMengineInternal& Engine, const QVMmessageDefinitionInternal& Definition,
                      XMLschema& Schema) override;
  const char* name() const override { return QVMconfigXmlFormatTypeAsString(QVMxmlFullTreeValidation); }
  const char* description() const override { return "XML Encoding of Full Tree Validation"; }
  bool isStandard() const override { return true; }
  QVMxmlHl7Converter* clone() const override { return new QVMxmlX12Converter; }
  virtual QVMtreeXmlFormatterX12* treeXmlFormatter() { return m_Formatter.get(); }

protected:
  QVMxmlX12Converter(QVMtreeXmlFormatterX12* Formatter, QVMxmlTreeParserBase* Parser);

private:
  std::unique_ptr<QVMtreeXmlFormatterX12> m_Formatter;
};

class QVMxmlHl7ConverterStandard2 : public QVMxmlX12Converter {
public:
  QVMxmlHl7ConverterStandard2();
  const char* name() const override { return QVMconfigXmlFormatTypeAsString(QVMxmlStandardVer2); }
  const char* description() const override { return "Official XML Encoding of HL7 Version 2"; }
  QVMxmlHl7Converter* clone() const override { return new QVMxmlHl7ConverterStandard2; }
};

// Read only.
class QVMxmlHl7ConverterStandard24 : public QVMxmlTreeConverter {
public:
  QVMxmlHl7ConverterStandard24();
  const char* name() const override { return "EXPANDED 2.4"; }
  const char* description() const override { return "Official XML Encoding of HL7 2.4"; }
  bool isStandard() const override { return false; }
  QVMxmlHl7Converter* clone() const override { return new QVMxmlHl7ConverterStandard24; }
  COLstring& treeInXml(const QVMuntypedMessageTree& Tree, COLstring& Out, SCCescaper& Escaper,
                       char Delimiter) const override;
  COLstring& treeInXml(const QVMtypedMessageTree& Tree, const QVMmessageDefinitionInternal* Definition,
                       unsigned ConfigIndex, COLstring& Out, char Delimiter) override;
  void generateSchema(const QVMengineInternal& Engine, const QVMmessageDefinitionInternal& Definition,
                      XMLschema& Schema) override;
};
