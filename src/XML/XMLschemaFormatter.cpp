#include "XMLschemaFormatter.h"

#include <array>
#include <memory>

#include "COLerror.h"
#include "XMLbiztalkSchemaFormatter.h"
#include "XMLdtdSchemaFormatter.h"
#include "XMLxsdSchemaFormatter.h"

namespace {

// One formatter of each kind, keyed by its EFormatters value; built on first use and kept
// for the process's life.
class XMLschemaFormatterFactory {
public:
  static constexpr unsigned CountOfFormatter = 3;

  static XMLschemaFormatterFactory& instance() {
    static XMLschemaFormatterFactory Factory;
    return Factory;
  }

  XMLschemaFormatter* find(unsigned key) const {
    return key < CountOfFormatter ? m_Formatters[key].get() : nullptr;
  }

private:
  XMLschemaFormatterFactory() {
    m_Formatters[XMLschemaFormatter::Xsd] = std::make_unique<XMLxsdSchemaFormatter>();
    m_Formatters[XMLschemaFormatter::Dtd] = std::make_unique<XMLdtdSchemaFormatter>();
    m_Formatters[XMLschemaFormatter::Biztalk] = std::make_unique<XMLbiztalkSchemaFormatter>();
  }

  std::array<std::unique_ptr<XMLschemaFormatter>, CountOfFormatter> m_Formatters;
};

}  // namespace

XMLschemaFormatter& XMLschemaFormatter::getFormatter(EFormatters format) {
  XMLschemaFormatter* Formatter = XMLschemaFormatterFactory::instance().find(static_cast<unsigned>(format));
  if (!Formatter) {
    COLstring Text;
    COLostream(Text) << "Unknown schema format " << static_cast<int>(format)
                     << " requested from schema formatter factory.";
    throw COLerror(Text, COL_ERROR_PRECONDITION);
  }
  return *Formatter;
}

XMLschemaFormatter& XMLschemaFormatter::getFormatter(unsigned index) {
  XMLschemaFormatter* Formatter = XMLschemaFormatterFactory::instance().find(index);
  if (!Formatter) throw COLerror("Unknown schema format requested from schema formatter factory.", COL_ERROR_PRECONDITION);
  return *Formatter;
}

unsigned XMLschemaFormatter::countOfFormatter() { return XMLschemaFormatterFactory::CountOfFormatter; }

XMLschemaFormatter::~XMLschemaFormatter() = default;

void XMLschemaFormatter::printElementOn(const XMLschemaElement& element, COLostream& stream) {
  const XMLschemaType& Type = element.type();
  switch (Type.typeKind()) {
    case XMLschemaType::KindSimple: {
      const auto& Simple = static_cast<const XMLschemaSimple&>(Type);
      switch (Simple.simpleKind()) {
        case XMLschemaSimple::SimpleString: printStringElementOn(Simple, element, stream); break;
        case XMLschemaSimple::SimpleInteger: printIntegerElementOn(Simple, element, stream); break;
        case XMLschemaSimple::SimpleDouble: printDoubleElementOn(Simple, element, stream); break;
        case XMLschemaSimple::SimpleDateTime: printDateTimeElementOn(Simple, element, stream); break;
        default: throw COLerror("Unknown simple type", COL_ERROR_PRECONDITION);
      }
      break;
    }
    case XMLschemaType::KindEnumeration:
      printEnumerationElementOn(static_cast<const XMLschemaEnumeration&>(Type), element, stream);
      break;
    case XMLschemaType::KindCollection:
      printCollectionElementOn(static_cast<const XMLschemaCollection&>(Type), element, stream);
      break;
    default:
      throw COLerror("Unknown type kind", COL_ERROR_PRECONDITION);
  }
}

void XMLschemaFormatter::printTypeOn(const XMLschemaType& type, COLostream& stream) {
  switch (type.typeKind()) {
    case XMLschemaType::KindEnumeration:
      printEnumerationTypeOn(static_cast<const XMLschemaEnumeration&>(type), stream);
      break;
    case XMLschemaType::KindCollection:
      printCollectionTypeOn(static_cast<const XMLschemaCollection&>(type), stream);
      break;
    default:
      break;
  }
}

XMLschemaFormatter::ScopedXmlStream::ScopedXmlStream(XMLschemaFormatter& formatter, COLostream& stream)
    : m_Formatter(formatter), m_Xml(stream) {
  m_Formatter.m_Xml = &m_Xml;
}

XMLschemaFormatter::ScopedXmlStream::~ScopedXmlStream() { m_Formatter.m_Xml = nullptr; }

XMLostream& XMLschemaFormatter::xml() const {
  COL_PRECONDITION(m_Xml != nullptr);
  return *m_Xml;
}

void XMLschemaFormatter::printXmlDeclaration() {
  XMLostream& Xml = xml();
  Xml.outputProcessingInstructionTag("xml");
  Xml.outputAttribute("version", "1.0");
  Xml.outputAttribute("encoding", "UTF-8");
  Xml.outputProcessingInstructionTagEnd();
}

void XMLschemaFormatter::printSequenceDeclarationsOn(const XMLschemaModelGroup& group, COLostream& stream) {
  for (size_t i = 0; i < group.countOfNodes(); ++i) {
    const XMLschemaNode& Node = group.nodeAt(i);
    switch (Node.nodeType()) {
      case XMLschemaNode::NodeElement:
        printElementOn(static_cast<const XMLschemaElement&>(Node), stream);
        break;
      case XMLschemaNode::NodeReference:
        printReferenceElementOn(static_cast<const XMLschemaReference&>(Node), stream);
        break;
      case XMLschemaNode::NodeSequence:
      case XMLschemaNode::NodeChoice:
        printSequenceDeclarationsOn(static_cast<const XMLschemaModelGroup&>(Node), stream);
        break;
      case XMLschemaNode::NodeWildcard:
        break;  // declares nothing
      default:
        throw COLerror("Unknown Node", COL_ERROR_PRECONDITION);
    }
  }
}
