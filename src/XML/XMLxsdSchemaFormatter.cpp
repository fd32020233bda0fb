#include "XMLxsdSchemaFormatter.h"

#include "COLerror.h"

namespace {
const char* const XsdNamespace = "http://www.w3.org/2001/XMLSchema";
}  // namespace

void XMLxsdSchemaFormatter::printOn(const XMLschema& schema, COLostream& stream,
                                    const XMLschemaProperties& properties) {
  ScopedXmlStream Scope(*this, stream);
  XMLostream& Xml = xml();
  printXmlDeclaration();
  Xml.outputTag("xsd", "schema");
  if (!properties.xmlNamespace().empty()) Xml.outputAttribute("xmlns", properties.xmlNamespace());
  if (!properties.targetNamespace().empty()) Xml.outputAttribute("targetNamespace", properties.targetNamespace());
  if (!properties.elementFormDefault().empty())
    Xml.outputAttribute("elementFormDefault", properties.elementFormDefault());
  Xml.outputAttribute("xmlns", "xsd", XsdNamespace);
  Xml.outputTagEnd();
  // An inline collection clears the flag for its children, so it is set again for each.
  for (size_t i = 0; i < schema.countOfElements(); ++i) {
    GlobalElement = true;
    printElementOn(schema.elementAt(i), stream);
  }
  GlobalElement = false;
  for (size_t i = 0; i < schema.countOfTypes(); ++i) printTypeOn(schema.typeAt(i), stream);
  Xml.outputCloseTag();
}

void XMLxsdSchemaFormatter::printXsdElementOn(const char* typeName, const XMLschemaElement& element, COLostream&) {
  XMLostream& Xml = xml();
  Xml.outputTag("xsd", "element");
  Xml.outputAttribute("name", element.name());
  Xml.outputAttribute("type", typeName);
  printOccursAttributesOn(element);
  Xml.outputTagEndClose();
}

void XMLxsdSchemaFormatter::printStringElementOn(const XMLschemaSimple&, const XMLschemaElement& element,
                                                 COLostream& stream) {
  printXsdElementOn("xsd:string", element, stream);
}

void XMLxsdSchemaFormatter::printIntegerElementOn(const XMLschemaSimple&, const XMLschemaElement& element,
                                                  COLostream& stream) {
  printXsdElementOn("xsd:integer", element, stream);
}

void XMLxsdSchemaFormatter::printDoubleElementOn(const XMLschemaSimple&, const XMLschemaElement& element,
                                                 COLostream& stream) {
  printXsdElementOn("xsd:double", element, stream);
}

void XMLxsdSchemaFormatter::printDateTimeElementOn(const XMLschemaSimple&, const XMLschemaElement& element,
                                                   COLostream& stream) {
  printXsdElementOn("xsd:dateTime", element, stream);
}

void XMLxsdSchemaFormatter::printEnumerationElementOn(const XMLschemaEnumeration& type,
                                                      const XMLschemaElement& element, COLostream& stream) {
  XMLostream& Xml = xml();
  Xml.outputTag("xsd", "element");
  Xml.outputAttribute("name", element.name());
  if (element.isTypeReference()) {
    Xml.outputAttribute("type", type.name());
    Xml.outputTagEndClose();
    return;
  }
  Xml.outputTagEnd();
  printEnumerationTypeOn(type, stream);
  Xml.outputCloseTag();
}

void XMLxsdSchemaFormatter::printCollectionElementOn(const XMLschemaCollection& type,
                                                     const XMLschemaElement& element, COLostream& stream) {
  XMLostream& Xml = xml();
  Xml.outputTag("xsd", "element");
  Xml.outputAttribute("name", element.name());
  printOccursAttributesOn(element);
  if (element.isTypeReference()) {
    Xml.outputAttribute("type", type.name());
    Xml.outputTagEndClose();
    return;
  }
  Xml.outputTagEnd();
  GlobalElement = false;
  printCollectionTypeOn(type, stream);
  Xml.outputCloseTag();
}

