#include "XMLdtdSchemaFormatter.h"

#include "COLerror.h"

void XMLdtdSchemaFormatter::printOn(const XMLschema& schema, COLostream& stream, const XMLschemaProperties&) {
  m_Declared.clear();
  for (size_t i = 0; i < schema.countOfElements(); ++i) printElementOn(schema.elementAt(i), stream);
  for (size_t i = 0; i < schema.countOfTypes(); ++i) printTypeOn(schema.typeAt(i), stream);
}

bool XMLdtdSchemaFormatter::isFirstDeclaration(const COLstring& name) { return m_Declared.insert(name.str()).second; }

void XMLdtdSchemaFormatter::printDtdElementOn(const COLstring& name, const char* content, COLostream& stream) {
  if (!isFirstDeclaration(name)) return;
  stream << "<!ELEMENT " << name << " (" << content << ")>";
  stream.newline();
}

void XMLdtdSchemaFormatter::printStringElementOn(const XMLschemaSimple&, const XMLschemaElement& element,
                                                 COLostream& stream) {
  printDtdElementOn(element.name(), "#PCDATA", stream);
}

void XMLdtdSchemaFormatter::printIntegerElementOn(const XMLschemaSimple&, const XMLschemaElement& element,
                                                  COLostream& stream) {
  printDtdElementOn(element.name(), "#PCDATA", stream);
}

void XMLdtdSchemaFormatter::printDoubleElementOn(const XMLschemaSimple&, const XMLschemaElement& element,
                                                 COLostream& stream) {
  printDtdElementOn(element.name(), "#PCDATA", stream);
}

void XMLdtdSchemaFormatter::printDateTimeElementOn(const XMLschemaSimple&, const XMLschemaElement& element,
                                                   COLostream& stream) {
  printDtdElementOn(element.name(), "#PCDATA", stream);
}

void XMLdtdSchemaFormatter::printEnumerationElementOn(const XMLschemaEnumeration&, const XMLschemaElement& element,
                                                      COLostream& stream) {
  printDtdElementOn(element.name(), "#PCDATA", stream);
}

namespace {

bool XMLdtdHasWildcard(const XMLschemaModelGroup& Group) {
  for (size_t i = 0; i < Group.countOfNodes(); ++i) {
    const XMLschemaNode& Node = Group.nodeAt(i);
    if (Node.nodeType() == XMLschemaNode::NodeWildcard) return true;
    if ((Node.nodeType() == XMLschemaNode::NodeSequence || Node.nodeType() == XMLschemaNode::NodeChoice) &&
        XMLdtdHasWildcard(static_cast<const XMLschemaModelGroup&>(Node)))
      return true;
  }
  return false;
}

}  // namespace

void XMLdtdSchemaFormatter::printCollectionElementOn(const XMLschemaCollection& type,
                                                     const XMLschemaElement& element, COLostream& stream) {
  const XMLschemaSequence& Content = type.mainSequence();
  if (isFirstDeclaration(element.name())) {
    // The nearest a DTD comes to a wildcard.
    if (XMLdtdHasWildcard(Content)) {
      stream << "<!ELEMENT " << element.name() << " ANY>";
    } else {
      stream << "<!ELEMENT " << element.name() << " (";
      printSequenceNodeOn(Content, stream);
      stream << ")>";
    }
    stream.newline();
  }
  // A named type declares its children where the types are printed.
  if (!element.isTypeReference()) printSequenceElementsOn(Content, stream);
}

void XMLdtdSchemaFormatter::printReferenceElementOn(const XMLschemaReference&, COLostream&) {}

void XMLdtdSchemaFormatter::printSequenceNodeOn(const XMLschemaSequence& sequence, COLostream& stream) {
  printGroupNodesOn(sequence, ", ", stream);
}

void XMLdtdSchemaFormatter::printChoiceNodeOn(const XMLschemaChoice& choice, COLostream& stream) {
  printGroupNodesOn(choice, " | ", stream);
}

void XMLdtdSchemaFormatter::printGroupNodesOn(const XMLschemaModelGroup& group, const char* separator,
                                              COLostream& stream) {
  bool First = true;
  for (size_t i = 0; i < group.countOfNodes(); ++i) {
    const XMLschemaNode& Node = group.nodeAt(i);
    if (Node.nodeType() == XMLschemaNode::NodeWildcard) continue;  // a DTD has no words for it
    if (!First) stream << separator;
    First = false;
    switch (Node.nodeType()) {
      case XMLschemaNode::NodeElement:
        stream << static_cast<const XMLschemaElement&>(Node).name();
        break;
      case XMLschemaNode::NodeReference:
        stream << static_cast<const XMLschemaReference&>(Node).element().name();
        break;
      case XMLschemaNode::NodeSequence:
        stream << " (";
        printSequenceNodeOn(static_cast<const XMLschemaSequence&>(Node), stream);
        stream << ')';
        break;
      case XMLschemaNode::NodeChoice:
        stream << " (";
        printChoiceNodeOn(static_cast<const XMLschemaChoice&>(Node), stream);
        stream << ')';
        break;
      default:
        throw COLerror("Unknown Nodes", COL_ERROR_PRECONDITION);
    }
    stream << occurrenceSign(Node);
  }
}

void XMLdtdSchemaFormatter::printEnumerationTypeOn(const XMLschemaEnumeration&, COLostream&) {}

void XMLdtdSchemaFormatter::printCollectionTypeOn(const XMLschemaCollection& type, COLostream& stream) {
  printSequenceElementsOn(type.mainSequence(), stream);
}

void XMLdtdSchemaFormatter::printSequenceElementsOn(const XMLschemaSequence& sequence, COLostream& stream) {
  printSequenceDeclarationsOn(sequence, stream);
}

const char* XMLdtdSchemaFormatter::occurrenceSign(const XMLschemaNode& node) {
  if (node.minOccurs() == 0) return node.maxOccurs() == 1 ? "?" : "*";
  if (node.maxOccurs() > 1) return "+";
  return "";
}
