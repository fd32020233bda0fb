// XMLschemaFormatter: prints an XMLschema as one schema language.  The three formatters
// (XSD, DTD, BizTalk) are process-wide singletons from getFormatter; each keeps the state of
// one printOn in its object, so only one printOn runs at a time.
#pragma once

#include "COLostream.h"
#include "XMLostream.h"
#include "XMLschema.h"

class XMLschemaFormatter {
public:
  enum EFormatters { Xsd = 0, Dtd = 1, Biztalk = 2 };

  // An unknown format raises COLerror with code 0x80000100.
  static XMLschemaFormatter& getFormatter(EFormatters format);
  // The index-th formatter; beyond the end COLerror with code 0x80000100.
  static XMLschemaFormatter& getFormatter(unsigned index);
  static unsigned countOfFormatter();

  XMLschemaFormatter() = default;
  XMLschemaFormatter(const XMLschemaFormatter&) = delete;
  XMLschemaFormatter& operator=(const XMLschemaFormatter&) = delete;
  virtual ~XMLschemaFormatter();

  virtual const char* description() const = 0;
  virtual const char* defaultExtension() const = 0;
  virtual void printOn(const XMLschema& schema, COLostream& stream, const XMLschemaProperties& properties) = 0;
  virtual void printReferenceElementOn(const XMLschemaReference& reference, COLostream& stream) = 0;
  virtual void printStringElementOn(const XMLschemaSimple& type, const XMLschemaElement& element, COLostream& stream) = 0;
  virtual void printIntegerElementOn(const XMLschemaSimple& type, const XMLschemaElement& element, COLostream& stream) = 0;
  virtual void printDoubleElementOn(const XMLschemaSimple& type, const XMLschemaElement& element, COLostream& stream) = 0;
  virtual void printDateTimeElementOn(const XMLschemaSimple& type, const XMLschemaElement& element, COLostream& stream) = 0;
  virtual void printEnumerationElementOn(const XMLschemaEnumeration& type, const XMLschemaElement& element,
                                         COLostream& stream) = 0;
  virtual void printCollectionElementOn(const XMLschemaCollection& type, const XMLschemaElement& element,
                                        COLostream& stream) = 0;
  virtual void printSequenceNodeOn(const XMLschemaSequence& sequence, COLostream& stream) = 0;
  virtual void printEnumerationTypeOn(const XMLschemaEnumeration& type, COLostream& stream) = 0;
  virtual void printCollectionTypeOn(const XMLschemaCollection& type, COLostream& stream) = 0;
  virtual void printChoiceNodeOn(const XMLschemaChoice& choice, COLostream& stream) = 0;

  // Dispatches on the kind of the element's type.
  void printElementOn(const XMLschemaElement& element, COLostream& stream);
  // Enumeration and collection types; a simple type prints nothing.
  void printTypeOn(const XMLschemaType& type, COLostream& stream);

protected:
  // Points the formatter at an XMLostream over `stream` for the length of a printOn, and
  // forgets it again however the call ends.
  class ScopedXmlStream {
  public:
    ScopedXmlStream(XMLschemaFormatter& formatter, COLostream& stream);
    ScopedXmlStream(const ScopedXmlStream&) = delete;
    ScopedXmlStream& operator=(const ScopedXmlStream&) = delete;
    ~ScopedXmlStream();

  private:
    XMLschemaFormatter& m_Formatter;
    XMLostream m_Xml;
  };

  // The XMLostream of the running printOn; outside one a failed precondition.
  XMLostream& xml() const;
  // Writes `<?xml version="1.0" encoding="UTF-8"?>`.
  void printXmlDeclaration();
  // The declarations below `group`, depth first: elements by printElementOn, references
  // by printReferenceElementOn (nothing for DTD and BizTalk, whose referred elements are
  // declared where they are global).
  void printSequenceDeclarationsOn(const XMLschemaModelGroup& group, COLostream& stream);

  XMLostream* m_Xml = nullptr;
};
