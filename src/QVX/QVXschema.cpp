#include "QVXschema.h"

#include <memory>

#include "COLostream.h"
#include "QVMconfig.h"
#include "QVMengineInternal.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMxmlHl7Converter.h"
#include "XMLschema.h"

void QVXcopyXmlProperties(const QVMxmlSchemaProperties& From, XMLschemaProperties& To) {
  To.setElementFormDefault(From.elementFormDefault);
  To.setXmlNamespace(From.xmlNamespace);
  To.setTargetNamespace(From.targetNamespace);
}

namespace {

void QVXdescribe(QVMengineInternal& Engine, const QVMmessageDefinitionInternal& Message, XMLschema& Schema) {
  QVMconfig& Config = Engine.config();
  std::unique_ptr<QVMxmlHl7Converter> Converter = QVMxmlHl7Converter::getConverter(Config.xmlTranslationType());
  Converter->setConfig(&Config);
  Converter->generateSchema(Engine, Message, Schema);
}

COLstring QVXprint(QVMengineInternal& Engine, XMLschemaFormatter& Formatter, const XMLschema& Schema) {
  XMLschemaProperties Properties;
  QVXcopyXmlProperties(static_cast<const QVMengineInternal&>(Engine).config().xmlSchemaProperties(), Properties);
  COLstring Text;
  COLostream Stream(Text);
  Formatter.printOn(Schema, Stream, Properties);
  Stream.flush();
  return Text;
}

// The directory part of a path, with its separator.
COLstring QVXdirectoryOf(const COLstring& FileName) {
  const size_t Slash = std::string_view(FileName).find_last_of('/');
  return Slash == std::string_view::npos ? COLstring() : COLstring(std::string_view(FileName).substr(0, Slash + 1));
}

}  // namespace

void QVXgenerateSchema(QVMengineInternal& Engine, XMLschemaFormatter::EFormatters Formatter,
                       const COLstring& FileName, std::vector<QVXschemaOutput>& Out, bool SingleFile) {
  Out.clear();
  XMLschemaFormatter& Printer = XMLschemaFormatter::getFormatter(Formatter);
  if (SingleFile) {
    XMLschema Schema;
    for (size_t Index = 0; Index < Engine.countOfMessage(); ++Index) QVXdescribe(Engine, *Engine.message(Index), Schema);
    Out.push_back({FileName, QVXprint(Engine, Printer, Schema)});
    return;
  }
  const COLstring Prefix = QVXdirectoryOf(FileName);
  for (size_t Index = 0; Index < Engine.countOfMessage(); ++Index) {
    const QVMmessageDefinitionInternal& Message = *Engine.message(Index);
    XMLschema Schema;
    QVXdescribe(Engine, Message, Schema);
    Out.push_back({Prefix + Message.name() + Printer.defaultExtension(), QVXprint(Engine, Printer, Schema)});
  }
}

void QVXgenerateSchema(QVMengineInternal& Engine, XMLschemaFormatter::EFormatters Formatter,
                       const COLstring& FileName, std::vector<QVXschemaOutput>& Out) {
  QVXgenerateSchema(Engine, Formatter, FileName, Out,
                    static_cast<const QVMengineInternal&>(Engine).config().xmlSchemaSingleFile());
}
