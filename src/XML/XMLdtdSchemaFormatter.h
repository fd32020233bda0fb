// XMLdtdSchemaFormatter: an XMLschema as DTD element declarations.  Every element is text
// (#PCDATA) or a content model of its children with the occurrence signs ? * +.  A DTD has one
// declaration per name, so a name met again (a local element of the same name elsewhere) is
// declared where it is met first.
#pragma once

#include <string>
#include <unordered_set>

#include "XMLschemaFormatter.h"

class XMLdtdSchemaFormatter : public XMLschemaFormatter {
public:
  const char* description() const override { return "DTD Schema"; }
  const char* defaultExtension() const override { return ".dtd"; }
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
  // The content model of a sequence, without the enclosing parentheses.
  void printSequenceNodeOn(const XMLschemaSequence& sequence, COLostream& stream) override;
  void printEnumerationTypeOn(const XMLschemaEnumeration& type, COLostream& stream) override;
  void printCollectionTypeOn(const XMLschemaCollection& type, COLostream& stream) override;
  // The alternatives of a choice, without the enclosing parentheses.
  void printChoiceNodeOn(const XMLschemaChoice& choice, COLostream& stream) override;

  // `<!ELEMENT name (content)>` and a line end.
  void printDtdElementOn(const COLstring& name, const char* content, COLostream& stream);
  void printSequenceElementsOn(const XMLschemaSequence& sequence, COLostream& stream);
  // "?", "*", "+" or "" for the occurrence limits of `node`.
  static const char* occurrenceSign(const XMLschemaNode& node);

private:
  // The nodes of `group`, each with its sign, joined by `separator`.
  void printGroupNodesOn(const XMLschemaModelGroup& group, const char* separator, COLostream& stream);
  // Whether `name` is declared for the first time in this printOn; notes it.
  bool isFirstDeclaration(const COLstring& name);

  std::unordered_set<std::string> m_Declared;
};
