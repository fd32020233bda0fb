// XMLxsdSchemaFormatter: an XMLschema as W3C XML Schema text under the prefix "xsd".
// Global elements print without occurrence limits, since XSD forbids them there.
#pragma once

#include "XMLschemaFormatter.h"

class XMLxsdSchemaFormatter : public XMLschemaFormatter {
public:
  const char* description() const override { return "XSD Schema"; }
  const char* defaultExtension() const override { return ".xsd"; }
  void printOn(const XMLschema& schema, COLostream& stream, const XMLschemaProperties& properties) override;
  void printReferenceElementOn(const XMLschemaReference& reference, COLostream& stream) override;
  void printStringElementOn(const XMLschemaSimple& type, const XMLschemaElement& element, COLostream& stream) override;
  void printIntegerElementOn(const XMLschemaSimple& type, const XMLschemaElement& element, COLostream& stream) override;
  void printDoubleElementOn(const XMLschemaSimple& type, const XMLschemaElement& element, COLostream& stream) override;
  void printDateTimeElementOn(const XMLschemaSimple& type, const XMLschemaElement& element, COLostream& stream) override;
  void printEnumerationElementOn(const XMLschemaEnumeration& type, const XMLschemaElement& element,
                                 COLostream& stream) override;
  void printCollectionElementOn(const XMLschemaCollection& type, const XMLschemaElement& element,
                                COLostream& stream) override;
  void printSequenceNodeOn(const XMLschemaSequence& sequence, COLostream& stream) override;
  void printEnumerationTypeOn(const XMLschemaEnumeration& type, COLostream& stream) override;
  void printCollectionTypeOn(const XMLschemaCollection& type, COLostream& stream) override;
  void printChoiceNodeOn(const XMLschemaChoice& choice, COLostream& stream) override;

  // `<xsd:element name=... type=typeName .../>` for an element of a simple type.
  void printXsdElementOn(const char* typeName, const XMLschemaElement& element, COLostream& stream);
  // minOccurs and maxOccurs where they differ from 1; nothing on a global element.
  void printOccursAttributesOn(const XMLschemaNode& node);

  bool isGlobalElement() const { return GlobalElement; }

protected:
  // The nodes of a sequence or choice, each in its own form.
  // An xsd:sequence or xsd:choice with its occurrence limits and its nodes.
  void printModelGroupOn(const char* tag, const XMLschemaModelGroup& group, COLostream& stream);
  void printGroupNodesOn(const XMLschemaModelGroup& group, COLostream& stream);
  // True while a top-level element of the schema is printed.
  bool GlobalElement = false;
};