void XMLxsdSchemaFormatter::printReferenceElementOn(const XMLschemaReference& reference, COLostream&) {
  XMLostream& Xml = xml();
  Xml.outputTag("xsd", "element");
  Xml.outputAttribute("ref", reference.element().name());
  printOccursAttributesOn(reference);
  Xml.outputTagEndClose();
}

void XMLxsdSchemaFormatter::printSequenceNodeOn(const XMLschemaSequence& sequence, COLostream& stream) {
  printModelGroupOn("sequence", sequence, stream);
}

void XMLxsdSchemaFormatter::printChoiceNodeOn(const XMLschemaChoice& choice, COLostream& stream) {
  printModelGroupOn("choice", choice, stream);
}

void XMLxsdSchemaFormatter::printModelGroupOn(const char* tag, const XMLschemaModelGroup& group, COLostream& stream) {
  XMLostream& Xml = xml();
  Xml.outputTag("xsd", tag);
  printOccursAttributesOn(group);
  Xml.outputTagEnd();
  printGroupNodesOn(group, stream);
  Xml.outputCloseTag();
}

void XMLxsdSchemaFormatter::printGroupNodesOn(const XMLschemaModelGroup& group, COLostream& stream) {
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
        printSequenceNodeOn(static_cast<const XMLschemaSequence&>(Node), stream);
        break;
      case XMLschemaNode::NodeChoice:
        printChoiceNodeOn(static_cast<const XMLschemaChoice&>(Node), stream);
        break;
      case XMLschemaNode::NodeWildcard:
        // Lax: an element with a global declaration is still held to it.
        xml().outputTag("xsd", "any");
        xml().outputAttribute("processContents", "lax");
        printOccursAttributesOn(Node);
        xml().outputTagEndClose();
        break;
      default:
        throw COLerror("Unknown node type", COL_ERROR_PRECONDITION);
    }
  }
}

void XMLxsdSchemaFormatter::printEnumerationTypeOn(const XMLschemaEnumeration& type, COLostream&) {
  XMLostream& Xml = xml();
  Xml.outputTag("xsd", "simpleType");
  Xml.outputTagEnd();
  Xml.outputTag("xsd", "restriction");
  Xml.outputAttribute("base", "xsd:string");
  Xml.outputTagEnd();
  for (size_t i = 0; i < type.countOfValues(); ++i) {
    Xml.outputTag("xsd", "enumeration");
    Xml.outputAttribute("value", type.valueAt(i));
    Xml.outputTagEndClose();
  }
  Xml.outputCloseTag();
  Xml.outputCloseTag();
}

void XMLxsdSchemaFormatter::printCollectionTypeOn(const XMLschemaCollection& type, COLostream& stream) {
  if (!type.hasSequenceMainNode()) throw COLerror("Only Sequence Main Nodes supported", COL_ERROR_PRECONDITION);
  XMLostream& Xml = xml();
  Xml.outputTag("xsd", "complexType");
  if (!type.name().empty()) Xml.outputAttribute("name", type.name());
  Xml.outputTagEnd();
  printSequenceNodeOn(type.mainSequence(), stream);
  Xml.outputCloseTag();
}

void XMLxsdSchemaFormatter::printOccursAttributesOn(const XMLschemaNode& node) {
  switch (node.nodeType()) {
    case XMLschemaNode::NodeElement:
    case XMLschemaNode::NodeReference:
      // XSD allows no occurrence limits on a top-level declaration.
      if (GlobalElement) return;
      break;
    case XMLschemaNode::NodeSequence:
    case XMLschemaNode::NodeChoice:
    case XMLschemaNode::NodeWildcard:
      COL_PRECONDITION(!GlobalElement);
      break;
    default:
      throw COLerror("Occurs only supported for elements and sequences", COL_ERROR_PRECONDITION);
  }
  XMLostream& Xml = xml();
  if (node.minOccurs() != 1) Xml.outputAttribute("minOccurs", node.minOccurs());
  if (node.maxOccurs() == XMLschemaNode::OccursUnbounded)
    Xml.outputAttribute("maxOccurs", "unbounded");
  else if (node.maxOccurs() != 1)
    Xml.outputAttribute("maxOccurs", node.maxOccurs());
}
