#include "XMLbiztalkSchemaFormatter.h"

#include "COLerror.h"

void XMLbiztalkSchemaFormatter::printOn(const XMLschema& schema, COLostream& stream, const XMLschemaProperties&) {
  COL_PRECONDITION(schema.countOfElements() > 0);
  ScopedXmlStream Scope(*this, stream);
  XMLostream& Xml = xml();
  const COLstring& RootName = schema.elementAt(0).name();
  printXmlDeclaration();
  Xml.outputTag("Schema");
  Xml.outputAttribute("name", RootName);
  Xml.outputAttribute("b", "BizTalkServerEditorTool_Version", "1.0");
  Xml.outputAttribute("b", "root_reference", RootName);
  Xml.outputAttribute("b", "standard", "XML");
  Xml.outputAttribute("xmlns", "urn:schemas-microsoft-com:xml-data");
  Xml.outputAttribute("xmlns", "b", "urn:schemas-microsoft-com:BizTalkServer");
  Xml.outputAttribute("xmlns", "d", "urn:schemas-microsoft-com:datatypes");
  Xml.outputTagEnd();
  Xml.outputTag("b", "SelectionFields");
  Xml.outputTagEndClose();
  for (size_t i = 0; i < schema.countOfElements(); ++i) printElementOn(schema.elementAt(i), stream);
  for (size_t i = 0; i < schema.countOfTypes(); ++i) printTypeOn(schema.typeAt(i), stream);
  Xml.outputCloseTag();
}

void XMLbiztalkSchemaFormatter::printBiztalkElementOn(const char* typeText, const XMLschemaElement& element,
                                                      COLostream&) {
  XMLostream& Xml = xml();
  Xml.outputTag("ElementType");
  Xml.outputAttribute("name", element.name());
  Xml.outputAttribute("model", "closed");
  Xml.outputAttribute("content", "textOnly");
  Xml.outputAttribute("d", "type", typeText);
  Xml.outputTagEnd();
  Xml.outputTag("b", "FieldInfo");
  Xml.outputTagEndClose();
  Xml.outputCloseTag();
}

void XMLbiztalkSchemaFormatter::printStringElementOn(const XMLschemaSimple&, const XMLschemaElement& element,
                                                     COLostream& stream) {
  printBiztalkElementOn("string", element, stream);
}

void XMLbiztalkSchemaFormatter::printIntegerElementOn(const XMLschemaSimple&, const XMLschemaElement& element,
                                                      COLostream& stream) {
  printBiztalkElementOn("int", element, stream);
}

void XMLbiztalkSchemaFormatter::printDoubleElementOn(const XMLschemaSimple&, const XMLschemaElement& element,
                                                     COLostream& stream) {
  printBiztalkElementOn("double", element, stream);
}

void XMLbiztalkSchemaFormatter::printDateTimeElementOn(const XMLschemaSimple&, const XMLschemaElement& element,
                                                       COLostream& stream) {
  printBiztalkElementOn("dateTime", element, stream);
}

void XMLbiztalkSchemaFormatter::printEnumerationElementOn(const XMLschemaEnumeration&,
                                                          const XMLschemaElement& element, COLostream& stream) {
  printBiztalkElementOn("string", element, stream);
}

void XMLbiztalkSchemaFormatter::printCollectionElementOn(const XMLschemaCollection& type,
                                                         const XMLschemaElement& element, COLostream& stream) {
  const XMLschemaSequence& Content = type.mainSequence();
  // A named type declares its children where the types are printed.
  if (!element.isTypeReference()) printSequenceElementsOn(Content, stream);
  XMLostream& Xml = xml();
  Xml.outputTag("ElementType");
  Xml.outputAttribute("name", element.name());
  Xml.outputAttribute("model", "closed");
  Xml.outputAttribute("content", "eltOnly");
  Xml.outputTagEnd();
  Xml.outputTag("b", "RecordInfo");
  Xml.outputTagEndClose();
  printSequenceNodeOn(Content, stream);
  Xml.outputCloseTag();
}

void XMLbiztalkSchemaFormatter::printReferenceElementOn(const XMLschemaReference&, COLostream&) {}

void XMLbiztalkSchemaFormatter::printSequenceNodeOn(const XMLschemaSequence& sequence, COLostream& stream) {
  printGroupOn(sequence, "seq", stream);
}

void XMLbiztalkSchemaFormatter::printChoiceNodeOn(const XMLschemaChoice& choice, COLostream& stream) {
  printGroupOn(choice, "one", stream);
}

void XMLbiztalkSchemaFormatter::printGroupOn(const XMLschemaModelGroup& group, const char* order,
                                             COLostream& stream) {
  XMLostream& Xml = xml();
  Xml.outputTag("group");
  Xml.outputAttribute("order", order);
  printOccursAttributesOn(group);
  Xml.outputTagEnd();
  for (size_t i = 0; i < group.countOfNodes(); ++i) {
    const XMLschemaNode& Node = group.nodeAt(i);
    switch (Node.nodeType()) {
      case XMLschemaNode::NodeElement:
      case XMLschemaNode::NodeReference: {
        const XMLschemaElement& Element = Node.nodeType() == XMLschemaNode::NodeElement
                                              ? static_cast<const XMLschemaElement&>(Node)
                                              : static_cast<const XMLschemaReference&>(Node).element();
        Xml.outputTag("element");
        Xml.outputAttribute("type", Element.name());
        printOccursAttributesOn(Node);
        Xml.outputTagEndClose();
        break;
      }
      case XMLschemaNode::NodeSequence:
        printSequenceNodeOn(static_cast<const XMLschemaSequence&>(Node), stream);
        break;
      case XMLschemaNode::NodeChoice:
        printChoiceNodeOn(static_cast<const XMLschemaChoice&>(Node), stream);
        break;
      case XMLschemaNode::NodeWildcard:
        break;  // this format has no words for it
      default:
        throw COLerror("Unknown node type", COL_ERROR_PRECONDITION);
    }
  }
  Xml.outputCloseTag();
}

void XMLbiztalkSchemaFormatter::printEnumerationTypeOn(const XMLschemaEnumeration&, COLostream&) {}

void XMLbiztalkSchemaFormatter::printCollectionTypeOn(const XMLschemaCollection& type, COLostream& stream) {
  printSequenceElementsOn(type.mainSequence(), stream);
}

void XMLbiztalkSchemaFormatter::printSequenceElementsOn(const XMLschemaSequence& sequence, COLostream& stream) {
  printSequenceDeclarationsOn(sequence, stream);
}

void XMLbiztalkSchemaFormatter::printOccursAttributesOn(const XMLschemaNode& node) {
  XMLostream& Xml = xml();
  Xml.outputAttribute("minOccurs", node.minOccurs());
  if (node.maxOccurs() == XMLschemaNode::OccursUnbounded)
    Xml.outputAttribute("maxOccurs", "*");
  else
    Xml.outputAttribute("maxOccurs", node.maxOccurs());
}
