// XMLbiztalkSchemaFormatter: an XMLschema as an XDR schema for the BizTalk editor.  Every
// element becomes an ElementType; a collection's content is a group of element references.
#pragma once

#include "XMLschemaFormatter.h"

class XMLbiztalkSchemaFormatter : public XMLschemaFormatter {
public:
  const char* description() const override { return "Microsoft Biztalk XML Schema"; }
  const char* defaultExtension() const override { return ".xml"; }
  // The schema needs at least one element: element 0 names the root.
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

  // A text-only ElementType of data type `typeText`.
  void printBiztalkElementOn(const char* typeText, const XMLschemaElement& element, COLostream& stream);
  void printSequenceElementsOn(const XMLschemaSequence& sequence, COLostream& stream);
  // minOccurs and maxOccurs, always, "*" for unbounded.
  void printOccursAttributesOn(const XMLschemaNode& node);

private:
  // A group of the given order ("seq" or "one") with the nodes of `group`.
  void printGroupOn(const XMLschemaModelGroup& group, const char* order, COLostream& stream);
};
